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
    enum class Sandbox { kIfAvailable, kRequired, kOff };

    Action action = Action::kExtract;

    // Inputs
    std::vector<std::string> inputs;      // files, directories, mbox files; "-" is standard input
    std::optional<std::string> filesFrom; // a file with more of them; "-" is standard input
    bool nulSeparated = false;            // the entries of filesFrom end with NUL, not with LF
    bool allFiles = false;                // of directories, not only what looks like mail

    // Output
    std::optional<std::string> outputPath; // none: standard output
    bool outputIsDirectory = false;        // one text file for each message below outputPath
    bool jsonLines = false;
    std::optional<std::string> resumePath; // where finished messages are written down
    bool quiet = false;
    bool verbose = false;

    // Text
    std::string charset = "UTF-8";
    std::string language;
    uint32_t newline = QOB_NEWLINE_LF;
    bool labels = true;
    bool attachments = true;
    bool log = false;

    // Limits of each message; see QobExtractOptions for the first five
    uint64_t maxOutput = QOB_DEFAULT_MAX_OUTPUT;
    uint64_t maxUnpacked = QOB_DEFAULT_MAX_UNPACKED; // QOB_NO_LIMIT: none
    uint32_t maxRatio = QOB_DEFAULT_MAX_RATIO;       // 0: none
    uint32_t maxParts = QOB_DEFAULT_MAX_PARTS;       // 0: none
    uint32_t depthLimit = QOB_DEFAULT_DEPTH_LIMIT;
    uint32_t timeoutSeconds = 60;              // 0: none
    uint64_t memoryBytes = uint64_t{1} << 30U; // 0: none

    // Workers
    uint32_t jobs = 1; // at least 1; the number of processors unless given
    Sandbox sandbox = Sandbox::kIfAvailable;
};

// Exit statuses of the command.
enum ExitStatus {
    kAllWell = 0,
    kMessageFailed = 1,
    kWrongUsage = 2,
    kEndedBySignal = 128 // and the signal's number
};

// What to do, or the exit status when there is nothing to do: help was printed to standard output,
// or a sentence about wrong usage to standard error. Looks at the inputs in the file system to tell
// whether the output is a directory.
struct ParsedCommandLine {
    std::optional<Options> options;
    int exitStatus = kAllWell;
};

ParsedCommandLine parseCommandLine(int argc, const char *const *argv);

} // namespace emltext
