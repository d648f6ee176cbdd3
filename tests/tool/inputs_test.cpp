// SPDX-License-Identifier: MIT
// Which messages a command line asks for, and in which order.
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "input/message_source.h"
#include "process.h"

namespace {

namespace fs = std::filesystem;
using emltext::MessageSource;
using emltext::Options;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A directory that anybody can read, with the files that a test makes in it.
class Inputs : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "inputs-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        chmod(root_.c_str(), 0755);
    }
    void TearDown() override { fs::remove_all(root_); }

    std::string path(const std::string &name) const { return root_ + "/" + name; }

    void make(const std::vector<std::string> &names, const std::string &content = "x") const {
        for (const std::string &name : names) {
            fs::create_directories(fs::path(path(name)).parent_path());
            std::ofstream(path(name), std::ios::binary) << content;
        }
    }

    // Each message's path below the root, and its index in an mbox; of failures also errno.
    std::vector<std::string> found(const Options &options) const {
        MessageSource source(options);
        std::vector<std::string> found;
        while (const auto item = source.next()) {
            std::string text = item->job.path;
            if (text.starts_with(root_)) {
                text.erase(0, root_.size() + 1);
            }
            text += item->job.index != 0 ? " " + std::to_string(item->job.index) : "";
            text += item->error != 0 ? " error " + std::to_string(item->error) : "";
            found.push_back(text);
        }
        return found;
    }

    std::vector<std::string> foundIn(const std::string &name, bool all = false) const {
        Options options;
        options.inputs = {path(name)};
        options.allFiles = all;
        return found(options);
    }

    std::vector<std::string> namesIn(const std::string &name, bool all = false) const {
        Options options;
        options.inputs = {path(name)};
        options.allFiles = all;
        MessageSource source(options);
        std::vector<std::string> names;
        while (const auto item = source.next()) {
            names.push_back(item->job.name);
        }
        return names;
    }

    std::string root_;
};

TEST_F(Inputs, OfADirectoryAreItsMessagesInByteOrder) {
    make({"d/b.eml", "d/a.eml", "d/B.EML", "d/b/x.eml", "d/b.a/x.eml", "d/notes.txt", "d/eml"});
    EXPECT_THAT(foundIn("d"),
                ElementsAre("d/B.EML", "d/a.eml", "d/b/x.eml", "d/b.a/x.eml", "d/b.eml"));
}

TEST_F(Inputs, OfADirectoryAreWithoutHiddenOnes) {
    make({"d/.a.eml", "d/.git/b.eml", "d/c.eml"});
    EXPECT_THAT(foundIn("d"), ElementsAre("d/c.eml"));
}

TEST_F(Inputs, OfADirectoryAreAllRegularFilesWhenAskedFor) {
    make({"d/.a", "d/.git/b.eml", "d/c.txt"});
    ASSERT_EQ(mkfifo(path("d/fifo").c_str(), 0600), 0);
    EXPECT_THAT(foundIn("d", true), ElementsAre("d/.a", "d/.git/b.eml", "d/c.txt"));
}

TEST_F(Inputs, OfAMaildirAreTheFilesInCurAndNew) {
    make({"m/cur/1.host:2,S", "m/cur/.hidden", "m/new/2.host", "m/tmp/3.host", "m/index"});
    EXPECT_THAT(foundIn("m"), ElementsAre("m/cur/1.host:2,S", "m/new/2.host"));
    EXPECT_THAT(foundIn("m/cur"), ElementsAre("m/cur/1.host:2,S"));
    EXPECT_THAT(foundIn("m/new/"), ElementsAre("m/new/2.host"));
}

TEST_F(Inputs, OfAMaildirAreThoseOfItsHiddenFoldersToo) {
    make({"m/cur/1", "m/new/2", "m/.Sent/cur/3", "m/.Sent/new/4", "m/.other/5.eml"});
    EXPECT_THAT(foundIn("m"), ElementsAre("m/.Sent/cur/3", "m/.Sent/new/4", "m/cur/1", "m/new/2"));
}

TEST_F(Inputs, InADirectoryCalledCurAreNotTakenForMailWithoutNew) {
    make({"d/cur/1", "d/cur/2.eml"});
    EXPECT_THAT(foundIn("d"), ElementsAre("d/cur/2.eml"));
}

TEST_F(Inputs, AreNotFoundBehindLinksToDirectories) {
    make({"d/a.eml", "other/b.eml"});
    fs::create_directory_symlink(path("other"), path("d/link"));
    fs::create_directory_symlink(path("d"), path("d/loop"));
    fs::create_symlink(path("other/b.eml"), path("d/c.eml"));
    EXPECT_THAT(foundIn("d"), ElementsAre("d/a.eml", "d/c.eml"));
    EXPECT_THAT(foundIn("d", true), ElementsAre("d/a.eml", "d/c.eml"));
}

TEST_F(Inputs, MayBeGivenThroughALink) {
    make({"d/a.eml"});
    fs::create_directory_symlink(path("d"), path("link"));
    EXPECT_THAT(foundIn("link"), ElementsAre("link/a.eml"));
}

TEST_F(Inputs, OfAnEmptyDirectoryAreNone) {
    fs::create_directory(path("d"));
    EXPECT_THAT(foundIn("d"), IsEmpty());
}

TEST_F(Inputs, ThatAreNotThereAreLeftToWhoeverOpensThem) {
    EXPECT_THAT(foundIn("none"), ElementsAre("none"));
}

TEST_F(Inputs, OfAnUnreadableDirectoryAreAFailureAmongTheOthers) {
    make({"d/a.eml", "d/b/x.eml", "d/c.eml"});
    chmod(path("d/b").c_str(), 0);
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const auto messages = foundIn("d");
    if (isRoot) {
        ASSERT_EQ(seteuid(0), 0);
    }
    chmod(path("d/b").c_str(), 0755);
    EXPECT_THAT(messages, ElementsAre("d/a.eml", "d/b error " + std::to_string(EACCES), "d/c.eml"));
}

TEST_F(Inputs, OfAnMboxAreItsMessages) {
    make({"box"}, "From a\none\n\nFrom b\ntwo\n");
    EXPECT_THAT(foundIn("box"), ElementsAre("box 1", "box 2"));
    EXPECT_THAT(namesIn("box"), ElementsAre("box/000001", "box/000002"));
}

TEST_F(Inputs, OfADirectoryAreMboxesOnlyWhenAllFilesAre) {
    make({"d/box", "d/cur/box", "d/new/box"}, "From a\none\n\nFrom b\ntwo\n");
    EXPECT_THAT(foundIn("d"), ElementsAre("d/cur/box", "d/new/box"));
    EXPECT_THAT(foundIn("d", true), ElementsAre("d/box 1", "d/box 2", "d/cur/box", "d/new/box"));
    EXPECT_THAT(namesIn("d", true), ElementsAre("box/000001", "box/000002", "cur/box", "new/box"));
}

TEST_F(Inputs, HaveTheNameOfTheirFileOrOfTheirPlaceInTheDirectory) {
    make({"d/lists/a.eml", "d/b.eml"});
    EXPECT_THAT(namesIn("d"), ElementsAre("b", "lists/a"));
    EXPECT_THAT(namesIn("d/lists/a.eml"), ElementsAre("a"));
}

TEST_F(Inputs, ComeFromAListBehindTheArguments) {
    make({"a.eml", "b.eml", "d/c.eml"});
    make({"list"}, path("b.eml") + "\n\n" + path("d") + "\n" + path("none"));
    Options options;
    options.inputs = {path("a.eml")};
    options.filesFrom = path("list");
    EXPECT_THAT(found(options), ElementsAre("a.eml", "b.eml", "d/c.eml", "none"));
}

TEST_F(Inputs, OfAListMayEndWithNul) {
    make({"x\ny"});
    make({"list"}, path("x\ny") + std::string(2, '\0') + path("z") + std::string(1, '\0'));
    Options options;
    options.filesFrom = path("list");
    options.nulSeparated = true;
    EXPECT_THAT(found(options), ElementsAre("x\ny", "z"));
}

TEST_F(Inputs, OfAListCannotAskForStandardInput) {
    make({"list"}, "-\n");
    Options options;
    options.filesFrom = path("list");
    EXPECT_THAT(found(options), ElementsAre("./-"));
}

TEST_F(Inputs, OfAListThatIsNotThereAreAFailure) {
    Options options;
    options.filesFrom = path("none");
    EXPECT_THAT(found(options), ElementsAre("none error " + std::to_string(ENOENT)));
}

TEST_F(Inputs, OfAListWithoutAnEndTakeNoMemory) {
    make({"list"}, std::string(10U << 20U, 'x') + "\n/next");
    Options options;
    options.filesFrom = path("list");
    const auto messages = found(options);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].size(), 4097U);
    EXPECT_EQ(messages[1], "/next");
}

TEST_F(Inputs, DoNotComeFromTheOutputDirectory) {
    make({"d/a.eml", "d/out/a.txt", "d/.a.t~"});
    Options options;
    options.inputs = {path("d")};
    options.outputPath = path("d/out");
    options.outputIsDirectory = true;
    options.allFiles = true;
    EXPECT_THAT(found(options), ElementsAre("d/a.eml"));
}

using ::testing::HasSubstr;
using tool_test::Finished;
using tool_test::Tool;

TEST_F(Tool, ReadsTheMessagesOfADirectoryInOrder) {
    file("d/b.eml", "second\n");
    file("d/a.eml", "first\n");
    file("d/c/a.eml", "third\n");
    EXPECT_EQ(run({"-j", "3", path("d")}).out, "first\nsecond\nthird\n");
}

TEST_F(Tool, ReadsAListFromStandardInput) {
    const std::string list =
        file("a.eml", "first\n") + std::string(1, '\0') + file("b.eml", "second\n");
    const Finished result = run({"--files-from", "-", "--null"}, {.input = list});
    EXPECT_EQ(result.out, "first\nsecond\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, TellsThatAListCannotBeRead) {
    const Finished result = run({"--files-from", path("none")});
    EXPECT_THAT(result.err, HasSubstr("none: EML_ERR_INPUT (22): "));
    EXPECT_THAT(result.err, HasSubstr("(No such file or directory)"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, OfAPathThatIsTooLongSaysSo) {
    const Finished result = run({"--files-from", "-"}, {.input = std::string(100000, 'x')});
    EXPECT_THAT(result.err, HasSubstr("EML_ERR_INPUT (22)"));
    EXPECT_THAT(result.err, HasSubstr("(File name too long)"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, KeepsTheOrderOfTheInputsWhateverTakesLong) {
    filters_ = HOSTILE_FILTERS;
    std::vector<std::string> arguments = {"-j", "4", file("0.eml", "sleep 300\nlast to come\n")};
    std::string expected = "last to come\n";
    for (int i = 1; i < 40; ++i) {
        const std::string text = "text " + std::to_string(i) + "\n";
        arguments.push_back(file(std::to_string(i) + ".eml", text));
        expected += text;
    }
    EXPECT_EQ(run(arguments).out, expected);
}

} // namespace
