// SPDX-License-Identifier: MIT
// The rules of the command line, each with its own sentence.
#include "console/option_rules.h"

#include <algorithm>

#include <strings.h>
#include <sys/stat.h>

#include "input/input_kind.h"
#include "output/line_end.h"

namespace emltext {
namespace {

constexpr std::size_t kLongestName = 255; // of a charset or language, as the host takes them

bool isDirectory(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool namesDirectory(const std::string &path) {
    return path.ends_with('/') || isDirectory(path);
}

// Inputs that hold an unknown number of messages.
bool hasManyMessages(const Options &options) {
    return options.filesFrom.has_value() ||
           std::any_of(options.inputs.begin(), options.inputs.end(), [](const std::string &input) {
               return inputKind(input) != InputKind::kMessage;
           });
}

bool isUtf8(const std::string &charset) {
    return strcasecmp(charset.c_str(), "UTF-8") == 0 || strcasecmp(charset.c_str(), "UTF8") == 0;
}

std::string wrongInputs(const Options &options) {
    if (options.inputs.empty() && !options.filesFrom) {
        return "no INPUT given";
    }
    const auto fromStandardInput = std::count(options.inputs.begin(), options.inputs.end(), "-") +
                                   (options.filesFrom == "-" ? 1 : 0);
    if (fromStandardInput > 1) {
        return "standard input can be read only once";
    }
    if (options.nulSeparated && !options.filesFrom) {
        return "--null needs --files-from: it tells how paths end there";
    }
    if (options.log && fromStandardInput > 0 && options.filesFrom != "-") {
        return "--log needs message files: there is no place beside standard input";
    }
    if (options.log && options.sandbox == Options::Sandbox::kRequired) {
        return "--log and --sandbox exclude each other: a log is written beside the message";
    }
    return {};
}

std::string wrongText(const Options &options) {
    if (options.charset.size() > kLongestName || options.language.size() > kLongestName) {
        return "a charset or language has a name of at most 255 bytes";
    }
    if (lineEnd(options.charset, options.newline).empty()) {
        return "no charset is called \"" + options.charset + "\"";
    }
    return {};
}

std::string wrongOutput(const Options &options) {
    if (options.outputPath && options.outputPath->empty()) {
        return "--output needs a path: it is empty";
    }
    if (options.jsonLines && options.outputIsDirectory) {
        return "--jsonl writes one file, but " + *options.outputPath + " is a directory";
    }
    if (options.jsonLines && !isUtf8(options.charset)) {
        return "--jsonl is always UTF-8: leave --charset out";
    }
    const bool canResume = options.outputIsDirectory || (options.jsonLines && options.outputPath);
    if (options.resumePath && !canResume) {
        return "--resume needs an output that can be gone on with: -o DIRECTORY, or --jsonl -o "
               "FILE";
    }
    return {};
}

} // namespace

std::string settle(Options &options) {
    if (options.outputPath && !options.outputPath->empty()) {
        options.outputIsDirectory =
            namesDirectory(*options.outputPath) || (!options.jsonLines && hasManyMessages(options));
    }
    if (options.maxUnpacked == 0) {
        options.maxUnpacked = QOB_NO_LIMIT;
    }
    if (options.log && options.sandbox == Options::Sandbox::kIfAvailable) {
        options.sandbox = Options::Sandbox::kOff;
    }
    std::string wrong = wrongInputs(options);
    if (wrong.empty()) {
        wrong = wrongText(options);
    }
    return wrong.empty() ? wrongOutput(options) : wrong;
}

} // namespace emltext
