// SPDX-License-Identifier: MIT
// The label block of an attachment: its number and its name.
#include <cstring>

#include "emlcontent/attachment_files.h"
#include "support/filter_fixture.h"

namespace {

using namespace std::string_literals;

TEST(AttachmentLabels, AreOnWithFlag2AndWithout8000) {
    const struct {
        uint32_t flags;
        bool on;
    } rows[] = {{0, false},      {0x2, true},       {0x8000, false}, {0x8002, false},
                {0x1F, true},    {0x1D, false},     {0x801F, false}, {0x6, true},
                {0x7FFD, false}, {0x7FFF7FFF, true}};
    for (const auto &row : rows) {
        FilterFixture f;
        f.params.flags = row.flags;
        EXPECT_EQ(eml::labelsOn(&f.handle), row.on) << row.flags;
    }
}

TEST(AttachmentNumber, StandsBetweenAttachAndAColonOnItsOwnLine) {
    const struct {
        int32_t count;
        const char *output;
    } rows[] = {
        {1, "\nAttach1:"}, {42, "\nAttach42:"}, {305, "\nAttach305:"}, {9999, "\nAttach9999:"}};
    for (const auto &row : rows) {
        FilterFixture f;
        f.handle.attachmentCount = row.count;
        EXPECT_EQ(eml::writeAttachmentNumber(&f.handle), EML_OK);
        EXPECT_EQ(f.output(), row.output);
    }
}

TEST(AttachmentNumber, IsConvertedFromLatin1PieceByPiece) {
    FilterFixture f;
    f.handle.attachmentCount = 42;
    std::strcpy(f.handle.charsetName, "KoreanKSC");
    ASSERT_EQ(eml::writeAttachmentNumber(&f.handle), EML_OK);
    std::string pieces;
    for (const ConversionCall &call : f.host.conversions) {
        EXPECT_EQ(call.source, "ISO-8859-1");
        pieces += "[" + call.input + "]";
    }
    EXPECT_EQ(pieces, "[\r][Attach][42][:]");
    EXPECT_STREQ(f.handle.charsetName, "ISO-8859-1");
}

TEST(AttachmentNumber, IsNulBytesOfTheOldLengthFrom10000On) {
    FilterFixture f;
    f.host.stripControlCodes = false;
    f.handle.attachmentCount = 9999;
    ASSERT_EQ(eml::writeAttachmentNumber(&f.handle), EML_OK);
    f.handle.attachmentCount = 10000;
    ASSERT_EQ(eml::writeAttachmentNumber(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "\nAttach9999:\nAttach\0\0\0\0:"s);
}

TEST(AttachmentName, StandsOnItsOwnLineAboveAnEmptyLine) {
    FilterFixture f;
    EXPECT_EQ(eml::writeNameLabel(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "\nattachmemt_name: ");
    EXPECT_EQ(f.host.conversions.back().input, "attachmemt_name: ");
    EXPECT_EQ(f.host.conversions.back().source, "ISO-8859-1");
    EXPECT_EQ(eml::writeDisplayName(&f.handle, "a.txt"), EML_OK);
    EXPECT_EQ(f.output(), "\nattachmemt_name: a.txt\n\n");
}

TEST(AttachmentName, IsWrittenInTheDefaultCharset) {
    FilterFixture f;
    std::strcpy(f.handle.defaultCharset, "ChineseGBK");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return "{" + source + " " + input + "}";
    };
    EXPECT_EQ(eml::writeDisplayName(&f.handle, "\xB8\xBD.txt"), EML_OK);
    EXPECT_EQ(f.output(), "{ChineseGBK \xB8\xBD.txt}\n\n");
}

TEST(AttachmentName, HasItsEncodedWordsDecoded) {
    const struct {
        const char *name;
        const char *output;
    } rows[] = {{"=?utf-8?B?w6kudHh0?=", "\xC3\xA9.txt\n\n"},
                {"=?utf-8?Q?caf=C3=A9?=.txt", "caf\xC3\xA9.txt\n\n"},
                {"", "\n\n"},
                {"a=?utf-8?B?w6k=", "a\n\n"}};
    for (const auto &row : rows) {
        FilterFixture f;
        f.handle.lineEndSeen = 1;
        EXPECT_EQ(eml::writeDisplayName(&f.handle, row.name), EML_OK) << row.name;
        EXPECT_EQ(f.output(), row.output) << row.name;
        EXPECT_EQ(f.handle.encodedWordFlag, 0) << row.name;
    }
}

TEST(AttachmentName, FailsOnlyForMemory) {
    FilterFixture f;
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(eml::writeDisplayName(&f.handle, "a.txt"), EML_ERR_MEMORY);
    EXPECT_EQ(f.handle.encodedWordFlag, 0);
}

TEST(AttachmentLabel, PassesOverTheOutputLimit) {
    for (uint32_t limit = 0; limit <= 40; ++limit) {
        FilterFixture f;
        f.setLimit(limit);
        f.handle.attachmentCount = 1;
        EXPECT_EQ(eml::writeAttachmentNumber(&f.handle), EML_OK) << limit;
        EXPECT_EQ(eml::writeNameLabel(&f.handle), EML_OK) << limit;
        EXPECT_EQ(eml::writeDisplayName(&f.handle, "=?utf-8?B?YS50eHQ=?="), EML_OK) << limit;
        const std::string whole = "\nAttach1:\nattachmemt_name: a.txt\n\n";
        EXPECT_EQ(f.output(), whole.substr(0, limit)) << limit;
    }
}

TEST(AttachmentLabel, UsesTheHostsLineEnds) {
    FilterFixture f;
    f.host.lineEnd = "\r\n";
    f.handle.attachmentCount = 1;
    eml::writeAttachmentNumber(&f.handle);
    eml::writeNameLabel(&f.handle);
    eml::writeDisplayName(&f.handle, "a");
    EXPECT_EQ(f.output(), "\r\nAttach1:\r\nattachmemt_name: a\r\n\r\n");
}

} // namespace
