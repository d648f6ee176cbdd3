// SPDX-License-Identifier: MIT
// What the first bytes of a file say about archives and documents.
#include "container_signs.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::string littleEndian(std::size_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8 * i));
    }
    return text;
}

enum class Size { kInFront, kBehind };

// A member as it stands in a ZIP file, its content not compressed whatever the header says.
std::string member(const std::string &name, const std::string &content, bool stored = true,
                   Size size = Size::kInFront, std::size_t extra = 0) {
    const bool behind = size == Size::kBehind;
    return "PK\3\4\24\0"s + littleEndian(behind ? 8 : 0, 2) + littleEndian(stored ? 0 : 8, 2) +
           std::string(8, '\0') + littleEndian(behind ? 0 : content.size(), 4) +
           littleEndian(content.size(), 4) + littleEndian(name.size(), 2) + littleEndian(extra, 2) +
           name + std::string(extra, 'e') + content;
}

TEST(LooksLikeZip, KnowsMembersTheEmptyArchiveAndTheSpanningMark) {
    EXPECT_TRUE(qob::looksLikeZip("PK\3\4...."));
    EXPECT_TRUE(qob::looksLikeZip("PK\5\6"));
    EXPECT_TRUE(qob::looksLikeZip("PK\7\10PK\3\4"));
    EXPECT_FALSE(qob::looksLikeZip("PK\3"));
    EXPECT_FALSE(qob::looksLikeZip("PK: a header line"));
}

struct ZipRow {
    const char *name;
    std::string head;
    bool office;
};

class ZipHoldsOfficeDocument : public ::testing::TestWithParam<ZipRow> {};

TEST_P(ZipHoldsOfficeDocument, Decides) {
    EXPECT_EQ(qob::zipHoldsOfficeDocument(GetParam().head), GetParam().office);
}

constexpr const char *kOdt = "application/vnd.oasis.opendocument.text";

INSTANTIATE_TEST_SUITE_P(
    Heads, ZipHoldsOfficeDocument,
    ::testing::Values(
        ZipRow{"OpenDocument", member("mimetype", kOdt), true},
        ZipRow{"OpenDocumentTypeNotFirst", member("a", "") + member("mimetype", kOdt), false},
        ZipRow{"OpenDocumentTypeCompressed", member("mimetype", kOdt, false), false},
        ZipRow{"Book", member("mimetype", "application/epub+zip"), false},
        ZipRow{"ContentTypesFirst", member("[Content_Types].xml", "<", false), true},
        ZipRow{"RelationsFirst", member("_rels/.rels", "<", false), true},
        ZipRow{"WordPartFirst", member("word/numbering.xml", "<", false), true},
        ZipRow{"WorkbookPartFirst", member("xl/workbook.xml", "<", false), true},
        ZipRow{"SlidesPartFirst", member("ppt/presentation.xml", "<", false), true},
        ZipRow{"ContentTypesLater",
               member("docProps/app.xml", "abc") + member("[Content_Types].xml", "<"), true},
        ZipRow{"BehindExtraFields",
               member("a", "abc", true, Size::kInFront, 500) + member("[Content_Types].xml", "<"),
               true},
        ZipRow{"BehindAMemberOfUnknownSize",
               member("a", "abc", false, Size::kBehind) + "PK\7\10............" +
                   member("_rels/.rels", "<"),
               true},
        ZipRow{"FolderCalledWord", member("word/letter.doc", "x"), false},
        ZipRow{"FileInAFolder", member("a/word/document.xml", "x"), false},
        ZipRow{"DocumentInsideAMember",
               member("a.docx", member("[Content_Types].xml", "<")) + member("b.txt", "x"), false},
        ZipRow{"NameOutOfSight", member("[Content_Types].xml", "<").substr(0, 40), false},
        ZipRow{"Empty", "PK\5\6", false}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ContainerSigns, ReadNothingOutsideTheHeadWhateverItSays) {
    // Lengths that point anywhere; the same bytes in every run. Each head is a heap block of its
    // own, so that the sanitizer sees a read past its end.
    std::mt19937 random(20261121); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    const std::string whole = member("a", "abc", false, Size::kBehind, 7) + member("b", "xyz") +
                              member("c", "", true, Size::kInFront, 3);
    for (int round = 0; round < 5000; ++round) {
        std::vector<char> head(whole.begin(), whole.end());
        head.resize(random() % (head.size() + 1));
        for (int flips = 0; flips < 4 && head.size() > 4; ++flips) {
            head[4 + random() % (head.size() - 4)] = static_cast<char>(random());
        }
        const std::string_view view(head.data(), head.size());
        EXPECT_EQ(qob::looksLikeZip(view), head.size() >= 4);
        EXPECT_FALSE(qob::zipHoldsOfficeDocument(view));
        EXPECT_FALSE(qob::looksLikeArchive(view));
        EXPECT_FALSE(qob::looksLikeCalendar(view));
    }
}

TEST(ZipHoldsOfficeDocument, EndsWithEveryTruncation) {
    const std::string whole =
        member("a", "abc", false, Size::kBehind, 7) + member("b", "x") + member("xl/a.xml", "<");
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const bool named = length >= whole.size() - 1;
        EXPECT_EQ(qob::zipHoldsOfficeDocument(whole.substr(0, length)), named) << length;
    }
}

std::string tarHeader(const std::string &name, const std::string &magic) {
    std::string header = name + std::string(512 - name.size(), '\0');
    header.replace(257, magic.size(), magic);
    header.replace(148, 8, "        ");
    unsigned sum = 0;
    for (const char c : header) {
        sum += static_cast<unsigned char>(c);
    }
    char digits[8];
    std::snprintf(digits, sizeof digits, "%06o", sum);
    header.replace(148, 7, digits, 7);
    return header;
}

TEST(LooksLikeArchive, KnowsCompressedFiles) {
    EXPECT_TRUE(qob::looksLikeArchive("\x1F\x8B\x08"));
    EXPECT_TRUE(qob::looksLikeArchive("BZh91AY&SY"));
    EXPECT_TRUE(qob::looksLikeArchive("\xFD"
                                      "7zXZ\0"s));
    EXPECT_TRUE(qob::looksLikeArchive("7z\xBC\xAF\x27\x1C"));
    EXPECT_FALSE(qob::looksLikeArchive("\x1F\x8B"));
    EXPECT_FALSE(qob::looksLikeArchive(""));
}

TEST(LooksLikeArchive, KnowsTarByItsChecksumInEveryVersion) {
    EXPECT_TRUE(qob::looksLikeArchive(tarHeader("a.txt", "ustar\00000"s)));
    EXPECT_TRUE(qob::looksLikeArchive(tarHeader("a.txt", "ustar  ")));
    EXPECT_TRUE(qob::looksLikeArchive(tarHeader("a.txt", "")));
    EXPECT_TRUE(qob::looksLikeArchive(tarHeader("\xE4\xF6\xFC", "ustar")));
}

TEST(LooksLikeArchive, TakesNoTextForTar) {
    std::string damaged = tarHeader("a.txt", "ustar");
    damaged[0] = 'b';
    EXPECT_FALSE(qob::looksLikeArchive(damaged));
    EXPECT_FALSE(qob::looksLikeArchive(tarHeader("a.txt", "ustar").substr(0, 511)));
    EXPECT_FALSE(qob::looksLikeArchive(std::string(512, '\0')));
    EXPECT_FALSE(qob::looksLikeArchive(std::string(512, ' ')));
    EXPECT_FALSE(qob::looksLikeArchive(std::string(512, '7')));
}

TEST(DocumentSigns, AreTheirSignatures) {
    EXPECT_TRUE(qob::looksLikeOldOffice("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"));
    EXPECT_FALSE(qob::looksLikeOldOffice("\xD0\xCF\x11\xE0"));
    EXPECT_TRUE(qob::looksLikeRtf("{\\rtf1\\ansi"));
    EXPECT_TRUE(qob::looksLikeRtf("\xEF\xBB\xBF\r\n {\\rtf1"));
    EXPECT_FALSE(qob::looksLikeRtf("{\\urtf"));
    EXPECT_FALSE(qob::looksLikeRtf("x{\\rtf"));
    EXPECT_TRUE(qob::looksLikeTnef("\x78\x9F\x3E\x22\1"));
    EXPECT_FALSE(qob::looksLikeTnef("\x78\x9F\x3E"));
}

TEST(LooksLikeCalendar, NeedsTheFirstLineInAnyCase) {
    EXPECT_TRUE(qob::looksLikeCalendar("BEGIN:VCALENDAR\r\nVERSION:2.0"));
    EXPECT_TRUE(qob::looksLikeCalendar("begin:vcard\nversion:3.0"));
    EXPECT_TRUE(qob::looksLikeCalendar("\xEF\xBB\xBF"
                                       "Begin:vCalendar \r"));
    EXPECT_TRUE(qob::looksLikeCalendar("\r\n\r\nBEGIN:VCARD"));
    EXPECT_FALSE(qob::looksLikeCalendar("BEGIN:VCARDS\n"));
    EXPECT_FALSE(qob::looksLikeCalendar("Hello\nBEGIN:VCARD\n"));
    EXPECT_FALSE(qob::looksLikeCalendar("BEGIN:VC"));
    EXPECT_FALSE(qob::looksLikeCalendar(""));
}

} // namespace
