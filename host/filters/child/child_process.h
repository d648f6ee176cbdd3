// SPDX-License-Identifier: MIT
// The process behind runChild: started, its output pipe, its end. Owns the process: the destructor
// kills its group and reaps it.
#ifndef QOB_FILTERS_CHILD_PROCESS_H
#define QOB_FILTERS_CHILD_PROCESS_H

#include <sys/types.h>
#include <unistd.h>

#include <optional>
#include <utility>

#include "child.h"

namespace qob::filters {

// A descriptor that is closed with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        reset(std::exchange(other.fd_, -1));
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return fd_; }
    bool isOpen() const { return fd_ >= 0; }
    void reset(int fd = -1) {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

class ChildProcess {
public:
    // Starts the program; startError() tells how that went. Throws std::bad_alloc.
    explicit ChildProcess(const ChildRequest &request);
    ~ChildProcess() { killAndReap(); }
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    // 0, or the errno of what kept the program from running.
    int startError() const { return startError_; }

    // The reading end of the pipe that is its standard output; it does not block.
    int output() const { return output_.get(); }

    // The end, if it has come. Whatever the program left running in its group is killed then.
    std::optional<ChildResult> ended();

    // Kills the process and its group, and waits for the process. May be called again.
    void killAndReap();

private:
    void start(const ChildRequest &request);

    pid_t pid_ = -1; // -1: not started, or reaped
    int startError_ = 0;
    Descriptor output_;
    std::optional<ChildResult> result_;
};

} // namespace qob::filters

#endif
