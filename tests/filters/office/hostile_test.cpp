// SPDX-License-Identifier: MIT
// Documents made to exhaust time or memory, and damage at every place: each ends with a code, in
// time, with what could be read.
#include <algorithm>
#include <random>

#include "documents.h"
#include "filter_fixture.h"
#include "qob_extract.h"

namespace qob::tests {
namespace {

class OfficeHostile : public FilterTest {
protected:
    // Ends with success or a code that belongs to the input, and with one notice for an encrypted
    // document or a damaged one without text; with text there may be one, too.
    void expectEnds(const std::string &document, std::size_t place) {
        const Outcome outcome = run(OFFICE_FILTER, document);
        const bool refused = outcome.code == QOB_ERR_DAMAGED || outcome.code == QOB_ERR_ENCRYPTED;
        EXPECT_TRUE(outcome.code == EML_OK || refused) << place << ": " << outcome.code;
        EXPECT_LE(outcome.notices.size(), 1U) << place;
        EXPECT_TRUE(!refused || outcome.notices.size() == 1) << place;
    }

    void expectTextOfBody(const std::string &body, const std::string &text) {
        const Outcome outcome = run(OFFICE_FILTER, zipOf(docxMembers(body), "compression=store"));
        EXPECT_TRUE(outcome.text == text)
            << outcome.text.size() << " bytes: " << outcome.text.substr(0, 200);
    }
};

MemberList wordWith(const std::string &xml) {
    MemberList members = docxMembers("");
    members[2].second = xml;
    return members;
}

const std::vector<std::string> &samples() {
    static const std::vector<std::string> documents = {
        docxOf(paragraph("a") + "<w:tbl><w:tr><w:tc>" + paragraph("b") + "</w:tc></w:tr></w:tbl>"),
        xlsxOf({R"(<row><c r="A1" t="s"><v>0</v></c><c s="1"><v>45351</v></c></row>)",
                "<si><t>a</t></si>",
                "<cellXfs><xf/><xf numFmtId=\"14\"/></cellXfs>",
                "",
                {}}),
        pptxOf({shape({"a"}), shape({"b"})}),
        odfOf("spreadsheet",
              "<table:table table:name=\"S\"><table:table-row><table:table-cell>"
              "<office:annotation><text:p>n</text:p></office:annotation><text:p>a</text:p>"
              "</table:table-cell></table:table-row></table:table>"),
        odfOf(
            "text",
            "<text:p>a<text:note><text:note-body><text:p>n</text:p></text:note-body></text:note>"
            "<draw:frame><draw:text-box><text:p>b</text:p></draw:text-box></draw:frame></text:p>"),
    };
    return documents;
}

TEST_F(OfficeHostile, TruncationsEndWithACode) {
    for (const std::string &document : samples()) {
        for (std::size_t length = 0; length < document.size(); length += 3) {
            expectEnds(document.substr(0, length), length);
        }
    }
}

TEST_F(OfficeHostile, EveryTruncationOfTheXmlEndsWithACode) {
    const std::string body = "<w:p><w:r><w:pict><w:txbxContent>" + paragraph("b&amp;") +
                             "</w:txbxContent></w:pict></w:r></w:p><w:tbl><w:tr><w:tc>" +
                             paragraph("c") + "<!-- x --><![CDATA[y]]></w:tc></w:tr></w:tbl>";
    const std::string word = docxMembers(body)[2].second;
    for (std::size_t length = 0; length < word.size(); ++length) {
        expectEnds(zipOf(wordWith(word.substr(0, length)), "compression=store"), length);
    }
    const std::string odf =
        odfMembers("spreadsheet",
                   "<table:table><table:shapes><draw:rect><text:p>r</text:p></draw:rect>"
                   "</table:shapes><table:table-row table:number-rows-repeated=\"2\">"
                   "<table:table-cell><office:annotation><text:p>a<draw:text-box><text:p>"
                   "b</text:p></draw:text-box></text:p></office:annotation><text:p>c"
                   "</text:p></table:table-cell></table:table-row></table:table>")[1]
            .second;
    for (std::size_t length = 0; length < odf.size(); ++length) {
        expectEnds(
            zipOf({{"content.xml", odf.substr(0, length)}, {"META-INF/manifest.xml", "<m/>"}},
                  "compression=store"),
            length);
    }
}

TEST_F(OfficeHostile, FlippedBytesEndWithACode) {
    std::mt19937 random(20240229); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same bytes each time
    for (const std::string &sample : samples()) {
        for (int round = 0; round < 150; ++round) {
            std::string document = sample;
            const std::size_t flips = 1 + random() % 8;
            for (std::size_t i = 0; i < flips; ++i) {
                document[random() % document.size()] = static_cast<char>(random() % 256);
            }
            const Outcome outcome = run(OFFICE_FILTER, document);
            EXPECT_LE(outcome.notices.size(), 1U);
        }
    }
}

TEST_F(OfficeHostile, EntityBombIsNotExpanded) {
    std::string declarations;
    for (int i = 1; i < 20; ++i) {
        declarations += "<!ENTITY e" + std::to_string(i) + " \"" +
                        repeated("&e" + std::to_string(i - 1) + ";", 20) + "\">";
    }
    const Outcome outcome =
        run(OFFICE_FILTER, zipOf(wordWith("<!DOCTYPE a [<!ENTITY e0 \"lol\">" + declarations +
                                          "]>"
                                          "<w:document>" +
                                          paragraph("&e19;") + "</w:document>")));
    EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED);
    EXPECT_EQ(outcome.text, "");
}

TEST_F(OfficeHostile, ExternalEntityIsNotRead) {
    const Outcome outcome = run(
        OFFICE_FILTER, zipOf(wordWith("<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>"
                                      "<w:document>" +
                                      paragraph("&x;") + "</w:document>")));
    EXPECT_EQ(outcome.text, "");
    EXPECT_EQ(textOf(OFFICE_FILTER,
                     zipOf(wordWith("<!DOCTYPE a SYSTEM \"file:///etc/hostname\"><w:document>" +
                                    paragraph("a") + paragraph("&x;") + "</w:document>"))),
              "a\n");
}

TEST_F(OfficeHostile, UnknownEntityEndsTheText) {
    expectTextOfBody(paragraph("a") + paragraph("b&nbsp;c"), "a\nb\n");
}

TEST_F(OfficeHostile, DeepNestingEndsTheText) {
    expectTextOfBody(paragraph("a") + repeated("<w:sdt>", 100000) + paragraph("b"), "a\n");
    expectTextOfBody(repeated("<w:tbl><w:tr><w:tc>", 60) + paragraph("b"), "b\n");
}

TEST_F(OfficeHostile, AttributesWithoutNumberEndTheText) {
    std::string tag = "<w:p";
    for (int i = 0; i < 300000; ++i) {
        tag += " a" + std::to_string(i) + "=\"\"";
    }
    expectTextOfBody(paragraph("a") + tag + "/>" + paragraph("b"), "a\n");
}

TEST_F(OfficeHostile, LongAttributeAndCommentAreSkipped) {
    const std::string megabytes(4 << 20, 'x');
    expectTextOfBody("<w:p a=\"" + megabytes + "\"/><!--" + megabytes + "-->" + paragraph("b"),
                     "b\n");
}

TEST_F(OfficeHostile, LongTextIsRead) {
    const std::string text = repeated("漢字 ", 1000000);
    expectTextOfBody(paragraph(text), text + "\n");
}

TEST_F(OfficeHostile, LongTextBoxIsRead) {
    const std::string text = repeated("box ", 2000000);
    const Outcome outcome = run(
        OFFICE_FILTER, zipOf(docxMembers("<w:p><w:r><w:t>a</w:t><w:txbxContent>" + paragraph(text) +
                                         "</w:txbxContent><w:t>b</w:t>"
                                         "</w:r></w:p>"),
                             "compression=store"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_TRUE(outcome.text.starts_with("a\nbox box"));
    EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), 'x'), 2000000);
    EXPECT_NE(outcome.text.find("b\n"), std::string::npos);
}

TEST_F(OfficeHostile, ZipBombStopsAtTheRatioAndKeepsItsText) {
    const std::string body = repeated(paragraph("a"), 500000);
    const std::string bomb = docxOf(body);
    ASSERT_GT(body.size(), bomb.size() * QOB_DEFAULT_MAX_RATIO);
    const Outcome outcome = runStream(OFFICE_FILTER, bomb);
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_TRUE(outcome.text.starts_with("a\na\na\n"));
    EXPECT_LT(outcome.text.size(), bomb.size() * QOB_DEFAULT_MAX_RATIO);
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].code, QOB_ERR_RATIO);
}

// A member that is not read makes the file large enough for the same text.
TEST_F(OfficeHostile, TextBelowTheRatioIsRead) {
    const std::string body = repeated(paragraph("a"), 500000);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same bytes each time
    std::string picture(body.size() / QOB_DEFAULT_MAX_RATIO, '\0');
    std::generate(picture.begin(), picture.end(),
                  [&] { return static_cast<char>(random() % 256); });
    const Outcome outcome =
        runStream(OFFICE_FILTER, docxOf(body, {{"word/media/image1.png", picture}}));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_TRUE(outcome.text == repeated("a\n", 500000));
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(OfficeHostile, ZipBombInAnotherMemberIsNotUnpacked) {
    EXPECT_EQ(textOf(OFFICE_FILTER, docxOf(paragraph("a"), {{"word/media/image1.png",
                                                             std::string(50 << 20, '\0')}})),
              "a\n");
}

TEST_F(OfficeHostile, ZipBombWithoutDirectoryStopsAtTheRatio) {
    MemberList members = docxMembers(paragraph("a"));
    members.insert(members.begin(), {"word/media/image1.png", std::string(50 << 20, '\0')});
    const std::string bomb = zipOf(members);
    EXPECT_EQ(runStream(OFFICE_FILTER, bomb.substr(0, bomb.rfind("PK\x01\x02") - 100)).code,
              QOB_ERR_RATIO);
}

TEST_F(OfficeHostile, OneSlideListedOftenIsReadOnce) {
    EXPECT_EQ(
        textOf(
            OFFICE_FILTER,
            zipOf({{"_rels/.rels", relationsOf({{"a", "officeDocument", "ppt/presentation.xml"}})},
                   {"ppt/presentation.xml",
                    "<p:sldIdLst>" + repeated("<p:sldId r:id=\"x\"/>", 100000) + "</p:sldIdLst>"},
                   {"ppt/_rels/presentation.xml.rels",
                    relationsOf({{"x", "slide", "slides/slide1.xml"}})},
                   {"ppt/slides/slide1.xml", "<p:sld>" + shape({"one"}) + "</p:sld>"}},
                  "compression=store")),
        "one\n");
}

TEST_F(OfficeHostile, MembersWithoutNumberEnd) {
    MemberList members = docxMembers(paragraph("a"));
    for (int i = 0; i < 60000; ++i) {
        members.emplace_back("x/" + std::to_string(i) + ".rels", "");
    }
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members, "compression=store")), "a\n");
}

} // namespace
} // namespace qob::tests
