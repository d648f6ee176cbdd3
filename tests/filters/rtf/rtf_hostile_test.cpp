// SPDX-License-Identifier: MIT
// RTF documents that are damaged, cut or made to exhaust the reader.
#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

using RtfHostile = FilterTest;

const std::string kDocument =
    "{\\rtf1\\ansi\\ansicpg932\\uc2\\deff0{\\fonttbl{\\f0\\fcharset128 A;}{\\f1\\fcharset2 "
    "Symbol;}}"
    "{\\header top}\\'93\\'fa\\u26412\\'96\\'7b\\u55357??\\u56832??{\\f1 ab}{\\v hidden}"
    "\\trowd a\\cell b\\cell\\row{\\footnote note}{\\pict\\bin3 {{{}{\\upr{x}{\\*\\ud{y}}}\\par "
    "end}";

TEST_F(RtfHostile, WhatDoesNotBeginLikeRtfIsReportedOnce) {
    for (const char *input : {"", "{", "{\\rt", "plain text", "}{\\rtf1 a}"}) {
        for (const bool stream : {false, true}) {
            const Outcome outcome = stream ? runStream(RTF_FILTER, input) : run(RTF_FILTER, input);
            EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED) << input;
            EXPECT_EQ(outcome.text, "");
            EXPECT_FALSE(outcome.outputExists);
            ASSERT_EQ(outcome.notices.size(), 1U);
            EXPECT_EQ(outcome.notices[0].reason, "the RTF document is damaged and gave no text");
        }
    }
}

TEST_F(RtfHostile, TextInFrontOfTheCutStays) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a{\\b b\\par c"), "ab\nc\n");
    EXPECT_EQ(textOf(RTF_FILTER, "\xEF\xBB\xBF {\\rtf1 a"), "a\n");
}

TEST_F(RtfHostile, EveryTruncationGivesABeginningOrIsReported) {
    const std::string whole = textOf(RTF_FILTER, kDocument);
    ASSERT_THAT(whole, testing::HasSubstr("end\n"));
    for (std::size_t length = 0; length < kDocument.size(); ++length) {
        const Outcome outcome = run(RTF_FILTER, kDocument.substr(0, length));
        EXPECT_EQ(outcome.code, length < 5 ? int32_t{QOB_ERR_DAMAGED} : int32_t{EML_OK}) << length;
        EXPECT_LE(outcome.text.size(), whole.size() + 3) << length;
    }
}

TEST_F(RtfHostile, FlippedBytesDoNoHarm) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 500; ++round) {
        std::string damaged = kDocument;
        for (int flips = 0; flips < 4; ++flips) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        const Outcome outcome = run(RTF_FILTER, damaged);
        EXPECT_TRUE(outcome.code == EML_OK || outcome.code == QOB_ERR_DAMAGED) << damaged;
        EXPECT_LE(outcome.text.size(), 4 * damaged.size());
    }
}

TEST_F(RtfHostile, GroupsNestedWithoutEndAreRead) {
    const std::string deep = repeated("{", 1000000);
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a" + deep + "b" + repeated("}", 1000000) + "c}d"),
              "abc\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a" + repeated("{\\footnote{\\header ", 100000) + "b"),
              "a\nb\n");
}

TEST_F(RtfHostile, StrayClosingBracesEndTheDocument) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a}}}}}b"), "a\n");
}

TEST_F(RtfHostile, EndlessWordsNumbersAndBlanksAreBounded) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\" + repeated("x", 1000000) + " a}"), "a\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\b" + repeated("9", 1000000) + " a}"), "a\n");
    EXPECT_EQ(textOf(RTF_FILTER,
                     "{\\rtf1\\uc" + repeated("9", 1000) + "\\u8364a" + repeated("b", 31) + "c}"),
              "\u20ACc\n");
    EXPECT_THAT(textOf(RTF_FILTER, "{\\rtf1 a" + repeated(" ", 100000) + "}"),
                testing::SizeIs(testing::AllOf(testing::Gt(2U), testing::Le(100002U))));
}

TEST_F(RtfHostile, BinaryDataLongerThanTheFileEndsWithIt) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a\\bin2147483647 b}"), "a\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a\\bin99999999999999 b}"), "a\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a\\bin-5 b}"), "ab\n");
}

TEST_F(RtfHostile, ManyFontsAndCodePagesTakeTimeInProportion) {
    std::string document = "{\\rtf1{\\fonttbl";
    for (int font = 0; font < 50000; ++font) {
        document += "{\\f" + std::to_string(font) + "\\cpg" + std::to_string(font) + " F;}";
    }
    document += "}";
    for (int font = 0; font < 20000; ++font) {
        document += "\\f" + std::to_string(font) + "\\'41";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(textOf(RTF_FILTER, document), repeated("A", 20000) + "\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(RtfHostile, ThreadsDoNotDisturbEachOther) {
    EXPECT_THAT(textsOfThreads(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg1251 \\'cf\\par b}", 4, 20),
                testing::AllOf(testing::SizeIs(80), testing::Each("\u041F\nb\n")));
}

} // namespace
} // namespace qob::tests
