// SPDX-License-Identifier: MIT
// The body reader over the parts of a message that is multipart/alternative or related itself.
#include <gtest/gtest.h>

#include "support/failure_sweep.h"
#include "support/part_headers.h"

namespace {

constexpr const char *kPlainPart = "--b\r\nContent-Type: text/plain; charset=utf-8\r\n"
                                   "Content-Transfer-Encoding: 8bit\r\n\r\nhello\r\n--b--\r\n";
constexpr const char *kHtmlPart = "--b\r\nContent-Type: text/html; charset=utf-8\r\n"
                                  "Content-Transfer-Encoding: 8bit\r\n\r\n<p>\r\n--b--\r\n";

TEST(AlternativeWalker, HandsTextPartsToTheirWalker) {
    for (const int32_t type : {EML_CT_MULTIPART_ALTERNATIVE, EML_CT_MULTIPART_RELATED}) {
        PartHeaders plain(type);
        EXPECT_EQ(plain.read(kPlainPart), EML_OK);
        EXPECT_EQ(plain.output(), "hello\n") << type;
        EXPECT_EQ(plain.handle.partHasName, 1);

        PartHeaders html(type);
        EXPECT_EQ(html.read(kHtmlPart), EML_OK);
        ASSERT_EQ(html.host.inserts.size(), 1U) << type;
        EXPECT_EQ(html.host.inserts[0].content, "<META CONTENT=\"text/html;charset=utf-8\"><p>");
        EXPECT_EQ(html.handle.partHasName, 1);
    }
}

TEST(AlternativeWalker, PassesOverEveryOtherPart) {
    for (const char *type : {"image/gif", "application/pdf", "message/rfc822", "multipart/mixed",
                             "multipart/related; boundary=\"in\"", "x/y"}) {
        AlternativeMessage m;
        EXPECT_EQ(m.read(std::string("--b\r\nContent-Type: ") + type + "\r\n\r\nx\r\n--b--\r\n"),
                  EML_OK);
        EXPECT_EQ(m.output(), "") << type;
        EXPECT_TRUE(m.host.inserts.empty()) << type;
        EXPECT_EQ(m.handle.partHasName, 0) << type;
    }
}

TEST(AlternativeWalker, PassesOverPartsWithAName) {
    struct Row {
        const char *promise;
        const char *header;
    };
    const Row rows[] = {
        {"on the line", "Content-Type: text/plain; name=a\r\nX: y"},
        {"with a capital", "Content-Type: text/plain; Name=a\r\nX: y"},
        {"on the next line", "Content-Type: text/plain\r\n name=a"},
        {"in the next line's disposition",
         "Content-Type: text/html\r\nContent-Disposition: inline; filename=a"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        AlternativeMessage m;
        EXPECT_EQ(m.read(std::string("--b\r\n") + row.header + "\r\n\r\nhello\r\n--b--\r\n"),
                  EML_OK);
        EXPECT_EQ(m.output(), "");
        EXPECT_TRUE(m.host.inserts.empty());
    }
}

TEST(AlternativeWalker, DoesNotCompareBoundaries) {
    AlternativeMessage m;
    m.handle.partTransferEncoding = EML_TE_BASE64;
    EXPECT_EQ(m.read("--b\r\n--other\r\n--\r\n"), EML_OK);
    EXPECT_EQ(m.handle.partTransferEncoding, EML_TE_BASE64); // nothing is cleared either
    EXPECT_STREQ(m.handle.nestedBoundary, "");
    EXPECT_EQ(m.handle.inNestedPart, 0);
}

TEST(AlternativeWalker, TakesHeaderLinesByItsState) {
    struct Row {
        const char *promise;
        const char *body;
        int32_t contentType;
        int32_t encoding;
    };
    const Row rows[] = {
        {"a part header", "--b\r\nContent-Type: image/gif\r\n", EML_CT_IMAGE_GIF, 0},
        {"a part header without a boundary", "CONTENT-TYPE:image/gif\r\n", EML_CT_IMAGE_GIF, 0},
        {"an encoding", "--b\r\ncontent-transfer-encoding: base64\r\n", 0, EML_TE_BASE64},
        {"an encoding nobody knows", "Content-Transfer-Encoding: x\r\n", 0, EML_TE_OTHER},
        {"indented lines behind dashes are ignored",
         "--b\r\n Content-Type: image/gif\r\n Content-Transfer-Encoding: base64\r\n", 0, 0},
        {"indented lines behind any dashes are ignored", "--x\r\n Content-Type: image/gif\r\n", 0,
         0},
        {"indented lines behind a header line are taken",
         "X: y\r\n Content-Type: image/gif\r\nX: y\r\n Content-Transfer-Encoding: base64\r\n",
         EML_CT_IMAGE_GIF, EML_TE_BASE64},
        {"indented lines behind a part header continue it",
         "Content-Type: image/gif;\r\n 0123456789abcimage/jpeg\r\n", EML_CT_IMAGE_JPEG, 0},
        {"but an encoding is an encoding",
         "Content-Type: image/gif;\r\n Content-Transfer-Encoding: base64\r\n", EML_CT_IMAGE_GIF,
         EML_TE_BASE64},
        {"indented lines behind another header line are no part header",
         "Content-Type: image/gif;\r\nX: y\r\n 0123456789abcimage/jpeg\r\n", EML_CT_IMAGE_GIF, 0},
        {"indented dashes are dashes", "X: y\r\n  --b\r\n Content-Type: image/gif\r\n", 0, 0},
        {"the beginning counts as behind a header line", " Content-Type: image/gif\r\n",
         EML_CT_IMAGE_GIF, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        AlternativeMessage m;
        EXPECT_EQ(m.read(row.body), EML_OK);
        EXPECT_EQ(m.handle.partContentType, row.contentType);
        EXPECT_EQ(m.handle.partTransferEncoding, row.encoding);
    }
}

TEST(AlternativeWalker, ContentTypeLineGivesCharsetAndClearsThePads) {
    AlternativeMessage m;
    m.handle.base64PadCount = 2;
    EXPECT_EQ(m.read("Content-Type: image/gif; charset=\"euc-kr\"\r\n"), EML_OK);
    EXPECT_EQ(m.handle.base64PadCount, 0);
    EXPECT_STREQ(m.handle.partCharset, "euc-kr");
    EXPECT_STREQ(m.handle.charsetName, "KoreanKSC");
}

TEST(AlternativeWalker, TakesAPartBoundaryFromAFoldedLineOnly) {
    struct Row {
        const char *promise;
        const char *body;
        const char *boundary;
    };
    const Row rows[] = {
        {"folded", "Content-Type: multipart/related;\r\n boundary=\"in\"\r\n", "in"},
        {"on the line itself", "Content-Type: multipart/related; boundary=\"in\"\r\n", ""},
        {"not beside a name", "Content-Type: multipart/related;\r\n boundary=\"in\"; name=x\r\n",
         ""},
        {"not before a name",
         "Content-Type: multipart/related;\r\n boundary=\"in\";\r\n name=x\r\n", ""},
        {"not behind another header line",
         "Content-Type: multipart/related\r\nX: y\r\n boundary=\"in\"\r\n", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        AlternativeMessage m;
        EXPECT_EQ(m.read(row.body), EML_OK);
        EXPECT_STREQ(m.handle.partBoundary, row.boundary);
    }
}

TEST(AlternativeWalker, DotEndsNothing) {
    AlternativeMessage m;
    EXPECT_EQ(m.read(std::string(".\r\n") + kPlainPart), EML_OK);
    EXPECT_EQ(m.output(), "hello\n");
}

TEST(AlternativeWalker, WalkersErrorEndsTheCall) {
    AlternativeMessage m;
    m.load(kPlainPart);
    m.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(EMLReadContent(&m.handle), EML_ERR_INPUT);
    EXPECT_EQ(m.output(), "");
}

TEST(AlternativeWalker, HostsErrorEndsTheCallUnlessItIsKept) {
    AlternativeMessage ends;
    ends.params.flags = EML_FLAG_ATTACHMENTS;
    ends.host.insertResult = 77;
    EXPECT_EQ(ends.read(kHtmlPart), 77);

    AlternativeMessage goesOn;
    goesOn.host.insertResult = 77;
    EXPECT_EQ(goesOn.read(kHtmlPart), EML_OK);
    EXPECT_EQ(goesOn.handle.result, 77);
}

} // namespace
