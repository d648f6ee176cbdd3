// SPDX-License-Identifier: MIT
// Where the outputs of a run go when they are one stream: standard output, a file that is replaced
// when everything is written, or a file that grows in place.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace emltext {

// After the first failure nothing is taken any more.
class ByteSink {
public:
    explicit ByteSink(std::string name) : name_(std::move(name)) {}
    virtual ~ByteSink() = default;
    ByteSink(const ByteSink &) = delete;
    ByteSink &operator=(const ByteSink &) = delete;

    bool write(std::string_view bytes) { return error_ == 0 && note(put(bytes)); }

    // Hands everything so far to the system.
    bool flush() { return error_ == 0 && note(push()); }

    // Makes the output final.
    bool commit() { return flush() && note(finish()); }

    int error() const { return error_; }              // errno of the first failure, or 0
    const std::string &name() const { return name_; } // for people

protected:
    // Each is false with errno set when it failed.
    virtual bool put(std::string_view bytes) = 0;
    virtual bool push() { return true; }
    virtual bool finish() { return true; }

private:
    bool note(bool done);

    std::string name_;
    int error_ = 0;
};

std::unique_ptr<ByteSink> standardOutput();

// A file beside `path` that takes its place when it is committed, and is gone when it is not. Null
// with errno set when it cannot be created.
std::unique_ptr<ByteSink> replacingFile(const std::string &path);

// `path` itself, from `size` on; what is behind is cut off. Null with errno set when it cannot be
// opened (EINVAL: it is shorter than `size`, or no regular file).
std::unique_ptr<ByteSink> growingFile(const std::string &path, uint64_t size);

} // namespace emltext
