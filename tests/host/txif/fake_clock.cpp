// SPDX-License-Identifier: MIT
// The dynamic linker binds clock_gettime to this one, because the program comes first.
#include "fake_clock.h"

#include <atomic>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int64_t> ahead{0}; // milliseconds

} // namespace

void advanceTestClock(int64_t milliseconds) {
    ahead += milliseconds;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec *time) noexcept {
    constexpr int64_t kNanoseconds = 1'000'000'000;
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_MONOTONIC) {
        const int64_t sum = time->tv_nsec + (ahead % 1000) * 1'000'000;
        time->tv_sec += ahead / 1000 + sum / kNanoseconds;
        time->tv_nsec = sum % kNanoseconds;
    }
    return result;
}
