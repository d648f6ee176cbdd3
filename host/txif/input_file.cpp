// SPDX-License-Identifier: MIT
// Inputs under short names: the names of attachment files repeat the base name of the input, and so
// do those of the attachments in them.
#include "input_file.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "content_signs.h"
#include "message_lead.h"
#include "qob_host.h"
#include "qob_scope.h"

namespace qob {
namespace {

constexpr std::size_t kNameCapacity = 4096;
constexpr std::size_t kCopyBlock = 65536;

// A file whose base name is not longer keeps its path: twice that and a number fit into a name.
constexpr std::size_t kShortName = 100;
constexpr std::size_t kShortPath = 1024;

class File {
public:
    File(const char *path, const char *mode) : file_(QOB_FileOpen(path, mode)) {}
    ~File() {
        if (file_ != nullptr) {
            QOB_FileClose(file_);
        }
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    QobFile *get() const { return file_; }
    bool isOpen() const { return file_ != nullptr; }
    bool close() { return QOB_FileClose(std::exchange(file_, nullptr)) == 0; }
    void closeToReopen(const std::string &path) {
        qob_file_close_to_reopen(std::exchange(file_, nullptr), path.c_str());
    }

private:
    QobFile *file_;
};

// The first bytes of a file.
class Head {
public:
    explicit Head(const File &file)
        : length_(QOB_FileRead(bytes_.data(), 1, static_cast<int32_t>(bytes_.size()), file.get())) {
    }
    std::string_view view() const {
        return {bytes_.data(), length_ > 0 ? static_cast<std::size_t>(length_) : 0};
    }

private:
    std::array<char, kHeadSize> bytes_;
    int32_t length_;
};

PreparedInput failure(const std::string &reason) {
    return {{}, reason};
}

PreparedInput systemFailure() {
    return failure(std::strerror(errno));
}

bool isShort(std::string_view path) {
    const std::size_t base = path.size() - (path.rfind('/') + 1);
    return base <= kShortName && path.size() <= kShortPath;
}

// The path itself, from '/', when it is short enough, else an alias. Empty with errno set on
// failure.
std::string shortPath(const char *path) {
    std::string absolute = *path == '/' ? path : std::filesystem::absolute(path).string();
    if (isShort(absolute)) {
        return absolute;
    }
    std::array<char, kNameCapacity> alias{};
    return qob_scope_alias(path, alias.data()) == 0 ? alias.data() : std::string();
}

// An open file, of which nothing but the head was read, for the filter.
PreparedInput prepared(File &file, std::string path, const Head &head, Claim claim) {
    PreparedInput input{std::move(path)};
    input.type = fileTypeOf(head.view(), input.path, claim);
    file.closeToReopen(input.path);
    return input;
}

// A new temporary file's name; empty on failure.
std::string copyName() {
    std::array<char, kNameCapacity> name{};
    return QOB_ASC_tmpnam(name.data()) == 0 ? std::string(name.data()) + ".eml" : std::string();
}

// Copies what `next` reads into a buffer, at most INT32_MAX bytes; `next` returns the bytes, 0 at
// the end, -1 with errno. Empty when all was copied, else the reason.
template <typename Next> std::string copyAll(Next next, File &copy) {
    std::vector<char> block(kCopyBlock);
    uint64_t total = 0;
    for (;;) {
        const int64_t count = next(block);
        if (count == 0) {
            return copy.close() ? std::string()
                                : std::string("no copy can be made: ") + std::strerror(errno);
        }
        if (count < 0) {
            return std::strerror(errno);
        }
        total += static_cast<uint64_t>(count);
        if (total > INT32_MAX) {
            return "the input is larger than 2 GiB";
        }
        const auto length = static_cast<int32_t>(count);
        if (QOB_FileWrite(block.data(), 1, length, copy.get()) != length) {
            return std::string("no copy can be made: ") + std::strerror(errno);
        }
    }
}

template <typename Next> PreparedInput prepareCopy(Next next, Claim claim) {
    const std::string path = copyName();
    File copy(path.c_str(), "wb");
    if (!copy.isOpen()) {
        return systemFailure();
    }
    const std::string reason = copyAll(next, copy);
    if (!reason.empty()) {
        return failure(reason);
    }
    File file(path.c_str(), "rb");
    if (!file.isOpen()) {
        return systemFailure();
    }
    return prepared(file, path, Head(file), claim);
}

// -1 with errno when nothing more can be read, though it is not the end.
int64_t readFile(const File &file, std::vector<char> &block) {
    errno = 0;
    const auto length = static_cast<int32_t>(block.size());
    const int32_t count = QOB_FileRead(block.data(), 1, length, file.get());
    return count == 0 && errno != 0 ? -1 : count;
}

bool isDirectory(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

PreparedInput prepareFile(const char *path, Claim claim) {
    File file(path, "rb");
    if (!file.isOpen()) {
        const int error = errno;
        return failure(isDirectory(path) ? "it is a directory" : std::strerror(error));
    }
    if (qob_file_is_regular(file.get()) == 0) {
        return prepareCopy([&file](auto &block) { return readFile(file, block); }, claim);
    }
    std::string input = shortPath(path);
    if (input.empty()) {
        return systemFailure();
    }
    return prepared(file, std::move(input), Head(file), claim);
}

PreparedInput prepareEmbedded(const char *path) {
    std::string input = shortPath(path);
    if (input.empty()) {
        return systemFailure();
    }
    File file(path, "rb");
    if (!file.isOpen()) {
        PreparedInput missing{std::move(input)};
        missing.error = errno;
        return missing;
    }
    const Head head(file);
    const std::size_t lead = messageLead(head.view());
    if (lead > 0 && QOB_FileSeek(file.get(), static_cast<int32_t>(lead), SEEK_SET) == 0) {
        return prepareCopy([&file](auto &block) { return readFile(file, block); }, Claim::kNone);
    }
    return prepared(file, std::move(input), head, Claim::kNone);
}

PreparedInput prepareDescriptor(int descriptor, Claim claim) {
    return prepareCopy(
        [descriptor](std::vector<char> &block) -> int64_t {
            ssize_t count = -1;
            do {
                count = read(descriptor, block.data(), block.size());
            } while (count < 0 && errno == EINTR);
            return count;
        },
        claim);
}

} // namespace qob
