// SPDX-License-Identifier: MIT
// Which filter a file goes to: content, then the name's ending, then plain text.
#include "file_type.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using qob::Claim;

constexpr const char *kPng = "\x89PNG\r\n\x1A\n";
constexpr const char *kMessage = "From: a\nTo: b\n\nbody";

struct Row {
    const char *name;
    std::string head;
    const char *file;
    Claim claim;
    const char *library; // "" when no filter reads it
};

class FileTypeOf : public ::testing::TestWithParam<Row> {};

TEST_P(FileTypeOf, NamesTheFilter) {
    const char *library =
        qob::fileTypeOf(GetParam().head, GetParam().file, GetParam().claim).library;
    EXPECT_STREQ(library == nullptr ? "" : library, GetParam().library);
}

INSTANTIATE_TEST_SUITE_P(
    Files, FileTypeOf,
    ::testing::Values(
        Row{"MessageByEndingAndContent", kMessage, "/t/1.eml", Claim::kNone, "libqob_txeml.so.5"},
        Row{"MessageByClaimAndContent", kMessage, "/t/1", Claim::kMessagePossible,
            "libqob_txeml.so.5"},
        Row{"HeaderLinesAloneAreText", kMessage, "/t/1.txt", Claim::kNone, "libqob_txtext.so.5"},
        Row{"MessageEndingAloneIsText", "notes", "/t/1.eml", Claim::kNone, "libqob_txtext.so.5"},
        Row{"EmptyMessageFileIsText", "", "/t/1.eml", Claim::kNone, "libqob_txtext.so.5"},
        Row{"PdfInMessageFile", "%PDF-1.4\n", "/t/1.eml", Claim::kNone, "libqob_txpdf.so.5"},
        Row{"ImageInMessageFile", kPng, "/t/1.EML", Claim::kNone, ""},
        Row{"BinaryInMessageFile", "\1\2\0\3"s, "/t/1.eml", Claim::kNone, ""},
        Row{"HtmlByContent", "<html>", "/t/1.txt", Claim::kNone, "libqob_txhtml.so.5"},
        Row{"HtmlByEnding", "words", "/t/1.HTM", Claim::kNone, "libqob_txhtml.so.5"},
        Row{"HtmlByLongEnding", "words", "/t/1.html", Claim::kNone, "libqob_txhtml.so.5"},
        Row{"BinaryInHtmlFile", "\1\2\0\3"s, "/t/1.htm", Claim::kNone, ""},
        Row{"Zip", "PK\3\4", "/t/1", Claim::kNone, "libqob_txarchive.so.5"},
        Row{"ZipInMessageFile", "PK\5\6", "/t/1.eml", Claim::kNone, "libqob_txarchive.so.5"},
        Row{"ZipByOfficeEnding", "PK\3\4", "/t/1.DOCX", Claim::kNone, "libqob_txoffice.so.5"},
        Row{"OfficeEndingAloneIsText", "words", "/t/1.docx", Claim::kNone, "libqob_txtext.so.5"},
        Row{"ClaimedMessageThatIsAnArchive", "PK\3\4", "/t/1.eml", Claim::kMessage,
            "libqob_txarchive.so.5"},
        Row{"Gzip", "\x1F\x8B\x08", "/t/1.eml", Claim::kNone, "libqob_txarchive.so.5"},
        Row{"DamagedTarByEnding", "\1\2\0\3"s, "/t/1.tar", Claim::kNone, "libqob_txarchive.so.5"},
        Row{"TextInTarFile", "words", "/t/1.tar", Claim::kNone, "libqob_txtext.so.5"},
        Row{"OldOffice", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "/t/1.eml", Claim::kNone,
            "libqob_txlegacy.so.5"},
        Row{"Rtf", "{\\rtf1", "/t/1.doc", Claim::kNone, "libqob_txrtf.so.5"},
        Row{"Tnef", "\x78\x9F\x3E\x22", "/t/1", Claim::kNone, "libqob_txtnef.so.5"},
        Row{"CalendarByContent", "BEGIN:VCALENDAR\n", "/t/1.eml", Claim::kNone,
            "libqob_txcalendar.so.5"},
        Row{"CalendarByEnding", "words", "/t/1.ICS", Claim::kNone, "libqob_txcalendar.so.5"},
        Row{"CardByEnding", "words", "/t/1.vcf", Claim::kNone, "libqob_txcalendar.so.5"},
        Row{"BinaryInCalendarFile", "\1\2\0\3"s, "/t/1.ics", Claim::kNone, ""},
        Row{"PlainText", "words", "/t/1", Claim::kNone, "libqob_txtext.so.5"},
        Row{"ClaimedMessageWithoutHeader", "words", "/t/1", Claim::kMessage, "libqob_txeml.so.5"},
        Row{"ClaimedMessageWithZeroBytes", "From: a\0\0"s, "/t/1", Claim::kMessage,
            "libqob_txeml.so.5"},
        Row{"ClaimedMessageThatIsHtml", "<html>", "/t/1", Claim::kMessage, "libqob_txeml.so.5"},
        Row{"ClaimedMessageThatIsEmpty", "", "/t/1", Claim::kMessage, "libqob_txeml.so.5"},
        Row{"ClaimedMessageThatIsAPdf", "%PDF-1.4", "/t/1", Claim::kMessage, "libqob_txpdf.so.5"},
        Row{"ClaimedMessageThatIsAnImage", kPng, "/t/1", Claim::kMessage, ""}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(FileType, OfWhatBringsFilesNests) {
    EXPECT_TRUE(qob::fileTypeOf(kMessage, "1.eml", Claim::kNone).nests);
    EXPECT_TRUE(qob::fileTypeOf("PK\3\4", "1.zip", Claim::kNone).nests);
    EXPECT_TRUE(qob::fileTypeOf("PK\3\4", "1.docx", Claim::kNone).nests);
    EXPECT_TRUE(qob::fileTypeOf("\x78\x9F\x3E\x22", "1", Claim::kNone).nests);
    EXPECT_FALSE(qob::fileTypeOf("{\\rtf", "1", Claim::kNone).nests);
    EXPECT_FALSE(qob::fileTypeOf("<html>", "1.htm", Claim::kNone).nests);
    EXPECT_FALSE(qob::fileTypeOf("words", "1", Claim::kNone).nests);
}

TEST(FileType, OfAnUnreadableFileNamesItsKind) {
    EXPECT_STREQ(qob::fileTypeOf(kPng, "1", Claim::kNone).name, "a PNG image");
    EXPECT_STREQ(qob::fileTypeOf("\0\1"s, "1", Claim::kNone).name, "binary data");
}

} // namespace
