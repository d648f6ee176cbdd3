// SPDX-License-Identifier: MIT
// What of a page is text, and on which lines it stands.
#include <ostream>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

struct PageCase {
    const char *promise;
    const char *page;
    const char *text;
};

void PrintTo(const PageCase &c, std::ostream *out) {
    *out << c.page;
}

class HtmlText : public FilterTest, public testing::WithParamInterface<PageCase> {};

TEST_P(HtmlText, IsLaidOut) {
    const Outcome outcome = run(HTML_FILTER, GetParam().page);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, GetParam().text);
    EXPECT_TRUE(outcome.notices.empty());
}

constexpr PageCase kLines[] = {
    {"ParagraphsAreLines", "<p>one</p><p>two</p>", "one\ntwo\n"},
    {"UnclosedParagraphsAreLines", "<p>one<p>two", "one\ntwo\n"},
    {"HeadingsAreLines", "<h1>Head</h1>body", "Head\nbody\n"},
    {"ListItemsAreLines", "a<ul><li>b<li>c</ul>d", "a\nb\nc\nd\n"},
    {"DefinitionsAreLines", "<dl><dt>a<dd>b</dl>", "a\nb\n"},
    {"BreakEndsLine", "one<br>two<br/>three", "one\ntwo\nthree\n"},
    {"BreakAtBlockEndAddsNothing", "<div>one<br></div>two", "one\ntwo\n"},
    {"TwoBreaksMakeEmptyLine", "one<br><br>two", "one\n\ntwo\n"},
    {"NeverTwoEmptyLines", "one<br><br><br><br>two", "one\n\ntwo\n"},
    {"BlockOfNoBreakSpaceIsEmptyLine", "<p>one</p><p>&nbsp;</p><p>two</p>", "one\n\ntwo\n"},
    {"EmptyBlocksAddNothing", "<div>a</div><div></div><div> </div>b", "a\nb\n"},
    {"RuleSeparates", "a<hr>b", "a\nb\n"},
    {"RowsAreLinesAndCellsTabbed", "<table><tr><td>a<td>b<tr><th>c</th> <td>d</table>",
     "a\tb\nc\td\n"},
    {"EmptyCellsLeaveOneTab", "<tr><td></td><td>a</td><td></td><td>b</td><td></td></tr>", "a\tb\n"},
    {"BlocksInCellsAreLines", "<tr><td><p>a</p></td><td>b</td></tr>", "a\nb\n"},
    {"PageWithoutTextGivesNothing", "<html><body><br><p> </p></body></html>", ""},
    {"EmptyFileGivesNothing", "", ""},
    {"LeadingAndTrailingLinesAreDropped", "<br><br>a<br><br>", "a\n"},
};

constexpr PageCase kSpaces[] = {
    {"WhiteSpaceIsCollapsed", "a  b\n\tc\r\nd", "a b c d\n"},
    {"InlineTagsAddNoSpace", "b<b>ol</b>d <i>x</i>", "bold x\n"},
    {"SpaceAroundTagsIsOne", "a <b> b</b>", "a b\n"},
    {"NoBreakSpacesAreKept", "a&nbsp;&nbsp;b", "a  b\n"},
    {"SpacesAtLineEndsAreDropped", "<p> a </p> <p> b&nbsp;</p>", "a\nb\n"},
    {"PreformattedKeepsLinesAndSpaces", "<pre>\n a\n   b\tc\r\nd</pre>e", " a\n   b\tc\nd\ne\n"},
    {"PreformattedKeepsEmptyLine", "<pre>a\n\nb</pre>", "a\n\nb\n"},
    {"AfterPreformattedSpacesCollapse", "<pre>a</pre>b  c", "a\nb c\n"},
};

constexpr PageCase kContent[] = {
    {"EntitiesAreDecoded", "&lt;&eacute;&#233;&#xE9;&amp;&euro;", "<ééé&€\n"},
    {"EntityWithoutSemicolonIsDecoded", "&copy 2024 &#65 b", "© 2024 A b\n"},
    {"UnknownEntityIsText", "&bogus; AT&T a&b; & &", "&bogus; AT&T a&b; & &\n"},
    {"EscapedTextIsNotReadAgain", "&amp;lt;b&amp;gt; &lt;b&gt;", "&lt;b&gt; <b>\n"},
    {"WindowsNumbersAreTheirCharacters", "&#147;it&#146;s&#148; &#128;", "“it’s” €\n"},
    {"ImpossibleNumbersAreReplaced", "&#0;&#xD800;&#x110000;&#99999999999999;",
     "\uFFFD\uFFFD"
     "\uFFFD\uFFFD\n"},
    {"ControlNumbersAreLeftOut", "a&#1;b&#127;c", "abc\n"},
    {"TitleIsText", "<head><title>T</title></head><body>b", "T\nb\n"},
    {"RestOfHeadIsNot", "<head><meta name=x content=y><base href=z><style>s</style></head>b",
     "b\n"},
    {"ScriptsAreLeftOut", "a<script>if (1<2) x='<p>';</script>b", "ab\n"},
    {"ScriptEndsAtItsOwnEndTag", "a<script>'</b>'</scripty></SCRIPT >b", "ab\n"},
    {"StylesAreLeftOut", "a<style type=\"text/css\"><!-- p{} --></style>b", "ab\n"},
    {"CommentsAreLeftOut", "a<!-- <p>x</p> -- > -->b<!---->c<!-->d<!--x--!>e", "abcde\n"},
    {"ConditionalMarkupIsLeftOut", "<!--[if mso]>x<![endif]-->a<![if !mso]>b<![endif]>c", "abc\n"},
    {"DoctypeAndInstructionsAreLeftOut", "<!DOCTYPE html><?xml version=\"1.0\"?>a", "a\n"},
    {"ImageGivesItsAlternativeText", "see <img src=a.png alt='the \"big&eacute;\" > one'>here",
     "see the \"bigé\" > one here\n"},
    {"ImageWithoutAlternativeGivesNothing", "a<img src=a.png alt=\"\">b<img>c", "abc\n"},
    {"LinkGivesItsTextOnly", "<a href=\"http://x/?a>b\">text</a>", "text\n"},
    {"UnknownElementsGiveTheirText", "<o:p>a</o:p><custom-x y='>'>b</custom-x>", "ab\n"},
    {"ControlCodesAreLeftOut",
     "a\x01\x7F"
     "b",
     "ab\n"},
};

constexpr PageCase kBroken[] = {
    {"LoneLessThanIsText", "1 < 2 <3 <", "1 < 2 <3 <\n"},
    {"UnclosedTagAtEndIsLeftOut", "a<p class=", "a\n"},
    {"UnclosedCommentHidesTheRest", "a<!-- b <p>c", "a\n"},
    {"UnclosedScriptHidesTheRest", "a<script>b", "a\n"},
    {"UnclosedQuoteEndsAtTheNextBracket", "<a href=\"x>click</a> <b>more</b>", "click more\n"},
    {"UnclosedTitleKeepsTheText", "<title>T<p>a", "T\na\n"},
    {"StrayEndTagsAddNothing", "a</b></td></li></body></html>b", "ab\n"},
    {"TextAfterTheEndIsRead", "<html><body>a</body></html><p>b", "a\nb\n"},
    {"MisnestedInlineIsRead", "<b><p>a</b>b</p>c", "ab\nc\n"},
};

std::string nameOf(const testing::TestParamInfo<PageCase> &info) {
    return info.param.promise;
}

INSTANTIATE_TEST_SUITE_P(Lines, HtmlText, testing::ValuesIn(kLines), nameOf);
INSTANTIATE_TEST_SUITE_P(Spaces, HtmlText, testing::ValuesIn(kSpaces), nameOf);
INSTANTIATE_TEST_SUITE_P(Content, HtmlText, testing::ValuesIn(kContent), nameOf);
INSTANTIATE_TEST_SUITE_P(Broken, HtmlText, testing::ValuesIn(kBroken), nameOf);

} // namespace
} // namespace qob::tests
