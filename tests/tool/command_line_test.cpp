// SPDX-License-Identifier: MIT
// Command lines: what they ask for, and what makes them wrong.
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "options.h"

namespace {

using emltext::Options;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

emltext::ParsedCommandLine parse(std::vector<const char *> arguments) {
    arguments.insert(arguments.begin(), "emltext");
    return emltext::parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, WithoutOptionsHasTheDefaults) {
    const Options options = parse({"a.eml"}).options.value();
    EXPECT_THAT(options.messages, ElementsAre("a.eml"));
    EXPECT_FALSE(options.outputPath);
    EXPECT_EQ(options.charset, "UTF-8");
    EXPECT_EQ(options.language, "");
    EXPECT_EQ(options.newline, uint32_t{QOB_NEWLINE_LF});
    EXPECT_EQ(options.maxOutput, QOB_NO_LIMIT);
    EXPECT_TRUE(options.labels);
    EXPECT_TRUE(options.attachments);
    EXPECT_FALSE(options.log);
}

TEST(CommandLine, TakesEveryOption) {
    const Options options =
        parse({"-o", "out", "--charset", "EUC-JP", "--language", "ko", "--newline", "crlf",
               "--max-output", "100", "--no-labels", "--no-attachments", "--log", "a.eml"})
            .options.value();
    EXPECT_EQ(options.outputPath, "out");
    EXPECT_EQ(options.charset, "EUC-JP");
    EXPECT_EQ(options.language, "ko");
    EXPECT_EQ(options.newline, uint32_t{QOB_NEWLINE_CRLF});
    EXPECT_EQ(options.maxOutput, 100U);
    EXPECT_FALSE(options.labels);
    EXPECT_FALSE(options.attachments);
    EXPECT_TRUE(options.log);
}

TEST(CommandLine, TakesMessagesAsTheyAreWritten) {
    EXPECT_THAT(parse({"[a,b]", "-", "x y", "{c}", "%d"}).options.value().messages,
                ElementsAre("./[a,b]", "-", "x y", "{c}", "%d"));
    EXPECT_THAT(parse({"--", "--log", "-o"}).options.value().messages, ElementsAre("--log", "-o"));
}

TEST(CommandLine, ReadsNumbersOfBytesInDecimal) {
    EXPECT_EQ(parse({"--max-output", "010", "a"}).options.value().maxOutput, 10U);
    EXPECT_EQ(parse({"--max-output", "0", "a"}).options.value().maxOutput, 0U);
    EXPECT_EQ(parse({"--max-output=4294967296", "a"}).options.value().maxOutput, 4294967296U);
}

TEST(CommandLine, TakesTheLineEndsByName) {
    EXPECT_EQ(parse({"--newline", "lf", "a"}).options.value().newline, uint32_t{QOB_NEWLINE_LF});
    EXPECT_EQ(parse({"--newline", "cr", "a"}).options.value().newline, uint32_t{QOB_NEWLINE_CR});
}

TEST(CommandLine, ThatAsksForTheVersionNeedsNoMessage) {
    EXPECT_EQ(parse({"--version"}).options.value().action, emltext::Action::kShowVersion);
}

TEST(CommandLine, ThatAsksForHelpPrintsItToStandardOutput) {
    ::testing::internal::CaptureStdout();
    const auto parsed = parse({"--help"});
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitStatus, 0);
    for (const char *option : {"MESSAGE", "--output FILE", "--charset NAME", "--language NAME",
                               "--newline NAME", "--max-output BYTES", "--no-labels",
                               "--no-attachments", "--log", "--help", "--version"}) {
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
        WrongRow{"NoMessage", {}, "no MESSAGE given"},
        WrongRow{"UnknownOption", {"--colour", "a"}, "--colour"},
        WrongRow{"OptionWithoutItsValue", {"a", "-o"}, "--output"},
        WrongRow{"UnknownLineEnd", {"--newline", "nl", "a"}, "must be lf, crlf or cr, not \"nl\""},
        WrongRow{"NegativeCount", {"--max-output", "-1", "a"}, "must be a number of bytes"},
        WrongRow{"HexadecimalCount", {"--max-output", "0x10", "a"}, "not \"0x10\""},
        WrongRow{
            "CountBeyond64Bits", {"--max-output", "99999999999999999999", "a"}, "--max-output"},
        WrongRow{"LogOfStandardInput", {"--log", "-"}, "--log needs message files"}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
