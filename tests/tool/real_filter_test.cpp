// SPDX-License-Identifier: MIT
// emltext with the filters that it is built with.
#include <string>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class RealTool : public Tool {
protected:
    RealTool() { filters_.clear(); }
};

TEST_F(RealTool, PrintsTheVersionOfTheMessageFilter) {
    const Finished result = run({"--version"});
    EXPECT_THAT(result.out, MatchesRegex("qob_txeml 5\\.0\\.0 \\(build .+\\)\n"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(RealTool, PrintsAPlainMessage) {
    const Finished result = run({file("a.eml", "From: a@example.org\r\nSubject: Greeting\r\n"
                                               "Content-Type: text/plain; charset=us-ascii\r\n"
                                               "\r\nHello.\r\n")});
    EXPECT_THAT(result.out, HasSubstr("Subject: Greeting\n"));
    EXPECT_THAT(result.out, HasSubstr("Content: \nHello."));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(RealTool, PrintsTheTextOfAnHtmlBody) {
    const Finished result = run({file("a.eml", "From: a@example.org\nSubject: x\n"
                                               "Content-Type: text/html; charset=utf-8\n"
                                               "\n<p>caf&eacute;</p>\n")});
    EXPECT_THAT(result.out, HasSubstr("caf\xC3\xA9"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(RealTool, BeginsEachMessageOnALineOfItsOwn) {
    const std::string message = file("a.eml", "From: a@example.org\n\nHello.");
    const Finished one = run({message});
    ASSERT_FALSE(one.out.ends_with("\n"));
    EXPECT_EQ(run({message, message}).out, one.out + "\n" + one.out);
    EXPECT_EQ(run({"--newline", "crlf", "--max-output", "4", message, message}).out,
              "From\r\nFrom");
    EXPECT_EQ(run({"--charset", "UTF-16LE", "--max-output", "2", message, message}).out,
              std::string("F\0\n\0F\0", 6));
}

TEST_F(RealTool, WritesTheLogBesideTheMessage) {
    const Finished result = run({"--log", file("a.eml", "From: a@example.org\n\nHello.\n")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(contentOf(path("a.eml.eml.log")), HasSubstr("qob_txeml gettext()"));
}

} // namespace
