// SPDX-License-Identifier: MIT
// Archives that are damaged, encrypted or made to exhaust the reader: what can be read stays, each
// trouble is reported once, and nothing grows beyond the limits.
#include <gmock/gmock.h>

#include <random>
#include <string>

#include "archive_writer.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

auto withCode(int32_t code) {
    return Field(&Notice::code, code);
}

constexpr ArchiveStyle kStoredZip{ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, "compression=store"};
constexpr ArchiveStyle kTarGzip{ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_GZIP};

class ArchiveHostile : public FilterTest {
protected:
    ArchiveHostile() { params_.flags = EML_FLAG_KEEP_GOING; }

    // Whatever the bytes are: a result that is documented, and at most one notice of each kind.
    void expectOrderlyEnd(const std::string &archive, const std::string &what) {
        params_.flags |= EML_FLAG_NO_HANDOVER; // the members themselves are not at issue
        const Outcome outcome = runStream(ARCHIVE_FILTER, archive);
        int damaged = 0;
        int encrypted = 0;
        for (const Notice &notice : outcome.notices) {
            damaged += notice.code == QOB_ERR_DAMAGED && notice.path == inputPath() ? 1 : 0;
            encrypted += notice.code == QOB_ERR_ENCRYPTED ? 1 : 0;
        }
        EXPECT_TRUE(outcome.code == EML_OK || outcome.code == QOB_ERR_DAMAGED ||
                    outcome.code == QOB_ERR_ENCRYPTED || outcome.code == QOB_ERR_UNPACKED ||
                    outcome.code == QOB_ERR_RATIO || outcome.code == EML_ERR_MEMORY)
            << what << ": " << outcome.code;
        EXPECT_LE(damaged, 1) << what;
        EXPECT_LE(encrypted, 1) << what;
        EXPECT_TRUE(outcome.code != QOB_ERR_DAMAGED || damaged == 1) << what;
    }
};

const std::vector<Entry> kTwoFiles = {{"a.txt", "first\n"}, {"b.txt", "second\n"}};

TEST_F(ArchiveHostile, EveryTruncationEndsInOrder) {
    for (const ArchiveStyle &style : {kZip, kSevenZip, kTarGzip}) {
        const std::string archive = archiveOf(kTwoFiles, style);
        for (std::size_t length = 0; length < archive.size(); ++length) {
            expectOrderlyEnd(archive.substr(0, length),
                             std::to_string(style.format) + " cut at " + std::to_string(length));
        }
    }
    const std::string tar = archiveOf(kTwoFiles, kTar);
    for (std::size_t length = 0; length < tar.size(); length += 61) {
        expectOrderlyEnd(tar.substr(0, length), "tar cut at " + std::to_string(length));
    }
}

TEST_F(ArchiveHostile, RandomDamageEndsInOrder) {
    std::mt19937 random(20260711);
    for (const ArchiveStyle &style : {kZip, kSevenZip, kTarGzip, kTar}) {
        const std::string archive = archiveOf(kTwoFiles, style);
        for (int round = 0; round < 150; ++round) {
            std::string damaged = archive;
            for (unsigned flips = 1 + random() % 8; flips > 0; --flips) {
                damaged[random() % damaged.size()] = static_cast<char>(random());
            }
            expectOrderlyEnd(damaged,
                             std::to_string(style.format) + " round " + std::to_string(round));
        }
    }
}

TEST_F(ArchiveHostile, KeepsWhatIsBeforeTheDamage) {
    for (const ArchiveStyle &style : {kStoredZip, kTar}) {
        const std::string archive =
            archiveOf({{"a.txt", "first\n"}, {"b.txt", repeated("second\n", 100)}}, style);
        const Outcome outcome =
            run(ARCHIVE_FILTER, archive.substr(0, archive.find("second") + 500));
        EXPECT_EQ(outcome.code, EML_OK);
        EXPECT_EQ(outcome.text.substr(0, 100),
                  "a.txt\nfirst\n\nb.txt\n" + repeated("second\n", 100).substr(0, 81));
        EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_DAMAGED)));
        EXPECT_EQ(outcome.notices[0].reason,
                  "the archive is damaged; the text of what could be read is there");
    }
}

TEST_F(ArchiveHostile, GoesOnBehindADamagedMember) {
    std::string archive = archiveOf(kTwoFiles, kStoredZip);
    archive[archive.find("first")] = 'F'; // the checksum fails now
    const Outcome outcome = run(ARCHIVE_FILTER, archive);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a.txt\nFirst\n\nb.txt\nsecond\n\n");
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_DAMAGED)));
}

TEST_F(ArchiveHostile, KeepsTheStartOfADamagedCompressedFile) {
    std::mt19937 random(1);
    std::string content;
    while (content.size() < 400000) {
        content += std::to_string(random()) + '\n';
    }
    const std::string packed = compressed(content, ARCHIVE_FILTER_GZIP);
    const Outcome outcome = run(ARCHIVE_FILTER, packed.substr(0, packed.size() / 2));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_GT(outcome.text.size(), 65536U);
    EXPECT_EQ(outcome.text.substr(0, 100), content.substr(0, 100));
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_DAMAGED)));
}

TEST_F(ArchiveHostile, WhatIsNoArchiveIsReportedOnceAsDamaged) {
    using std::string_literals::operator""s;
    for (const std::string &bytes : {""s, "no archive at all"s, "PK\3\4"s, "7z\xBC\xAF\x27\x1C"s,
                                     "\x1F\x8B\x08"s, "BZh91AY&SY"s,
                                     "\xFD"
                                     "7zXZ\0"s}) {
        const Outcome outcome = run(ARCHIVE_FILTER, bytes);
        EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED) << bytes;
        EXPECT_FALSE(outcome.outputExists) << bytes;
        EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_DAMAGED))) << bytes;
    }
}

TEST_F(ArchiveHostile, EncryptedArchiveIsReportedOnce) {
    const Outcome outcome =
        run(ARCHIVE_FILTER, archiveOf(kTwoFiles, {ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE,
                                                  "zip:encryption=zipcrypt", "secret"}));
    EXPECT_EQ(outcome.code, QOB_ERR_ENCRYPTED);
    EXPECT_FALSE(outcome.outputExists);
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_ENCRYPTED)));
    EXPECT_EQ(outcome.notices[0].reason, "the archive is encrypted and needs a password");
}

TEST_F(ArchiveHostile, ReadsTheMembersThatAreNotEncrypted) {
    std::string archive =
        archiveOf({{"a.txt", "first\n"}, {"b.txt", "second\n"}, {"c.txt", "third\n"}}, kStoredZip);
    // Marks the second file as encrypted, in its own header and in the directory.
    const std::size_t local = archive.find("PK\3\4", 4);
    const std::size_t central = archive.find("PK\1\2", archive.find("PK\1\2") + 4);
    archive[local + 6] = static_cast<char>(archive[local + 6] | 1);
    archive[central + 8] = static_cast<char>(archive[central + 8] | 1);
    const Outcome outcome = run(ARCHIVE_FILTER, archive);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a.txt\nfirst\n\nc.txt\nthird\n\n");
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_ENCRYPTED)));
    EXPECT_EQ(outcome.notices[0].reason,
              "some files in the archive are encrypted and need a password");
}

TEST_F(ArchiveHostile, ZipBombStopsAtTheRatio) {
    const std::string zeros(std::size_t{16} << 20U, '0');
    const Outcome outcome =
        runStream(ARCHIVE_FILTER, archiveOf({{"a.txt", "first\n"}, {"bomb.txt", zeros}}));
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_EQ(outcome.text.substr(0, 14), "a.txt\nfirst\n\nb");
    EXPECT_LT(outcome.text.size(), std::size_t{8} << 20U);
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_RATIO)));
}

TEST_F(ArchiveHostile, CompressedFileBombStopsAtTheRatio) {
    for (const int filter : {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ}) {
        const Outcome outcome = runStream(ARCHIVE_FILTER, compressedRun('0', 8, filter));
        EXPECT_EQ(outcome.code, QOB_ERR_RATIO) << filter;
        EXPECT_LT(outcome.text.size(), std::size_t{7} << 20U) << filter;
        EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_RATIO))) << filter;
    }
}

std::string little(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text.push_back(static_cast<char>(value >> (8 * i)));
    }
    return text;
}

struct ZipRecord {
    std::string name;
    std::size_t offset;
    std::size_t packed;
    std::size_t unpacked;
};

std::string sizesOf(const ZipRecord &record) {
    return little(0, 4) + little(record.packed, 4) + little(record.unpacked, 4) +
           little(record.name.size(), 2) + little(0, 2);
}

std::string localHeader(const ZipRecord &record) {
    return "PK\3\4" + little(20, 2) + little(0, 2) + little(8, 2) + little(0, 4) + sizesOf(record) +
           record.name;
}

std::string directoryOf(const std::vector<ZipRecord> &records, std::size_t offset) {
    std::string directory;
    for (const ZipRecord &record : records) {
        directory += "PK\1\2" + little(20, 2) + little(20, 2) + little(0, 2) + little(8, 2) +
                     little(0, 4) + sizesOf(record) + little(0, 2) + little(0, 2) + little(0, 2) +
                     little(0, 4) + little(record.offset, 4) + record.name;
    }
    return directory + "PK\5\6" + little(0, 4) + little(records.size(), 2) +
           little(records.size(), 2) + little(directory.size(), 4) + little(offset, 4) +
           little(0, 2);
}

// Files that share one compressed run: each quotes the header of the next one as a stored block and
// goes on with its data, so that each also looks like an archive of all that follow.
std::string overlappingZip(std::size_t files, const std::string &kernel, std::size_t unpacked) {
    std::string data = kernel;
    std::vector<ZipRecord> records;
    for (std::size_t i = files; i-- > 0;) {
        const ZipRecord record{"file" + std::to_string(i) + ".txt", 0, data.size(), unpacked};
        const std::string header = localHeader(record);
        records.insert(records.begin(), record);
        const std::string quote =
            std::string(1, '\0') + little(header.size(), 2) + little(~header.size() & 0xFFFFU, 2);
        data = (i > 0 ? quote : "") + header + data;
        unpacked += header.size();
    }
    for (ZipRecord &record : records) {
        record.offset = data.size() - record.packed - localHeader(record).size();
    }
    return data + directoryOf(records, data.size());
}

// The deflate stream inside a gzip file without a name.
std::string deflated(char byte, std::size_t mebibytes) {
    const std::string packed = compressedRun(byte, mebibytes, ARCHIVE_FILTER_GZIP);
    return packed.substr(10, packed.size() - 18);
}

TEST_F(ArchiveHostile, OverlappingFilesCountEachTimeTheyAreUnpacked) {
    const std::size_t mebibyte = std::size_t{1} << 20U;
    const std::string zip = overlappingZip(200, deflated('0', 1), mebibyte);
    ASSERT_LT(zip.size(), 50000U);
    const Outcome outcome = runStream(ARCHIVE_FILTER, zip);
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_THAT(outcome.notices, testing::Contains(withCode(QOB_ERR_RATIO)).Times(1));
}

TEST_F(ArchiveHostile, HeadersCountAsUnpackedToo) {
    const std::vector<Entry> directories(6000, {"directory/", "", AE_IFDIR});
    const Outcome outcome =
        runStream(ARCHIVE_FILTER, archiveOf(directories, {kTar.format, ARCHIVE_FILTER_XZ}));
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_RATIO)));
}

uint32_t checksum(const std::string &bytes) {
    uint32_t sum = 0xFFFFFFFFU;
    for (const char c : bytes) {
        sum ^= static_cast<unsigned char>(c);
        for (int i = 0; i < 8; ++i) {
            sum = sum >> 1U ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

// A 7-Zip archive of `packed` and the list behind it.
std::string sevenZip(const std::string &packed, const std::string &list) {
    const std::string start =
        little(packed.size(), 8) + little(list.size(), 8) + little(checksum(list), 4);
    using std::string_literals::operator""s;
    return "7z\xBC\xAF\x27\x1C\0\4"s + little(checksum(start), 4) + start + packed + list;
}

// A list of eight directories without names, filled up to `size` bytes.
std::string listOfSize(std::size_t size) {
    using std::string_literals::operator""s;
    const std::size_t filling = size - 14;
    return "\1\5\x08\x0E\1\xFF\x19\xF0"s + little(filling, 4) + std::string(filling + 2, '\0');
}

TEST_F(ArchiveHostile, SevenZipListIsReadUpToItsLimit) {
    const std::size_t mebibyte = std::size_t{1} << 20U;
    ASSERT_EQ(listOfSize(mebibyte).size(), mebibyte);
    const Outcome longest = run(ARCHIVE_FILTER, sevenZip("", listOfSize(mebibyte)));
    EXPECT_EQ(longest.code, EML_OK);
    EXPECT_THAT(longest.notices, IsEmpty());
    const Outcome longer = run(ARCHIVE_FILTER, sevenZip("", listOfSize(mebibyte + 1)));
    EXPECT_EQ(longer.code, EML_ERR_MEMORY);
    EXPECT_THAT(longer.notices, ElementsAre(withCode(EML_ERR_MEMORY)));
    EXPECT_EQ(longer.notices[0].reason,
              "the archive's list of files is longer than 1 MiB and was not read");
}

TEST_F(ArchiveHostile, PackedSevenZipListIsMeasuredUnpacked) {
    const auto archive = [](std::size_t unpacked) {
        using std::string_literals::operator""s;
        // One stream, one copying coder.
        return sevenZip("list", "\x17\6\0\1\x09\4\0\7\x0B\1\0\1\1\0\x0C\xF0"s +
                                    little(unpacked, 4) + "\0\0"s);
    };
    EXPECT_EQ(run(ARCHIVE_FILTER, archive(std::size_t{1} << 20U)).code, QOB_ERR_DAMAGED);
    EXPECT_EQ(run(ARCHIVE_FILTER, archive((std::size_t{1} << 20U) + 1)).code, EML_ERR_MEMORY);
}

TEST_F(ArchiveHostile, SevenZipArchiveWithAnEncryptedListIsReportedOnce) {
    using std::string_literals::operator""s;
    // One stream, one coder: AES-256 with SHA-256.
    const std::string list = "\x17\6\0\1\x09\x10\0\7\x0B\1\0\1\x24\6\xF1\7\1\2\x13\0\x0C\x10\0\0"s;
    const Outcome outcome = run(ARCHIVE_FILTER, sevenZip(std::string(16, 'x'), list));
    EXPECT_EQ(outcome.code, QOB_ERR_ENCRYPTED);
    EXPECT_THAT(outcome.notices, ElementsAre(withCode(QOB_ERR_ENCRYPTED)));
}

// A tar header of a file with holes whose list of pieces never ends.
std::string endlessHeader(std::size_t mebibytes) {
    std::string header(512, '\0');
    header.replace(0, 5, "a.txt");
    header.replace(100, 7, "0000644");
    header.replace(124, 11, "00000000000");
    header.replace(136, 11, "00000000000");
    header[156] = 'S';
    header.replace(257, 8, "ustar  ", 8);
    header.replace(386, 11, "00000001000"); // the first piece
    header.replace(398, 11, "00000000001");
    header[482] = 1; // more pieces follow
    header.replace(148, 8, "        ");
    unsigned sum = 0;
    for (const char c : header) {
        sum += static_cast<unsigned char>(c);
    }
    std::string digits(6, '0');
    for (std::size_t i = digits.size(); i-- > 0; sum /= 8) {
        digits[i] = static_cast<char>('0' + sum % 8);
    }
    header.replace(148, 7, digits + '\0');
    std::string block;
    for (int i = 0; i < 21; ++i) {
        block += std::string("00000001000\0", 12) + std::string("00000000001\0", 12);
    }
    block += '\1' + std::string(7, '\0');
    return header + repeated(block, mebibytes << 11U);
}

TEST_F(ArchiveHostile, HeaderWithoutAnEndIsGivenUp) {
    const Outcome outcome = run(ARCHIVE_FILTER, compressed(endlessHeader(80), ARCHIVE_FILTER_GZIP));
    EXPECT_TRUE(outcome.code == QOB_ERR_DAMAGED || outcome.code == QOB_ERR_RATIO) << outcome.code;
    EXPECT_EQ(outcome.text, "");
    EXPECT_EQ(outcome.notices.size(), 1U);
}

TEST_F(ArchiveHostile, FileOfHolesStopsAtTheRatio) {
    // 8 GiB of nothing, as pax headers describe it.
    const std::string records = "22 GNU.sparse.major=1\n22 GNU.sparse.minor=0\n"
                                "28 GNU.sparse.name=hole.txt\n32 GNU.sparse.realsize=8589934592\n";
    std::string tar =
        archiveOf({{"hole.txt", std::string("1\n8589934591\n1\n") + std::string(498, '\0') + "x"}},
                  {ARCHIVE_FORMAT_TAR_USTAR});
    std::string extension =
        archiveOf({{"pax", records}}, {ARCHIVE_FORMAT_TAR_USTAR}).substr(0, 1024);
    extension[156] = 'x';
    // Type and checksum of the extension's header: 'x' instead of '0'.
    unsigned sum = 0;
    for (std::size_t i = 0; i < 512; ++i) {
        sum += i >= 148 && i < 156 ? ' ' : static_cast<unsigned char>(extension[i]);
    }
    std::string digits(6, '0');
    for (std::size_t i = digits.size(); i-- > 0; sum /= 8) {
        digits[i] = static_cast<char>('0' + sum % 8);
    }
    extension.replace(148, 8, digits + std::string("\0 ", 2));
    const Outcome outcome = runStream(ARCHIVE_FILTER, extension + tar);
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_THAT(outcome.notices, testing::Contains(withCode(QOB_ERR_RATIO)).Times(1));
}

} // namespace
} // namespace qob::tests
