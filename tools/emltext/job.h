// SPDX-License-Identifier: MIT
// What travels between the parts of the command: one message to be extracted, and what became of
// it. Inputs make jobs, workers turn them into outcomes, outputs write both down.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace emltext {

// Codes of the command itself, beside those of the host and the filter: the worker process that
// had the message did not come back with a result.
enum WorkerCode : int32_t {
    kWorkerCrashed = 5001, // "EMLTEXT_ERR_CRASH": it was ended by a signal or ended by itself
    kWorkerTimeout = 5002, // "EMLTEXT_ERR_TIMEOUT": it was ended after --timeout
    kWorkerMemory = 5003,  // "EMLTEXT_ERR_MEMORY": it ran out of --memory
    kWorkerLost = 5004     // "EMLTEXT_ERR_WORKER": no worker could be started for it
};

// One message. A file is a message, or holds it: offset and length then tell where.
struct Job {
    uint64_t sequence = 0; // 0, 1, 2 ...: the order of the inputs, and of the output
    std::string path;      // as it was given or found; "-" is standard input
    std::string name;      // below the output directory, without ".txt": "lists/2026/message"
    uint64_t index = 0;    // from 1 in an mbox file; 0: the file is the message
    uint64_t offset = 0;   // in an mbox file: of the message's first header line
    uint64_t length = 0;   // in an mbox file: up to the next "From " line, without the empty line
                           // before it; its ">From " lines are still quoted
};

// One thing that was reported about a message: about an attachment from 1 on, or the message itself
// (0).
struct Note {
    uint32_t attachment = 0;
    int32_t code = 0;
    std::string reason; // a sentence without a full stop
};

// What became of a job.
struct Outcome {
    int32_t code = 0;       // of the host, or a WorkerCode
    bool truncated = false; // text was left out because of --max-output
    uint64_t bytesIn = 0;   // of the message
    uint64_t bytesOut = 0;  // of its text
    uint64_t milliseconds = 0;
    std::vector<Note>
        notes; // in the order of the reports; those that no person wants to hear of too
};

} // namespace emltext
