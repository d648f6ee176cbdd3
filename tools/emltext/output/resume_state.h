// SPDX-License-Identifier: MIT
// What is finished, in a file that only grows: one line for each message. A run that was killed at
// any moment leaves at most one line without an end, which does not count; the run that comes after
// it finishes the rest.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/options.h"
#include "job.h"
#include "output/name_table.h"

namespace emltext {

class ResumeState {
public:
    ResumeState() = default;
    ~ResumeState();
    ResumeState(const ResumeState &) = delete;
    ResumeState &operator=(const ResumeState &) = delete;

    struct Problem {
        int exitStatus = 0;
        std::string sentence; // without a full stop
    };

    // Reads the file or begins it. A file of a run with other options or another output, and one
    // that is something else, stays as it is and is a problem of wrong usage.
    std::optional<Problem> open(const std::string &path, const Options &options);

    // Keeps the names of finished messages from being given to others.
    void reserveNames(NameTable &names) const;

    // The code of a message that is finished. Each finished message is found once, so that one that
    // was asked for twice is also done twice.
    std::optional<int32_t> takeFinished(const Job &job);

    // Writes down that a message is finished and how long the output is with it. False with errno
    // set when that failed.
    bool append(const Job &job, int32_t code, uint64_t outputSize);

    // The length of the output with the last finished message.
    uint64_t outputSize() const { return outputSize_; }

private:
    struct Place {
        uint64_t number; // of the message
        uint64_t offset; // of its line
        uint32_t length;
        bool taken;
    };

    std::optional<Problem> read(const std::string &path, const std::string &header);
    bool readLines(std::string_view content, uint64_t offset);
    std::string lineAt(const Place &place) const;

    int descriptor_ = -1;
    std::vector<Place> places_; // by number, then by offset
    uint64_t outputSize_ = 0;
};

} // namespace emltext
