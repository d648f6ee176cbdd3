// SPDX-License-Identifier: MIT
// The character helpers that every reader and finder uses.
#include "emlcomm/chars.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace {

using namespace std::string_view_literals;

TEST(IsSpaceTest, TellsBlanksFromLineEnds) {
    for (int32_t c = -128; c < 256; ++c) {
        SCOPED_TRACE(c);
        const int32_t expected = c == 32 || c == 9 ? 1 : c == 10 || c == 13 ? 2 : 0;
        EXPECT_EQ(IsSpace(c), expected);
    }
}

TEST(IsSpaceTest, KnowsLineEndsAlone) {
    for (int32_t c = -128; c < 256; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(IsSpace_crlf(c), c == 10 || c == 13 ? 1 : 0);
    }
}

TEST(QobEmlCMPBufTest, IgnoresCase) {
    EXPECT_EQ(QobEmlCMPBuf("FROM:", "from:", 5), 1);
    EXPECT_EQ(QobEmlCMPBuf("FrOm:", "fRoM:", 5), 1);
    EXPECT_EQ(QobEmlCMPBuf("FROM:", "form:", 5), 0);
}

TEST(QobEmlCMPBufTest, LooksAtTheCountAlone) {
    EXPECT_EQ(QobEmlCMPBuf("abcX", "ABCY", 3), 1);
    EXPECT_EQ(QobEmlCMPBuf("abcX", "ABCY", 4), 0);
    EXPECT_EQ(QobEmlCMPBuf("a", "b", 0), 1);
    EXPECT_EQ(QobEmlCMPBuf("a", "a", -1), 0);
}

TEST(QobEmlCMPBufTest, GoesPastATerminator) {
    EXPECT_EQ(QobEmlCMPBuf("a\0b", "A\0B", 3), 1);
    EXPECT_EQ(QobEmlCMPBuf("a\0b", "A\0C", 3), 0);
}

TEST(QobEmlCMPBufTest, AgreesWithToupperOnEveryPairOfBytes) {
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const char left = static_cast<char>(a);
            const char right = static_cast<char>(b);
            const int32_t expected = std::toupper(a) == std::toupper(b) ? 1 : 0;
            ASSERT_EQ(QobEmlCMPBuf(&left, &right, 1), expected) << a << " " << b;
        }
    }
}

TEST(EmlCmpCheckContentTest, WritesUpperCase) {
    char upper[6] = "?????";
    EXPECT_EQ(EmlCmpCheckContent("aZ-\xE4z", upper, 5), 0);
    EXPECT_STREQ(upper, "AZ-\xE4Z");
}

TEST(EmlCmpCheckContentTest, GoesPastATerminator) {
    char upper[3] = {'?', '?', '?'};
    EXPECT_EQ(EmlCmpCheckContent("a\0b", upper, 3), 0);
    EXPECT_EQ(std::string_view(upper, 3), "A\0B"sv);
}

TEST(EmlCmpCheckContentTest, WritesNothingForNoBytes) {
    char upper[1] = {'?'};
    EXPECT_EQ(EmlCmpCheckContent("a", upper, 0), 0);
    EXPECT_EQ(EmlCmpCheckContent("a", upper, -5), 0);
    EXPECT_EQ(upper[0], '?');
}

TEST(LineView, SkipsLeadingBlanks) {
    EXPECT_EQ(eml::skipBlanks(" \t\r\n text "), "text ");
    EXPECT_EQ(eml::skipBlanks("text"), "text");
    EXPECT_EQ(eml::skipBlanks(" \t"), "");
    EXPECT_EQ(eml::skipBlanks(""), "");
}

TEST(LineView, ReadsAsEmptyBehindItsEnd) {
    EXPECT_EQ(eml::textFrom("abc", 1), "bc");
    EXPECT_EQ(eml::textFrom("abc", 3), "");
    EXPECT_EQ(eml::textFrom("abc", 13), "");
    EXPECT_EQ(eml::charAt("abc", 2), 'c');
    EXPECT_EQ(eml::charAt("abc", 3), '\0');
}

TEST(LineView, EndsWithACString) {
    const std::string line = "text";
    EXPECT_STREQ(eml::textFrom(line, 99).data(), "");
    EXPECT_STREQ(eml::skipBlanks(eml::textFrom(line, 2)).data(), "xt");
}

TEST(LineView, ComparesBeginnings) {
    EXPECT_TRUE(eml::startsWith("Content-Type", "Content"));
    EXPECT_FALSE(eml::startsWith("content-Type", "Content"));
    EXPECT_FALSE(eml::startsWith("Con", "Content"));
    EXPECT_TRUE(eml::startsWithNoCase("content-TYPE: x", "Content-Type:"));
    EXPECT_FALSE(eml::startsWithNoCase("content", "Content-Type:"));
    EXPECT_TRUE(eml::startsWithNoCase("", ""));
}

TEST(LineView, ContainsWhatStandsBeforeANul) {
    EXPECT_TRUE(eml::contains("text; charset=x", "charset="));
    EXPECT_FALSE(eml::contains("text; Charset=x", "charset="));
    EXPECT_FALSE(eml::contains("text\0charset="sv, "charset="));
    EXPECT_FALSE(eml::contains("", "charset="));
}

TEST(ValueHead, IsUpperCaseWithoutLeadingBlanks) {
    const eml::UpperHead head(" \t\r\ntext/html; x");
    EXPECT_TRUE(head.startsWith("TEXT/HTML"));
    EXPECT_TRUE(head.startsWith("TEXT/HTML; X\0"sv));
    EXPECT_FALSE(head.startsWith("text/html"));
}

TEST(ValueHead, EndsAtATerminatorInZeros) {
    const eml::UpperHead head("text\0/html");
    EXPECT_TRUE(head.startsWith("TEXT\0\0\0\0\0\0"sv));
    EXPECT_FALSE(head.startsWith("TEXT\0/HTML"sv));
}

TEST(ValueHead, EndsAfter32Bytes) {
    const std::string longValue(40, 'a');
    const eml::UpperHead head(longValue.c_str());
    EXPECT_TRUE(head.startsWith(std::string(32, 'A')));
    EXPECT_FALSE(head.startsWith(std::string(33, 'A')));
}

} // namespace
