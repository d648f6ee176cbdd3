// SPDX-License-Identifier: MIT
// Command lines: what they ask for, and what makes them wrong.
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "console/options.h"

namespace {

using emltext::Options;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

emltext::ParsedCommandLine parse(std::vector<const char *> arguments) {
    arguments.insert(arguments.begin(), "emltext");
    return emltext::parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

Options optionsOf(std::vector<const char *> arguments) {
    return parse(std::move(arguments)).options.value();
}

TEST(CommandLine, WithoutOptionsReadsAllOfTheMessageToStandardOutput) {
    const Options options = optionsOf({"a.eml"});
    EXPECT_THAT(options.inputs, ElementsAre("a.eml"));
    EXPECT_FALSE(options.filesFrom || options.nulSeparated || options.allFiles);
    EXPECT_FALSE(options.outputPath || options.outputIsDirectory || options.jsonLines);
    EXPECT_FALSE(options.resumePath || options.quiet || options.verbose || options.log);
    EXPECT_EQ(options.charset, "UTF-8");
    EXPECT_EQ(options.language, "");
    EXPECT_EQ(options.newline, uint32_t{QOB_NEWLINE_LF});
    EXPECT_TRUE(options.labels);
    EXPECT_TRUE(options.attachments);
}

TEST(CommandLine, WithoutOptionsHasLimits) {
    const Options options = optionsOf({"a.eml"});
    EXPECT_EQ(options.maxOutput, uint64_t{1} << 32U);
    EXPECT_EQ(options.maxUnpacked, uint64_t{1} << 30U);
    EXPECT_EQ(options.maxRatio, 200U);
    EXPECT_EQ(options.maxParts, 10000U);
    EXPECT_EQ(options.depthLimit, 50U);
    EXPECT_EQ(options.timeoutSeconds, 60U);
    EXPECT_EQ(options.memoryBytes, uint64_t{1} << 30U);
    EXPECT_EQ(options.jobs, std::max(1U, std::thread::hardware_concurrency()));
    EXPECT_EQ(options.sandbox, Options::Sandbox::kIfAvailable);
}

TEST(CommandLine, TakesTheOptionsOfText) {
    const Options options =
        optionsOf({"-o", "out", "--charset", "EUC-JP", "--language", "ko", "--newline", "crlf",
                   "--no-labels", "--no-attachments", "--log", "a.eml"});
    EXPECT_EQ(options.outputPath, "out");
    EXPECT_EQ(options.charset, "EUC-JP");
    EXPECT_EQ(options.language, "ko");
    EXPECT_EQ(options.newline, uint32_t{QOB_NEWLINE_CRLF});
    EXPECT_FALSE(options.labels);
    EXPECT_FALSE(options.attachments);
    EXPECT_TRUE(options.log);
}

TEST(CommandLine, TakesTheLimits) {
    const Options options = optionsOf({"--max-output", "100", "--max-unpacked", "2K", "--max-ratio",
                                       "3", "--max-parts", "4", "--max-depth", "5", "--timeout",
                                       "6", "--memory", "7M", "-j", "8", "a.eml"});
    EXPECT_EQ(options.maxOutput, 100U);
    EXPECT_EQ(options.maxUnpacked, 2048U);
    EXPECT_EQ(options.maxRatio, 3U);
    EXPECT_EQ(options.maxParts, 4U);
    EXPECT_EQ(options.depthLimit, 5U);
    EXPECT_EQ(options.timeoutSeconds, 6U);
    EXPECT_EQ(options.memoryBytes, 7U << 20U);
    EXPECT_EQ(options.jobs, 8U);
}

TEST(CommandLine, TakesTheOptionsOfManyMessages) {
    const Options options = optionsOf({"--files-from", "list", "-0", "--all", "--jsonl", "-o",
                                       "out.jsonl", "--resume", "state", "-q", "-v", "--sandbox"});
    EXPECT_EQ(options.filesFrom, "list");
    EXPECT_TRUE(options.nulSeparated);
    EXPECT_TRUE(options.allFiles);
    EXPECT_TRUE(options.jsonLines);
    EXPECT_EQ(options.resumePath, "state");
    EXPECT_TRUE(options.quiet);
    EXPECT_TRUE(options.verbose);
    EXPECT_EQ(options.sandbox, Options::Sandbox::kRequired);
    EXPECT_EQ(optionsOf({"--no-sandbox", "a"}).sandbox, Options::Sandbox::kOff);
}

TEST(CommandLine, TakesInputsAsTheyAreWritten) {
    EXPECT_THAT(optionsOf({"[a,b]", "-", "x y", "{c}", "%d"}).inputs,
                ElementsAre("./[a,b]", "-", "x y", "{c}", "%d"));
    EXPECT_THAT(optionsOf({"--", "--log", "-o"}).inputs, ElementsAre("--log", "-o"));
}

TEST(CommandLine, ReadsNumbersInDecimal) {
    EXPECT_EQ(optionsOf({"--max-output", "010", "a"}).maxOutput, 10U);
    EXPECT_EQ(optionsOf({"--max-output=4294967296", "a"}).maxOutput, 4294967296U);
    EXPECT_EQ(optionsOf({"--timeout", "08", "a"}).timeoutSeconds, 8U);
}

TEST(CommandLine, ReadsSizesWithASuffix) {
    EXPECT_EQ(optionsOf({"--max-output", "64K", "a"}).maxOutput, 65536U);
    EXPECT_EQ(optionsOf({"--max-output", "3M", "a"}).maxOutput, 3U << 20U);
    EXPECT_EQ(optionsOf({"--max-output", "5G", "a"}).maxOutput, uint64_t{5} << 30U);
}

TEST(CommandLine, TakesZeroForNoLimitWhereThatMeansSomething) {
    const Options options =
        optionsOf({"--max-unpacked", "0", "--max-output", "0", "--max-depth", "0", "a"});
    EXPECT_EQ(options.maxUnpacked, QOB_NO_LIMIT);
    EXPECT_EQ(options.maxOutput, 0U);
    EXPECT_EQ(options.depthLimit, 0U);
}

TEST(CommandLine, TakesTheLineEndsByName) {
    EXPECT_EQ(optionsOf({"--newline", "lf", "a"}).newline, uint32_t{QOB_NEWLINE_LF});
    EXPECT_EQ(optionsOf({"--newline", "cr", "a"}).newline, uint32_t{QOB_NEWLINE_CR});
}

TEST(CommandLine, ThatAsksForALogGoesWithoutSandbox) {
    EXPECT_EQ(optionsOf({"--log", "a"}).sandbox, Options::Sandbox::kOff);
}

TEST(CommandLine, WritesFilesBelowADirectory) {
    EXPECT_TRUE(optionsOf({"-o", "new/", "a.eml"}).outputIsDirectory);
    EXPECT_TRUE(optionsOf({"-o", "/tmp", "a.eml"}).outputIsDirectory);
    EXPECT_TRUE(optionsOf({"-o", "new", "/tmp"}).outputIsDirectory);
    EXPECT_TRUE(optionsOf({"-o", "new", "--files-from", "list"}).outputIsDirectory);
    EXPECT_FALSE(optionsOf({"-o", "new", "a.eml", "b.eml"}).outputIsDirectory);
    EXPECT_FALSE(optionsOf({"-o", "new", "--jsonl", "/tmp"}).outputIsDirectory);
}

TEST(CommandLine, TakesTheCharsetOfJsonByAnyOfItsNames) {
    EXPECT_TRUE(optionsOf({"--jsonl", "--charset", "utf-8", "a"}).jsonLines);
}

TEST(CommandLine, ThatAsksForTheVersionNeedsNoInput) {
    EXPECT_EQ(optionsOf({"--version"}).action, emltext::Action::kShowVersion);
}

TEST(CommandLine, ThatAsksForHelpPrintsItToStandardOutput) {
    ::testing::internal::CaptureStdout();
    const auto parsed = parse({"--help"});
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitStatus, 0);
    for (const char *option : {"INPUT",
                               "--files-from FILE",
                               "-0,--null",
                               "--all",
                               "--output PATH",
                               "--jsonl",
                               "--resume STATE",
                               "-q,--quiet",
                               "-v,--verbose",
                               "--charset NAME",
                               "--language NAME",
                               "--newline NAME",
                               "--no-labels",
                               "--no-attachments",
                               "--log",
                               "--max-output BYTES",
                               "--max-unpacked BYTES",
                               "--max-ratio N",
                               "--max-parts N",
                               "--max-depth N",
                               "--timeout SECONDS",
                               "--memory BYTES",
                               "-j,--jobs N",
                               "--sandbox",
                               "--no-sandbox",
                               "-h,--help",
                               "--version"}) {
        EXPECT_THAT(printed, HasSubstr(option));
    }
}

struct WrongRow {
    const char *name;
    std::vector<const char *> arguments;
    const char *complaint;
};

class WrongUsage : public ::testing::TestWithParam<WrongRow> {};

TEST_P(WrongUsage, IsSaidOnStandardErrorWithStatus2) {
    ::testing::internal::CaptureStderr();
    const auto parsed = parse(GetParam().arguments);
    const std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitStatus, 2);
    EXPECT_THAT(printed, HasSubstr(GetParam().complaint));
    EXPECT_THAT(printed, HasSubstr("emltext --help"));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    ::testing::Values(
        WrongRow{"NoInput", {}, "no INPUT given"},
        WrongRow{"UnknownOption", {"--colour", "a"}, "--colour"},
        WrongRow{"OptionWithoutItsValue", {"a", "-o"}, "--output"},
        WrongRow{"EmptyOutput", {"-o", "", "a"}, "--output needs a path"},
        WrongRow{"UnknownLineEnd", {"--newline", "nl", "a"}, "must be lf, crlf or cr, not \"nl\""},
        WrongRow{"NegativeCount", {"--max-output", "-1", "a"}, "must be a number of bytes"},
        WrongRow{"HexadecimalCount", {"--max-output", "0x10", "a"}, "not \"0x10\""},
        WrongRow{"SuffixAlone", {"--memory", "K", "a"}, "not \"K\""},
        WrongRow{
            "CountBeyond64Bits", {"--max-output", "99999999999999999999", "a"}, "--max-output"},
        WrongRow{"SizeBeyond64Bits", {"--memory", "17179869184G", "a"}, "--memory"},
        WrongRow{"NoWorkers", {"-j", "0", "a"}, "must be a number from 1 to 1024, not \"0\""},
        WrongRow{"WordForANumber", {"--timeout", "soon", "a"}, "not \"soon\""},
        WrongRow{"RatioBeyond32Bits", {"--max-ratio", "4294967296", "a"}, "--max-ratio"},
        WrongRow{"LogOfStandardInput", {"--log", "-"}, "--log needs message files"},
        WrongRow{"LogInASandbox", {"--log", "--sandbox", "a"}, "exclude each other"},
        WrongRow{"SandboxAndNone", {"--sandbox", "--no-sandbox", "a"}, "exclude each other"},
        WrongRow{"StandardInputTwice", {"-", "-"}, "standard input can be read only once"},
        WrongRow{"StandardInputForAListToo",
                 {"-", "--files-from", "-"},
                 "standard input can be read only once"},
        WrongRow{"NulWithoutAList", {"-0", "a"}, "--null needs --files-from"},
        WrongRow{"JsonIntoADirectory", {"--jsonl", "-o", "/tmp", "a"}, "/tmp is a directory"},
        WrongRow{"JsonInAnotherCharset",
                 {"--jsonl", "--charset", "EUC-JP", "a"},
                 "--jsonl is always UTF-8"},
        WrongRow{"ResumingStandardOutput", {"--resume", "s", "a"}, "--resume needs an output"},
        WrongRow{"ResumingOneText",
                 {"--resume", "s", "-o", "none/out", "a"},
                 "--resume needs an output"},
        WrongRow{"UnknownCharset", {"--charset", "no-such", "a"}, "no charset is called"}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
