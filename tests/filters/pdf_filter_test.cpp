// SPDX-License-Identifier: MIT
// PDF documents: the text of all pages, and what happens to those that cannot be read.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"
#include "pdf_writer.h"

namespace qob::tests {
namespace {

class PdfFilter : public FilterTest {
protected:
    void expectRefused(const std::string &document, int32_t code, const std::string &reason) {
        for (const bool stream : {false, true}) {
            testing::internal::CaptureStderr();
            const Outcome outcome =
                stream ? runStream(PDF_FILTER, document) : run(PDF_FILTER, document);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
            EXPECT_EQ(outcome.code, code);
            EXPECT_EQ(outcome.text, "");
            EXPECT_FALSE(outcome.outputExists);
            ASSERT_EQ(outcome.notices.size(), 1U);
            EXPECT_EQ(outcome.notices[0].code, code);
            EXPECT_EQ(outcome.notices[0].path, inputPath());
            EXPECT_EQ(outcome.notices[0].reason, reason);
        }
    }
};

constexpr char kDamaged[] = "the PDF document is damaged and gave no text";
constexpr char kEncrypted[] = "the PDF document is encrypted and needs a password";

const std::string kTwoPages =
    pdfOfContents({linesContent({"First page", "second line"}), linesContent({"Second page"})});

TEST_F(PdfFilter, GivesTheTextOfAllPagesWithAnEmptyLineBetween) {
    const Outcome outcome = run(PDF_FILTER, kTwoPages);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "First page\nsecond line\n\nSecond page\n");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(PdfFilter, GivesTheStreamTheSame) {
    EXPECT_EQ(runStream(PDF_FILTER, kTwoPages).text, "First page\nsecond line\n\nSecond page\n");
}

TEST_F(PdfFilter, WritesTheOutputCharsetAndTheHostsLineEnds) {
    setCharset("ISO-8859-1");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(textOf(PDF_FILTER, pdfOfContents({linesContent({"caf\\351", "b"})})),
              "caf\xE9\r\nb\r\n");
}

TEST_F(PdfFilter, PassesOverPagesWithoutText) {
    EXPECT_EQ(textOf(PDF_FILTER, pdfOfContents({linesContent({"a"}), "", linesContent({"b"})})),
              "a\n\nb\n");
}

TEST_F(PdfFilter, DocumentWithoutTextGivesNoneAndIsNoFailure) {
    const Outcome outcome = run(PDF_FILTER, pdfOfContents({""}));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(PdfFilter, ObeysTheLimit) {
    setLimit(8);
    const Outcome outcome = run(PDF_FILTER, kTwoPages);
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text, "First pa");
}

TEST_F(PdfFilter, ReadsADocumentWithoutItsCrossReferences) {
    const std::string cut = kTwoPages.substr(0, kTwoPages.find("xref"));
    EXPECT_EQ(textOf(PDF_FILTER, cut + "trailer << /Root 1 0 R >>"),
              "First page\nsecond line\n\nSecond page\n");
}

TEST_F(PdfFilter, ReportsADamagedDocumentOnce) {
    expectRefused("", QOB_ERR_DAMAGED, kDamaged);
    expectRefused("%PDF-1.4\n", QOB_ERR_DAMAGED, kDamaged);
    expectRefused("no PDF at all", QOB_ERR_DAMAGED, kDamaged);
    expectRefused(kTwoPages.substr(0, 100), QOB_ERR_DAMAGED, kDamaged);
    expectRefused("%PDF-1.4\n" + repeated("[", 100000), QOB_ERR_DAMAGED, kDamaged);
}

TEST_F(PdfFilter, ReportsAnEncryptedDocumentOnce) {
    const std::string key(64, '0');
    expectRefused(
        pdfOfContents({linesContent({"secret"})},
                      "/ID [<00><00>] /Encrypt << /Filter /Standard /V 1 /R 2 /P -4 /O <" + key +
                          "> /U <" + key + "> >>"),
        QOB_ERR_ENCRYPTED, kEncrypted);
}

TEST_F(PdfFilter, ThreadsDoNotDisturbEachOther) {
    EXPECT_THAT(textsOfThreads(PDF_FILTER, kTwoPages, 4, 5),
                testing::AllOf(testing::SizeIs(20),
                               testing::Each("First page\nsecond line\n\nSecond page\n")));
}

TEST_F(PdfFilter, EveryTruncationEndsWithACode) {
    for (std::size_t length = 0; length < kTwoPages.size(); length += 7) {
        const Outcome outcome = run(PDF_FILTER, kTwoPages.substr(0, length));
        EXPECT_TRUE(outcome.code == EML_OK || outcome.code == QOB_ERR_DAMAGED) << length;
        EXPECT_EQ(outcome.notices.size(), outcome.code == EML_OK ? 0U : 1U) << length;
    }
}

} // namespace
} // namespace qob::tests
