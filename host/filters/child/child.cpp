// SPDX-License-Identifier: MIT
// Waiting for the child: for its output, for its end, and for neither longer than allowed.
#include "child.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "child_process.h"
#include "qob_limits.h"

namespace qob::filters {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kPieceSize = 65536;
// How long one wait may be: a child may end while something else keeps its pipe open.
constexpr milliseconds kMaxWait{100};
constexpr milliseconds kFirstNap{1};
constexpr milliseconds kMaxNap{16};

enum class Reading { kAtEnd, kEnded, kTimedOut, kStopped };

// Takes what is there. kAtEnd: the pipe's end or an error; nothing: there may be more later.
std::optional<Reading> drain(int fd, const TakeOutput &take, Clock::time_point deadline) {
    std::array<char, kPieceSize> piece;
    while (Clock::now() < deadline) {
        const ssize_t count = read(fd, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno == EAGAIN) {
            return std::nullopt;
        }
        if (count <= 0) {
            return Reading::kAtEnd;
        }
        if (!take({piece.data(), static_cast<std::size_t>(count)})) {
            return Reading::kStopped;
        }
    }
    return Reading::kTimedOut;
}

Reading readOutput(ChildProcess &child, const TakeOutput &take, Clock::time_point deadline) {
    for (;;) {
        // Asked before the pipe is emptied, so that nothing written before the end is missed.
        const bool ended = child.ended().has_value();
        if (const auto state = drain(child.output(), take, deadline)) {
            return *state;
        }
        if (ended) {
            return Reading::kEnded;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        if (left <= milliseconds::zero()) {
            return Reading::kTimedOut;
        }
        pollfd wait{child.output(), POLLIN, 0};
        poll(&wait, 1, static_cast<int>(std::min(left, kMaxWait).count()));
    }
}

// A child that has closed its output should end soon; the pipe does not tell when.
ChildResult waitForEnd(ChildProcess &child, Clock::time_point deadline) {
    for (milliseconds nap = kFirstNap;; nap = std::min(nap * 2, kMaxNap)) {
        if (const auto result = child.ended()) {
            return *result;
        }
        if (Clock::now() >= deadline) {
            return {ChildEnd::kTimedOut, 0};
        }
        std::this_thread::sleep_for(nap);
    }
}

ChildResult notStarted(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EACCES:
    case EPERM:
        return {ChildEnd::kMissing, error};
    default:
        return {ChildEnd::kFailed, error};
    }
}

} // namespace

ChildResult runChild(const ChildRequest &request, const TakeOutput &take) {
    ChildRequest bounded = request;
    bounded.maxMilliseconds = static_cast<uint32_t>(
        std::min<uint64_t>(request.maxMilliseconds, qob_limits_milliseconds_left()));
    const Clock::time_point deadline = Clock::now() + milliseconds(bounded.maxMilliseconds);
    ChildProcess child(bounded);
    if (child.startError() != 0) {
        return notStarted(child.startError());
    }
    switch (readOutput(child, take, deadline)) {
    case Reading::kTimedOut:
        return {ChildEnd::kTimedOut, 0};
    case Reading::kStopped:
        return {ChildEnd::kStopped, 0};
    default:
        return waitForEnd(child, deadline);
    }
}

std::string describe(const ChildResult &result, std::string_view name) {
    const std::string program = "the program " + std::string(name);
    switch (result.end) {
    case ChildEnd::kExited:
        return program + " ended with status " + std::to_string(result.status);
    case ChildEnd::kCrashed:
        return program + " was ended by signal " + std::to_string(result.status);
    case ChildEnd::kTimedOut:
        return program + " took too long and was stopped";
    case ChildEnd::kStopped:
        return program + " was stopped";
    case ChildEnd::kMissing:
        return program + " is missing or may not be run";
    default:
        return program + " could not be started (error " + std::to_string(result.status) + ")";
    }
}

} // namespace qob::filters
