// SPDX-License-Identifier: MIT
// Office documents through the host: found by their content, with the documents inside of them,
// within the limits of the extraction.
#include <filesystem>
#include <fstream>

#include "documents.h"
#include "filter_fixture.h"
#include "qob_extract.h"

namespace qob::tests {
namespace {

class OfficeInHost : public FilterTest {
protected:
    OfficeInHost() {
        qob_extract_options_init(&options_, sizeof options_);
        callback_ = {collect, this};
        options_.callback = &callback_;
    }

    // Extracts the document as a file of this name.
    int32_t extract(const std::string &document, const std::string &name = "input") {
        const std::filesystem::path path = std::filesystem::path(inputPath()).parent_path() / name;
        std::ofstream(path, std::ios::binary) << document;
        const QobSink sink{take, this};
        text_.clear();
        notices_.clear();
        return qob_extract(path.c_str(), &sink, &options_, nullptr);
    }

    QobExtractOptions options_{};
    bool keepsText_ = true;
    std::string text_;
    std::vector<Notice> notices_;

private:
    static int32_t take(void *self, const void *data, uint32_t length) {
        auto *test = static_cast<OfficeInHost *>(self);
        if (test->keepsText_) {
            test->text_.append(static_cast<const char *>(data), length);
        }
        return 1;
    }

    static void collect(void *self, const QobNotice *notice) {
        static_cast<OfficeInHost *>(self)->notices_.push_back(
            {notice->path, notice->code, notice->reason});
    }

    QobErrorCallback callback_{};
};

std::string sheetWith(const std::string &text) {
    return xlsxOf({"<row><c t=\"str\"><v>" + text + "</v></c></row>", "", "", "", {}});
}

TEST_F(OfficeInHost, EveryFormatIsKnownByItsContent) {
    EXPECT_EQ(extract(docxOf(paragraph("word"))), EML_OK);
    EXPECT_EQ(text_, "word\n");
    EXPECT_EQ(extract(sheetWith("cell")), EML_OK);
    EXPECT_EQ(text_, "Sheet1\ncell\n");
    EXPECT_EQ(extract(pptxOf({shape({"slide"})})), EML_OK);
    EXPECT_EQ(text_, "slide\n");
    EXPECT_EQ(extract(zipOf(odfMembers("text", "<text:p>odf</text:p>"), "compression=store")),
              EML_OK);
    EXPECT_EQ(text_, "odf\n");
}

TEST_F(OfficeInHost, EmbeddedDocumentsFollowUnderTheirNames) {
    EXPECT_EQ(extract(docxOf(paragraph("body"), {{"word/media/image1.png", "\x89PNG"},
                                                 {"word/embeddings/oleObject1.bin", "bytes"},
                                                 {"word/embeddings/Sheet.xlsx", sheetWith("inner")},
                                                 {"word/afchunk1.txt", "chunk"}})),
              EML_OK);
    EXPECT_EQ(text_, "body\nSheet.xlsx\nSheet1\ninner\n\nafchunk1.txt\nchunk\n\n");
    EXPECT_TRUE(notices_.empty());
}

TEST_F(OfficeInHost, EmbeddedDocumentsHaveNoNamesWithoutLabels) {
    options_.labels = 0;
    extract(docxOf(paragraph("body"), {{"word/embeddings/Sheet.xlsx", sheetWith("inner")}}));
    EXPECT_EQ(text_, "body\nSheet1\ninner\n\n");
}

TEST_F(OfficeInHost, DamagedEmbeddedDocumentIsReportedOnceAndTheRestIsRead) {
    EXPECT_EQ(extract(docxOf(paragraph("body"), {{"word/embeddings/a.docx", "PK\x03\x04 no zip"},
                                                 {"word/embeddings/b.xlsx", sheetWith("inner")}})),
              EML_OK);
    EXPECT_EQ(text_, "body\na.docx\n\nb.xlsx\nSheet1\ninner\n\n");
    ASSERT_EQ(notices_.size(), 1U);
    EXPECT_EQ(notices_[0].code, QOB_ERR_DAMAGED);
}

// A document in a document, this many deep.
std::string nested(int levels) {
    std::string document = docxOf(paragraph("innermost"));
    for (int i = 0; i < levels; ++i) {
        document = docxOf(paragraph("level"), {{"word/embeddings/d.docx", document}});
    }
    return document;
}

TEST_F(OfficeInHost, DocumentsInDocumentsAreReadDownToTheDepthLimit) {
    options_.depthLimit = 4;
    EXPECT_EQ(extract(nested(4)), EML_OK);
    EXPECT_NE(text_.find("innermost"), std::string::npos);
    EXPECT_TRUE(notices_.empty());
}

TEST_F(OfficeInHost, DocumentsBelowTheDepthLimitAreReportedOnce) {
    options_.depthLimit = 4;
    EXPECT_EQ(extract(nested(5)), EML_OK);
    EXPECT_EQ(text_.find("innermost"), std::string::npos);
    ASSERT_EQ(notices_.size(), 1U);
    EXPECT_EQ(notices_[0].code, QOB_ERR_DEPTH);
}

TEST_F(OfficeInHost, UnpackedBytesAreLimitedFromBothSides) {
    const MemberList members = docxMembers(repeated(paragraph("text"), 10000));
    uint64_t unpacked = 0;
    for (const Member &member : members) {
        unpacked += member.second.size();
    }
    const std::string document = zipOf(members, "compression=store");
    options_.maxUnpacked = unpacked;
    extract(document);
    EXPECT_TRUE(notices_.empty());
    EXPECT_EQ(text_.size(), 50000U);
    options_.maxUnpacked = unpacked - 1;
    extract(document);
    ASSERT_EQ(notices_.size(), 1U);
    EXPECT_EQ(notices_[0].code, QOB_ERR_UNPACKED);
    EXPECT_TRUE(text_.starts_with("text\ntext\n"));
    EXPECT_LT(text_.size(), 50000U);
}

// Twenty gigabytes of text out of a small file.
TEST_F(OfficeInHost, TimeIsLimited) {
    options_.maxSeconds = 1;
    options_.maxRatio = 0;
    options_.maxOutput = QOB_NO_LIMIT;
    keepsText_ = false;
    extract(xlsxOf({"<row>" + repeated("<c t=\"s\"><v>0</v></c>", 200000) + "</row>",
                    "<si><t>" + repeated("x", 100000) + "</t></si>",
                    "",
                    "",
                    {}}));
    ASSERT_EQ(notices_.size(), 1U);
    EXPECT_EQ(notices_[0].code, QOB_ERR_TIME);
}

} // namespace
} // namespace qob::tests
