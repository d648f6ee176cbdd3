// SPDX-License-Identifier: MIT
// Where the messages of an mbox file begin and end.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "input/mbox_reader.h"
#include "process.h"

namespace {

using emltext::MboxReader;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &content) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "mbox-test-XXXXXX").string();
        close(mkstemp(pattern.data()));
        path_ = pattern;
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

std::vector<std::string> messagesOf(const std::string &content) {
    const TemporaryFile file(content);
    MboxReader reader(file.path());
    std::vector<std::string> messages;
    while (const auto message = reader.next()) {
        EXPECT_EQ(message->index, messages.size() + 1);
        messages.push_back(content.substr(message->offset, message->length));
    }
    EXPECT_EQ(reader.error(), 0);
    return messages;
}

struct MboxRow {
    const char *name;
    std::string content;
    std::vector<std::string> messages;
};

class Mbox : public ::testing::TestWithParam<MboxRow> {};

TEST_P(Mbox, IsCutIntoItsMessages) {
    EXPECT_THAT(messagesOf(GetParam().content), ElementsAreArray(GetParam().messages));
}

INSTANTIATE_TEST_SUITE_P(
    Files, Mbox,
    ::testing::Values(MboxRow{"Empty", "", {}}, MboxRow{"NoMbox", "Subject: x\n\ntext\n", {}},
                      MboxRow{"OneMessage", "From a\nS: 1\n\ntext\n", {"S: 1\n\ntext\n"}},
                      MboxRow{"TwoMessages",
                              "From a\nS: 1\n\none\n\nFrom b\nS: 2\n\ntwo\n\n",
                              {"S: 1\n\none\n", "S: 2\n\ntwo\n"}},
                      MboxRow{"CrLf",
                              "From a\r\nS: 1\r\n\r\none\r\n\r\nFrom b\r\nS: 2\r\n\r\ntwo\r\n\r\n",
                              {"S: 1\r\n\r\none\r\n", "S: 2\r\n\r\ntwo\r\n"}},
                      MboxRow{"NoLineEndAtTheEnd",
                              "From a\nS: 1\n\none\n\nFrom b\nS: 2\n\ntwo",
                              {"S: 1\n\none\n", "S: 2\n\ntwo"}},
                      MboxRow{"FromInTheBody",
                              "From a\nS: 1\n\none\nFrom here on\n\nFrom b\nS: 2\n\ntwo\n",
                              {"S: 1\n\none\nFrom here on\n", "S: 2\n\ntwo\n"}},
                      MboxRow{"QuotedFrom",
                              "From a\nS: 1\n\none\n\n>From here on\n",
                              {"S: 1\n\none\n\n>From here on\n"}},
                      MboxRow{"SeveralEmptyLines",
                              "From a\nS: 1\n\none\n\n\n\nFrom b\nS: 2\n\n",
                              {"S: 1\n\none\n\n\n", "S: 2\n"}},
                      MboxRow{"MessageWithoutAnything", "From a\n\nFrom b\nS: 2\n", {"", "S: 2\n"}},
                      MboxRow{"FromLineAlone", "From a", {""}}, MboxRow{"FiveBytes", "From ", {""}},
                      MboxRow{"FromWithoutBlank",
                              "From a\nS: 1\n\none\n\nFrom\nFrom: x\n",
                              {"S: 1\n\none\n\nFrom\nFrom: x\n"}},
                      MboxRow{"LoneCarriageReturnIsNoEmptyLine",
                              "From a\nS: 1\n\none\n\r\r\nFrom b\n",
                              {"S: 1\n\none\n\r\r\nFrom b\n"}},
                      MboxRow{"BlankLineIsNoEmptyLine",
                              "From a\nS: 1\n\none\n \nFrom b\n",
                              {"S: 1\n\none\n \nFrom b\n"}}),
    [](const auto &row) { return std::string(row.param.name); });

// Pieces of the reader's size end everywhere in what matters.
TEST(MboxReader, FindsMessagesWhereverAPieceOfTheFileEnds) {
    constexpr std::size_t kPiece = 262144;
    const std::string middle = "\r\n\r\nFrom b\r\nS: 2\r\n\r\ntwo\r\n";
    for (std::size_t shift = 0; shift <= middle.size(); ++shift) {
        const std::string start = "From a\n";
        const std::string first(kPiece - start.size() - shift, 'x');
        const std::string content = start + first + middle;
        ASSERT_THAT(messagesOf(content), ElementsAre(first + "\r\n", "S: 2\r\n\r\ntwo\r\n"))
            << "the piece ends " << shift << " bytes into the separator";
    }
}

TEST(MboxReader, TakesALineOfAMegabyte) {
    const std::string line(1U << 20U, 'x');
    EXPECT_THAT(messagesOf("From a\n" + line + "\n\nFrom b\n" + line),
                ElementsAre(line + "\n", line));
}

TEST(MboxReader, TellsWhyAFileCannotBeRead) {
    MboxReader missing("/nonexistent/box");
    EXPECT_FALSE(missing.next());
    EXPECT_EQ(missing.error(), ENOENT);
    MboxReader directory("/tmp");
    EXPECT_FALSE(directory.next());
    EXPECT_EQ(directory.error(), EISDIR);
}

using ::testing::HasSubstr;
using tool_test::Finished;
using tool_test::Tool;

TEST_F(Tool, PrintsTheMessagesOfAnMbox) {
    const Finished result = run({file("box", "From a\none\n\nFrom b\ntwo\n")});
    EXPECT_EQ(result.out, "one\ntwo\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, TakesTheQuotesOffFromLinesOfAnMbox) {
    EXPECT_EQ(run({file("box", "From a\n>From b\n>>From c\n> From d\n")}).out,
              "From b\n>From c\n> From d\n");
}

TEST_F(Tool, TakesAnMboxNamedEmlForAMessage) {
    EXPECT_EQ(run({file("box.EML", "From a\none\n\nFrom b\ntwo\n")}).out,
              "From a\none\n\nFrom b\ntwo\n");
}

TEST_F(Tool, TellsWhichMessageOfAnMboxFailed) {
    const Finished result = run({file("box", "From a\none\n\nFrom b\nfail 3000\n")});
    EXPECT_EQ(result.out, "one\n");
    EXPECT_THAT(result.err, HasSubstr("box message 2: EML_ERR_MEMORY (3000): "));
    EXPECT_EQ(result.status, 1);
}

} // namespace
