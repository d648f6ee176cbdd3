// SPDX-License-Identifier: MIT
// Archives that are what they should be: which members give their text, under which names.
#include <gmock/gmock.h>

#include <fstream>
#include <string>

#include "archive_writer.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

using testing::IsEmpty;

struct Format {
    const char *name;
    ArchiveStyle style;
};

void PrintTo(const Format &format, std::ostream *out) {
    *out << format.name;
}

class EveryArchive : public FilterTest, public testing::WithParamInterface<Format> {};

INSTANTIATE_TEST_SUITE_P(
    Formats, EveryArchive,
    testing::Values(Format{"zip", kZip},
                    Format{"zip_stored",
                           {ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, "compression=store"}},
                    Format{"seven_zip", kSevenZip},
                    Format{"seven_zip_deflate",
                           {ARCHIVE_FORMAT_7ZIP, ARCHIVE_FILTER_NONE, "compression=deflate"}},
                    Format{"tar", kTar}, Format{"tar_gnu", {ARCHIVE_FORMAT_TAR_GNUTAR}},
                    Format{"tar_gz", {kTar.format, ARCHIVE_FILTER_GZIP}},
                    Format{"tar_bz2", {kTar.format, ARCHIVE_FILTER_BZIP2}},
                    Format{"tar_xz", {kTar.format, ARCHIVE_FILTER_XZ}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_P(EveryArchive, GivesTheTextOfEachMemberUnderItsName) {
    const Outcome outcome =
        run(ARCHIVE_FILTER,
            archiveOf({{"a.txt", "first\n"}, {"docs/b.html", "<html><p>second</p></html>"}},
                      GetParam().style));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a.txt\nfirst\n\ndocs/b.html\nsecond\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_P(EveryArchive, GivesTheStreamTheSame) {
    EXPECT_EQ(runStream(ARCHIVE_FILTER, archiveOf({{"a.txt", "first\n"}}, GetParam().style)).text,
              "a.txt\nfirst\n\n");
}

TEST_P(EveryArchive, ReadsNamesOutsideAsciiInAnyLocale) {
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"Grüße/日本.txt", "text\n"}}, GetParam().style)),
              "Grüße/日本.txt\ntext\n\n");
}

TEST_P(EveryArchive, PassesOverDirectoriesAndSymbolicLinks) {
    const Outcome outcome = run(ARCHIVE_FILTER, archiveOf({{"d/", "", AE_IFDIR},
                                                           {"d/link", "", AE_IFLNK, "/etc/passwd"},
                                                           {"d/a.txt", "text\n"}},
                                                          GetParam().style));
    EXPECT_EQ(outcome.text, "d/a.txt\ntext\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_P(EveryArchive, NamesThatLeadOutsideAreOnlyPrinted) {
    const std::string outside = "../../../tmp/qob-archive-outside.txt";
    const Outcome outcome = run(
        ARCHIVE_FILTER, archiveOf({{outside, "one\n"}, {"/tmp/qob-archive-absolute.txt", "two\n"}},
                                  GetParam().style));
    EXPECT_EQ(outcome.text, outside + "\none\n\n/tmp/qob-archive-absolute.txt\ntwo\n\n");
    EXPECT_FALSE(std::ifstream("/tmp/qob-archive-outside.txt").is_open());
    EXPECT_FALSE(std::ifstream("/tmp/qob-archive-absolute.txt").is_open());
}

TEST_P(EveryArchive, WithoutMembersGivesNoTextAndIsNoFailure) {
    const Outcome outcome = run(ARCHIVE_FILTER, archiveOf({}, GetParam().style));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_P(EveryArchive, StrayBytesBehindItAreNoDamage) {
    for (const char *stray : {"@", "\x06@", "\r\n", "\r\n\r\n"}) {
        const Outcome outcome =
            run(ARCHIVE_FILTER, archiveOf({{"a.txt", "first\n"}}, GetParam().style) + stray);
        EXPECT_EQ(outcome.text, "a.txt\nfirst\n\n");
        EXPECT_THAT(outcome.notices, IsEmpty());
    }
}

TEST_P(EveryArchive, ObeysTheOutputLimit) {
    setLimit(9);
    const Outcome outcome = run(
        ARCHIVE_FILTER, archiveOf({{"a.txt", "first\n"}, {"b.txt", "second\n"}}, GetParam().style));
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text, "a.txt\nfir");
}

TEST_P(EveryArchive, StopsWhenTheStreamTakesNothingMore) {
    const Outcome outcome = runStream(
        ARCHIVE_FILTER, archiveOf({{"a.txt", "x\n"}, {"b.txt", "y\n"}}, GetParam().style), 3);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_LE(outcome.text.size(), 3U);
}

class ArchiveFilter : public FilterTest {};

TEST_F(ArchiveFilter, ReadsAnArchiveInAnArchive) {
    const std::string inner = archiveOf({{"deep.txt", "deep\n"}}, kSevenZip);
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"inner.7z", inner}, {"after.txt", "after\n"}})),
              "inner.7z\ndeep.txt\ndeep\n\n\nafter.txt\nafter\n\n");
}

TEST_F(ArchiveFilter, ReadsALargeMemberInPieces) {
    std::string content;
    for (int i = 0; i < 50000; ++i) {
        content += "line " + std::to_string(i) + '\n';
    }
    for (const ArchiveStyle &style :
         {kZip, kSevenZip, ArchiveStyle{kTar.format, ARCHIVE_FILTER_GZIP}}) {
        const std::string text = textOf(ARCHIVE_FILTER, archiveOf({{"a.txt", content}}, style));
        EXPECT_TRUE(text == "a.txt\n" + content + '\n') << style.format << ' ' << text.size();
    }
}

TEST_F(ArchiveFilter, PassesOverHardLinksAndDevicesInTar) {
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"a.txt", "text\n"},
                                                {"same.txt", "", AE_IFREG, "a.txt"},
                                                {"null", "", AE_IFCHR},
                                                {"pipe", "", AE_IFIFO}},
                                               kTar)),
              "a.txt\ntext\n\n");
}

TEST_F(ArchiveFilter, UnmarkedZipNamesAreCodePage437) {
    const ArchiveStyle raw{ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, nullptr, nullptr, true};
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"M\x81ller.txt", "text\n"}}, raw)),
              "Müller.txt\ntext\n\n");
}

TEST_F(ArchiveFilter, UnmarkedZipNamesAreInTheLanguagesMultiByteCharset) {
    const ArchiveStyle raw{ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, nullptr, nullptr, true};
    const std::string zip = archiveOf({{encoded("windows-31j", "日本.txt"), "text\n"}}, raw);
    setLanguage("Japanese");
    EXPECT_EQ(textOf(ARCHIVE_FILTER, zip), "日本.txt\ntext\n\n");
}

TEST_F(ArchiveFilter, UnmarkedZipNamesThatAreUtf8StayUtf8) {
    const ArchiveStyle raw{ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, nullptr, nullptr, true};
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"Müller.txt", "text\n"}}, raw)),
              "Müller.txt\ntext\n\n");
}

TEST_F(ArchiveFilter, BadBytesInTarNamesBecomeReplacementCharacters) {
    const ArchiveStyle raw{ARCHIVE_FORMAT_TAR_GNUTAR, ARCHIVE_FILTER_NONE, nullptr, nullptr, true};
    EXPECT_EQ(textOf(ARCHIVE_FILTER, archiveOf({{"a\xFF.txt", "text\n"}}, raw)),
              "a\xEF\xBF\xBD.txt\ntext\n\n");
}

TEST_F(ArchiveFilter, BareCompressedFileIsOneMember) {
    for (const int filter : {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ}) {
        EXPECT_EQ(textOf(ARCHIVE_FILTER, compressed("some text\n", filter)), "some text\n\n");
    }
}

TEST_F(ArchiveFilter, BareGzipFileIsNamedAsItsHeaderSays) {
    std::string packed = compressed("some text\n", ARCHIVE_FILTER_GZIP);
    packed[3] = static_cast<char>(packed[3] | 8); // a name follows the ten bytes
    packed.insert(10, std::string("notes.txt\0", 10));
    EXPECT_EQ(textOf(ARCHIVE_FILTER, packed), "notes.txt\nsome text\n\n");
}

TEST_F(ArchiveFilter, EmptyCompressedFileGivesNoTextAndIsNoFailure) {
    for (const int filter : {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ}) {
        const Outcome outcome = run(ARCHIVE_FILTER, compressed("", filter));
        EXPECT_EQ(outcome.code, EML_OK) << filter;
        EXPECT_EQ(outcome.text, "") << filter;
        EXPECT_THAT(outcome.notices, IsEmpty()) << filter;
    }
}

TEST_F(ArchiveFilter, TakesOneCompressionOffAtATime) {
    const std::string twice =
        compressed(compressed("some text\n", ARCHIVE_FILTER_XZ), ARCHIVE_FILTER_GZIP);
    EXPECT_EQ(textOf(ARCHIVE_FILTER, twice), "some text\n\n\n");
}

TEST_F(ArchiveFilter, ReadsOtherArchivesOnlyBehindTheirOwnSignature) {
    // Formats that libarchive knows and that are not enabled.
    for (const int format : {ARCHIVE_FORMAT_CPIO, ARCHIVE_FORMAT_SHAR, ARCHIVE_FORMAT_MTREE}) {
        const Outcome outcome = run(ARCHIVE_FILTER, archiveOf({{"a.txt", "text\n"}}, {format}));
        EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED) << format;
        EXPECT_EQ(outcome.text, "") << format;
    }
}

TEST_F(ArchiveFilter, ThreadsDoNotDisturbEachOther) {
    const std::string zip = archiveOf({{"Grüße.txt", "text\n"}});
    EXPECT_THAT(textsOfThreads(ARCHIVE_FILTER, zip, 4, 5),
                testing::AllOf(testing::SizeIs(20), testing::Each("Grüße.txt\ntext\n\n")));
}

} // namespace
} // namespace qob::tests
