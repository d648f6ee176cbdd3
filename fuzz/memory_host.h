// SPDX-License-Identifier: MIT
// The host behind the fuzz targets: every service of the filter, in memory and fast.
//
// It watches over its own contract. A handle or block that it did not give out, a negative count
// where none is allowed, a buffer that is smaller than announced, or a hand-over of a file that
// does not exist ends the process with a message: that is a finding.
//
// One host is in force at a time; it is the last one made. Nothing here is thread-safe.
#ifndef QOB_FUZZ_MEMORY_HOST_H
#define QOB_FUZZ_MEMORY_HOST_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qob_host.h"

// Prints the broken promise and ends the process, so that the fuzzer keeps the input.
[[noreturn]] void violation(std::string_view promise);

// Ends the process unless `holds`.
inline void require(bool holds, std::string_view promise) {
    if (!holds) {
        violation(promise);
    }
}

// The services that can be made to fail. A failed read or write takes half of what was asked.
enum class Service : uint8_t {
    kNone,
    kAllocate,
    kOpen,
    kRead,
    kWrite,
    kSeek,
    kTell,
    kClose,
    kTemporaryName,
    kConverterSetUp,
    kCharsetChange,
    kConvert,
    kLogOpen,
    kInsert,
    kStreamWrite,
    kCount
};

struct HostBehaviour {
    bool logging = false;
    bool expanding = true;              // bytes from 0x80 on grow to 2, 3 or 4 bytes when converted
    std::string_view lineEnd = "\n";    // of the output charset
    std::string_view tmpLineEnd = "\n"; // of temporary files
    bool insertFails = false; // the insertion of a file of odd size fails with kInsertError
    Service failing = Service::kNone;
    uint32_t failingCall = 0; // from 1
    bool failingFromThere = false;
};

inline constexpr int32_t kInsertError = 4242;

// A file of the host. Its text outlives its name while it is open.
struct MemoryFile {
    std::string text = {};
    std::string mode = {}; // it was opened with last
};

// What stands behind the filter's handles.
struct QobFile {
    std::shared_ptr<MemoryFile> file;
    std::string name;
    bool writable;
    int64_t position = 0;
};
struct QobLog {
    bool open = true;
};

class MemoryHost {
public:
    explicit MemoryHost(const HostBehaviour &behaviour);
    ~MemoryHost();
    MemoryHost(const MemoryHost &) = delete;
    MemoryHost &operator=(const MemoryHost &) = delete;

    static MemoryHost &current();

    // The text that the name stands for; empty for none.
    std::string textOf(const std::string &name) const;
    // Ends the process unless every block, converter and log was given back.
    void requireBalance() const;

    HostBehaviour behaviour;
    std::map<std::string, std::shared_ptr<MemoryFile>> files = {};
    std::vector<std::unique_ptr<QobFile>> openFiles = {};
    std::unique_ptr<QobLog> log = {};
    std::string stream = {};        // what was written to the stream
    std::string removedOutput = {}; // the text of the last removed file named `outputName`
    std::string outputName = {};

    // What the run cost.
    uint64_t calls = 0;
    uint64_t attachmentFiles = 0; // opened
    uint64_t failuresMade = 0;
    size_t liveBlocks = 0;
    size_t liveBytes = 0;
    size_t peakBytes = 0;
    size_t liveConverters = 0;

    // ---- for the services ----

    // Counts a call and tells whether it is to fail.
    bool enter(Service service);
    uint32_t names = 0;
    uint32_t servicesCalls[static_cast<size_t>(Service::kCount)] = {};
};

#endif
