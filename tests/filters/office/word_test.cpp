// SPDX-License-Identifier: MIT
// Word processing documents: what is text, in which order, on which lines.
#include <ostream>

#include "documents.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

struct BodyCase {
    const char *promise;
    const char *body;
    const char *text;
};

void PrintTo(const BodyCase &c, std::ostream *out) {
    *out << c.body;
}

class WordBody : public FilterTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(WordBody, IsRead) {
    const Outcome outcome = run(OFFICE_FILTER, docxOf(GetParam().body));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, GetParam().text);
    EXPECT_TRUE(outcome.notices.empty());
}

#define P(text) "<w:p><w:r><w:t>" text "</w:t></w:r></w:p>"
#define CELL(content) "<w:tc><w:tcPr><w:tcW/></w:tcPr>" content "</w:tc>"
#define ROW(cells) "<w:tr>" cells "</w:tr>"
#define TABLE(rows) "<w:tbl><w:tblPr/><w:tblGrid/>" rows "</w:tbl>"

constexpr BodyCase kParagraphs[] = {
    {"ParagraphsAreLines", P("one") P("two"), "one\ntwo\n"},
    {"RunsAreJoined",
     "<w:p><w:r><w:t>o</w:t></w:r><w:r><w:t xml:space=\"preserve\">n e</w:t></w:r></w:p>",
     "on e\n"},
    {"EmptyParagraphsAreOneEmptyLine", P("a") "<w:p/><w:p/><w:p/>" P("b"), "a\n\nb\n"},
    {"NoEmptyLinesAtTheEnds", "<w:p/>" P("a") "<w:p/>", "a\n"},
    {"BreaksEndLines", "<w:p><w:r><w:t>a</w:t><w:br/><w:t>b</w:t><w:cr/><w:t>c</w:t></w:r></w:p>",
     "a\nb\nc\n"},
    {"TabsAreTabs", "<w:p><w:r><w:t>a</w:t><w:tab/><w:t>b</w:t></w:r></w:p>", "a\tb\n"},
    {"TabStopsAreNoTabs",
     "<w:p><w:pPr><w:tabs><w:tab w:val=\"left\"/></w:tabs></w:pPr><w:r><w:t>a</w:t></w:r></w:p>",
     "a\n"},
    {"EntitiesAreDecoded", P("&lt;a &amp; b&gt; &#233;&#x6F22;"), "<a & b> é漢\n"},
    {"WhiteSpaceBetweenElementsIsNoText", "\n  <w:p>\n <w:r>\n <w:t>a</w:t>\n</w:r></w:p>\n",
     "a\n"},
    {"NoBreakHyphenIsKept", "<w:p><w:r><w:t>e</w:t><w:noBreakHyphen/><w:t>mail</w:t></w:r></w:p>",
     "e\u2011mail\n"},
    {"SymbolsOfUnicodeAreKept", "<w:p><w:r><w:sym w:font=\"Arial\" w:char=\"2713\"/></w:r></w:p>",
     "✓\n"},
    {"SymbolsOfAFontAreLeftOut",
     "<w:p><w:r><w:sym w:font=\"Wingdings\" w:char=\"F0E0\"/><w:t>a</w:t></w:r></w:p>", "a\n"},
    {"FormulasAreText", "<w:p><m:oMath><m:r><m:t>x=1</m:t></m:r></m:oMath></w:p>", "x=1\n"},
};

constexpr BodyCase kChanges[] = {
    {"DeletedTextIsLeftOut",
     "<w:p><w:r><w:t>a</w:t></w:r><w:del><w:r><w:delText>x</w:delText></w:r></w:del>"
     "<w:ins><w:r><w:t>b</w:t></w:r></w:ins></w:p>",
     "ab\n"},
    {"MovedTextIsReadOnce",
     "<w:p><w:moveFrom><w:r><w:t>m</w:t></w:r></w:moveFrom></w:p>"
     "<w:p><w:moveTo><w:r><w:t>m</w:t></w:r></w:moveTo></w:p>",
     "m\n"},
    {"FieldCodesAreLeftOut",
     "<w:p><w:r><w:fldChar/></w:r><w:r><w:instrText>PAGE</w:instrText></w:r>"
     "<w:r><w:t>4</w:t></w:r></w:p>",
     "4\n"},
    {"LinksAndContentControlsAreRead",
     "<w:p><w:hyperlink r:id=\"x\"><w:r><w:t>link</w:t></w:r></w:hyperlink></w:p>"
     "<w:sdt><w:sdtPr><w:alias w:val=\"x\"/></w:sdtPr><w:sdtContent>" P(
         "in") "</w:sdtContent></w:sdt>",
     "link\nin\n"},
    {"ReadingsAreLeftOut",
     "<w:p><w:r><w:ruby><w:rt><w:r><w:t>kan</w:t></w:r></w:rt><w:rubyBase><w:r><w:t>漢</w:t></w:r>"
     "</w:rubyBase></w:ruby></w:r></w:p>",
     "漢\n"},
};

constexpr BodyCase kTables[] = {
    {"RowsAreLinesAndCellsTabbed",
     TABLE(ROW(CELL(P("a")) CELL(P("b"))) ROW(CELL(P("c")) CELL(P("d")))), "a\tb\nc\td\n"},
    {"EmptyCellsKeepTheirPlace",
     TABLE(ROW(CELL("<w:p/>") CELL(P("b")) CELL("<w:p/>") CELL(P("d")))), "\tb\t\td\n"},
    {"EmptyCellsAtTheEndLeaveNothing", TABLE(ROW(CELL(P("a")) CELL("<w:p/>")) ROW(CELL("<w:p/>"))),
     "a\n"},
    {"ParagraphsOfACellAreLines", TABLE(ROW(CELL(P("a") P("b")) CELL(P("c")))), "a\nb\tc\n"},
    {"AnEmptyParagraphDoesNotMoveACell", TABLE(ROW(CELL(P("a")) CELL("<w:p/>" P("b")))), "a\tb\n"},
    {"TextAroundATableHasItsOwnLines", P("x") TABLE(ROW(CELL(P("a")) CELL(P("b")))) P("y"),
     "x\na\tb\ny\n"},
    {"TablesInCellsHaveTheirRows",
     TABLE(ROW(CELL(P("a") TABLE(ROW(CELL(P("1")) CELL(P("2"))))) CELL(P("b")))), "a\n1\t2\n\tb\n"},
};

constexpr BodyCase kBoxes[] = {
    {"TextBoxFollowsItsParagraph",
     "<w:p><w:r><w:t>be</w:t></w:r><w:r><w:pict><v:textbox><w:txbxContent>" P("box")
         P("2") "</w:txbxContent></v:textbox></w:pict></w:r><w:r><w:t>fore</w:t></w:r></w:p>" P(
             "after"),
     "before\nbox\n2\nafter\n"},
    {"TextBoxOfTwoVersionsIsReadOnce",
     "<w:p><w:r><mc:AlternateContent><mc:Choice Requires=\"wps\"><w:txbxContent>" P(
         "new") "</w:txbxContent></mc:Choice><mc:Fallback><w:txbxContent>" P("old") "</"
                                                                                    "w:txbxContent>"
                                                                                    "</"
                                                                                    "mc:Fallback></"
                                                                                    "mc:"
                                                                                    "AlternateConte"
                                                                                    "nt></w:r></"
                                                                                    "w:p>",
     "new\n"},
    {"FallbackIsReadWithoutAChoice",
     "<w:p><mc:AlternateContent><mc:Fallback><w:r><w:t>old</w:t></w:r></mc:Fallback>"
     "</mc:AlternateContent></w:p>",
     "old\n"},
    {"PositionsOfDrawingsAreNoText",
     "<w:p><w:r><w:drawing><wp:posOffset>123</wp:posOffset></w:drawing><w:t>a</w:t></w:r></w:p>",
     "a\n"},
    {"TextBoxInACellStaysThere",
     TABLE(ROW(CELL("<w:p><w:r><w:txbxContent>" P("box") "</w:txbxContent><w:t>a</w:t></w:r></w:p>")
                   CELL(P("b")))),
     "a\nbox\tb\n"},
};

std::string promiseOf(const testing::TestParamInfo<BodyCase> &info) {
    return info.param.promise;
}

INSTANTIATE_TEST_SUITE_P(Paragraphs, WordBody, testing::ValuesIn(kParagraphs), promiseOf);
INSTANTIATE_TEST_SUITE_P(Changes, WordBody, testing::ValuesIn(kChanges), promiseOf);
INSTANTIATE_TEST_SUITE_P(Tables, WordBody, testing::ValuesIn(kTables), promiseOf);
INSTANTIATE_TEST_SUITE_P(Boxes, WordBody, testing::ValuesIn(kBoxes), promiseOf);

class WordDocument : public FilterTest {};

std::string part(const std::string &root, const std::string &text) {
    return "<w:" + root + ">" + paragraph(text) + "</w:" + root + ">";
}

const MemberList &surroundings() {
    static const MemberList members = {
        {"word/_rels/document.xml.rels", relationsOf({{"a", "comments", "comments.xml"},
                                                      {"b", "header", "header10.xml"},
                                                      {"c", "header", "header9.xml"},
                                                      {"d", "footer", "footer1.xml"},
                                                      {"e", "footnotes", "/word/footnotes.xml"},
                                                      {"f", "endnotes", "../word/endnotes.xml"},
                                                      {"g", "theme", "theme.xml"}})},
        {"word/comments.xml", "<w:comments><w:comment w:author=\"A\">" + paragraph("comment") +
                                  "</w:comment></w:comments>"},
        {"word/header10.xml", part("hdr", "head 10")},
        {"word/header9.xml", part("hdr", "head 9")},
        {"word/footer1.xml", part("ftr", "foot")},
        {"word/footnotes.xml",
         "<w:footnotes><w:footnote w:type=\"separator\"><w:p><w:r><w:separator/>"
         "</w:r></w:p></w:footnote><w:footnote>" +
             paragraph("note") + "</w:footnote></w:footnotes>"},
        {"word/endnotes.xml", part("endnotes", "end")},
        {"word/theme.xml", part("x", "never")}};
    return members;
}

constexpr char kSurrounded[] = "body\n\nhead 9\n\nhead 10\n\nfoot\n\nnote\n\nend\n\ncomment\n";

TEST_F(WordDocument, HeadersNotesAndCommentsFollowTheBody) {
    EXPECT_EQ(textOf(OFFICE_FILTER, docxOf(paragraph("body"), surroundings())), kSurrounded);
}

TEST_F(WordDocument, PartsAreFoundByTheirNamesWithoutRelations) {
    MemberList members = docxMembers(paragraph("body"), surroundings());
    std::erase_if(members, [](const Member &member) { return member.first.ends_with(".rels"); });
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), kSurrounded);
}

TEST_F(WordDocument, MainPartMayHaveAnyName) {
    EXPECT_EQ(
        textOf(OFFICE_FILTER,
               zipOf({{"_rels/.rels", relationsOf({{"x", "officeDocument", "a%20b/main.xml"}})},
                      {"[Content_Types].xml",
                       "<Types><Override PartName=\"/a b/main.xml\" ContentType=\"application/"
                       "vnd.ms-word.document.macroEnabled.main+xml\"/></Types>"},
                      {"a b/main.xml", part("document", "text")}})),
        "text\n");
}

TEST_F(WordDocument, DiagramsFollowTheBody) {
    EXPECT_EQ(
        textOf(
            OFFICE_FILTER,
            docxOf(paragraph("body"),
                   {{"word/_rels/document.xml.rels",
                     relationsOf({{"a", "diagramData", "diagrams/data1.xml"}})},
                    {"word/diagrams/data1.xml",
                     "<dgm:pt><dgm:t>\n<a:p><a:r><a:t>node</a:t></a:r></a:p></dgm:t></dgm:pt>"}})),
        "body\n\nnode\n");
}

TEST_F(WordDocument, IsReadInUtf16) {
    MemberList members = docxMembers("");
    members[2].second = encoded("UTF-16LE", "\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>"
                                            "<w:document>" +
                                                paragraph("漢字") + "</w:document>");
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "漢字\n");
}

TEST_F(WordDocument, IsReadInADeclaredCharset) {
    MemberList members = docxMembers("");
    members[2].second = "<?xml version='1.0' encoding='ISO-8859-1'?><w:document>" +
                        paragraph("caf\xE9") + "</w:document>";
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "café\n");
}

TEST_F(WordDocument, MalformedCharactersDoNotEndIt) {
    EXPECT_EQ(textOf(OFFICE_FILTER, docxOf(paragraph("a\xFF"
                                                     "b\x01"
                                                     "c") +
                                           paragraph("d"))),
              "a\uFFFDb c\nd\n");
}

TEST_F(WordDocument, WritesTheOutputCharsetAndTheHostsLineEnds) {
    setCharset("ISO-8859-1");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(textOf(OFFICE_FILTER, docxOf(paragraph("é") + paragraph("b"))), "\xE9\r\nb\r\n");
}

TEST_F(WordDocument, GivesTheStreamTheSame) {
    EXPECT_EQ(runStream(OFFICE_FILTER, docxOf(paragraph("a"))).text, "a\n");
}

TEST_F(WordDocument, ObeysTheLimit) {
    setLimit(5);
    const Outcome outcome = run(OFFICE_FILTER, docxOf(paragraph("漢字漢字")));
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text, "漢");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(WordDocument, WithoutTextIsNoFailure) {
    const Outcome outcome = run(OFFICE_FILTER, docxOf("<w:p/>"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(WordDocument, ThreadsDoNotDisturbEachOther) {
    const std::vector<std::string> texts =
        textsOfThreads(OFFICE_FILTER, docxOf(paragraph("body"), surroundings()), 4, 10);
    EXPECT_EQ(texts, std::vector<std::string>(40, kSurrounded));
}

} // namespace
} // namespace qob::tests
