// SPDX-License-Identifier: MIT
// The body reader over the parts of a mixed message: boundaries, part headers, walker states.
#include <gtest/gtest.h>

#include "support/part_headers.h"

namespace {

void setPartCodes(ExtractionHandle &handle) {
    handle.nestedContentType = EML_CT_TEXT_HTML;
    handle.nestedTransferEncoding = EML_TE_BASE64;
    handle.inNestedPart = 1;
    handle.partContentType = EML_CT_IMAGE_GIF;
    handle.partTransferEncoding = EML_TE_BASE64;
}

bool partCodesClear(const ExtractionHandle &handle) {
    return handle.nestedContentType == 0 && handle.nestedTransferEncoding == 0 &&
           handle.inNestedPart == 0 && handle.partContentType == 0 &&
           handle.partTransferEncoding == 0;
}

TEST(MixedWalker, DotAloneAbandonsTheRestOfTheFile) {
    MixedMessage m;
    EXPECT_EQ(m.read("--b\r\n.\r\nContent-Transfer-Encoding: base64\r\n"), EML_OK);
    EXPECT_EQ(m.handle.blockStart, m.handle.fileSize);
    EXPECT_EQ(m.handle.partTransferEncoding, 0);
}

TEST(MixedWalker, DotWithAnythingElseIsALine) {
    for (const char *line : {" .", ". ", "..", "\t."}) {
        MixedMessage m;
        EXPECT_EQ(
            m.read(std::string("X: y\r\n") + line + "\r\nContent-Transfer-Encoding: base64\r\n"),
            EML_OK);
        EXPECT_EQ(m.handle.blockStart, 0) << line;
        EXPECT_EQ(m.handle.partTransferEncoding, EML_TE_BASE64);
    }
}

TEST(MixedWalker, BoundaryClearsThePartCodes) {
    for (const char *line : {"--b", "--b--", "--bxyz", "  --b", "\t--b", "--b "}) {
        MixedMessage m;
        setPartCodes(m.handle);
        EXPECT_EQ(m.read(std::string(line) + "\r\n"), EML_OK);
        EXPECT_TRUE(partCodesClear(m.handle)) << line;
        EXPECT_STREQ(m.handle.nestedBoundary, "") << line;
    }
}

TEST(MixedWalker, OtherDashLineLeavesThePartCodes) {
    for (const char *line : {"--B", "--x", "--", "- b"}) {
        MixedMessage m;
        setPartCodes(m.handle);
        EXPECT_EQ(m.read(std::string(line) + "\r\n"), EML_OK);
        EXPECT_FALSE(partCodesClear(m.handle)) << line;
    }
}

TEST(MixedWalker, IndentedLineBehindABoundaryIsABoundaryCandidate) {
    struct Row {
        const char *promise;
        const char *body;
        const char *nestedBoundary;
    };
    const Row rows[] = {
        {"directly behind", "--b\r\n xxnest\r\n", "xxnest"},
        {"its first two characters are not looked at", "--b\r\n xxb\r\n", ""},
        {"one after another", "--b\r\n xx1\r\n xx2\r\n", "xx2"},
        {"behind an ordinary line", "--b\r\nX: y\r\n xxnest\r\n", ""},
        {"at the beginning", " xxnest\r\n", ""},
        {"shorter than two characters", "--b\r\n x\r\n", "x"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        MixedMessage m;
        // Something that partBoundary does not match, so that candidates are remembered.
        std::strcpy(m.handle.partBoundary, "other");
        EXPECT_EQ(m.read(row.body), EML_OK);
        EXPECT_STREQ(m.handle.nestedBoundary, row.nestedBoundary);
    }
}

TEST(MixedWalker, PartBoundaryCountsBehindExactlyOneMessageBoundary) {
    struct Row {
        const char *promise;
        const char *body;
        int32_t inNestedPart;
        const char *nestedBoundary;
    };
    const Row rows[] = {
        {"behind one", "--b\r\n--in\r\n", 1, ""},
        {"with more text", "--b\r\n--in--\r\n", 1, ""},
        {"before any", "--in\r\n", 0, "--in"},
        {"behind two", "--b\r\n--b\r\n--in\r\n", 0, "--in"},
        {"another one", "--b\r\n--IN\r\n", 0, "--IN"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        MixedMessage m;
        std::strcpy(m.handle.partBoundary, "in");
        EXPECT_EQ(m.read(row.body), EML_OK);
        EXPECT_EQ(m.handle.inNestedPart, row.inNestedPart);
        EXPECT_STREQ(m.handle.nestedBoundary, row.nestedBoundary);
    }
}

TEST(MixedWalker, EmptyPartBoundaryMatchesEverything) {
    MixedMessage m;
    EXPECT_EQ(m.read("--b\r\n--zzz\r\n"), EML_OK);
    EXPECT_EQ(m.handle.inNestedPart, 1);
}

TEST(MixedWalker, CountsBoundariesAnewInEachCall) {
    MixedMessage m;
    std::strcpy(m.handle.partBoundary, "in");
    EXPECT_EQ(m.read("--b\r\n"), EML_OK);
    EXPECT_EQ(m.read("--in\r\n"), EML_OK);
    EXPECT_EQ(m.handle.inNestedPart, 0);
    EXPECT_STREQ(m.handle.nestedBoundary, "--in");
}

TEST(MixedWalker, RemembersAtMost80BytesOfANestedBoundary) {
    for (const size_t length : {2U, 3U, 79U, 80U, 81U, 2000U}) {
        MixedMessage m;
        std::strcpy(m.handle.nestedBoundary, "--an older and longer one");
        const std::string line = "--" + std::string(length - 2, 'n');
        EXPECT_EQ(m.read("  " + line + "\r\n"), EML_OK);
        const std::string kept(m.handle.nestedBoundary, kBoundarySize);
        std::string expected = line.substr(0, kBoundarySize);
        expected.resize(kBoundarySize, '\0');
        EXPECT_EQ(kept, expected) << length;
    }
}

TEST(MixedWalker, TakesThePartsTransferEncoding) {
    struct Row {
        const char *line;
        int32_t encoding;
    };
    const Row rows[] = {
        {"Content-Transfer-Encoding: base64", EML_TE_BASE64},
        {"CONTENT-TRANSFER-ENCODING:Quoted-Printable", EML_TE_QUOTED_PRINTABLE},
        {"Content-Transfer-Encoding: 7bit", EML_TE_OTHER},
        {"Content-Transfer-Encoding:", EML_TE_OTHER},
        {"Content-Transfer-Encodin: base64", 0},
    };
    for (const Row &row : rows) {
        MixedMessage m;
        EXPECT_EQ(m.read(std::string("--b\r\n") + row.line + "\r\n"), EML_OK);
        EXPECT_EQ(m.handle.partTransferEncoding, row.encoding) << row.line;
    }
}

TEST(MixedWalker, TakesTheTransferEncodingOfANestedPart) {
    MixedMessage m;
    std::strcpy(m.handle.partBoundary, "in");
    EXPECT_EQ(m.read("--b\r\n--in\r\nContent-Transfer-Encoding: base64\r\n"), EML_OK);
    EXPECT_EQ(m.handle.partTransferEncoding, 0);
    EXPECT_EQ(m.handle.nestedTransferEncoding, EML_TE_BASE64);
}

TEST(MixedWalker, PassesOverEmptyLines) {
    MixedMessage m;
    EXPECT_EQ(m.read("\r\n\r\n--b\r\n\r\n\r\nContent-Transfer-Encoding: base64\r\n\r\n"), EML_OK);
    EXPECT_EQ(m.handle.partTransferEncoding, EML_TE_BASE64);
}

TEST(MixedWalker, MarksALineThatNamesTheFileForRereading) {
    struct Row {
        const char *line;
        int32_t pending;
    };
    const Row rows[] = {
        {"Content-Disposition: attachment; filename=\"a\"", 1},
        {"content-disposition: inline; FileName=\"a\"", 1},
        {"Content-Disposition: attachment; FILENAME=\"a\"", 0},
        {"Content-Disposition: attachment; filename*=\"a\"", 0},
        {"Content-Disposition: attachment", 0},
        {"X-Disposition: attachment; filename=\"a\"", 0},
    };
    for (const Row &row : rows) {
        MixedMessage m;
        const std::string line = row.line;
        EXPECT_EQ(m.read("--b\r\n" + line + "\r\n"), EML_OK);
        EXPECT_EQ(m.handle.rereadPending, row.pending) << line;
        // The line's length back from the position behind its CR LF.
        EXPECT_EQ(m.handle.rereadPos, row.pending == 1 ? 5 + 2 : 0) << line;
    }
}

TEST(MixedWalker, ContentTypeLineStartsTheBase64PadsAnew) {
    MixedMessage m;
    m.handle.base64PadCount = 2;
    EXPECT_EQ(m.read("Content-Type: image/gif\r\n"), EML_OK);
    EXPECT_EQ(m.handle.base64PadCount, 0);
}

TEST(MixedWalker, ContentTypeLineGivesTheCharset) {
    MixedMessage m;
    EXPECT_EQ(m.read("Content-Type: image/gif; charset=gb2312\r\n"), EML_OK);
    EXPECT_STREQ(m.handle.partCharset, "gb2312");
    EXPECT_STREQ(m.handle.charsetName, "ChineseGBK");
}

TEST(MixedWalker, ContentTypeLineWithoutCharsetLeavesIt) {
    MixedMessage m;
    std::strcpy(m.handle.charsetName, "KoreanKSC");
    EXPECT_EQ(m.read("Content-Type: image/gif; Charset=gb2312\r\n"), EML_OK);
    EXPECT_STREQ(m.handle.charsetName, "KoreanKSC");
}

TEST(MixedWalker, ContentTypeLineGivesANestedBoundaryInMultipartMixedOnly) {
    for (const int32_t type : {EML_CT_MULTIPART_MIXED, EML_CT_OTHER, EML_CT_MULTIPART_REPORT}) {
        PartHeaders m(type);
        EXPECT_EQ(m.read("Content-Type: image/gif; boundary=\"in\"\r\n"), EML_OK);
        EXPECT_STREQ(m.handle.partBoundary, type == EML_CT_MULTIPART_MIXED ? "in" : "") << type;
    }
}

TEST(MixedWalker, ContentTypeLineOfAnyCaseAndIndentedIsTaken) {
    for (const char *line : {"Content-Type: image/gif", "CONTENT-TYPE:image/gif",
                             "X: y\r\n \tcontent-type: image/gif"}) {
        MixedMessage m;
        EXPECT_EQ(m.read(std::string(line) + "\r\n"), EML_OK);
        EXPECT_EQ(m.handle.partContentType, EML_CT_IMAGE_GIF) << line;
    }
}

TEST(MixedWalker, IndentedLineBehindAPartHeaderContinuesIt) {
    struct Row {
        const char *promise;
        const char *body;
        const char *charset;
        int32_t contentType;
    };
    const Row rows[] = {
        {"its charset is taken, and it has no type of its own",
         "Content-Type: image/gif;\r\n charset=big5\r\n", "big5", EML_CT_OTHER},
        {"the type stands behind its first 13 characters",
         "Content-Type: image/gif;\r\n 0123456789abcimage/jpeg\r\n", "", EML_CT_IMAGE_JPEG},
        {"not behind another header line", "Content-Type: image/gif;\r\nX: y\r\n charset=big5\r\n",
         "", EML_CT_IMAGE_GIF},
        {"again and again", "Content-Type: image/gif;\r\n charset=big5;\r\n charset=utf-8\r\n",
         "utf-8", EML_CT_OTHER},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        MixedMessage m;
        EXPECT_EQ(m.read(row.body), EML_OK);
        EXPECT_STREQ(m.handle.partCharset, row.charset);
        EXPECT_EQ(m.handle.partContentType, row.contentType);
    }
}

TEST(MixedWalker, IndentedLineIsDispatchedToNoTextWalker) {
    MixedMessage m;
    EXPECT_EQ(
        m.read("Content-Type: image/gif;\r\n 0123456789abctext/plain\r\n\r\nhello\r\n--b--\r\n"),
        EML_OK);
    EXPECT_EQ(m.handle.partHasName, 0);
    EXPECT_EQ(m.output(), "");
}

TEST(MixedWalker, LooksAheadWithoutConsumingTheLine) {
    MixedMessage m;
    EXPECT_EQ(m.read("Content-Type: image/gif\r\nContent-Transfer-Encoding: base64\r\n"), EML_OK);
    EXPECT_EQ(m.handle.partTransferEncoding, EML_TE_BASE64);
}

TEST(MixedWalker, LooksAheadIntoTheNextBlock) {
    // The block ends with the Content-Type line; the name stands in the next one.
    std::string body;
    while (body.size() + 100 < static_cast<size_t>(kBlockSize)) {
        body += "X: y\r\n";
    }
    const std::string type = "Content-Type: image/gif\r\n";
    body += "X: " + std::string(kBlockSize - body.size() - type.size() - 5, 'x') + "\r\n" + type;
    ASSERT_EQ(body.size(), static_cast<size_t>(kBlockSize));
    MixedMessage m;
    EXPECT_EQ(m.read(body + "X: name\r\n--b--\r\n"), EML_OK);
    EXPECT_EQ(m.handle.partHasName, 1);
}

TEST(MixedWalker, TakesTheOuterPartsFieldsAlsoInANestedPart) {
    MixedMessage m;
    m.handle.inNestedPart = 1;
    std::strcpy(m.handle.partCharset, "big5");
    m.handle.partContentType = EML_CT_TEXT_PLAIN;
    EXPECT_EQ(m.read("Content-Type: image/gif; charset=iso-2022-jp\r\n\r\nhello\r\n--b--\r\n"),
              EML_OK);
    EXPECT_EQ(m.handle.nestedContentType, EML_CT_IMAGE_GIF);
    EXPECT_STREQ(m.handle.charsetName, "ChineseBIG5");
    EXPECT_EQ(m.output(), "\nhello\n"); // the outer part's type is plain text
}

} // namespace
