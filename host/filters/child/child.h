// SPDX-License-Identifier: MIT
// Runs a program that reads a format, as a child under limits: no shell, no inherited descriptors
// or environment, bounded in memory, processor time and wall time. The child and everything it
// started in its process group are dead and reaped when the call returns or throws. Any number of
// threads may run children at once.
#ifndef QOB_FILTERS_CHILD_H
#define QOB_FILTERS_CHILD_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qob::filters {

struct ChildRequest {
    std::string program;                      // absolute path
    std::vector<std::string> arguments;       // without the program's name
    std::string inputPath;                    // its standard input; empty: /dev/null
    uint32_t maxMilliseconds = 30000;         // wall time; less when the extraction has less left
    uint64_t maxMemory = uint64_t{512} << 20; // bytes of address space
};

enum class ChildEnd {
    kExited,   // by itself; `status` is its exit status, -1 when somebody else reaped it
    kCrashed,  // by a signal, which `status` tells
    kTimedOut, // it ran too long and was killed
    kStopped,  // the output was not wanted any more, and it was killed
    kMissing,  // there is no such program, or it may not be run
    kFailed    // it could not be started; `status` is errno
};

struct ChildResult {
    ChildEnd end;
    int status;
};

// Takes a piece of the child's output, good for the call only. False: no more is wanted.
using TakeOutput = std::function<bool(std::string_view piece)>;

// Runs the program and hands its standard output to `take` in pieces of at most 64 KiB; its
// standard error is dropped.
ChildResult runChild(const ChildRequest &request, const TakeOutput &take);

// The absolute path of a program of the system, or nothing when it is not installed. Looked for in
// the system's own directories, or only in the directory that QOB_HELPER_DIR names (not in
// set-user-ID programs); never in $PATH.
std::string findProgram(std::string_view name);

// The result as one sentence without a full stop, for a person: "the program NAME ...".
std::string describe(const ChildResult &result, std::string_view name);

} // namespace qob::filters

#endif
