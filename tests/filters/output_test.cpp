// SPDX-License-Identifier: MIT
// What all filters do alike with their output: charset, line ends, limit, failures.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

class FilterOutput : public FilterTest {};

TEST_F(FilterOutput, IsInTheOutputCharset) {
    setCharset("WINDOWS31J");
    EXPECT_EQ(textOf(TEXT_FILTER, "日本\n"), encoded("Shift_JIS", "日本\n"));
    EXPECT_EQ(textOf(HTML_FILTER, "<p>日本"), encoded("Shift_JIS", "日本\n"));
    setCharset("UTF-16LE");
    EXPECT_EQ(textOf(TEXT_FILTER, "a日"), encoded("UTF-16LE", "a日"));
}

TEST_F(FilterOutput, HasTheHostsLineEnds) {
    struct {
        uint32_t option;
        const char *lineEnd;
    } const cases[] = {{0, "\n"},
                       {EML_OPT_NEWLINE_1, "\n"},
                       {EML_OPT_NEWLINE_2, "\r\n"},
                       {EML_OPT_NEWLINE_3, "\n"},
                       {EML_OPT_NEWLINE_4, "\r"},
                       {EML_OPT_NEWLINE_5, "\u2028"},
                       {EML_OPT_NEWLINE_2 | EML_OPT_NEWLINE_4, "\r\n"}};
    for (const auto &c : cases) {
        params_.options = c.option;
        EXPECT_EQ(textOf(TEXT_FILTER, "a\nb"), std::string("a") + c.lineEnd + "b") << c.option;
        EXPECT_EQ(textOf(HTML_FILTER, "a<br>b"), std::string("a") + c.lineEnd + "b" + c.lineEnd)
            << c.option;
    }
}

TEST_F(FilterOutput, StopsAtTheLimitBetweenCharacters) {
    const std::string whole = "aé日😀\n";
    for (std::size_t limit = 0; limit <= whole.size(); ++limit) {
        setLimit(limit);
        const Outcome outcome = run(TEXT_FILTER, whole);
        std::size_t fitting = limit;
        while (fitting < whole.size() &&
               (static_cast<unsigned char>(whole[fitting]) & 0xC0) == 0x80) {
            --fitting;
        }
        EXPECT_EQ(outcome.text, whole.substr(0, fitting)) << limit;
        EXPECT_EQ(outcome.code, limit < whole.size() ? EML_ERR_LIMIT : EML_OK) << limit;
        EXPECT_TRUE(outcome.outputExists);
    }
}

TEST_F(FilterOutput, LimitSpansPieces) {
    setLimit(100000);
    const Outcome outcome = run(HTML_FILTER, repeated("x", 300000));
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text.size(), 100000U);
}

TEST_F(FilterOutput, ReachedLimitIsNoErrorOfTheStreamEntryPoint) {
    setLimit(3);
    const Outcome outcome = runStream(TEXT_FILTER, "abcdef");
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "abc");
}

TEST_F(FilterOutput, StreamGetsTheSameAsTheFile) {
    const std::string page = "<title>T</title>" + repeated("<p>日本 &amp; more", 5000);
    EXPECT_EQ(runStream(HTML_FILTER, page).text == textOf(HTML_FILTER, page), true);
    const std::string text = repeated("日本\r\n", 20000);
    EXPECT_EQ(runStream(TEXT_FILTER, text).text == textOf(TEXT_FILTER, text), true);
}

TEST_F(FilterOutput, StreamThatTakesNoMoreEndsTheExtraction) {
    const Outcome outcome = runStream(TEXT_FILTER, repeated("x", 100000), 40000);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text.size(), 32768U); // whole pieces of 16,384
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(FilterOutput, ThreadsDoNotDisturbEachOther) {
    const std::string page = "<title>T</title>" + repeated("<p>日本 &amp; more", 500);
    const std::string text = "T\n" + repeated("日本 & more\n", 500);
    EXPECT_THAT(textsOfThreads(HTML_FILTER, page, 4, 5),
                testing::AllOf(testing::SizeIs(20), testing::Each(text)));
    EXPECT_THAT(textsOfThreads(TEXT_FILTER, text, 4, 5),
                testing::AllOf(testing::SizeIs(20), testing::Each(text)));
}

TEST_F(FilterOutput, UnknownOutputCharsetIsRefused) {
    setCharset("no-such-charset");
    const Outcome outcome = run(TEXT_FILTER, "a");
    EXPECT_EQ(outcome.code, QOB_ERR_CHARSET);
    EXPECT_FALSE(outcome.outputExists);
}

TEST_F(FilterOutput, FileThatTakesTooLittleIsDeleted) {
    std::filesystem::create_symlink("/dev/full", outputPath());
    const Outcome outcome = run(TEXT_FILTER, "a");
    EXPECT_EQ(outcome.code, EML_ERR_SHORT_WRITE);
    EXPECT_FALSE(std::filesystem::is_symlink(outputPath()));
}

TEST_F(FilterOutput, OutputThatCannotBeCreatedIsRefused) {
    std::filesystem::create_directory(outputPath());
    EXPECT_EQ(run(TEXT_FILTER, "a").code, EML_ERR_OUTPUT);
}

TEST_F(FilterOutput, MissingInputIsReportedOnceAndMakesNoOutput) {
    std::filesystem::create_symlink("nowhere/at/all", inputPath());
    const Outcome outcome = run(HTML_FILTER, "");
    EXPECT_EQ(outcome.code, EML_ERR_INPUT);
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].path, inputPath());
    EXPECT_EQ(outcome.notices[0].code, EML_ERR_INPUT);
    EXPECT_FALSE(outcome.outputExists);
}

} // namespace
} // namespace qob::tests
