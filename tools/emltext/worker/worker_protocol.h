// SPDX-License-Identifier: MIT
// What the command and its worker processes say to each other, over a socket that keeps packets
// apart: one frame a packet, of bounded size. Frames of a worker are not trusted: whatever does not
// read as a frame counts as the worker's end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "job.h"

namespace emltext {

constexpr std::size_t kMaxFrame = 32768;
constexpr std::size_t kMaxJobPath = 16384; // longer than any path that can be opened
constexpr std::size_t kMaxReason = 1000;   // bytes of a note's reason that are kept
constexpr uint32_t kMaxNotes = 1000;       // of one message

// A job as a worker gets it. The receiver closes the descriptors.
struct ReceivedJob {
    Job job;         // without its name
    int output = -1; // where the text goes
    int input = -1;  // the open input; -1: to be opened by its path
};

// What a worker reports of its job.
struct WorkerReport {
    enum class Kind : uint32_t {
        kInputRead,    // an input that had to be waited for is there; the work begins now
        kMemoryFailed, // memory ran out; the worker may or may not survive that
        kNote,
        kResult // the last one of a job
    };
    Kind kind = Kind::kResult;
    Note note;
    Outcome outcome;         // without its notes
    bool retire = false;     // the worker wants to be replaced
    uint64_t peakMemory = 0; // bytes, of the worker's life so far
};

enum class Received { kFrame, kNothing, kEnd };

// False when the worker is not there any more.
bool sendJob(int socket, const Job &job, int output, int input);

// Waits for the next job. False when there will be none.
bool receiveJob(int socket, ReceivedJob &received);

// Sends a report; allocates nothing. A report that cannot be sent is lost: nobody is left to read.
void sendReport(int socket, const WorkerReport &report);

// Takes a report if one is there, without waiting.
Received receiveReport(int socket, WorkerReport &report);

} // namespace emltext
