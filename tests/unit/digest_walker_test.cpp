// SPDX-License-Identifier: MIT
// The body reader over a digest: only delimiter lines count.
#include <gtest/gtest.h>

#include "support/part_headers.h"

namespace {

constexpr const char *kTwoEntries = "--b\r\n\r\nSubject: one\r\n\r\nfirst\r\n"
                                    "--b\r\n\r\nSubject: two\r\n\r\nsecond\r\n--b--\r\n";

TEST(DigestWalker, HandsEachEntryOver) {
    for (const int32_t type : {EML_CT_MULTIPART_DIGEST, EML_CT_DIGEST_TWIN}) {
        PartHeaders m(type);
        EXPECT_EQ(m.read(kTwoEntries), EML_OK);
        EXPECT_EQ(m.handle.attachmentCount, 2);
        ASSERT_EQ(m.host.inserts.size(), 2U);
        EXPECT_EQ(m.host.inserts[0].content, "\nSubject: one\n\nfirst\n");
        EXPECT_EQ(m.host.inserts[1].content, "\nSubject: two\n\nsecond\n");
    }
}

TEST(DigestWalker, PassesOverEverythingBeforeTheFirstDelimiter) {
    DigestMessage m;
    EXPECT_EQ(m.read("preamble\r\nSubject: no\r\n\r\n--x\r\n-\r\n.\r\n"), EML_OK);
    EXPECT_EQ(m.handle.attachmentCount, 0);
    EXPECT_EQ(m.output(), "");
}

TEST(DigestWalker, CountsIndentedDelimitersToo) {
    DigestMessage m;
    EXPECT_EQ(m.read(" \t--b\r\nSubject: one\r\n"), EML_OK);
    EXPECT_EQ(m.handle.attachmentCount, 1);
}

TEST(DigestWalker, EndsAtTheByteOfTheClosingDelimiter) {
    struct Row {
        const char *line;
        bool closing;
    };
    // With a boundary of one character that byte stands at index 4, whatever stands before it.
    const Row rows[] = {
        {"--b--", true}, {"--bx-", true},   {"--x--", true}, {"--xy-z", true},
        {"--b-", false}, {"--b---", true},  {"--b", false},  {"--b x", false},
        {"--", false},   {"  --b--", true}, {"---b", false}, {"----------", true},
    };
    for (const Row &row : rows) {
        DigestMessage m;
        EXPECT_EQ(m.read(std::string(row.line) + "\r\nX: y\r\n"), EML_OK);
        const auto behindLine = static_cast<int32_t>(std::strlen(row.line)) + 2;
        EXPECT_EQ(m.handle.blockPos == behindLine && m.handle.attachmentCount == 0, row.closing)
            << row.line;
    }
}

TEST(DigestWalker, StartsAgainOnTheRestBehindTheClosingDelimiter) {
    DigestMessage m;
    EXPECT_EQ(m.read("--b--\r\n--b\r\nSubject: late\r\n"), EML_OK);
    EXPECT_EQ(m.handle.attachmentCount, 0);
    EXPECT_EQ(EMLReadContent(&m.handle), EML_OK);
    EXPECT_EQ(m.handle.attachmentCount, 1);
}

TEST(DigestWalker, ClearsThePartCodesForEachEntry) {
    DigestMessage m;
    m.handle.nestedContentType = EML_CT_TEXT_HTML;
    m.handle.nestedTransferEncoding = EML_TE_BASE64;
    m.handle.inNestedPart = 1;
    m.handle.partContentType = EML_CT_IMAGE_GIF;
    m.handle.partTransferEncoding = EML_TE_BASE64;
    EXPECT_EQ(m.read("--b\r\nSubject: one\r\n"), EML_OK);
    EXPECT_EQ(m.handle.nestedContentType, 0);
    EXPECT_EQ(m.handle.nestedTransferEncoding, 0);
    EXPECT_EQ(m.handle.inNestedPart, 0);
    EXPECT_EQ(m.handle.partContentType, 0);
    EXPECT_EQ(m.handle.partTransferEncoding, 0);
}

TEST(DigestWalker, GoesOnBehindAnEntryThatFails) {
    DigestMessage noFile;
    noFile.load(kTwoEntries);
    noFile.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(EMLReadContent(&noFile.handle), EML_OK);
    EXPECT_EQ(noFile.handle.attachmentCount, 2);
    ASSERT_EQ(noFile.host.inserts.size(), 1U);
    EXPECT_EQ(noFile.host.inserts[0].content, "\nSubject: two\n\nsecond\n");

    DigestMessage refused;
    refused.params.flags = EML_FLAG_ATTACHMENTS;
    refused.host.insertResult = 77;
    EXPECT_EQ(refused.read(kTwoEntries), EML_OK);
    EXPECT_EQ(refused.host.inserts.size(), 2U);
    EXPECT_EQ(refused.handle.result, 0);
}

TEST(DigestWalker, WithoutAClosingDelimiterEndsWithTheInput) {
    DigestMessage m;
    EXPECT_EQ(m.read("--b\r\nSubject: one\r\n\r\nfirst"), EML_OK);
    EXPECT_EQ(m.host.inserts.size(), 1U);
}

} // namespace
