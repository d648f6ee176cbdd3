// SPDX-License-Identifier: MIT
// Archives attached to messages, from the message to the members' text, and the limits on the way,
// each from both sides.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "archive_writer.h"
#include "extracted_message.h"

namespace qob::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

MATCHER_P2(IsNotice, number, code, "") {
    return arg.attachmentNumber == static_cast<uint32_t>(number) && arg.code == code;
}

const std::vector<Entry> kThreeFiles = {
    {"a.txt", "first\n"}, {"b.txt", "second\n"}, {"c.txt", "third\n"}};

TEST(AttachedArchive, GivesItsMembersTextUnderTheirNames) {
    const Extracted extracted = extractedMessage(
        {{"files.zip",
          archiveOf({{"a.txt", "first\n"}, {"docs/b.html", "<html><p>second</p></html>"}})},
         {"after.txt", "behind the archive\n"}});
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_EQ(extracted.text, "\nAttach1:\nattachmemt_name: files.zip\n\n"
                              "a.txt\nfirst\n\ndocs/b.html\nsecond\n\n"
                              "\nAttach2:\nattachmemt_name: after.txt\n\nbehind the archive\n\n");
    EXPECT_THAT(extracted.notices, IsEmpty());
}

TEST(AttachedArchive, IsToldByItsContentWhateverItsNameIs) {
    for (const ArchiveStyle &style :
         {kZip, kTar, kSevenZip, ArchiveStyle{kTar.format, ARCHIVE_FILTER_GZIP},
          ArchiveStyle{kTar.format, ARCHIVE_FILTER_BZIP2},
          ArchiveStyle{kTar.format, ARCHIVE_FILTER_XZ}}) {
        const Extracted extracted = extractedMessage({{"data.bin", archiveOf(kThreeFiles, style)}});
        EXPECT_THAT(extracted.text, HasSubstr("a.txt\nfirst\n\nb.txt\nsecond\n\nc.txt\nthird\n"))
            << style.format << ' ' << style.filter;
        EXPECT_THAT(extracted.notices, IsEmpty());
    }
}

TEST(AttachedArchive, BareCompressedFileGivesItsTextUnderTheAttachmentsName) {
    EXPECT_EQ(
        extractedMessage({{"notes.txt.gz", compressed("some notes\n", ARCHIVE_FILTER_GZIP)}}).text,
        "\nAttach1:\nattachmemt_name: notes.txt.gz\n\nsome notes\n\n");
}

TEST(CompressedFile, IsNamedLikeTheFileWithoutItsEnding) {
    const struct {
        const char *file;
        int filter;
        const char *text;
    } rows[] = {{"notes.txt.gz", ARCHIVE_FILTER_GZIP, "notes.txt\nsome notes\n\n"},
                {"notes.txt.BZ2", ARCHIVE_FILTER_BZIP2, "notes.txt\nsome notes\n\n"},
                {"notes.xz", ARCHIVE_FILTER_XZ, "notes\nsome notes\n\n"},
                {"notes", ARCHIVE_FILTER_GZIP, "some notes\n\n"}};
    for (const auto &row : rows) {
        const std::string path = testing::TempDir() + row.file;
        std::ofstream(path, std::ios::binary) << compressed("some notes\n", row.filter);
        EXPECT_EQ(extractedFile(path), row.text);
        std::filesystem::remove(path);
    }
}

TEST(AttachedArchive, ReadsAMessageInAnArchiveInAMessage) {
    const std::string message = messageWith({{"deep.txt", "deep text\n"}});
    const Extracted extracted =
        extractedMessage({{"mail.zip", archiveOf({{"mail.eml", message}})}});
    EXPECT_THAT(extracted.text, HasSubstr("mail.eml\nFrom: ann@example.org"));
    EXPECT_THAT(extracted.text, HasSubstr("attachmemt_name: deep.txt\n\ndeep text\n"));
    EXPECT_THAT(extracted.notices, IsEmpty());
}

TEST(AttachedArchive, MemberWithoutTextIsReportedUnderItsName) {
    const Extracted extracted = extractedMessage(
        {{"files.zip", archiveOf({{"image.png", "\x89PNG\r\n\x1A\n"}, {"a.txt", "first\n"}})}});
    EXPECT_THAT(extracted.text, HasSubstr("a.txt\nfirst\n"));
    ASSERT_THAT(extracted.notices, ElementsAre(IsNotice(1, QOB_ERR_NO_FILTER)));
    EXPECT_THAT(extracted.notices[0].reason, HasSubstr("image.png"));
}

TEST(AttachedArchive, DamageIsReportedOnceWithTheAttachmentsNumber) {
    std::string damaged = archiveOf(kThreeFiles, kTar);
    damaged.resize(damaged.find("third") + 2);
    const Extracted extracted = extractedMessage({{"a.txt", "text\n"}, {"files.tar", damaged}});
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, HasSubstr("b.txt\nsecond\n"));
    EXPECT_THAT(extracted.notices, ElementsAre(IsNotice(2, QOB_ERR_DAMAGED)));
}

TEST(AttachedArchive, OfWhichNothingCanBeReadIsReportedOnce) {
    const struct {
        std::string archive;
        int32_t code;
    } rows[] = {
        {"PK\3\4", QOB_ERR_DAMAGED},
        {archiveOf(kThreeFiles,
                   {ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, "zip:encryption=zipcrypt", "secret"}),
         QOB_ERR_ENCRYPTED},
        {std::string("7z\xBC\xAF\x27\x1C", 6) + std::string(14, '\0') + "\xFF\xFF\xFF" +
             std::string(64, '\0'),
         EML_ERR_MEMORY},
    };
    for (const auto &row : rows) {
        const Extracted extracted = extractedMessage({{"archive.bin", row.archive}});
        EXPECT_EQ(extracted.code, EML_OK);
        EXPECT_THAT(extracted.notices, ElementsAre(IsNotice(1, row.code)));
    }
}

TEST(AttachedArchive, StopsAtTheNumberOfParts) {
    // The archive is a part itself.
    const auto limited = [](uint32_t parts) {
        return extractedMessage({{"files.zip", archiveOf(kThreeFiles)}},
                                [parts](QobExtractOptions &options) { options.maxParts = parts; });
    };
    EXPECT_THAT(limited(4).text, HasSubstr("third"));
    EXPECT_THAT(limited(4).notices, IsEmpty());
    EXPECT_THAT(limited(3).text, HasSubstr("second"));
    EXPECT_THAT(limited(3).text, testing::Not(HasSubstr("third")));
    EXPECT_THAT(limited(3).notices, ElementsAre(IsNotice(1, QOB_ERR_PARTS)));
    EXPECT_EQ(limited(3).code, EML_OK);
}

TEST(AttachedArchive, StopsAtTheBytesUnpacked) {
    const auto limited = [](uint64_t bytes) {
        return extractedMessage(
            {{"files.zip", archiveOf(kThreeFiles)}, {"after.txt", "behind\n"}},
            [bytes](QobExtractOptions &options) { options.maxUnpacked = bytes; });
    };
    constexpr uint64_t kAll = 6 + 7 + 6;
    EXPECT_THAT(limited(kAll).text, HasSubstr("third"));
    EXPECT_THAT(limited(kAll).notices, IsEmpty());
    EXPECT_THAT(limited(kAll - 1).text, HasSubstr("second"));
    EXPECT_THAT(limited(kAll - 1).text, testing::Not(HasSubstr("third")));
    EXPECT_THAT(limited(kAll - 1).text, HasSubstr("behind"));
    EXPECT_THAT(limited(kAll - 1).notices, ElementsAre(IsNotice(1, QOB_ERR_UNPACKED)));
}

std::string nested(int levels) {
    std::string archive = archiveOf({{"innermost.txt", "innermost text\n"}});
    for (int i = 1; i < levels; ++i) {
        archive = archiveOf({{"inner.zip", archive}});
    }
    return archive;
}

TEST(AttachedArchive, StopsAtTheDepth) {
    EXPECT_THAT(extractedMessage({{"files.zip", nested(50)}}).text, HasSubstr("innermost text"));
    EXPECT_THAT(extractedMessage({{"files.zip", nested(50)}}).notices, IsEmpty());
    const Extracted deeper = extractedMessage({{"files.zip", nested(51)}});
    EXPECT_THAT(deeper.text, testing::Not(HasSubstr("innermost text")));
    EXPECT_EQ(deeper.code, EML_OK);
    EXPECT_THAT(deeper.notices, ElementsAre(IsNotice(1, QOB_ERR_DEPTH)));
}

TEST(AttachedArchive, CompressionsInCompressionsAreLevelsToo) {
    std::string packed = "innermost text\n";
    for (int i = 0; i < 51; ++i) {
        packed = compressed(packed, ARCHIVE_FILTER_GZIP);
    }
    const Extracted extracted = extractedMessage({{"a.gz", packed}});
    EXPECT_THAT(extracted.text, testing::Not(HasSubstr("innermost text")));
    EXPECT_THAT(extracted.notices, ElementsAre(IsNotice(1, QOB_ERR_DEPTH)));
}

// Archives of sixteen archives of sixteen archives ...: 16^6 files of 4 KiB at the bottom.
TEST(AttachedArchive, BombOfNestedArchivesStopsAtTheLimits) {
    std::string archive = archiveOf({{"0.txt", std::string(4096, '0')}});
    for (int level = 0; level < 6; ++level) {
        std::vector<Entry> copies;
        for (int i = 0; i < 16; ++i) {
            copies.push_back({std::to_string(i) + ".zip", archive});
        }
        archive = archiveOf(copies);
    }
    const Extracted extracted =
        extractedMessage({{"bomb.zip", archive}, {"after.txt", "behind\n"}},
                         [](QobExtractOptions &options) { options.maxParts = 300; });
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.notices, ElementsAre(IsNotice(1, QOB_ERR_PARTS)));
}

} // namespace
} // namespace qob::tests
