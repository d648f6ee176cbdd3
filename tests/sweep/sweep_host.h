// SPDX-License-Identifier: MIT
// A lean host in memory for sweeps of many thousand runs: it serves every host service of the
// filter, counts the calls of each, and makes one call, or one and every later one, fail.
//
// The youngest SweepHost of a thread is in force on it. Text conversion copies bytes, insertion
// writes the inserted file's content in brackets. What a careless caller does with a closed file,
// a freed block or an ended conversion is noted in `misuse`.
#ifndef QOB_TESTS_SWEEP_HOST_H
#define QOB_TESTS_SWEEP_HOST_H

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "qob_host.h"

enum class Service {
    kAllocate,
    kReallocate,
    kOpen,
    kRead,
    kWrite,
    kSeek,
    kTell,
    kTellSize,
    kClose,
    kFind,
    kRemove,
    kTmpName,
    kBoundTmpName,
    kConverterSetUp,
    kCharsetChange,
    kConversion,
    kLogOpen,
    kInsert,
    kStreamWrite,
    kCount
};
inline constexpr size_t kServiceCount = static_cast<size_t>(Service::kCount);

const char *nameOf(Service service);

// Which calls of a service fail, and how far.
struct Fault {
    Service service;
    int call;        // counted from 1
    bool persistent; // that call and every later one
    bool partial;    // half of the bytes are read or written, instead of none
};

// What the first call that failed was about.
struct FaultSite {
    std::string path = {};            // of the file
    std::string data = {};            // that was to be written
    size_t size = 0;                  // that was asked for
    Service before = Service::kCount; // the last service that was called before
    bool inConversion = false;        // an input copy was asked for
    bool firstBlock = false;          // a realloc that had nothing to grow
};

// What a failed insertion returns.
inline constexpr int32_t kHostError = 4242;

using Content = std::shared_ptr<std::string>;

class SweepHost {
public:
    SweepHost();
    ~SweepHost();
    SweepHost(const SweepHost &) = delete;
    SweepHost &operator=(const SweepHost &) = delete;

    // ---- what a run sets ----

    std::optional<Fault> fault;
    const char *temporaryLineEnd = "\n"; // of ISO-8859-1 output, for temporary files

    void putFile(const std::string &name, std::string text);
    // Starts to count anew.
    void forgetCalls();

    // ---- what a run looks at ----

    std::map<std::string, Content> files;
    std::string stream; // everything written through QOB_WriteStream
    std::array<int, kServiceCount> calls = {};
    int allCalls = 0;
    std::optional<FaultSite> site;    // where the fault was reached
    std::vector<std::string> created; // names of files that were opened for writing
    int failedRemovals = 0;
    int openFiles = 0;
    int openLogs = 0;
    int openConverters = 0;
    std::vector<std::string> misuse;

    int callsOf(Service service) const { return calls[static_cast<size_t>(service)]; }
    size_t liveBlocks() const { return blocks.size(); }

    // ---- for the services ----

    // Counts a call and tells whether it is to fail.
    bool fails(Service service, const FaultSite &callSite = {});
    void note(const char *what) { misuse.emplace_back(what); }

    std::unordered_map<void *, size_t> blocks;
    std::vector<std::unique_ptr<QobFile>> handles; // closed ones too, until the run ends
    std::vector<std::unique_ptr<QobLog>> logs;
    int temporaryNames = 0;
    Service lastService = Service::kCount;

private:
    SweepHost *const previous;
};

#endif
