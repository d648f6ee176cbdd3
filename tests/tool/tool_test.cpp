// SPDX-License-Identifier: MIT
// emltext as a process: what it prints where, and its exit status. Scripted filters do what the
// message says.
#include <string>
#include <string_view>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::string_view kHeader = "Subject: script\n\n";

TEST_F(Tool, PrintsTheTextOfAMessage) {
    const Finished result = run({file("a.eml", std::string(kHeader) + "text\n")});
    EXPECT_EQ(result.out, std::string(kHeader) + "text\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, PrintsSeveralMessagesOneAfterTheOther) {
    const Finished result = run({file("a.eml", "first\n"), file("b.eml", "second\n")});
    EXPECT_EQ(result.out, "first\nsecond\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, ReadsStandardInput) {
    const Finished result = run({"-"}, {.input = "library\npath-length\n"});
    EXPECT_EQ(result.out, "library=txeml\npath-length=9\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, ReadsAFileNamedDashBehindItsDirectory) {
    EXPECT_EQ(run({file("-", "dash\n")}).out, "dash\n");
}

TEST_F(Tool, TakesEveryInputForAMessage) {
    EXPECT_EQ(run({file("a.txt", "<html>\nlibrary\n")}).out, "<html>\nlibrary=txeml\n");
}

TEST_F(Tool, AsksForLabelsAttachmentsAndGoingOnByDefault) {
    EXPECT_EQ(run({file("a", "flags\noptions\nlanguage\n")}).out,
              "flags=1a\noptions=8\nlanguage=\n");
}

TEST_F(Tool, PassesItsOptionsOn) {
    const Finished result = run({"--no-labels", "--no-attachments", "--newline", "cr", "--language",
                                 "ko", "--log", file("a", "flags\noptions\nlanguage\n")});
    EXPECT_EQ(result.out, "flags=801e\noptions=41\nlanguage=ko\n");
}

TEST_F(Tool, OfAMissingFileNamesItAndGoesOnWithTheNext) {
    const Finished result = run({path("none.eml"), file("b.eml", "second\n")});
    EXPECT_EQ(result.out, "second\n");
    EXPECT_THAT(
        result.err,
        StartsWith("emltext: " + path("none.eml") +
                   ": EML_ERR_INPUT (22): the input, or a temporary file, cannot be opened "
                   "or measured (No such file or directory)\nemltext: 2 messages, 1 failed"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, OfAFailedMessageTellsTheCodeAndItsMeaning) {
    const Finished result = run({file("a.eml", "text\nfail 3000\n")});
    EXPECT_EQ(result.out, "text\n");
    EXPECT_EQ(result.err, "emltext: " + path("a.eml") +
                              ": EML_ERR_MEMORY (3000): there is not enough memory\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, OfADamagedAttachmentTellsButDoesNotFail) {
    file("inner.eml", std::string(kHeader) + "report 4004\nfail 4004\n");
    const Finished result =
        run({"--no-sandbox", file("a.eml", "insert " + path("inner.eml") + "\nafter\n")});
    EXPECT_EQ(result.out, std::string(kHeader) + "after\n");
    EXPECT_THAT(result.err, HasSubstr("a.eml: attachment 1: QOB_ERR_DAMAGED (4004): "));
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, OfAnImageSaysNothing) {
    file("photo", "\x89PNG\r\n\x1A\n");
    const Finished result =
        run({"--no-sandbox", file("a.eml", "insert " + path("photo") + "\nafter\n")});
    EXPECT_EQ(result.out, "after\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, FailsWhenTheBodyOfAMessageIsMissing) {
    file("body.htm", "<html>\nfail 4004\n");
    const Finished result =
        run({"--no-sandbox", file("a.eml", "insert-body " + path("body.htm") + "\nafter\n")});
    EXPECT_THAT(result.out, HasSubstr("after\n"));
    EXPECT_THAT(result.err, HasSubstr("a.eml: QOB_ERR_DAMAGED (4004): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, StopsEachMessageAtTheOutputLimit) {
    const Finished result =
        run({"--max-output", "3", file("a.eml", "first\n"), file("b.eml", "second\n")});
    EXPECT_EQ(result.out, "fir\nsec");
    EXPECT_THAT(result.err, HasSubstr("a.eml: EML_ERR_LIMIT (3005): "));
    EXPECT_THAT(result.err, HasSubstr("b.eml: EML_ERR_LIMIT (3005): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, IsWellWhenTheTextJustFits) {
    const Finished result = run({"--max-output", "6", file("a.eml", "first\n")});
    EXPECT_EQ(result.out, "first\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, CallsAnUnknownCharsetWrongUsage) {
    const Finished result = run({"--charset", "no-such", file("a.eml", "first\n"), path("none")});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no charset is called \"no-such\""));
    EXPECT_THAT(result.err, Not(HasSubstr("none")));
    EXPECT_EQ(result.status, 2);
}

TEST_F(Tool, WithoutArgumentsSaysWhatIsMissing) {
    const Finished result = run({});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no INPUT given"));
    EXPECT_EQ(result.status, 2);
}

TEST_F(Tool, PrintsItsHelp) {
    const Finished result = run({"--help"});
    EXPECT_THAT(result.out, HasSubstr("emltext [OPTIONS] [INPUT...]"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, TellsThatItsHelpCouldNotBePrinted) {
    const Finished result = run({"--help"}, {.outputPath = "/dev/full"});
    EXPECT_THAT(result.err, HasSubstr("standard output: QOB_ERR_WRITE (4008)"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, WithoutAVersionInTheFilterSaysSo) {
    const Finished result = run({"--version"});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("libqob_txeml.so.5"));
    EXPECT_EQ(result.status, 1);
}

// ---- output files ----

TEST_F(Tool, WritesToAFile) {
    const Finished result =
        run({"-o", path("out"), file("a.eml", "first\n"), file("b.eml", "second\n")});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(contentOf(path("out")), "first\nsecond\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(files(), ElementsAre("a.eml", "b.eml", "out"));
}

TEST_F(Tool, LeavesTheOutputFileWhenEveryMessageFails) {
    const Finished result = run({"-o", file("out", "old"), file("a.eml", "text\nfail 3000\n")});
    EXPECT_EQ(contentOf(path("out")), "old");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(files(), ElementsAre("a.eml", "out"));
}

TEST_F(Tool, KeepsWhatItGotInTheOutputFileWhenOneMessageFails) {
    const Finished result = run({"-o", path("out"), path("none"), file("b.eml", "second\n")});
    EXPECT_EQ(contentOf(path("out")), "second\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, KeepsTheTextUpToTheLimitInTheOutputFile) {
    const Finished result =
        run({"-o", file("out", "old"), "--max-output", "3", file("a", "first\n")});
    EXPECT_EQ(contentOf(path("out")), "fir");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, MayReplaceItsOwnInput) {
    const Finished result = run({"-o", file("a.eml", "first\n"), path("a.eml")});
    EXPECT_EQ(contentOf(path("a.eml")), "first\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, TellsWhyTheOutputFileCannotBeCreated) {
    const Finished result = run({"-o", "/nonexistent/out", file("a.eml", "first\n")});
    EXPECT_EQ(result.err, "emltext: /nonexistent/out: EML_ERR_OUTPUT (23): the output file cannot "
                          "be created (No such file or directory)\n");
    EXPECT_EQ(result.status, 1);
}

// ---- standard output that does not take the text ----

TEST_F(Tool, TellsOnceThatStandardOutputIsFull) {
    const std::string message = file("a.eml", "text\n");
    const Finished result = run({message, message}, {.outputPath = "/dev/full"});
    EXPECT_EQ(result.err, "emltext: standard output: QOB_ERR_WRITE (4008): the output did not take "
                          "all of the text (No space left on device)\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, TellsOnceThatStandardOutputIsClosed) {
    const Finished result = run({file("a.eml", "text\n")}, {.closeOutput = true});
    EXPECT_THAT(result.err, HasSubstr("standard output: QOB_ERR_WRITE (4008)"));
    EXPECT_THAT(result.err, HasSubstr("Bad file descriptor"));
    EXPECT_EQ(result.status, 1);
}

} // namespace
