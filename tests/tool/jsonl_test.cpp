// SPDX-License-Identifier: MIT
// JSON lines, read back by a parser that takes nothing but JSON in valid UTF-8.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "process.h"

namespace {

using namespace tool_test;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Throws on anything that is no JSON, so that the test fails.
std::vector<json> linesOf(const std::string &text) {
    std::vector<json> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            throw std::runtime_error("the last line has no end");
        }
        lines.push_back(json::parse(text.substr(start, end - start)));
        start = end + 1;
    }
    return lines;
}

std::vector<std::string> keysOf(const json &object) {
    std::vector<std::string> keys;
    for (const auto &item : object.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

TEST_F(Tool, WritesAJsonObjectForEachMessage) {
    const Finished result =
        run({"--jsonl", file("a.eml", "first\n\"two\"\n"), file("b.eml", "second\n")});
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(keysOf(lines[0]),
                ElementsAre("bytes_in", "bytes_out", "code", "code_name", "milliseconds", "notes",
                            "path", "text", "truncated"));
    EXPECT_EQ(lines[0]["path"], path("a.eml"));
    EXPECT_EQ(lines[0]["code"], 0);
    EXPECT_EQ(lines[0]["code_name"], "EML_OK");
    EXPECT_EQ(lines[0]["truncated"], false);
    EXPECT_EQ(lines[0]["bytes_in"], 12);
    EXPECT_EQ(lines[0]["bytes_out"], 12);
    EXPECT_GE(lines[0]["milliseconds"], 0);
    EXPECT_EQ(lines[0]["text"], "first\n\"two\"\n");
    EXPECT_EQ(lines[0]["notes"], json::array());
    EXPECT_EQ(lines[1]["text"], "second\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(Tool, WritesTheIndexOfAMessageInAnMbox) {
    const auto lines = linesOf(run({"--jsonl", file("box", "From a\none\n\nFrom b\ntwo\n")}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["index"], 1);
    EXPECT_EQ(lines[1]["index"], 2);
    EXPECT_EQ(lines[1]["path"], path("box"));
    EXPECT_EQ(lines[1]["text"], "two\n");
}

TEST_F(Tool, WritesTheNotesOfAMessage) {
    const auto lines =
        linesOf(run({"--jsonl", file("a.eml", "report 4004\nfail 4004\n"), path("none")}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["code_name"], "QOB_ERR_DAMAGED");
    EXPECT_EQ(lines[0]["notes"], json::parse(R"([{"attachment": 0, "code": 4004,
        "code_name": "QOB_ERR_DAMAGED", "reason": "as the script says"}])"));
    EXPECT_EQ(lines[1]["code_name"], "EML_ERR_INPUT");
    EXPECT_EQ(lines[1]["text"], "");
    EXPECT_EQ(lines[1]["notes"][0]["reason"], "No such file or directory");
}

TEST_F(Tool, WritesThatTextWasLeftOut) {
    const auto lines = linesOf(run({"--jsonl", "--max-output", "3", file("a", "whole\n")}).out);
    EXPECT_EQ(lines.at(0)["truncated"], true);
    EXPECT_EQ(lines.at(0)["code_name"], "EML_ERR_LIMIT");
    EXPECT_EQ(lines.at(0)["text"], "who");
    EXPECT_EQ(lines.at(0)["bytes_out"], 3);
}

TEST_F(Tool, WritesValidJsonWhateverNamesAndTextsHold) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte == '/' || byte == '\n' ? 'x' : byte);
    }
    const Finished result = run({"--jsonl", file("n" + bytes.substr(0, 200), bytes + "\n")});
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0]["path"].get<std::string>(), HasSubstr("\xEF\xBF\xBD"));
    EXPECT_THAT(lines[0]["text"].get<std::string>(), HasSubstr("\x7F\xEF\xBF\xBD"));
}

// The text comes in pieces of 65,536 bytes, which end in each of the character's bytes.
TEST_F(Tool, KeepsCharactersThatArriveInTwoPieces) {
    for (const std::size_t shift : {0U, 1U, 2U, 3U}) {
        std::string text(shift, 'x');
        for (int i = 0; i < 40000; ++i) {
            text += "\xF0\x9F\x93\xA7";
        }
        const auto lines = linesOf(run({"--jsonl", file("a.eml", text + "\n")}).out);
        ASSERT_EQ(lines.at(0)["text"].get<std::string>(), text + "\n");
    }
}

TEST_F(Tool, MarksACharacterThatIsCutAtTheEnd) {
    const auto lines = linesOf(run({"--jsonl", file("a.eml", "euro \xE2\x82")}).out);
    EXPECT_THAT(lines.at(0)["text"].get<std::string>(), HasSubstr("euro \xEF\xBF\xBD"));
}

TEST_F(Tool, WritesJsonIntoAFile) {
    const Finished result =
        run({"--jsonl", "-o", path("out.jsonl"), file("a.eml", "a\n"), path("none")});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(linesOf(contentOf(path("out.jsonl"))).size(), 2U);
    EXPECT_EQ(result.status, 1);
}

TEST_F(Tool, WritesJsonOfMessagesThatCost) {
    filters_ = HOSTILE_FILTERS;
    const auto lines =
        linesOf(run({"--jsonl", file("a", "text\nabort\n"), file("b", "after\n")}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["code"], 5001);
    EXPECT_EQ(lines[0]["code_name"], "EMLTEXT_ERR_CRASH");
    EXPECT_EQ(lines[0]["text"], "");
    EXPECT_THAT(lines[0]["notes"][0]["reason"].get<std::string>(), HasSubstr("signal 6"));
    EXPECT_EQ(lines[1]["text"], "after\n");
}

TEST_F(Tool, WritesJsonOfNoMessagesAsNothing) {
    file("d/readme", "no mail");
    const Finished result = run({"--jsonl", path("d")});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.status, 0);
}

} // namespace
