// SPDX-License-Identifier: MIT
// What the targets of single routines work with: a handle as an entry point and the driver set it
// up, with an input whose block is loaded.
#ifndef QOB_FUZZ_ROUTINE_HANDLE_H
#define QOB_FUZZ_ROUTINE_HANDLE_H

#include <string>

#include "emlcomm/handle.h"
#include "emlcontent/field_finders.h"
#include "input.h"

// A handle in file mode with open output and all buffers. At the end its buffers are released and
// its files closed, and the host's balance is checked.
class RoutineHandle {
public:
    RoutineHandle(MemoryHost &host, const Settings &settings);
    ~RoutineHandle();
    RoutineHandle(const RoutineHandle &) = delete;
    RoutineHandle &operator=(const RoutineHandle &) = delete;

    // Makes `text` the input and loads the block at `start` as the driver does: 16384 bytes, or
    // what is left.
    void load(const std::string &text, int32_t start);
    // A new temporary file; it stays open until close().
    QobFile *openTarget();
    // Closes the target and gives back what was written into it.
    std::string closeTarget();
    std::string output() const;

    MemoryHost &host;
    HostParams params;
    SessionRecord session = {};
    ExtractionHandle handle = {};
    QobFile *target = nullptr;
};

#endif
