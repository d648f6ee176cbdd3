// SPDX-License-Identifier: MIT
// Workbooks: sheets with their names, rows with tabs, values as they are shown.
#include <ostream>

#include "documents.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

struct RowsCase {
    const char *promise;
    const char *rows;
    const char *text; // behind the sheet's name
};

void PrintTo(const RowsCase &c, std::ostream *out) {
    *out << c.rows;
}

class WorkbookRows : public FilterTest, public testing::WithParamInterface<RowsCase> {};

// Strings 0 to 3, and cell styles 0 to 5: plain, date, date and time, "[h]:mm", "0.00", "yyyy".
constexpr char kStrings[] = "<si><t>zero</t></si><si><r><t>o</t></r><r><t>ne</t></r></si>"
                            "<si><t>漢</t><rPh sb=\"0\" eb=\"1\"><t>kan</t></rPh></si>"
                            "<si><t>a_x000D_&#10;b_x0041_</t></si>";
constexpr char kStyles[] =
    "<numFmts><numFmt numFmtId=\"164\" formatCode=\"yyyy\"/></numFmts>"
    "<cellStyleXfs><xf numFmtId=\"14\"/></cellStyleXfs>"
    "<cellXfs><xf numFmtId=\"0\"/><xf numFmtId=\"14\"/><xf numFmtId=\"22\"/><xf numFmtId=\"46\"/>"
    "<xf numFmtId=\"2\"/><xf numFmtId=\"164\"/></cellXfs>";

TEST_P(WorkbookRows, AreRead) {
    const Outcome outcome =
        run(OFFICE_FILTER, xlsxOf({GetParam().rows, kStrings, kStyles, "", {}}));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string("Sheet1\n") + GetParam().text);
    EXPECT_TRUE(outcome.notices.empty());
}

constexpr RowsCase kValues[] = {
    {"SharedStrings", R"(<row><c t="s"><v>0</v></c><c t="s"><v>1</v></c></row>)", "zero\tone\n"},
    {"UnknownSharedStringIsEmpty", R"(<row><c t="s"><v>99</v></c><c t="s"><v>0</v></c></row>)",
     "\tzero\n"},
    {"ReadingsOfCharactersAreLeftOut", R"(<row><c t="s"><v>2</v></c></row>)", "漢\n"},
    {"EscapesAndLineEndsInStrings", R"(<row><c t="s"><v>3</v></c></row>)", "a  bA\n"},
    {"InlineStrings", R"(<row><c t="inlineStr"><is><t>in</t></is></c></row>)", "in\n"},
    {"FormulasGiveTheirValue",
     R"(<row><c><f>1+1</f><v>2</v></c><c t="str"><f>A</f><v>x</v></c></row>)", "2\tx\n"},
    {"Booleans", R"(<row><c t="b"><v>1</v></c><c t="b"><v>0</v></c></row>)", "TRUE\tFALSE\n"},
    {"Errors", R"(<row><c t="e"><v>#DIV/0!</v></c></row>)", "#DIV/0!\n"},
    {"NumbersAsShown", R"(<row><c><v>0.30000000000000004</v></c><c s="4"><v>1.5</v></c></row>)",
     "0.3\t1.5\n"},
    {"DatesByBuiltInFormat",
     R"(<row><c s="1"><v>45351</v></c><c s="2"><v>45351.5625</v></c></row>)",
     "2024-02-29\t2024-02-29T13:30:00\n"},
    {"ElapsedTime", R"(<row><c s="3"><v>1.25</v></c></row>)", "30:00:00\n"},
    {"DatesByOwnFormat", R"(<row><c s="5"><v>45351</v></c></row>)", "2024-02-29\n"},
    {"DatesInIso", R"(<row><c t="d"><v>2024-02-29</v></c></row>)", "2024-02-29\n"},
};

constexpr RowsCase kPlaces[] = {
    {"CellsStandInTheirColumns",
     R"(<row><c r="B1"><v>2</v></c><c r="E1"><v>5</v></c></row><row><c r="A2"><v>1</v></c></row>)",
     "\t2\t\t\t5\n1\n"},
    {"EmptyCellsKeepTheirPlace", R"(<row><c r="A1"/><c r="B1"><v>2</v></c><c r="C1"/></row>)",
     "\t2\n"},
    {"EmptyRowsAreLeftOut", R"(<row r="1"/><row r="9"><c><v>1</v></c></row>)", "1\n"},
    {"CellsOutOfOrderFollow", R"(<row><c r="C1"><v>3</v></c><c r="A1"><v>1</v></c></row>)",
     "\t\t3\t1\n"},
    {"TabsInTextAreBlanks", "<row><c t=\"str\"><v>a\tb</v></c></row>", "a b\n"},
};

std::string promiseOf(const testing::TestParamInfo<RowsCase> &info) {
    return info.param.promise;
}

INSTANTIATE_TEST_SUITE_P(Values, WorkbookRows, testing::ValuesIn(kValues), promiseOf);
INSTANTIATE_TEST_SUITE_P(Places, WorkbookRows, testing::ValuesIn(kPlaces), promiseOf);

class WorkbookFile : public FilterTest {};

TEST_F(WorkbookFile, WideGapIsBounded) {
    EXPECT_EQ(
        textOf(OFFICE_FILTER, xlsxOf({R"(<row><c r="XFD1"><v>1</v></c></row>)", "", "", "", {}})),
        "Sheet1\n" + std::string(64, '\t') + "1\n");
}

TEST_F(WorkbookFile, DatesMayCountFrom1904) {
    EXPECT_EQ(
        textOf(
            OFFICE_FILTER,
            xlsxOf({R"(<row><c s="1"><v>43889</v></c></row>)", "", kStyles, "date1904=\"1\"", {}})),
        "Sheet1\n2024-02-29\n");
}

TEST_F(WorkbookFile, SheetsComeInTheWorkbooksOrderHiddenOnesToo) {
    MemberList members = xlsxMembers({R"(<row><c><v>1</v></c></row>)", "", "", "", {}});
    members[2].second = "<workbook><sheets><sheet name=\"Second &amp; hidden\" sheetId=\"1\" "
                        "state=\"hidden\" r:id=\"rId9\"/><sheet name=\"First\" sheetId=\"2\" "
                        "r:id=\"rId1\"/></sheets></workbook>";
    members[3].second = relationsOf({{"rId1", "worksheet", "worksheets/sheet1.xml"},
                                     {"rId9", "worksheet", "/xl/worksheets/sheet2.xml"}});
    members.emplace_back(
        "xl/worksheets/sheet2.xml",
        "<worksheet><sheetData><row><c><v>2</v></c></row></sheetData></worksheet>");
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "Second & hidden\n2\n\nFirst\n1\n");
}

TEST_F(WorkbookFile, DrawingsAndCommentsFollowTheirSheet) {
    const MemberList more = {
        {"xl/worksheets/_rels/sheet1.xml.rels",
         relationsOf(
             {{"a", "drawing", "../drawings/d1.xml"}, {"b", "comments", "../comments1.xml"}})},
        {"xl/drawings/d1.xml", "<xdr:wsDr>" + shape({"box"}) + "</xdr:wsDr>"},
        {"xl/comments1.xml",
         "<comments><authors><author>A</author></authors><commentList><comment ref=\"A1\"><text><r>"
         "<t>first "
         "</t></r><r><t>one</t></r></text></comment><comment><text><t>two</t></text></comment>"
         "</commentList></comments>"}};
    EXPECT_EQ(textOf(OFFICE_FILTER, xlsxOf({R"(<row><c><v>1</v></c></row>)", "", "", "", more})),
              "Sheet1\n1\n\nbox\n\nfirst one\ntwo\n");
}

TEST_F(WorkbookFile, SheetsAreFoundByTheirNamesWithoutRelations) {
    MemberList members = xlsxMembers({R"(<row><c t="s"><v>0</v></c></row>)", kStrings, "", "", {}});
    std::erase_if(members, [](const Member &member) {
        return member.first.ends_with(".rels") || member.first == "xl/workbook.xml";
    });
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "zero\n");
}

TEST_F(WorkbookFile, BinaryWorkbookIsReportedOnce) {
    const Outcome outcome =
        run(OFFICE_FILTER,
            zipOf({{"_rels/.rels", relationsOf({{"a", "officeDocument", "xl/workbook.bin"}})},
                   {"xl/workbook.bin", "bytes"}}));
    EXPECT_EQ(outcome.code, QOB_ERR_NO_FILTER);
    EXPECT_EQ(outcome.text, "");
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].code, QOB_ERR_NO_FILTER);
    EXPECT_EQ(outcome.notices[0].reason,
              "is a binary workbook; save it as .xlsx to have its text read");
}

} // namespace
} // namespace qob::tests
