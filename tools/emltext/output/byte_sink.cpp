// SPDX-License-Identifier: MIT
// Three ways to write, each with every failure noted.
#include "output/byte_sink.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output/whole_write.h"
#include "qob_extract.h"

namespace emltext {
namespace {

class StandardOutput : public ByteSink {
public:
    StandardOutput() : ByteSink("standard output") {}

private:
    bool put(std::string_view bytes) override {
        return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
    }
    bool push() override { return std::fflush(stdout) == 0; }
};

class ReplacingFile : public ByteSink {
public:
    ReplacingFile(const std::string &path, QobOutputFile *file) : ByteSink(path), file_(file) {}
    ~ReplacingFile() override {
        if (file_ != nullptr) {
            qob_output_close(file_, 0);
        }
    }

private:
    bool put(std::string_view bytes) override {
        return qob_output_write(file_, bytes.data(), static_cast<uint32_t>(bytes.size())) != 0;
    }
    bool finish() override { return qob_output_close(std::exchange(file_, nullptr), 1) == 0; }

    QobOutputFile *file_;
};

class GrowingFile : public ByteSink {
public:
    GrowingFile(const std::string &path, int descriptor)
        : ByteSink(path), descriptor_(descriptor) {}
    ~GrowingFile() override { close(descriptor_); }

private:
    static constexpr std::size_t kBuffered = 65536;

    bool put(std::string_view bytes) override {
        if (buffer_.size() + bytes.size() > kBuffered && !push()) {
            return false;
        }
        if (bytes.size() > kBuffered) {
            return writeWhole(descriptor_, bytes);
        }
        buffer_ += bytes;
        return true;
    }
    bool push() override {
        const bool done = writeWhole(descriptor_, buffer_);
        buffer_.clear();
        return done;
    }

    int descriptor_;
    std::string buffer_;
};

bool cutTo(int descriptor, uint64_t size) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) < size) {
        errno = EINVAL;
        return false;
    }
    return ftruncate(descriptor, static_cast<off_t>(size)) == 0 &&
           lseek(descriptor, static_cast<off_t>(size), SEEK_SET) >= 0;
}

} // namespace

bool ByteSink::note(bool done) {
    if (!done) {
        error_ = errno != 0 ? errno : EIO;
    }
    return done;
}

std::unique_ptr<ByteSink> standardOutput() {
    return std::make_unique<StandardOutput>();
}

std::unique_ptr<ByteSink> replacingFile(const std::string &path) {
    QobOutputFile *const file = qob_output_open(path.c_str());
    return file == nullptr ? nullptr : std::make_unique<ReplacingFile>(path, file);
}

std::unique_ptr<ByteSink> growingFile(const std::string &path, uint64_t size) {
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    if (!cutTo(descriptor, size)) {
        const int error = errno;
        close(descriptor);
        errno = error;
        return nullptr;
    }
    return std::make_unique<GrowingFile>(path, descriptor);
}

} // namespace emltext
