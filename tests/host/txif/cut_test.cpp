// SPDX-License-Identifier: MIT
// CutStr never splits a character of the output charset and never gives more than the room.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qob_charset_codes.h"
#include "qob_host.h"

namespace {

using namespace std::string_literals;

HostParams paramsFor(const std::string &charset) {
    HostParams params{};
    std::memcpy(params.outputName, charset.data(), charset.size());
    return params;
}

// What CutStr gives for each room from 0 to the text's length.
std::vector<uint32_t> cuts(const std::string &charset, const std::string &text) {
    const HostParams params = paramsFor(charset);
    std::vector<uint32_t> result;
    for (uint32_t room = 0; room <= text.size(); ++room) {
        result.push_back(CutStr(text.data(), static_cast<uint32_t>(text.size()), room, &params));
    }
    return result;
}

struct Row {
    const char *name;
    const char *charset;
    std::string text;
    std::vector<uint32_t> cuts; // for rooms 0, 1, 2 ...
};

class CutStrOf : public ::testing::TestWithParam<Row> {};

TEST_P(CutStrOf, KeepsWholeCharacters) {
    EXPECT_EQ(cuts(GetParam().charset, GetParam().text), GetParam().cuts);
}

INSTANTIATE_TEST_SUITE_P(
    EveryRoom, CutStrOf,
    ::testing::Values(
        Row{"Utf8",
            "UTF-8",
            "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"s,
            {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11}},
        Row{"Utf16LittleEndian", "UTF-16LE", "a\0\x3D\xD8\x00\xDE"s, {0, 0, 2, 2, 2, 2, 6}},
        Row{"Utf16BigEndian", "UTF-16BE", "\0a\xD8\x3D\xDE\x00"s, {0, 0, 2, 2, 2, 2, 6}},
        Row{"Utf16IsWrittenBigEndian", "UTF-16", "\0a\xD8\x3D\xDE\x00"s, {0, 0, 2, 2, 2, 2, 6}},
        Row{"Utf32", "UTF-32LE", "a\0\0\0b\0\0\0"s, {0, 0, 0, 0, 4, 4, 4, 4, 8}},
        Row{"Latin", "ISO-8859-1", "a\xE9z"s, {0, 1, 2, 3}},
        Row{"ShiftJis", "WINDOWS31J", "a\x82\xA0\xB1\x82\xA2"s, {0, 1, 1, 3, 4, 4, 6}},
        Row{"EucJp", "EUC-JP", "\xA4\xA2\x8F\xB0\xA1"s, {0, 0, 2, 2, 2, 5}},
        Row{"Gb18030", "GB18030", "\xC4\xE3\x81\x30\x81\x30z"s, {0, 0, 2, 2, 2, 2, 6, 7}},
        Row{"ChineseGbk", "ChineseGBK", "a\xC4\xE3"s, {0, 1, 1, 3}},
        Row{"Big5WithAsciiTrailByte",
            "ChineseBIG5",
            "\xA5\x5C"
            "a"s,
            {0, 0, 2, 3}},
        Row{"Korean", "KoreanKSC", "\xB0\xA1\xB0\xA2"s, {0, 0, 2, 2, 4}},
        // An escape sequence belongs to the character behind it.
        Row{"Iso2022Jp", "ISO-2022-JP", "a\x1B$B$\"$$"s, {0, 1, 1, 1, 1, 1, 6, 6, 8}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(CutStr, TakesTheNumericCodeWhenThereIsNoName) {
    HostParams params{};
    params.outputCode = QOB_CHARSET_GBK;
    EXPECT_EQ(CutStr("\xC4\xE3\xC4\xE3", 4, 3, &params), 2U);
}

TEST(CutStr, OfNothingIsNothing) {
    const HostParams params = paramsFor("UTF-8");
    EXPECT_EQ(CutStr(nullptr, 5, 3, &params), 0U);
    EXPECT_EQ(CutStr("abc", 0, 3, &params), 0U);
}

TEST(CutStr, WithoutParametersCutsAsUtf8) {
    EXPECT_EQ(CutStr("\xC3\xA9\xC3\xA9", 4, 3, nullptr), 2U);
}

TEST(CutStr, OfMalformedUtf8StaysWithinTheRoom) {
    const std::string text(64, '\x80');
    for (const uint32_t cut : cuts("UTF-8", text)) {
        EXPECT_LE(cut, text.size());
    }
    EXPECT_EQ(cuts("UTF-8", text)[40], 40U);
}

TEST(CutStr, OfMalformedEastAsianTextEnds) {
    const std::string text = "\x81\xFF\x81\xFF\xFF\x81"s;
    const std::vector<uint32_t> found = cuts("WINDOWS31J", text);
    for (uint32_t room = 0; room < found.size(); ++room) {
        EXPECT_LE(found[room], room);
    }
}

} // namespace
