// SPDX-License-Identifier: MIT
// What a run tells on standard error.
#include <string>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

TEST_F(Tool, SumsUpSeveralMessages) {
    const Finished result = run({file("a.eml", "first\n"), file("b.eml", "second\n")});
    EXPECT_THAT(result.err, MatchesRegex("emltext: 2 messages, 0 failed, 13 bytes read, 13 bytes "
                                         "of text, [0-9]+\\.[0-9] s\n"));
}

TEST_F(Tool, DoesNotSumUpOneMessage) {
    EXPECT_EQ(run({file("a.eml", "first\n")}).err, "");
}

TEST_F(Tool, IsQuietButAboutFailedMessages) {
    file("inner.eml", "Subject: x\n\nreport 4004\nfail 4004\n");
    const Finished result =
        run({"-q", "--no-sandbox", file("a.eml", "insert " + path("inner.eml") + "\n"),
             file("b.eml", "fail 3000\n")});
    EXPECT_EQ(result.err, "emltext: " + path("b.eml") +
                              ": EML_ERR_MEMORY (3000): there is not enough memory\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, TellsOfEveryMessageAndAttachmentWhenItIsVerbose) {
    file("photo", "\x89PNG\r\n\x1A\n");
    const Finished result = run({"-v", "--no-sandbox", file("b.eml", "second\n"),
                                 file("a.eml", "insert " + path("photo") + "\nafter\n")});
    EXPECT_THAT(result.err, HasSubstr("b.eml: EML_OK, 7 bytes read, 7 bytes of text, "));
    EXPECT_THAT(result.err, HasSubstr("a.eml: attachment 1: QOB_ERR_NO_FILTER (4001): "));
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, ShowsNoProgressWhenStandardErrorIsNoTerminal) {
    const Finished result = run({file("a.eml", "first\n"), file("b.eml", "second\n")});
    EXPECT_THAT(result.err, Not(HasSubstr("\r")));
    EXPECT_THAT(result.err, Not(HasSubstr("\x1B")));
}

TEST_F(Tool, TellsTheTimeoutOfAMessage) {
    filters_ = HOSTILE_FILTERS;
    const Finished result = run({"--timeout", "1", file("a.eml", "hang\n")});
    EXPECT_THAT(result.err, HasSubstr("a.eml: EMLTEXT_ERR_TIMEOUT (5002): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, RunsInTheSandboxOrSaysWhyNot) {
    const Finished result = run({"--sandbox", file("a.eml", "text\n")});
    if (result.status == 0) {
        EXPECT_EQ(result.out, "text\n");
        EXPECT_EQ(result.err, "");
    } else {
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("there is no sandbox on this system: "));
    }
}

TEST_F(Tool, KeepsItsLimits) {
    EXPECT_EQ(run({"--max-parts", "1", "--max-ratio", "1", "--max-unpacked", "1K", "--max-depth",
                   "1", "--memory", "256M", "-j", "1", file("a.eml", "text\n")})
                  .out,
              "text\n");
}

} // namespace
