// SPDX-License-Identifier: MIT
// The lines of a state file: first what the run was asked for, then one line for each message.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "console/options.h"
#include "job.h"

namespace emltext {

struct ResumeRecord {
    int32_t code = 0;
    uint64_t outputSize = 0;
    uint64_t index = 0;
    std::string name;
    std::string path;
};

// Everything that outputs depend on, one option a line.
std::string resumeHeader(const Options &options);

// The first line of `expected` that `found` does not have, and what it has in its place: "charset
// is EUC-JP there and UTF-8 here".
std::string headerDifference(const std::string &expected, std::string_view found);

// A line with its line end.
std::string resumeLine(const ResumeRecord &record);

// Nothing when the line, which is without its line end, is no such line.
std::optional<ResumeRecord> readResumeLine(std::string_view line);

} // namespace emltext
