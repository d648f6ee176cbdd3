// SPDX-License-Identifier: MIT
// Presentations: the slides in their order, each with its notes and comments.
#include "documents.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

class Presentation : public FilterTest {};

std::string slideRelations(std::string_view kind, std::string_view target) {
    return relationsOf({{"rId1", kind, target}, {"rId2", "slideLayout", "../slideLayouts/l.xml"}});
}

TEST_F(Presentation, SlidesAreSeparatedByAnEmptyLine) {
    const Outcome outcome =
        run(OFFICE_FILTER, pptxOf({shape({"Title"}) + shape({"a", "b"}), shape({"c"})}));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "Title\na\nb\n\nc\n");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(Presentation, SlidesComeInThePresentationsOrder) {
    const MemberList more = {{"ppt/slides/extra.xml", "<p:sld>" + shape({"third"}) + "</p:sld>"}};
    std::string document = pptxOf({shape({"first"}), shape({"second"})}, more);
    EXPECT_EQ(textOf(OFFICE_FILTER, document), "first\n\nsecond\n");
    document = zipOf(
        {{"_rels/.rels", relationsOf({{"a", "officeDocument", "ppt/presentation.xml"}})},
         {"ppt/presentation.xml", "<p:presentation><p:sldIdLst>"
                                  "<p:sldId id=\"256\" r:id=\"x2\"/>"
                                  "<p:sldId id=\"257\" r:id=\"x1\"/>"
                                  "</p:sldIdLst></p:presentation>"},
         {"ppt/_rels/presentation.xml.rels", relationsOf({{"x1", "slide", "slides/slide1.xml"},
                                                          {"x2", "slide", "slides/slide2.xml"}})},
         {"ppt/slides/slide1.xml", "<p:sld>" + shape({"one"}) + "</p:sld>"},
         {"ppt/slides/slide2.xml", "<p:sld>" + shape({"two"}) + "</p:sld>"}});
    EXPECT_EQ(textOf(OFFICE_FILTER, document), "two\n\none\n");
}

TEST_F(Presentation, NotesAndCommentsFollowTheirSlide) {
    const MemberList more = {{"ppt/slides/_rels/slide1.xml.rels",
                              relationsOf({{"a", "comments", "../comments/comment1.xml"},
                                           {"b", "notesSlide", "../notesSlides/n1.xml"}})},
                             {"ppt/notesSlides/n1.xml",
                              "<p:notes>" + shape({"note"}) +
                                  "<p:sp><p:txBody><a:p><a:fld "
                                  "type=\"slidenum\"><a:t>1</a:t></a:fld></a:p></p:txBody></p:sp>"
                                  "</p:notes>"},
                             {"ppt/comments/comment1.xml",
                              "<p:cmLst><p:cm authorId=\"0\"><p:pos x=\"1\" "
                              "y=\"2\"/><p:text>remark</p:text></p:cm></p:cmLst>"}};
    EXPECT_EQ(textOf(OFFICE_FILTER, pptxOf({shape({"one"}), shape({"two"})}, more)),
              "one\n\nnote\n\nremark\n\ntwo\n");
}

TEST_F(Presentation, LayoutsAndMastersAreNoText) {
    const MemberList more = {
        {"ppt/slides/_rels/slide1.xml.rels",
         slideRelations("slideLayout", "../slideLayouts/l.xml")},
        {"ppt/slideLayouts/l.xml", "<p:sldLayout>" + shape({"Click to edit"}) + "</p:sldLayout>"}};
    EXPECT_EQ(textOf(OFFICE_FILTER, pptxOf({shape({"one"})}, more)), "one\n");
}

TEST_F(Presentation, DiagramsAreRead) {
    const MemberList more = {{"ppt/slides/_rels/slide1.xml.rels",
                              slideRelations("diagramData", "../diagrams/data1.xml")},
                             {"ppt/diagrams/data1.xml",
                              "<dgm:dataModel><dgm:t><a:p><a:r><a:t>node</a:t></a:r></a:p></dgm:t>"
                              "</dgm:dataModel>"}};
    EXPECT_EQ(textOf(OFFICE_FILTER, pptxOf({shape({"one"})}, more)), "one\n\nnode\n");
}

TEST_F(Presentation, TablesAreRows) {
    const auto cell = [](const std::string &text) {
        return "<a:tc><a:txBody><a:p><a:r><a:t>" + text + "</a:t></a:r></a:p></a:txBody></a:tc>";
    };
    EXPECT_EQ(textOf(OFFICE_FILTER,
                     pptxOf({"<a:tbl><a:tblPr/><a:tr h=\"1\">" + cell("a") + cell("b") +
                             "</a:tr><a:tr>" + cell("c") + cell("d") + "</a:tr></a:tbl>"})),
              "a\tb\nc\td\n");
}

TEST_F(Presentation, BreaksEndLines) {
    EXPECT_EQ(textOf(OFFICE_FILTER, pptxOf({"<a:p><a:r><a:t>a</a:t></a:r><a:br><a:rPr/></a:br>"
                                            "<a:r><a:t>b</a:t></a:r></a:p>"})),
              "a\nb\n");
}

// The slides need more room than is kept in memory, and are stored in the opposite order.
TEST_F(Presentation, LargeSlidesAreReadInOrderFromTheFile) {
    constexpr int kSlides = 4;
    MemberList members;
    std::string list;
    std::string relations = "<Relationships>";
    std::string expected;
    for (int i = 0; i < kSlides; ++i) {
        const std::string number = std::to_string(i);
        list.append("<p:sldId r:id=\"x").append(number).append("\"/>");
        relations.append("<Relationship Id=\"x").append(number);
        relations.append("\" Type=\"/slide\" Target=\"slides/").append(number).append(".xml\"/>");
        const std::string text = "slide " + number + " " + repeated("word ", 500000);
        members.insert(members.begin(),
                       {"ppt/slides/" + number + ".xml", "<p:sld>" + shape({text}) + "</p:sld>"});
        expected += (i > 0 ? "\n" : "") + text + "\n";
    }
    members.emplace_back("_rels/.rels",
                         relationsOf({{"a", "officeDocument", "ppt/presentation.xml"}}));
    members.emplace_back("ppt/presentation.xml",
                         "<p:presentation><p:sldIdLst>" + list + "</p:sldIdLst></p:presentation>");
    members.emplace_back("ppt/_rels/presentation.xml.rels", relations + "</Relationships>");
    const Outcome outcome = run(OFFICE_FILTER, zipOf(members, "compression=store"));
    EXPECT_EQ(outcome.code, EML_OK);
    const std::string &text = outcome.text;
    EXPECT_TRUE(text == expected) << text.size() << " bytes instead of " << expected.size();
}

} // namespace
} // namespace qob::tests
