// SPDX-License-Identifier: MIT
// What runs on this thread: one Extraction per outermost call, and in it one filter after the
// other, one inside the other. Threads share none of it.
#pragma once

#include <cstdint>

#include "extraction_limits.h"
#include "input_file.h"
#include "notice_relay.h"
#include "qob_extract.h"

namespace qob {

// The innermost running filter.
struct Running {
    const HostParams *params = nullptr; // what it was given, where that is known
    NoticeRelay *relay = nullptr;       // what it reports through, or null
    uint64_t unpacked = 0;              // bytes that it unpacked out of its file
    bool partCounted = false;           // it counted a member that it has not handed over yet
};

struct Extraction {
    uint32_t depthLimit = QOB_DEFAULT_DEPTH_LIMIT;
    uint32_t depth = 0;         // files that bring files of their own, around the running filter
    uint32_t flags = 0;         // HostParams.flags of the outermost call
    bool collectsCodes = false; // failed insertions are collected here instead of returned
    bool truncated = false;     // an insertion left text out because of the limit
    bool ended = false; // the limit is reached or the output failed: nothing more is inserted
    Running running;
    Limits limits;
    int32_t bodyCode = 0;       // first failure of a body of the outermost message
    int32_t attachmentCode = 0; // first failure of one of its attachments
    uint32_t attachmentsFailed = 0;
};

// Makes an Extraction this thread's current one for the life of the object.
class ExtractionGuard {
public:
    explicit ExtractionGuard(Extraction &extraction);
    ~ExtractionGuard();
    ExtractionGuard(const ExtractionGuard &) = delete;
    ExtractionGuard &operator=(const ExtractionGuard &) = delete;

private:
    Extraction *outer_;
};

// This thread's current Extraction, or null.
Extraction *currentExtraction();

// A scope of temporary files and handles for the life of the object.
class ScopeGuard {
public:
    explicit ScopeGuard(const char *tempRoot);
    ~ScopeGuard();
    ScopeGuard(const ScopeGuard &) = delete;
    ScopeGuard &operator=(const ScopeGuard &) = delete;

    // False with errno set when there is none.
    bool entered() const { return entered_; }

private:
    bool entered_;
};

// One file to be extracted. Everything must outlive the run.
struct FilterRun {
    const PreparedInput *input;
    bool nested;              // asked for by another filter
    const HostParams *params; // as the filter gets them
    QobStream *stream;
    NoticeRelay *relay;
};

// Reports a limit through the relay, unless this extraction has reported it before.
void reportLimit(Extraction &extraction, NoticeRelay &relay, int32_t code);

// Runs the filter of the file's type under the depth limit of `extraction`. Returns the
// filter's code, or the host's own; a failure has been reported through the relay.
int32_t runFilter(Extraction &extraction, const FilterRun &run);

} // namespace qob
