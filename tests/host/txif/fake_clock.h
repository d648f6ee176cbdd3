// SPDX-License-Identifier: MIT
// A monotonic clock that tests can move forward, in the place of the C library's, for every library
// of the test program.
#pragma once

#include <cstdint>

#include <dlfcn.h>

// Moves the clock. Exported, so that filters loaded by the program find it too.
extern "C" __attribute__((visibility("default"))) void advanceTestClock(int64_t milliseconds);

// The same for a filter, which is not linked with the program.
inline void advanceClockOfProgram(int64_t milliseconds) {
    const auto advance =
        reinterpret_cast<void (*)(int64_t)>(dlsym(RTLD_DEFAULT, "advanceTestClock"));
    advance(milliseconds);
}
