// SPDX-License-Identifier: MIT
// The characters of an RTF document: code pages of the document and of its fonts, characters by
// number, symbol fonts.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

using RtfCharset = FilterTest;

TEST_F(RtfCharset, BytesAreInTheDocumentsCodePage) {
    struct Row {
        const char *header;
        const char *bytes;
        const char *text;
    };
    for (const Row &row :
         {Row{"\\ansi\\ansicpg1252", "\\'e9\\'80", "\u00E9\u20AC"},
          Row{"\\ansi\\ansicpg1251", "\\'cf\\'f0", "\u041F\u0440"},
          Row{"\\ansi\\ansicpg932", "\\'93\\'fa\\'96\\'7b", "\u65E5\u672C"},
          Row{"\\ansi\\ansicpg936", "\\'c4\\'e3", "\u4F60"},
          Row{"\\ansi\\ansicpg949", "\\'c7\\'d1", "\uD55C"},
          Row{"\\ansi\\ansicpg950", "\\'a7\\'41", "\u4F60"},
          Row{"\\ansi\\ansicpg65001", "\\'e4\\'bd\\'a0", "\u4F60"}, Row{"\\mac", "\\'8e", "\u00E9"},
          Row{"\\pc", "\\'82", "\u00E9"}, Row{"\\pca", "\\'82\\'b5", "\u00E9\u00C1"},
          Row{"\\ansi", "\\'e9", "\u00E9"}, Row{"\\ansi\\ansicpg99999", "\\'e9", "\u00E9"},
          Row{"\\ansi\\ansicpg-1", "\\'e9", "\u00E9"},
          Row{"\\ansi\\ansicpg1200", "ab\\'e9", "ab\u00E9"},
          Row{"\\ansi\\ansicpg37", "ab\\'e9", "ab\u00E9"}}) {
        const std::string document = std::string("{\\rtf1") + row.header + " " + row.bytes + "}";
        EXPECT_EQ(textOf(RTF_FILTER, document), std::string(row.text) + "\n") << row.header;
    }
}

TEST_F(RtfCharset, PlainCharacterMayBeTheSecondHalfOfOne) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg932 \\'83e\\'83\\\\x}"), "\u30C6\u30BDx\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg932 \x93\xFA}"), "\u65E5\n");
}

TEST_F(RtfCharset, FontsHaveCodePagesOfTheirOwn) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fcharset0 A;}"
                                 "{\\f1\\fcharset128 {\\*\\falt X}B;}{\\f2\\fcharset204 C;}"
                                 "{\\f3\\fcharset1 D;}{\\f4\\cpg1253 E;}}"
                                 "\\'e9{\\f1\\'93\\'fa}{\\f2\\'cf}\\f3\\'e9\\f4\\'e1\\plain\\'e9}"),
              "\u00E9\u65E5\u041F\u00E9\u03B1\u00E9\n");
}

TEST_F(RtfCharset, FontTableMayDoWithoutGroups) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi{\\fonttbl\\f0\\fcharset0 A;\\f1\\fcharset161 B;}"
                                 "\\f1\\'e1\\f0\\'e1}"),
              "\u03B1\u00E1\n");
}

TEST_F(RtfCharset, CharactersByNumberReplaceTheirFallback) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\uc1 \\u20320\\'3f\\u22909?x}"), "\u4F60\u597Dx\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\uc2 \\u12354\\'82\\'a0b{\\uc0\\u12354 c}\\u12354??d}"),
              "\u3042b\u3042c\u3042d\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\u8212\\emdash x\\u8364{y}z}"), "\u2014x\u20ACyz\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\uc1\\u233\\u234\\u235?\\par x}"),
              "\u00E9\u00EA\u00EB\nx\n");
}

TEST_F(RtfCharset, NumbersMayBeNegativeOrSurrogatesOrWhole) {
    EXPECT_EQ(
        textOf(RTF_FILTER, "{\\rtf1\\u-28700?\\u-10179?\\u-8704?\\u55357?\\u56832?\\u128512?}"),
        "\u8FE4\U0001F600\U0001F600\U0001F600\n");
}

TEST_F(RtfCharset, HalfASurrogatePairIsDamaged) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\u55357?a\\u56832?b\\u55357?}"), "\uFFFD"
                                                                           "a\uFFFD"
                                                                           "b\uFFFD\n");
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a\\u2000000000?b\\u-99999?c}"), "a\uFFFD"
                                                                          "bc\n");
}

TEST_F(RtfCharset, BothFormsOfATextGiveTheUnicodeOne) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a{\\upr{ansi}{\\*\\ud{\\u12354?}}}b}"), "a\u3042b\n");
}

TEST_F(RtfCharset, SymbolFontIsGreekAndMathematics) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1{\\fonttbl{\\f1\\fcharset2 Symbol;}}"
                                 "x{\\f1 ab\\'a3\\'b7}\\f1\\u-3999?}"),
              "x\u03B1\u03B2\u2264\u2022\u03B1\n");
}

TEST_F(RtfCharset, PictureFontsGiveBullets) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1{\\fonttbl{\\f1\\fcharset2 Wingdings;}"
                                 "{\\f2\\fcharset2 Letters;}}{\\f1\\'a7}{\\f2 text}\\u-3929?}"),
              "\u2022text\u2022\n");
}

TEST_F(RtfCharset, CharacterCutByAControlWordIsDamaged) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg932 \\'93\\par a}"), "\uFFFD\na\n");
}

TEST_F(RtfCharset, CharacterMayBeDividedBetweenPiecesOfAnySize) {
    const std::string run = repeated("\\'93\\'fa", 30001);
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1\\ansi\\ansicpg932 x" + run + "}"),
              "x" + repeated("\u65E5", 30001) + "\n");
}

} // namespace
} // namespace qob::tests
