// SPDX-License-Identifier: MIT
// HTML bodies without a boundary: one document, one META element, one hand-over.
#include <gtest/gtest.h>

#include "support/text_body.h"

namespace {

constexpr BodyHead kHtml = {.contentType = EML_CT_TEXT_HTML};
constexpr const char *kMeta = "<META CONTENT=\"text/html;charset=utf-8\">";

TEST(HtmlBody, IsHandedOverDecodedBehindAMetaElement) {
    const BodyRow rows[] = {
        {"raw lines without line ends", 0, "<p>\r\na\r\n\r\nb\r\n", "<p>ab"},
        {"another encoding", EML_TE_OTHER, "<p>\r\n", "<p>"},
        {"empty lines first", 0, "\r\n\r\n<p>\r\n", "<p>"},
        {"base64", EML_TE_BASE64, "PHA+\r\nYWJj\r\n", "<p>abc"},
        {"quoted-printable", EML_TE_QUOTED_PRINTABLE, "<p=\r\n>\r\na=3Db\r\n", "<p>\na=b\n"},
    };
    for (const BodyRow &row : rows) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .encoding = row.encoding});
        EXPECT_EQ(f.read(row.body), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(f.host.inserts[0].name, "/tmp/t1.htm");
        EXPECT_EQ(f.host.inserts[0].content, std::string(kMeta) + row.text);
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
        EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1.htm wb+"));
        EXPECT_EQ(f.handle.htmlPending, 1);
        EXPECT_STREQ(f.handle.htmlTempName, "");
    }
}

TEST(HtmlBody, OfEmptyLinesOpensNothing) {
    TextBodyFixture f(kHtml);
    EXPECT_EQ(f.read("\r\n\r\n\r\n"), EML_OK);
    EXPECT_FALSE(f.host.called("QOB_FileOpen"));
    EXPECT_TRUE(f.host.inserts.empty());
}

TEST(HtmlBody, DeclaresItsCharsetAsWritten) {
    struct Row {
        const char *charset;
        const char *meta;
        const char *charsetName;
    };
    const Row rows[] = {
        {"gb2312", "<META CONTENT=\"text/html;charset=gb2312\">", "ChineseGBK"},
        {"ISO-8859-15", "<META CONTENT=\"text/html;charset=ISO-8859-15\">", "ISO-8859-1"},
        {"", "<META CONTENT=\"text/html;charset=\">", ""},
        {"a>b", "<META CONTENT=\"text/html;charset=a>", "a>b"},
        {">", "<META CONTENT=\"text/html;charset=>", ">"},
        {"nineteen-characters", "<META CONTENT=\"text/html;charset=nineteen-characters\">",
         "nineteen-characters"},
    };
    for (const Row &row : rows) {
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .charset = row.charset});
        EXPECT_EQ(f.read("x\r\n"), EML_OK);
        EXPECT_EQ(f.host.inserts.at(0).content, std::string(row.meta) + "x");
        EXPECT_STREQ(f.handle.charsetName, row.charsetName);
    }
}

TEST(HtmlBody, IsWhatAMixedMessageWithoutABoundaryIsReadAs) {
    TextBodyFixture f({.contentType = EML_CT_MULTIPART_MIXED});
    EXPECT_EQ(f.read("a\r\n\r\n--b\r\n"), EML_OK);
    ASSERT_EQ(f.host.inserts.size(), 1U);
    EXPECT_EQ(f.host.inserts[0].content, std::string(kMeta) + "a--b");
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.leftovers(), std::vector<std::string>());
}

TEST(HtmlBody, IsHandedOverWithTheInsertRecord) {
    TextBodyFixture f(kHtml);
    std::strcpy(f.params.outputName, "EUC-JP");
    std::strcpy(f.params.language, "Japanese");
    f.params.outputCode = 0x11223344;
    f.params.options = EML_OPT_NEWLINE_2;
    f.params.outputLimit = 0x1234567890ULL;
    f.params.reserved524 = 9;
    int callback = 0;
    f.handle.errCallback = &callback;
    EXPECT_EQ(f.read("x\r\n"), EML_OK);
    const InsertCall &call = f.host.inserts.at(0);
    EXPECT_STREQ(call.params.outputName, "EUC-JP");
    EXPECT_STREQ(call.params.language, "Japanese");
    EXPECT_EQ(call.params.outputCode, 0x11223344U);
    EXPECT_EQ(call.params.options, f.params.options);
    EXPECT_EQ(call.params.flags, 10U);
    EXPECT_EQ(call.params.outputLimit, 0x1234567890ULL);
    EXPECT_FALSE(call.sameParams);
    EXPECT_FALSE(call.toStream);
    EXPECT_EQ(call.callback, &callback);
}

TEST(HtmlBody, SharesTheOutputCountWithTheHost) {
    TextBodyFixture f(kHtml);
    f.handle.outputCount = 100;
    f.host.insert = [](const InsertCall &) { return std::string("text"); };
    EXPECT_EQ(f.read("x\r\n"), EML_OK);
    EXPECT_EQ(f.host.inserts.at(0).session.savedOutputCount, 100U);
    EXPECT_EQ(f.handle.outputCount, 104U);
    EXPECT_EQ(f.output(), "text");
}

TEST(HtmlBody, GoesToTheStreamsServiceInStreamMode) {
    TextBodyFixture f(kHtml);
    f.useStream();
    f.host.insert = [](const InsertCall &) { return std::string("text"); };
    EXPECT_EQ(f.read("x\r\n"), EML_OK);
    EXPECT_TRUE(f.host.inserts.at(0).toStream);
    EXPECT_EQ(f.output(), "text");
    EXPECT_EQ(f.leftovers(), std::vector<std::string>());
}

TEST(HtmlBody, IsRemovedWhenNeitherModeIsSet) {
    TextBodyFixture f(kHtml);
    f.handle.fileMode = 0;
    EXPECT_EQ(f.read("x\r\n"), EML_OK);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_EQ(f.leftovers(), std::vector<std::string>());
}

TEST(HtmlBody, TakesABoundNameWhenAsked) {
    TextBodyFixture f(kHtml);
    f.params.flags |= EML_FLAG_BOUND_TMPNAM;
    EXPECT_EQ(f.read("x\r\n"), EML_OK);
    EXPECT_EQ(f.host.inserts.at(0).name, "/tmp/b1.htm");
}

TEST(HtmlBody, HostsErrorIsReturnedOrKept) {
    TextBodyFixture returned(kHtml);
    returned.params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT;
    returned.host.insertResult = 77;
    EXPECT_EQ(returned.read("x\r\n"), 77);
    EXPECT_EQ(returned.handle.result, 0);
    EXPECT_EQ(returned.leftovers(), std::vector<std::string>());

    TextBodyFixture kept(kHtml);
    kept.host.insertResult = 77;
    EXPECT_EQ(kept.read("x\r\n"), EML_OK);
    EXPECT_EQ(kept.handle.result, 77);
    EXPECT_EQ(kept.leftovers(), std::vector<std::string>());
}

TEST(HtmlBody, WaitsInTheHandleUntilTheLastBlock) {
    TextBodyFixture f(kHtml);
    EXPECT_EQ(f.read(std::string(20000, 'x')), EML_OK);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_EQ(f.handle.htmlPending, 1);
    EXPECT_STREQ(f.handle.htmlTempName, "/tmp/t1.htm");
    EXPECT_EQ(f.leftovers(), std::vector<std::string>{"/tmp/t1.htm"});
    EXPECT_EQ(f.host.openFiles(), 2); // input and output
}

TEST(HtmlBody, MovesIntoANewFileInTheNextBlock) {
    TextBodyFixture f(kHtml);
    f.handle.htmlPending = 1;
    std::strcpy(f.handle.htmlTempName, "/tmp/old.htm");
    f.host.files["/tmp/old.htm"] = "old";
    EXPECT_EQ(f.read("new\r\n"), EML_OK);
    ASSERT_EQ(f.host.inserts.size(), 1U);
    EXPECT_EQ(f.host.inserts[0].content, "oldnew");
    EXPECT_EQ(f.host.removed, (std::vector<std::string>{"/tmp/old.htm", "/tmp/t1.htm"}));
}

TEST(HtmlBody, PendingAndEmptyGetsNoMetaElement) {
    TextBodyFixture f(kHtml);
    f.handle.htmlPending = 1;
    std::strcpy(f.handle.htmlTempName, "/tmp/old.htm");
    f.host.files["/tmp/old.htm"] = "";
    EXPECT_EQ(f.read("new\r\n"), EML_OK);
    EXPECT_EQ(f.host.inserts.at(0).content, "new");
}

// A whole message with an HTML body, and the document that the host must see, once.
void expectOneDocument(const std::string &header, const std::string &body,
                       const std::string &document) {
    ScriptedHost host;
    const HostParams params = defaultParams();
    const Extraction e = extractToFile(host, params, header + body);
    EXPECT_EQ(e.code, EML_OK);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_TRUE(host.inserts[0].content == kMeta + document)
        << host.inserts[0].content.size() << " bytes";
    EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>());
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
}

constexpr const char *kHeader = "From: a\r\nContent-Type: text/html; charset=utf-8\r\n\r\n";

TEST(HtmlBody, LargerThanABlockIsOneDocument) {
    std::string body;
    std::string document;
    for (int i = 0; i < 8000; ++i) {
        body += "<b>" + std::to_string(i) + "</b>\r\n";
        document += "<b>" + std::to_string(i) + "</b>";
    }
    expectOneDocument(kHeader, body, document);
}

TEST(HtmlBody, EndingWithABlockIsHandedOver) {
    // The last block is full, so nothing but the file's size tells that it is the last.
    for (const size_t blocks : {1U, 2U, 3U}) {
        const std::string body(blocks * static_cast<size_t>(kBlockSize), 'x');
        expectOneDocument(kHeader, body, body);
    }
}

TEST(HtmlBody, WithOnlyEmptyLinesInTheLastBlockIsHandedOver) {
    std::string body;
    std::string document;
    for (int i = 0; i < 8; ++i) {
        body += std::string(2046, 'x') + "\r\n";
        document += std::string(2046, 'x');
    }
    ASSERT_EQ(body.size(), static_cast<size_t>(kBlockSize));
    expectOneDocument(kHeader, body + "\r\n\r\n", document);
}

TEST(HtmlBody, OfAnySizeAroundABlockIsHandedOverOnce) {
    for (int difference = -4; difference <= 4; ++difference) {
        std::string body(static_cast<size_t>(kBlockSize + difference - 2), 'x');
        expectOneDocument(kHeader, body + "\r\n", body);
    }
}

} // namespace
