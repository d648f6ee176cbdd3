// SPDX-License-Identifier: MIT
// Which text of an RTF document is its text, and how it is laid out.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

class RtfText : public FilterTest {
protected:
    std::string textOfRtf(std::string_view body) {
        const std::string document = "{\\rtf1\\ansi\\ansicpg1252 " + std::string(body) + "}";
        return textOf(RTF_FILTER, document);
    }
};

TEST_F(RtfText, ParagraphsAreLines) {
    EXPECT_EQ(textOfRtf("one\\par two\\line three\\par"), "one\ntwo\nthree\n");
}

TEST_F(RtfText, StreamGetsTheSame) {
    EXPECT_EQ(runStream(RTF_FILTER, "{\\rtf1 one\\par two}").text, "one\ntwo\n");
}

TEST_F(RtfText, LineEndsOfTheFileMeanNothing) {
    EXPECT_EQ(textOfRtf("on\r\ne\\b\r\n two"), "one two\n");
    EXPECT_EQ(textOfRtf("one\\\r\ntwo\\\nthree"), "one\ntwo\nthree\n");
}

TEST_F(RtfText, AtMostOneEmptyLineAndNoneAtTheEnds) {
    EXPECT_EQ(textOfRtf("\\par\\par a\\par\\par\\par\\par b\\par\\par"), "a\n\nb\n");
}

TEST_F(RtfText, BlanksAtLineEndsVanishAndIndentationStays) {
    EXPECT_EQ(textOfRtf("a  \\par   b\\tab\\par\\tab c"), "a\n  b\n\tc\n");
}

TEST_F(RtfText, ControlWordEndsWithItsBlankOrWithoutOne) {
    EXPECT_EQ(textOfRtf("\\b bold\\b0  plain\\i-1 x\\b-y{\\i}z"), "bold plainx-yz\n");
}

TEST_F(RtfText, EscapedCharactersAreText) {
    EXPECT_EQ(textOfRtf("\\{a\\\\b\\}"), "{a\\b}\n");
}

TEST_F(RtfText, NamedCharactersAreText) {
    EXPECT_EQ(textOfRtf("\\lquote a\\rquote\\ldblquote b\\rdblquote\\emdash\\endash\\bullet"),
              "\u2018a\u2019\u201Cb\u201D\u2014\u2013\u2022\n");
    EXPECT_EQ(textOfRtf("a\\~b\\_c\\-d"), "a b-cd\n");
}

TEST_F(RtfText, CellsOfARowAreSeparatedByTabs) {
    EXPECT_EQ(textOfRtf("\\trowd\\pard\\intbl A1\\cell B1\\cell\\row"
                        "\\trowd\\pard\\intbl A2\\cell\\cell C2\\cell\\row after"),
              "A1\tB1\nA2\tC2\nafter\n");
}

TEST_F(RtfText, NestedTableIsReadOnce) {
    EXPECT_EQ(textOfRtf("outer\\par inner1\\nestcell inner2\\nestcell"
                        "{\\*\\nesttableprops\\trowd\\nestrow}{\\nonesttables\\par}\\cell\\row"),
              "outer\ninner1\tinner2\n");
}

TEST_F(RtfText, HeadersAndFootersStandOnLinesOfTheirOwn) {
    EXPECT_EQ(textOfRtf("{\\header Top}{\\footer\\pard Bottom\\par}Body"), "Top\nBottom\nBody\n");
}

TEST_F(RtfText, FootnotesAndCommentsFollowTheParagraph) {
    EXPECT_EQ(
        textOfRtf("claim{\\super\\chftn}{\\footnote\\pard the source\\par} goes on\\par next"),
        "claim goes on\nthe source\nnext\n");
    EXPECT_EQ(textOfRtf("text{\\*\\atnid AB}{\\*\\atnauthor Me}{\\*\\annotation a comment} end"),
              "text end\na comment\n");
}

TEST_F(RtfText, LongNoteIsNotLost) {
    const std::string text =
        textOfRtf("before{\\footnote " + repeated("word ", 20000) + "last}after");
    EXPECT_EQ(text.substr(0, 12), "before\nword ");
    EXPECT_THAT(text, testing::HasSubstr("last\n"));
    EXPECT_THAT(text, testing::HasSubstr("after\n"));
}

TEST_F(RtfText, TextBoxIsReadOnce) {
    EXPECT_EQ(textOfRtf("a{\\shp{\\*\\shpinst\\shpleft1{\\sp{\\sn name}{\\sv value}}"
                        "{\\shptxt box\\par}}{\\shprslt{\\*\\do{\\dptxbxtext box}}}}b"),
              "a\nbox\nb\n");
}

TEST_F(RtfText, FieldGivesItsResultOnly) {
    EXPECT_EQ(textOfRtf("{\\field{\\*\\fldinst HYPERLINK \"http://x.example\"}{\\fldrslt link}}"),
              "link\n");
}

TEST_F(RtfText, ListNumbersAreText) {
    EXPECT_EQ(textOfRtf("{\\listtext 1.\\tab}first\\par{\\pntext\\'95\\tab}second"),
              "1.\tfirst\n\u2022\tsecond\n");
}

TEST_F(RtfText, FormulaGivesItsRunsOnly) {
    EXPECT_EQ(textOfRtf("{\\mmath{\\*\\moMath{\\mf{\\mfPr{\\mctrlPr x}}{\\mr a}{\\mr +b}}}}"),
              "a+b\n");
}

TEST_F(RtfText, HiddenAndDeletedTextIsLeftOut) {
    EXPECT_EQ(textOfRtf("a{\\v hidden}b\\v c\\v0 d\\v e\\plain f{\\deleted g}"), "abdf\n");
    EXPECT_EQ(textOfRtf("a{\\v h\\par h\\cell h}b"), "ab\n");
}

TEST_F(RtfText, WhatIsNoTextIsLeftOut) {
    for (const char *group :
         {"{\\colortbl;\\red0;}", "{\\stylesheet{\\s0 Normal;}}", "{\\info{\\title T}{\\author A}}",
          "{\\*\\generator G;}", "{\\*\\unheardof x{y}z}", "{\\pict\\wmetafile8 0102abcd}",
          "{\\object{\\*\\objdata 0102}}", "{\\xe index}", "{\\*\\bkmkstart mark}",
          "{\\pict\\bin5 {}\\{x}", "{\\*\\htmltag <p>}", "{\\fonttbl{\\f9 Font;}}"}) {
        EXPECT_EQ(textOfRtf("a" + std::string(group) + "b"), "ab\n") << group;
    }
}

TEST_F(RtfText, ResultOfAnObjectIsText) {
    EXPECT_EQ(textOfRtf("{\\object\\objemb{\\*\\objclass C}{\\*\\objdata 01}{\\result shown}}"),
              "shown\n");
}

TEST_F(RtfText, NothingBehindTheDocumentIsText) {
    EXPECT_EQ(textOf(RTF_FILTER, "{\\rtf1 a}b\\par c"), "a\n");
}

TEST_F(RtfText, ControlCodesAreLeftOut) {
    EXPECT_EQ(textOfRtf(std::string("a\x01") + '\0' + "b\\'07\\u7?c\\u133?d"), "abcd\n");
}

TEST_F(RtfText, DocumentWithoutTextGivesNoneAndIsNoFailure) {
    const Outcome outcome = run(RTF_FILTER, "{\\rtf1{\\info{\\title T}}\\par}");
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(RtfText, WritesTheOutputCharsetAndTheHostsLineEnds) {
    setCharset("ISO-8859-1");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(textOfRtf("caf\\'e9\\par b"), "caf\xE9\r\nb\r\n");
}

TEST_F(RtfText, ObeysTheLimit) {
    setLimit(4);
    const Outcome over = run(RTF_FILTER, "{\\rtf1 abcdef}");
    EXPECT_EQ(over.code, EML_ERR_LIMIT);
    EXPECT_EQ(over.text, "abcd");
    const Outcome within = run(RTF_FILTER, "{\\rtf1 abc}");
    EXPECT_EQ(within.code, EML_OK);
    EXPECT_EQ(within.text, "abc\n");
}

TEST_F(RtfText, StopsWhenTheStreamTakesNothingMore) {
    EXPECT_EQ(runStream(RTF_FILTER, "{\\rtf1 " + repeated("text\\par ", 100000) + "}", 20000).code,
              EML_OK);
}

} // namespace
} // namespace qob::tests
