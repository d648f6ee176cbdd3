// SPDX-License-Identifier: MIT
// Outputs and state files that take no more.
#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(Tool, TellsThatStandardOutputDidNotTakeTheJson) {
    const Finished result =
        run({"--jsonl", file("a.eml", "text\n"), path("a.eml")}, {.outputPath = "/dev/full"});
    EXPECT_EQ(result.err, "emltext: standard output: QOB_ERR_WRITE (4008): the output did not take "
                          "all of the text (No space left on device)\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, LeavesTheOutputFileWhenTheDiskIsFull) {
    const std::string message = file("a.eml", std::string(3000, 'x') + "\n");
    const Finished result = run({"-o", file("out", "old"), message, message}, {.fileLimit = 5000});
    EXPECT_EQ(contentOf(path("out")), "old");
    EXPECT_THAT(result.err, HasSubstr("out: QOB_ERR_WRITE (4008): "));
    EXPECT_THAT(result.err, HasSubstr("(File too large)"));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(files(), ElementsAre("a.eml", "out"));
}

TEST_F(Tool, LeavesTheJsonFileWhenTheDiskIsFull) {
    const std::string message = file("a.eml", std::string(3000, 'x') + "\n");
    const Finished result =
        run({"--jsonl", "-o", file("out", "old"), message, message}, {.fileLimit = 5000});
    EXPECT_EQ(contentOf(path("out")), "old");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, TellsThatAWaitingTextDidNotFit) {
    filters_ = HOSTILE_FILTERS;
    const Finished result = run({file("a.eml", "flood 100000\n"), file("b.eml", "fits\n")},
                                {.outputPath = "/dev/null", .fileLimit = 50000});
    EXPECT_THAT(result.err, HasSubstr("emltext: 2 messages, 1 failed"));
    EXPECT_THAT(result.err, HasSubstr("a.eml: QOB_ERR_WRITE (4008): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, GoesOnFromAFullDiskWhenThereIsRoomAgain) {
    const std::vector<std::string> arguments = {"--jsonl",
                                                "-o",
                                                path("out"),
                                                "--resume",
                                                path("state"),
                                                file("a.eml", std::string(3000, 'x') + "\n"),
                                                file("b.eml", std::string(3000, 'y') + "\n")};
    const Finished full = run(arguments, {.fileLimit = 5000});
    EXPECT_THAT(full.err, HasSubstr("out: QOB_ERR_WRITE (4008): "));
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(run(arguments).status, 0);
    const std::string resumed = contentOf(path("out"));
    EXPECT_THAT(resumed, HasSubstr(std::string(3000, 'x') + "\\n"));
    EXPECT_THAT(resumed, HasSubstr(std::string(3000, 'y') + "\\n"));
    EXPECT_EQ(std::count(resumed.begin(), resumed.end(), '\n'), 2);
}

TEST_F(Tool, TriesAgainWhatDidNotFitIntoATree) {
    filters_ = HOSTILE_FILTERS;
    const std::vector<std::string> arguments = {"-o",
                                                path("out/"),
                                                "--resume",
                                                path("state"),
                                                file("a.eml", "flood 9000\n"),
                                                file("b.eml", "b\n")};
    EXPECT_EQ(run(arguments, {.fileLimit = 5000}).status, 1);
    EXPECT_EQ(treeOf(path("out")), "b.txt: b\n\n");
    EXPECT_EQ(run(arguments).status, 0);
    EXPECT_THAT(treeOf(path("out")), HasSubstr("a.txt: "));
}

TEST_F(Tool, TellsThatThereIsNoPlaceForTemporaryFiles) {
    const Finished result = run({file("a.eml", "text\n")}, {.temporary = path("none")});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr(path("none")));
    EXPECT_THAT(result.err, HasSubstr("TMPDIR"));
    EXPECT_EQ(result.status, 1);
}

} // namespace
