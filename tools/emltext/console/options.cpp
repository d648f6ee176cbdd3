// SPDX-License-Identifier: MIT
// The options of emltext and their help.
#include "console/options.h"

#include <algorithm>
#include <limits>
#include <thread>

#include <CLI/CLI.hpp>

#include "console/option_rules.h"
#include "console/option_values.h"
#include "console/report.h"

namespace emltext {
namespace {

constexpr uint32_t kMostJobs = 1024;
constexpr uint32_t kMostOfAnything = std::numeric_limits<uint32_t>::max();

constexpr const char *kDescription =
    "Prints the text of e-mail messages: header fields, body, and the text of attachments.";

constexpr const char *kFooter = R"(
Each INPUT is a file with one message, an mbox file, a directory, or - for one message on standard
input. Directories are searched for *.eml and Maildirs. The texts follow each other in the order of
the inputs, each beginning on a line of its own.
BYTES may end in K, M or G. A limit of 0 means none, but for --max-output and --max-depth.
A language may also be English, Japanese, Korean, "Simplified Chinese" or "Traditional
Chinese"; any other name means Japanese.

Exit status: 0 when every message was extracted in full, 1 when one was not (standard error
tells which and why), 2 for wrong usage, 130 after an interrupt. An attachment that cannot be read
does not make a message fail; standard error tells of damaged ones, not of images and the like.
)";

uint32_t newlineOf(const std::string &name) {
    if (name == "crlf") {
        return QOB_NEWLINE_CRLF;
    }
    return name == "cr" ? QOB_NEWLINE_CR : QOB_NEWLINE_LF;
}

CLI::Validator bytes() {
    return {readBytes, ""};
}

CLI::Validator number(uint64_t least, uint64_t most) {
    return {[least, most](std::string &text) { return readNumber(text, least, most); }, ""};
}

void declareInputOptions(CLI::App &app, Options &options) {
    app.add_option("INPUT", options.inputs, "Message, mbox file or directory, or -")->type_name("");
    app.add_option("--files-from", options.filesFrom,
                   "More inputs from FILE, one path a line; - is standard input")
        ->type_name("FILE");
    app.add_flag("-0,--null", options.nulSeparated, "Paths in FILE end with NUL, not with LF");
    app.add_flag("--all", options.allFiles, "Take every regular file of a directory");
}

void declareOutputOptions(CLI::App &app, Options &options) {
    app.add_option("-o,--output", options.outputPath,
                   "Write to the file PATH, which is replaced only when the text is\n"
                   "complete, or one file for each message below the directory PATH")
        ->type_name("PATH");
    app.add_flag("--jsonl", options.jsonLines,
                 "Write one JSON object a line for each message, with its text and what\n"
                 "failed");
    app.add_option("--resume", options.resumePath,
                   "Write down in STATE what is finished; finish the rest when run again")
        ->type_name("STATE");
    app.add_flag("-q,--quiet", options.quiet, "Tell only of messages that failed");
    app.add_flag("-v,--verbose", options.verbose, "Tell of every message");
}

void declareTextOptions(CLI::App &app, Options &options) {
    app.add_option("--charset", options.charset, "Charset of the output")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--newline", [&options](const std::string &name) { options.newline = newlineOf(name); },
           "Line end of the output: lf (default), crlf or cr")
        ->type_name("NAME")
        ->check(CLI::Validator(
            [](std::string &name) {
                const bool known = name == "lf" || name == "crlf" || name == "cr";
                return known ? std::string() : "must be lf, crlf or cr, not \"" + name + "\"";
            },
            ""));
    app.add_option("--language", options.language,
                   "Language of text that names no charset: en, ko, cn, tw or jp\n"
                   "(default)")
        ->type_name("NAME");
    app.add_flag(
        "--no-labels", [&options](int64_t) { options.labels = false; },
        "No \"Attach1:\" and name before the text of an attachment");
    app.add_flag(
        "--no-attachments", [&options](int64_t) { options.attachments = false; },
        "Name attachments, but leave their text out");
    app.add_flag("--log", options.log, "Write a log beside each message: MESSAGE.eml.log");
}

void declareLimits(CLI::App &app, Options &options) {
    app.add_option("--max-output", options.maxOutput, "At most so much text per message (4G)")
        ->type_name("BYTES")
        ->transform(bytes());
    app.add_option("--max-unpacked", options.maxUnpacked,
                   "At most so much out of archives and documents (1G)")
        ->type_name("BYTES")
        ->transform(bytes());
    app.add_option("--max-ratio", options.maxRatio,
                   "At most so many bytes out of one byte of an archive (200)")
        ->type_name("N")
        ->transform(number(0, kMostOfAnything));
    app.add_option("--max-parts", options.maxParts, "At most so many attachments (10000)")
        ->type_name("N")
        ->transform(number(0, kMostOfAnything));
    app.add_option("--max-depth", options.depthLimit, "At most so many files in files (50)")
        ->type_name("N")
        ->transform(number(0, kMostOfAnything));
    app.add_option("--timeout", options.timeoutSeconds, "At most so long for a message (60)")
        ->type_name("SECONDS")
        ->transform(number(0, kMostOfAnything / 1000)); // counted in milliseconds
    app.add_option("--memory", options.memoryBytes, "At most so much memory for a message (1G)")
        ->type_name("BYTES")
        ->transform(bytes());
}

void declareWorkerOptions(CLI::App &app, Options &options) {
    app.add_option("-j,--jobs", options.jobs, "Worker processes (default: one per processor)")
        ->type_name("N")
        ->transform(number(1, kMostJobs));
    const auto choose = [&options](Options::Sandbox wanted, const char *name) {
        if (options.sandbox != Options::Sandbox::kIfAvailable && options.sandbox != wanted) {
            throw CLI::ValidationError(name, "--sandbox and --no-sandbox exclude each other");
        }
        options.sandbox = wanted;
    };
    app.add_flag_callback(
        "--sandbox", [choose] { choose(Options::Sandbox::kRequired, "--sandbox"); },
        "Keep workers from the network and from files that are none of their\n"
        "business, or fail; the default is to do so where the system can");
    app.add_flag_callback(
        "--no-sandbox", [choose] { choose(Options::Sandbox::kOff, "--no-sandbox"); },
        "Workers may do whatever you may");
}

// The arguments from last to first, as the parser wants them. It would take "[a,b]" for a list of
// two values; as "./[a,b]" it is the same file, and one value.
std::vector<std::string> protectedArguments(int argc, const char *const *argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {
        const std::string argument = argv[i];
        arguments.push_back(argument.starts_with('[') ? "./" + argument : argument);
    }
    return arguments;
}

ParsedCommandLine wrongUsage(const std::string &sentence) {
    tell("emltext: " + sentence + "\nTry 'emltext --help'.");
    return {std::nullopt, kWrongUsage};
}

void declareAll(CLI::App &app, Options &options) {
    app.footer(kFooter);
    app.set_help_flag("-h,--help", "Print this help");
    app.add_flag_callback(
        "--version", [&options] { options.action = Action::kShowVersion; },
        "Print the version of the message filter");
    declareInputOptions(app, options);
    declareOutputOptions(app, options);
    declareTextOptions(app, options);
    declareLimits(app, options);
    declareWorkerOptions(app, options);
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char *const *argv) {
    Options options;
    options.jobs = std::min(kMostJobs, std::max(1U, std::thread::hardware_concurrency()));
    CLI::App app(kDescription, "emltext");
    declareAll(app, options);
    try {
        app.parse(protectedArguments(argc, argv));
    } catch (const CLI::CallForHelp &) {
        return {std::nullopt, printed(app.help()) ? kAllWell : kMessageFailed};
    } catch (const CLI::ParseError &error) {
        return wrongUsage(error.what());
    }
    if (options.action == Action::kShowVersion) {
        return {std::move(options), kAllWell};
    }
    const std::string wrong = settle(options);
    return wrong.empty() ? ParsedCommandLine{std::move(options), kAllWell} : wrongUsage(wrong);
}

} // namespace emltext
