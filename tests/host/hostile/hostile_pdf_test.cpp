// SPDX-License-Identifier: MIT
// PDF documents whose page trees lead nowhere: they end, and the pages that are there are read.
#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "real_extraction.h"

namespace {

using namespace hostile_test;
using ::testing::ElementsAre;

constexpr const char *kCatalog = "<< /Type /Catalog /Pages 2 0 R >>";
constexpr const char *kFont =
    "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>";
constexpr const char *kPage = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] "
                              "/Contents 5 0 R /Resources << /Font << /F1 3 0 R >> >> >>";

std::string pageTree(const std::string &kids, const std::string &count) {
    return "<< /Type /Pages /Kids [" + kids + "] /Count " + count + " >>";
}

// A document of these objects, numbered from 1; `padding` more of them are null.
std::string pdfOf(const std::vector<std::string> &objects, std::size_t padding) {
    std::string pdf = "%PDF-1.4\n";
    std::string table = "0000000000 65535 f \n";
    const std::size_t count = objects.size() + padding;
    for (std::size_t i = 0; i < count; ++i) {
        std::string offset = std::to_string(pdf.size());
        offset.insert(0, 10 - offset.size(), '0');
        table += offset + " 00000 n \n";
        pdf += std::to_string(i + 1) + " 0 obj\n" + (i < objects.size() ? objects[i] : "null") +
               "\nendobj\n";
    }
    const std::string start = std::to_string(pdf.size());
    return pdf + "xref\n0 " + std::to_string(count + 1) + "\n" + table + "trailer\n<< /Size " +
           std::to_string(count + 1) + " /Root 1 0 R >>\nstartxref\n" + start + "\n%%EOF\n";
}

const std::string kContent = "BT /F1 12 Tf 72 720 Td (Hello) Tj ET";

// The usual five objects around a page tree, and what follows them.
std::string documentOf(const std::string &tree, std::size_t padding,
                       const std::vector<std::string> &more = {}) {
    std::vector<std::string> objects = {kCatalog, tree, kFont, kPage,
                                        "<< /Length " + std::to_string(kContent.size()) +
                                            " >>\nstream\n" + kContent + "\nendstream"};
    objects.insert(objects.end(), more.begin(), more.end());
    return pdfOf(objects, padding);
}

struct TreeRow {
    const char *name;
    std::string document;
    int32_t code;
    std::string text;
};

class HostilePdf : public ::testing::TestWithParam<TreeRow> {};

TEST_P(HostilePdf, EndsInSecondsWithThePagesThatAreThere) {
    const auto begin = std::chrono::steady_clock::now();
    const Extracted extracted = extract(GetParam().document);
    EXPECT_EQ(extracted.code, GetParam().code);
    EXPECT_EQ(extracted.text, GetParam().text);
    EXPECT_EQ(extracted.notices.size(), GetParam().code == EML_OK ? 0U : 1U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

constexpr std::size_t kMany = 100000;
const std::string kManyCount = std::to_string(kMany);

INSTANTIATE_TEST_SUITE_P(
    PageTrees, HostilePdf,
    ::testing::Values(
        TreeRow{"ThatIsItsOwnChild", documentOf(pageTree("2 0 R", "1"), 0), QOB_ERR_DAMAGED, ""},
        TreeRow{"ThatHoldsItselfAndAPage", documentOf(pageTree("4 0 R 2 0 R", kManyCount), kMany),
                EML_OK, "Hello\n"},
        TreeRow{
            "ThatHoldsItselfThroughAnother",
            documentOf(pageTree("6 0 R 4 0 R", kManyCount), kMany, {pageTree("2 0 R", kManyCount)}),
            EML_OK, "Hello\n"},
        TreeRow{"ThatCountsTwoThousandMillionPages", documentOf(pageTree("4 0 R", "2000000000"), 0),
                QOB_ERR_DAMAGED, ""},
        TreeRow{"ThatCountsPagesThatAreNotThere",
                documentOf(pageTree("4 0 R 7 0 R", kManyCount), kMany), EML_OK, "Hello\n"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(HostilePageCount, OfMorePagesThanThereIsTimeForKeepsThoseThatWereRead) {
    std::string kids;
    for (std::size_t i = 0; i < kMany; ++i) {
        kids += "4 0 R ";
    }
    QobExtractOptions options = defaultOptions();
    options.maxSeconds = 1;
    const Extracted extracted = extract(documentOf(pageTree(kids, kManyCount), kMany), options);
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, ::testing::StartsWith("Hello\n\nHello\n"));
    EXPECT_LT(extracted.text.size(), kMany * 7);
    EXPECT_THAT(extracted.notices, ElementsAre("4013@0"));
}

} // namespace
