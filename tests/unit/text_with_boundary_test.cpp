// SPDX-License-Identifier: MIT
// Text bodies whose header gave a boundary all the same.
#include <gtest/gtest.h>

#include "support/text_body.h"

namespace {

constexpr const char *kMeta = "<META CONTENT=\"text/html;charset=utf-8\">";

TEST(TextWithBoundary, PlainTextKeepsItsLines) {
    const BodyRow rows[] = {
        {"raw lines", 0, "a\r\nb\r\n\r\nc\r\n", "a\nb\n\nc\n"},
        {"another encoding", EML_TE_OTHER, "a\r\nb\r\n", "a\nb\n"},
        {"also behind a last line without a line end", 0, "a\r\nb", "a\nb\n"},
        {"boundaries and dots are text", 0, "--b\r\na\r\n.\r\n--b--\r\n", "--b\na\n.\n--b--\n"},
        {"base64", EML_TE_BASE64, "aGVs\r\nbG8=\r\n\r\n", "hello\n"},
        {"quoted-printable", EML_TE_QUOTED_PRINTABLE, "a=3Db=\r\nc\r\n\r\nd\r\n", "a=bc\n\nd\n"},
    };
    for (const BodyRow &row : rows) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f({.encoding = row.encoding, .boundary = "b"});
        EXPECT_EQ(f.read(row.body), EML_OK);
        EXPECT_EQ(f.output(), row.text);
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
    }
}

TEST(TextWithBoundary, LineEndsAreThoseOfTemporaryFilesUntilConverted) {
    TextBodyFixture f({.charset = "big5", .boundary = "b"});
    f.host.tmpLineEnd = "\r\n";
    EXPECT_EQ(f.read("a\r\n\r\n"), EML_OK);
    const auto conversions = f.textConversions();
    ASSERT_EQ(conversions.size(), 1U);
    EXPECT_EQ(conversions[0].source, "ChineseBIG5");
    EXPECT_EQ(conversions[0].input, "a\r\n\r\n");
}

TEST(TextWithBoundary, HtmlGoesIntoADocumentAndItsEmptyLinesIntoTheText) {
    const BodyRow rows[] = {
        {"raw", 0, "<p>\r\n\r\na\r\n", "<p>a"},
        {"base64", EML_TE_BASE64, "PHA+\r\n\r\nYWJj\r\n", "<p>abc"},
        {"quoted-printable", EML_TE_QUOTED_PRINTABLE, "<p=\r\n>\r\n\r\n", "<p>\n"},
    };
    for (const BodyRow &row : rows) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f(
            {.contentType = EML_CT_TEXT_HTML, .encoding = row.encoding, .boundary = "b"});
        EXPECT_EQ(f.read(row.body), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(f.host.inserts[0].content, std::string(kMeta) + row.text);
        EXPECT_EQ(f.output(), "\n");
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
    }
}

TEST(TextWithBoundary, HtmlOfEmptyLinesIsText) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .boundary = "b"});
    EXPECT_EQ(f.read("\r\n\r\n"), EML_OK);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_EQ(f.output(), "\n\n");
}

TEST(TextWithBoundary, TextFileIsOpenedWithTheFirstLineOfHtmlToo) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .boundary = "b"});
    EXPECT_EQ(f.read("<p>\r\n"), EML_OK);
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1 wb"));
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t2.htm wb+"));
}

TEST(TextWithBoundary, TextIsWrittenBeforeTheDocumentIsHandedOver) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .boundary = "b"});
    f.host.insert = [](const InsertCall &) { return std::string("document"); };
    EXPECT_EQ(f.read("<p>\r\n\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "\ndocument");
}

TEST(TextWithBoundary, BlockEndBreaksALineOfText) {
    TextBodyFixture f({.boundary = "b"});
    const std::string first(static_cast<size_t>(kBlockSize) - 100, 'x');
    EXPECT_EQ(f.read(first + "\r\n" + std::string(200, 'y')), EML_OK);
    const std::string pieces = f.output();
    // Lines longer than a line buffer come in pieces too.
    EXPECT_EQ(pieces.substr(pieces.size() - 99), std::string(98, 'y') + "\n");
}

TEST(TextWithBoundary, LargerThanABlockIsOneDocument) {
    std::string body;
    std::string document;
    for (int i = 0; i < 8000; ++i) {
        body += "<b>" + std::to_string(i) + "</b>\r\n";
        document += "<b>" + std::to_string(i) + "</b>";
    }
    ScriptedHost host;
    const Extraction e = extractToFile(
        host, defaultParams(),
        "From: a\r\nContent-Type: text/html;\r\n charset=utf-8\r\nX: y\r\nContent-Type: "
        "text/html;\r\n boundary=\"b\"\r\n\r\n" +
            body);
    EXPECT_EQ(e.code, EML_OK);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_TRUE(host.inserts[0].content == kMeta + document);
    EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>());
}

} // namespace
