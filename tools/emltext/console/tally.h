// SPDX-License-Identifier: MIT
// How far a run is, and how a person reads that.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace emltext {

struct Tally {
    uint64_t messages = 0;                   // finished in this run
    uint64_t failed = 0;                     // of these
    uint64_t bytesIn = 0;                    // of these
    uint64_t bytesOut = 0;                   // of these
    uint64_t messagesBefore = 0;             // finished by earlier runs that this one resumes
    uint64_t failedBefore = 0;               // of those
    std::optional<uint64_t> total;           // messages of all runs, once it is known
    std::chrono::duration<double> elapsed{}; // of this run
};

// One line of at most `width` columns: a bar and messages done when the total is known, bytes per
// second, failures, time left.
std::string progressLine(const Tally &tally, std::size_t width);

// "emltext: 2,000 messages, 20 failed, ..."; `interrupted`: not all of them.
std::string summaryLine(const Tally &tally, bool interrupted);

} // namespace emltext
