// SPDX-License-Identifier: MIT
// The file services in the plainest way: stdio, call by call. The twin that the buffered files of
// the host are compared with.
#ifndef QOB_TESTS_HOST_OSCOMM_PLAIN_FILE_H
#define QOB_TESTS_HOST_OSCOMM_PLAIN_FILE_H

#include <cstdint>
#include <cstdio>
#include <string>

#include <sys/stat.h>

class PlainFile {
public:
    PlainFile(const std::string &path, const char *mode)
        : stream_(std::fopen(path.c_str(), mode)) {}
    ~PlainFile() { close(); }
    PlainFile(const PlainFile &) = delete;
    PlainFile &operator=(const PlainFile &) = delete;

    bool isOpen() const { return stream_ != nullptr; }

    int32_t read(void *buffer, int32_t size, int32_t count) {
        if (!turnTo('r')) {
            return 0;
        }
        return static_cast<int32_t>(std::fread(buffer, static_cast<std::size_t>(size),
                                               static_cast<std::size_t>(count), stream_));
    }

    int32_t write(const void *buffer, int32_t size, int32_t count) {
        if (!turnTo('w')) {
            return 0;
        }
        const auto done = std::fwrite(buffer, static_cast<std::size_t>(size),
                                      static_cast<std::size_t>(count), stream_);
        return static_cast<int32_t>(done);
    }

    int32_t seek(int32_t offset, int whence) {
        lastUse_ = ' ';
        return fseeko(stream_, offset, whence) == 0 ? 0 : -1;
    }

    int32_t tell() const { return static_cast<int32_t>(ftello(stream_)); }

    uint32_t size() {
        struct stat status {};
        std::fflush(stream_);
        return fstat(fileno(stream_), &status) == 0 ? static_cast<uint32_t>(status.st_size) : 0;
    }

    int32_t close() {
        std::FILE *stream = stream_;
        stream_ = nullptr;
        return stream == nullptr || std::fclose(stream) == 0 ? 0 : -1;
    }

private:
    // Between a read and a write stdio wants a seek.
    bool turnTo(char use) {
        const bool turned = lastUse_ == use || lastUse_ == ' ' || fseeko(stream_, 0, SEEK_CUR) == 0;
        lastUse_ = use;
        return turned;
    }

    std::FILE *stream_;
    char lastUse_ = ' ';
};

#endif
