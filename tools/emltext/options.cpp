// SPDX-License-Identifier: MIT
// The options of emltext, their help, and what makes a command line wrong.
#include "options.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include <CLI/CLI.hpp>

#include "report.h"

namespace emltext {
namespace {

constexpr const char *kDescription =
    "Prints the text of e-mail messages: header fields, body, and the text of attachments.";

constexpr const char *kFooter = R"(
Each MESSAGE is a file with one message; - is standard input. The texts follow each other,
each beginning on a line of its own.
A language may also be English, Japanese, Korean, "Simplified Chinese" or "Traditional
Chinese"; any other name means Japanese.

Exit status: 0 when every message was extracted in full, 1 when one was not (standard error
tells which and why), 2 for wrong usage. An attachment that cannot be read does not make a
message fail; standard error tells of damaged ones, not of images and the like.
)";

// Checks a number of bytes and writes it without leading zeros, which the parser would take for the
// sign of an octal number. Returns what is wrong, or nothing.
std::string normaliseCount(std::string &text) {
    uint64_t count = 0;
    const char *const end = text.data() + text.size();
    const auto [parsedEnd, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc() || parsedEnd != end) {
        return "must be a number of bytes, not \"" + text + "\"";
    }
    text = std::to_string(count);
    return {};
}

uint32_t newlineOf(const std::string &name) {
    if (name == "crlf") {
        return QOB_NEWLINE_CRLF;
    }
    return name == "cr" ? QOB_NEWLINE_CR : QOB_NEWLINE_LF;
}

void declareOutputOptions(CLI::App &app, Options &options) {
    app.add_option("-o,--output", options.outputPath,
                   "Write to FILE, which is replaced only when the text is complete")
        ->type_name("FILE");
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
    app.add_option("--max-output", options.maxOutput, "At most so many bytes of text per message")
        ->type_name("BYTES")
        ->transform(CLI::Validator(normaliseCount, ""));
}

void declareInputOptions(CLI::App &app, Options &options) {
    app.add_option("--language", options.language,
                   "Language of text that names no charset: en, ko, cn, tw or jp (default)")
        ->type_name("NAME");
    app.add_flag(
        "--no-labels", [&options](int64_t) { options.labels = false; },
        "No \"Attach1:\" and name before the text of an attachment");
    app.add_flag(
        "--no-attachments", [&options](int64_t) { options.attachments = false; },
        "Name attachments, but leave their text out");
    app.add_flag("--log", options.log, "Write a log beside each message: MESSAGE.eml.log");
}

// Empty when the options go together.
std::string contradiction(const Options &options) {
    if (options.messages.empty()) {
        return "no MESSAGE given";
    }
    const bool readsStandardInput =
        std::find(options.messages.begin(), options.messages.end(), "-") != options.messages.end();
    if (options.log && readsStandardInput) {
        return "--log needs message files: there is no place beside standard input";
    }
    return {};
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

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char *const *argv) {
    Options options;
    CLI::App app(kDescription, "emltext");
    app.footer(kFooter);
    app.set_help_flag("-h,--help", "Print this help");
    bool showVersion = false;
    app.add_flag("--version", showVersion, "Print the version of the message filter");
    app.add_option("MESSAGE", options.messages, "Message file, or -")->type_name("");
    declareOutputOptions(app, options);
    declareInputOptions(app, options);
    try {
        app.parse(protectedArguments(argc, argv));
    } catch (const CLI::CallForHelp &) {
        return {std::nullopt, printed(app.help()) ? kAllWell : kMessageFailed};
    } catch (const CLI::ParseError &error) {
        return wrongUsage(error.what());
    }
    if (showVersion) {
        options.action = Action::kShowVersion;
        return {std::move(options), kAllWell};
    }
    const std::string wrong = contradiction(options);
    return wrong.empty() ? ParsedCommandLine{std::move(options), kAllWell} : wrongUsage(wrong);
}

} // namespace emltext
