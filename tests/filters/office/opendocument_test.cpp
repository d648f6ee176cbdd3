// SPDX-License-Identifier: MIT
// OpenDocument texts, spreadsheets and presentations.
#include <ostream>

#include "documents.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

struct OdfCase {
    const char *promise;
    const char *body;
    const char *text;
};

void PrintTo(const OdfCase &c, std::ostream *out) {
    *out << c.body;
}

std::string promiseOf(const testing::TestParamInfo<OdfCase> &info) {
    return info.param.promise;
}

class OdfFilterTest : public FilterTest {
protected:
    void expectText(std::string_view kind, const OdfCase &c) {
        const Outcome outcome = run(OFFICE_FILTER, odfOf(kind, c.body));
        EXPECT_EQ(outcome.code, EML_OK);
        EXPECT_EQ(outcome.text, c.text);
        EXPECT_TRUE(outcome.notices.empty());
    }
};

class OdfText : public OdfFilterTest, public testing::WithParamInterface<OdfCase> {};
class OdfSpreadsheet : public OdfFilterTest, public testing::WithParamInterface<OdfCase> {};
class OdfPresentation : public OdfFilterTest, public testing::WithParamInterface<OdfCase> {};

TEST_P(OdfText, IsRead) {
    expectText("text", GetParam());
}

TEST_P(OdfSpreadsheet, IsRead) {
    expectText("spreadsheet", GetParam());
}

TEST_P(OdfPresentation, IsRead) {
    expectText("presentation", GetParam());
}

constexpr OdfCase kTexts[] = {
    {"ParagraphsAndHeadingsAreLines",
     "<text:h>H</text:h><text:p>a</text:p><text:p/><text:p>b</text:p>", "H\na\n\nb\n"},
    {"WhiteSpaceIsCollapsed", "<text:p>\n a  <text:span> b</text:span>\n c </text:p>", "a b c\n"},
    {"BlanksAndTabsHaveElements",
     "<text:p>a<text:s text:c=\"3\"/>b<text:s/>c<text:tab/>d<text:line-break/>e</text:p>",
     "a   b c\td\ne\n"},
    {"ListsAreLines",
     "<text:list><text:list-item><text:p>1</text:p></text:list-item><text:list-item><text:p>2</"
     "text:p>"
     "</text:list-item></text:list>",
     "1\n2\n"},
    {"TablesAreRows",
     "<table:table table:name=\"T\"><table:table-row><table:table-cell><text:p>a</text:p>"
     "</table:table-cell><table:covered-table-cell/><table:table-cell><text:p>b</text:p>"
     "</table:table-cell></table:table-row></table:table>",
     "a\t\tb\n"},
    {"DeletedTextIsLeftOut",
     "<text:tracked-changes><text:changed-region><text:deletion><text:p>x</text:p></text:deletion>"
     "</text:changed-region></text:tracked-changes><text:p>a<text:change/>b</text:p>",
     "ab\n"},
    {"NotesFollowTheText",
     "<text:p>a<text:note><text:note-citation>1</text:note-citation><text:note-body><text:p>note</"
     "text:p>"
     "</text:note-body></text:note>b</text:p><text:p>c</text:p>",
     "ab\nc\n\nnote\n"},
    {"AnnotationsFollowTheText",
     "<text:p>a<office:annotation><dc:creator>A</dc:creator><dc:date>2024</dc:date><text:p>remark</"
     "text:p>"
     "</office:annotation>b<office:annotation-end/></text:p><text:p>c</text:p>",
     "ab\nc\n\nremark\n"},
    {"TextBoxesFollowTheirParagraph",
     "<text:p>be<draw:frame><draw:text-box><text:p>box</text:p></draw:text-box><svg:title>t</"
     "svg:title>"
     "</draw:frame>fore</text:p><text:p>c</text:p>",
     "before\nbox\nc\n"},
    {"ShapesFollowTheirParagraph",
     "<text:p>a<draw:custom-shape><text:p>s</text:p></draw:custom-shape></text:p>", "a\ns\n"},
    {"FieldsAreText", "<text:p><text:title>T</text:title> <text:date>1 May</text:date></text:p>",
     "T 1 May\n"},
    {"FormsAndScriptsAreNoText",
     "<office:forms><form:p><text:p>x</text:p></form:p></office:forms><text:p>a</text:p>", "a\n"},
};

constexpr OdfCase kSheets[] = {
    {"SheetsHaveTheirNames",
     "<table:table table:name=\"One\"><table:table-row><table:table-cell "
     "office:value-type=\"float\" "
     "office:value=\"1.5\"><text:p>1,50</text:p></table:table-cell></table:table-row></table:table>"
     "<table:table table:name=\"Two\"/>",
     "One\n1,50\n\nTwo\n"},
    {"EmptyCellsKeepTheirPlace",
     "<table:table table:name=\"S\"><table:table-row><table:table-cell "
     "table:number-columns-repeated=\"2\"/><table:table-cell><text:p>c</text:p></table:table-cell>"
     "<table:table-cell "
     "table:number-columns-repeated=\"16381\"/></table:table-row><table:table-row "
     "table:number-rows-repeated=\"1048575\"><table:table-cell "
     "table:number-columns-repeated=\"16384\"/>"
     "</table:table-row></table:table>",
     "S\n\t\tc\n"},
    {"EqualCellsAndRowsAreRepeated",
     "<table:table table:name=\"S\"><table:table-row "
     "table:number-rows-repeated=\"2\"><table:table-cell "
     "table:number-columns-repeated=\"3\"><text:p>x</text:p></table:table-cell></table:table-row>"
     "</table:table>",
     "S\nx\tx\tx\nx\tx\tx\n"},
    {"ParagraphsOfACellAreOneLine",
     "<table:table "
     "table:name=\"S\"><table:table-row><table:table-cell><text:p>a</text:p><text:p>b</text:p>"
     "</table:table-cell><table:table-cell><text:p>c</text:p></table:table-cell></table:table-row>"
     "</table:table>",
     "S\na b\tc\n"},
    {"ValuesWithoutTextAreRead",
     "<table:table table:name=\"S\"><table:table-row>"
     "<table:table-cell office:value-type=\"date\" office:date-value=\"2024-02-29\"/>"
     "<table:table-cell office:value-type=\"boolean\" office:boolean-value=\"true\"/>"
     "<table:table-cell office:value-type=\"percentage\" office:value=\"0.5\"/>"
     "<table:table-cell office:value-type=\"string\" office:string-value=\"s\"/>"
     "</table:table-row></table:table>",
     "S\n2024-02-29\ttrue\t0.5\ts\n"},
    {"CommentsFollowTheirSheet",
     "<table:table "
     "table:name=\"S\"><table:table-row><table:table-cell><office:annotation><text:p>r</text:p>"
     "</office:annotation><text:p>a</text:p></table:table-cell><table:table-cell><text:p>b</text:p>"
     "</table:table-cell></table:table-row></table:table><table:table table:name=\"T\"/>",
     "S\na\tb\n\nr\n\nT\n"},
    {"ShapesFollowTheirSheet",
     "<table:table table:name=\"S\"><table:shapes><draw:frame><draw:text-box><text:p>box</text:p>"
     "</draw:text-box></draw:frame></table:shapes><table:table-row><table:table-cell><text:p>a</"
     "text:p>"
     "</table:table-cell></table:table-row></table:table>",
     "S\na\n\nbox\n"},
    {"HelpOfInputRulesIsNoText",
     "<table:content-validations><table:help-message><text:p>x</text:p></table:help-message>"
     "</table:content-validations><table:table table:name=\"S\"/>",
     "S\n"},
};

constexpr OdfCase kSlides[] = {
    {"SlidesWithTheirNotes",
     "<draw:page draw:name=\"p1\"><draw:frame><draw:text-box><text:p>one</text:p></draw:text-box>"
     "</draw:frame><draw:custom-shape><text:p>shape</text:p></"
     "draw:custom-shape><presentation:notes>"
     "<draw:frame><draw:text-box><text:p>note</text:p></draw:text-box></draw:frame></"
     "presentation:notes>"
     "</draw:page><draw:page><draw:frame><draw:text-box><text:p>two</text:p></draw:text-box></"
     "draw:frame>"
     "</draw:page>",
     "one\nshape\n\nnote\n\ntwo\n"},
    {"AnnotationsFollowTheirSlide",
     "<draw:page><office:annotation><text:p>remark</text:p></"
     "office:annotation><draw:frame><draw:text-box>"
     "<text:p>one</text:p></draw:text-box></draw:frame></draw:page>",
     "one\n\nremark\n"},
    {"TablesAreRows",
     "<draw:page><draw:frame><table:table><table:table-row><table:table-cell><text:p>a</text:p>"
     "</table:table-cell><table:table-cell><text:p>b</text:p></table:table-cell></table:table-row>"
     "</table:table></draw:frame></draw:page>",
     "a\tb\n"},
};

INSTANTIATE_TEST_SUITE_P(Texts, OdfText, testing::ValuesIn(kTexts), promiseOf);
INSTANTIATE_TEST_SUITE_P(Sheets, OdfSpreadsheet, testing::ValuesIn(kSheets), promiseOf);
INSTANTIATE_TEST_SUITE_P(Slides, OdfPresentation, testing::ValuesIn(kSlides), promiseOf);

class OpenDocument : public FilterTest {};

constexpr char kStyles[] =
    "<office:document-styles><office:styles><text:p>never</text:p></"
    "office:styles><office:master-styles>"
    "<style:master-page><style:header><text:p>head</text:p></"
    "style:header><style:footer><text:p>foot "
    "<text:page-number>1</text:page-number></text:p></style:footer></style:master-page>"
    "</office:master-styles></office:document-styles>";

TEST_F(OpenDocument, HeadersAndFootersFollowTheText) {
    EXPECT_EQ(textOf(OFFICE_FILTER, odfOf("text", "<text:p>a</text:p>", {{"styles.xml", kStyles}})),
              "a\n\nhead\n\nfoot 1\n");
}

TEST_F(OpenDocument, MastersOfSlidesAreNoText) {
    EXPECT_EQ(
        textOf(OFFICE_FILTER, odfOf("presentation", "<draw:page><text:p>a</text:p></draw:page>",
                                    {{"styles.xml", kStyles}})),
        "a\n");
}

TEST_F(OpenDocument, DocumentsInTheDocumentFollow) {
    const std::string inner =
        "<office:document-content><office:body><office:spreadsheet><table:table table:name=\"In\">"
        "<table:table-row><table:table-cell><text:p>1</text:p></table:table-cell></table:table-row>"
        "</table:table></office:spreadsheet></office:body></office:document-content>";
    EXPECT_EQ(textOf(OFFICE_FILTER,
                     odfOf("text", "<text:p>a</text:p>", {{"Object 1/content.xml", inner}})),
              "a\n\nIn\n1\n");
}

TEST_F(OpenDocument, EncryptedContentIsReportedOnce) {
    MemberList members = odfMembers("text", "");
    members[1].second = "\x01\x02\x03";
    members[2].second =
        "<manifest:manifest><manifest:file-entry manifest:full-path=\"content.xml\">"
        "<manifest:encryption-data/></manifest:file-entry></manifest:manifest>";
    const Outcome outcome = run(OFFICE_FILTER, zipOf(members));
    EXPECT_EQ(outcome.code, QOB_ERR_ENCRYPTED);
    EXPECT_EQ(outcome.text, "");
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].reason, "the office document is encrypted and needs a password");
}

TEST_F(OpenDocument, RepeatedTextIsBounded) {
    const Outcome outcome =
        run(OFFICE_FILTER,
            odfOf("spreadsheet",
                  "<table:table><table:table-row table:number-rows-repeated=\"1048576\">"
                  "<table:table-cell table:number-columns-repeated=\"16384\"><text:p>x</text:p>"
                  "</table:table-cell></table:table-row></table:table>"));
    EXPECT_EQ(outcome.text, repeated(repeated("x\t", 63) + "x\n", 64));
}

TEST_F(OpenDocument, LongTextIsNotRepeated) {
    const std::string text = repeated("x", 2000);
    EXPECT_EQ(textOf(OFFICE_FILTER,
                     odfOf("spreadsheet", "<table:table><table:table-row><table:table-cell "
                                          "table:number-columns-repeated=\"9\"><text:p>" +
                                              text +
                                              "</text:p></table:table-cell></table:table-row>"
                                              "</table:table>")),
              text + "\n");
}

} // namespace
} // namespace qob::tests
