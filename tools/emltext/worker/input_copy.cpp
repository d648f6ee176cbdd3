// SPDX-License-Identifier: MIT
// Copying in blocks, so that memory does not depend on the message.
#include "worker/input_copy.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::size_t kBlock = 65536;
constexpr std::string_view kFrom = "From ";

class NewFile {
public:
    explicit NewFile(const std::string &path)
        : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                           S_IRUSR | S_IWUSR)) {
        if (descriptor_ < 0) {
            noteFailure();
        }
    }
    ~NewFile() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    void append(std::string_view text) {
        while (copy_.reason.empty() && !text.empty()) {
            const ssize_t count = write(descriptor_, text.data(), text.size());
            if (count < 0 && errno != EINTR) {
                noteFailure();
            }
            if (count > 0) {
                text.remove_prefix(static_cast<std::size_t>(count));
                copy_.bytes += static_cast<uint64_t>(count);
            }
        }
        if (copy_.bytes > INT32_MAX) {
            fail("the input is larger than 2 GiB");
        }
    }
    void fail(const std::string &reason) {
        if (copy_.reason.empty()) {
            copy_.reason = reason;
        }
    }
    bool isWell() const { return copy_.reason.empty(); }
    const InputCopy &result() const { return copy_; }

private:
    void noteFailure() { fail(std::string("no copy can be made: ") + std::strerror(errno)); }

    int descriptor_;
    InputCopy copy_;
};

// Bytes, 0 at the end or after a failure, which the file notes.
template <typename Read> std::size_t nextBlock(NewFile &file, Read readBlock) {
    ssize_t count = -1;
    do {
        count = readBlock();
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        file.fail(std::strerror(errno));
    }
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace

InputCopy copyInput(int from, const std::string &path) {
    NewFile file(path);
    std::vector<char> block(kBlock);
    while (file.isWell()) {
        const std::size_t count =
            nextBlock(file, [&] { return read(from, block.data(), block.size()); });
        if (count == 0) {
            break;
        }
        file.append({block.data(), count});
    }
    return file.result();
}

InputCopy copyMboxMessage(int from, uint64_t offset, uint64_t length, const std::string &path) {
    NewFile file(path);
    FromUnquoter unquoter;
    std::vector<char> block(kBlock);
    while (file.isWell() && length > 0) {
        const std::size_t wanted = std::min<uint64_t>(length, block.size());
        const std::size_t count = nextBlock(
            file, [&] { return pread(from, block.data(), wanted, static_cast<off_t>(offset)); });
        if (count == 0) {
            file.fail("the file became shorter while it was read");
            break;
        }
        file.append(unquoter.feed({block.data(), count}));
        offset += count;
        length -= count;
    }
    file.append(unquoter.end());
    return file.result();
}

std::string_view FromUnquoter::feed(std::string_view piece) {
    text_.clear();
    while (!piece.empty()) {
        if (atLineStart_) {
            feedLineStart(piece.front());
            piece.remove_prefix(1);
            continue;
        }
        const std::size_t lineEnd = piece.find('\n');
        const std::size_t taken = std::min(lineEnd, piece.size() - 1) + 1;
        text_ += piece.substr(0, taken);
        piece.remove_prefix(taken);
        atLineStart_ = lineEnd != std::string_view::npos;
    }
    return text_;
}

std::string_view FromUnquoter::end() {
    text_.clear();
    release();
    return text_;
}

// Only the first '>' is held back: one of a row goes or none, and they are all alike.
void FromUnquoter::feedLineStart(char byte) {
    if (byte == '>' && matched_ == 0) {
        if (holdsMark_) {
            text_ += byte;
        }
        holdsMark_ = true;
        return;
    }
    if (byte == kFrom[matched_]) {
        ++matched_;
        if (matched_ == kFrom.size()) {
            holdsMark_ = false;
            release();
            atLineStart_ = false;
        }
        return;
    }
    release();
    text_ += byte;
    atLineStart_ = byte == '\n';
}

void FromUnquoter::release() {
    text_.append(holdsMark_ ? 1 : 0, '>');
    text_ += kFrom.substr(0, matched_);
    holdsMark_ = false;
    matched_ = 0;
}

} // namespace emltext
