// SPDX-License-Identifier: MIT
// A text file for each message below a directory.
#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(Tool, WritesTheTreeOfADirectory) {
    file("mail/b.eml", "second\n");
    file("mail/lists/2026/a.EML", "first\n");
    const Finished result = run({"-o", path("out"), path("mail")});
    EXPECT_EQ(treeOf(path("out")), "b.txt: second\n\nlists/2026/a.txt: first\n\n");
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, WritesFilesOfSingleMessagesIntoADirectory) {
    file("out/old.txt", "old");
    const Finished result = run({"-o", path("out"), file("a.eml", "a\n"), file("x/b", "b\n")});
    EXPECT_EQ(treeOf(path("out")), "a.txt: a\n\nb.txt: b\n\nold.txt: old\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, MakesTheDirectoryThatEndsInASlash) {
    run({"-o", path("new/out/"), file("a.eml", "a\n")});
    EXPECT_EQ(treeOf(path("new")), "out/a.txt: a\n\n");
}

TEST_F(Tool, WritesTheMessageOfStandardInputIntoADirectory) {
    run({"-o", path("out/"), "-"}, {.input = "text\n"});
    EXPECT_EQ(treeOf(path("out")), "stdin.txt: text\n\n");
}

TEST_F(Tool, WritesTheMessagesOfAnMboxIntoADirectory) {
    const Finished result =
        run({"-o", path("out"), file("box", "From a\none\n\nFrom b\ntwo\n"), path("box")});
    EXPECT_EQ(treeOf(path("out")), "box/000001.2.txt: one\n\nbox/000001.txt: one\n\n"
                                   "box/000002.2.txt: two\n\nbox/000002.txt: two\n\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, NumbersFilesThatWouldHaveTheSameName) {
    file("x/a.eml", "first\n");
    file("y/a.eml", "second\n");
    file("y/a.EML", "third\n");
    run({"-j", "4", "-o", path("out/"), path("x/a.eml"), path("y/a.eml"), path("y/a.EML")});
    EXPECT_EQ(treeOf(path("out")), "a.2.txt: second\n\na.3.txt: third\n\na.txt: first\n\n");
}

TEST_F(Tool, ReplacesTextsOfAnEarlierRun) {
    file("out/a.txt", "old");
    run({"-o", path("out"), file("a.eml", "new\n")});
    EXPECT_EQ(treeOf(path("out")), "a.txt: new\n\n");
}

TEST_F(Tool, LeavesNoFileOfAMessageThatFailed) {
    file("out/a.txt", "old");
    const Finished result = run({"-o", path("out"), file("a.eml", "text\nfail 3000\n"),
                                 file("b.eml", "whole\n"), path("none.eml")});
    EXPECT_EQ(treeOf(path("out")), "a.txt: old\nb.txt: whole\n\n");
    EXPECT_THAT(result.err, HasSubstr("a.eml: EML_ERR_MEMORY (3000): "));
    EXPECT_THAT(result.err, HasSubstr("none.eml: EML_ERR_INPUT (22): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, LeavesTheTextUpToTheLimit) {
    const Finished result =
        run({"-o", path("out/"), "--max-output", "3", file("a.eml", "whole\n")});
    EXPECT_EQ(treeOf(path("out")), "a.txt: who\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, NeverWritesOutsideOfTheDirectory) {
    file("mail/a.eml", "text\n");
    run({"-o", "../out/", "../mail/a.eml", "--files-from", "-"},
        {.input = "../../files/mail/a.eml\n", .directory = path("mail")});
    EXPECT_EQ(treeOf(path("out")), "a.2.txt: text\n\na.txt: text\n\n");
}

TEST_F(Tool, ReplacesALinkAndNotWhatItLeadsTo) {
    file("precious", "old");
    std::filesystem::create_directory(path("out"));
    std::filesystem::create_symlink(path("precious"), path("out/a.txt"));
    run({"-o", path("out"), file("a.eml", "text\n")});
    EXPECT_EQ(contentOf(path("precious")), "old");
    EXPECT_EQ(treeOf(path("out")), "a.txt: text\n\n");
}

TEST_F(Tool, OfAFileInTheWayOfADirectorySaysSoAndGoesOn) {
    file("mail/lists/a.eml", "lost\n");
    file("mail/b.eml", "kept\n");
    file("out/lists", "in the way");
    const Finished result = run({"-o", path("out"), path("mail")});
    EXPECT_EQ(treeOf(path("out")), "b.txt: kept\n\nlists: in the way\n");
    EXPECT_THAT(result.err, HasSubstr("mail/lists/a.eml: EML_ERR_OUTPUT (23): "));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, OfADirectoryInTheWayOfAFileSaysSo) {
    file("out/a.txt/x", "in the way");
    const Finished result = run({"-o", path("out"), file("a.eml", "lost\n")});
    EXPECT_EQ(treeOf(path("out")), "a.txt/x: in the way\n");
    EXPECT_THAT(result.err, HasSubstr("a.eml: EML_ERR_OUTPUT (23): "));
    EXPECT_THAT(result.err, HasSubstr("(Is a directory)"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, TellsWhyTheDirectoryCannotBeMade) {
    const Finished result = run({"-o", "/dev/null/out/", file("a.eml", "text\n")});
    EXPECT_THAT(result.err, HasSubstr("/dev/null/out/: EML_ERR_OUTPUT (23): "));
    EXPECT_THAT(result.err, HasSubstr("Not a directory"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, OfAFullDiskTellsForEachMessageInATree) {
    filters_ = HOSTILE_FILTERS;
    const Finished result =
        run({"-o", path("out/"), file("a.eml", "flood 100000\n"), file("b.eml", "fits\n")},
            {.fileLimit = 50000});
    EXPECT_EQ(treeOf(path("out")), "b.txt: fits\n\n");
    EXPECT_THAT(result.err, HasSubstr("a.eml: QOB_ERR_WRITE (4008): "));
    EXPECT_THAT(result.err, HasSubstr("(File too large)"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, TakesTheLongestNamesThatAFileCanHave) {
    const std::string name(255, 'n');
    const Finished result = run({"-o", path("out/"), file(name, "text\n")});
    EXPECT_EQ(treeOf(path("out")), std::string(240, 'n') + ".txt: text\n\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, DoesNotReadItsOwnOutput) {
    file("mail/a", "text\n");
    EXPECT_EQ(run({"--all", "-o", path("mail/out"), path("mail")}).status, 0);
    EXPECT_EQ(run({"--all", "-o", path("mail/out"), path("mail")}).status, 0);
    EXPECT_EQ(treeOf(path("mail/out")), "a.txt: text\n\n");
}

} // namespace
