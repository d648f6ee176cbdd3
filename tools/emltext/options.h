// SPDX-License-Identifier: MIT
// The command line of emltext.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qob_extract.h"

namespace emltext {

enum class Action { kExtract, kShowVersion };

struct Options {
    Action action = Action::kExtract;
    std::vector<std::string> messages;     // paths; "-" is standard input
    std::optional<std::string> outputPath; // none: standard output
    std::string charset = "UTF-8";
    std::string language;
    uint32_t newline = QOB_NEWLINE_LF;
    uint64_t maxOutput = QOB_NO_LIMIT; // per message
    bool labels = true;
    bool attachments = true;
    bool log = false;
};

// Exit statuses of the command.
enum ExitStatus { kAllWell = 0, kMessageFailed = 1, kWrongUsage = 2 };

// What to do, or the exit status when there is nothing to do: help was printed to standard output,
// or a sentence about wrong usage to standard error.
struct ParsedCommandLine {
    std::optional<Options> options;
    int exitStatus = kAllWell;
};

ParsedCommandLine parseCommandLine(int argc, const char *const *argv);

} // namespace emltext
