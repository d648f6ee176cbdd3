// SPDX-License-Identifier: MIT
// The two halves of the sandbox together, and trying it out.
#include "worker/sandbox.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::size_t kMaxReasonLength = 512;

[[noreturn]] void tryOut(int pipe) {
    const std::string reason = enterSandbox("/tmp").substr(0, kMaxReasonLength);
    const bool told = reason.empty() || write(pipe, reason.data(), reason.size()) > 0;
    _exit(told ? 0 : 1);
}

std::string readReason(int pipe) {
    std::array<char, kMaxReasonLength> text{};
    ssize_t count = -1;
    do {
        count = read(pipe, text.data(), text.size());
    } while (count < 0 && errno == EINTR);
    return count > 0 ? std::string(text.data(), static_cast<std::size_t>(count)) : std::string();
}

} // namespace

std::string enterSandbox(const std::string &writable) {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return std::string("privileges cannot be given up: ") + std::strerror(errno);
    }
    // Both are tried: each is worth having without the other.
    const std::string files = restrictFiles(writable);
    const std::string calls = restrictCalls();
    return files.empty() ? calls : files;
}

std::string whyNoSandbox() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return std::string("it cannot be tried out: ") + std::strerror(errno);
    }
    const pid_t child = fork();
    if (child == 0) {
        tryOut(ends[1]);
    }
    const int error = errno;
    close(ends[1]);
    std::string reason = readReason(ends[0]);
    close(ends[0]);
    if (child < 0) {
        return std::string("it cannot be tried out: ") + std::strerror(error);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const bool ended = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return reason.empty() && !ended ? "a process did not survive it" : reason;
}

} // namespace emltext
