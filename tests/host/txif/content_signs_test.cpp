// SPDX-License-Identifier: MIT
// What the first bytes of a file say about it.
#include "content_signs.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
using ::testing::AnyOf;

TEST(LooksLikePdf, NeedsTheSignatureFirst) {
    EXPECT_TRUE(qob::looksLikePdf("%PDF-1.7\n"));
    EXPECT_TRUE(qob::looksLikePdf("\r\n %PDF-1.4"));
    EXPECT_TRUE(qob::looksLikePdf("\xEF\xBB\xBF%PDF-1.4"));
    EXPECT_FALSE(qob::looksLikePdf("see %PDF-1.7"));
    EXPECT_FALSE(qob::looksLikePdf("%PDF"));
}

TEST(UnreadableKind, NamesImagesAndOtherBinaries) {
    EXPECT_STREQ(qob::unreadableKind("\x89PNG\r\n\x1A\n...."), "a PNG image");
    EXPECT_STREQ(qob::unreadableKind("\xFF\xD8\xFF\xE0"), "a JPEG image");
    EXPECT_STREQ(qob::unreadableKind("Rar!\x1A\x07\1"), "a RAR archive");
    EXPECT_STREQ(qob::unreadableKind("RIFF\x10\x20\x30\x40WEBPVP8 "), "a WebP image");
    EXPECT_STREQ(qob::unreadableKind("\0\0\0\x18"
                                     "ftypmp42"s),
                 "an audio, video or HEIF image file");
}

TEST(UnreadableKind, IsNullForTextAndForSignaturesThatEndEarly) {
    EXPECT_EQ(qob::unreadableKind(""), nullptr);
    EXPECT_EQ(qob::unreadableKind("GIF8"), nullptr);
    EXPECT_EQ(qob::unreadableKind("RIFF: a word"), nullptr);
    EXPECT_EQ(qob::unreadableKind("BM: a header line"), nullptr);
}

struct HtmlRow {
    const char *name;
    std::string head;
    bool html;
};

class LooksLikeHtml : public ::testing::TestWithParam<HtmlRow> {};

TEST_P(LooksLikeHtml, Decides) {
    EXPECT_EQ(qob::looksLikeHtml(GetParam().head), GetParam().html);
}

INSTANTIATE_TEST_SUITE_P(
    Heads, LooksLikeHtml,
    ::testing::Values(
        HtmlRow{"DoctypeInAnyCase", "<!DocType HTML PUBLIC \"x\">", true},
        HtmlRow{"HtmlTagBehindBlanks", "\r\n\t <HTML lang=en>", true},
        HtmlRow{"HeadTag", "<head><title>x", true},
        HtmlRow{"MetaWithContent", "<META CONTENT=\"text/html;charset=utf-8\">text", true},
        HtmlRow{"BehindCommentsAndDeclaration", "<?xml version=\"1.0\"?><!-- a --> <html>", true},
        HtmlRow{"BehindUtf8Mark", "\xEF\xBB\xBF<html>", true},
        HtmlRow{"Utf16LittleEndian", "\xFF\xFE<\0h\0t\0m\0l\0>\0"s, true},
        HtmlRow{"Utf16BigEndian", "\xFE\xFF\0<\0h\0t\0m\0l\0>"s, true},
        HtmlRow{"TagAtTheEnd", "<html", true}, HtmlRow{"LongerTagName", "<article>", false},
        HtmlRow{"AddressInBrackets", "<a@example.org> wrote:", false},
        HtmlRow{"TagsInsideText", "see <html>", false},
        HtmlRow{"OtherXml", "<?xml version=\"1.0\"?><feed>", false},
        HtmlRow{"UnendedComment", "<!-- <html>", false}, HtmlRow{"Empty", "", false}),
    [](const auto &row) { return std::string(row.param.name); });

struct MessageRow {
    const char *name;
    std::string head;
    bool message;
};

class LooksLikeMessage : public ::testing::TestWithParam<MessageRow> {};

TEST_P(LooksLikeMessage, Decides) {
    EXPECT_EQ(qob::looksLikeMessage(GetParam().head), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Heads, LooksLikeMessage,
    ::testing::Values(
        MessageRow{"HeaderAndBody", "From: a@b\r\nSubject: x\r\n\r\nbody", true},
        MessageRow{"CarriageReturnsOnly", "From: a\rTo: b\r\rbody", true},
        MessageRow{"OneKnownFieldAndEmptyLine", "Subject: x\n\nbody", true},
        MessageRow{"OneKnownFieldAndNothing", "Subject: x", true},
        MessageRow{"AnyCaseAndBlankBeforeColon", "SUBJECT : x\nto:b\n", true},
        MessageRow{"FoldedLines", "Received: from a\n\tby b\n for c\nDate: d\n\n", true},
        MessageRow{"BehindEmptyLines", "\r\n\r\nFrom: a\r\nTo: b\r\n", true},
        MessageRow{"BehindMailboxLine", "From a@b Mon Jan 1\nX-A: 1\nTo: b\n\n", true},
        MessageRow{"BehindUtf8Mark",
                   "\xEF\xBB\xBF"
                   "From: a\nTo: b\n",
                   true},
        MessageRow{"UnknownFieldsOnly", "BEGIN:VCARD\nVERSION:3.0\n", false},
        MessageRow{"OneKnownFieldInProse", "Subject: x\nand so it began\n", false},
        MessageRow{"Prose", "Dear all,\nplease: read\n\n", false},
        MessageRow{"ContinuationFirst", " \n\tFolded text\nFrom: a\n", false},
        MessageRow{"NameWithBlank", "My subject: x\nTo: b\n", false},
        MessageRow{"Empty", "", false}),
    [](const auto &row) { return std::string(row.param.name); });

struct BinaryRow {
    const char *name;
    std::string head;
    bool binary;
};

class LooksBinary : public ::testing::TestWithParam<BinaryRow> {};

TEST_P(LooksBinary, Decides) {
    EXPECT_EQ(qob::looksBinary(GetParam().head), GetParam().binary);
}

INSTANTIATE_TEST_SUITE_P(
    Heads, LooksBinary,
    ::testing::Values(BinaryRow{"ZeroBytes", "abc\0def\0\1\2"s, true},
                      BinaryRow{"ManyControlBytes", "\1\2\3\4 text \5\6\7", true},
                      BinaryRow{"OneControlByteInALongText", std::string(100, 'a') + "\1", false},
                      BinaryRow{"EightBitText", "caf\xE9 \xA4\xA2\xA4\xA4", false},
                      BinaryRow{"EscapeSequences", "\x1B$B$\"\x1B(B", false},
                      BinaryRow{"Utf16WithMark",
                                "\xFF\xFE"
                                "a\0b\0"s,
                                false},
                      BinaryRow{"Utf16WithoutMark", "a\0b\0c\0\r\0\n\0"s, false},
                      BinaryRow{"Utf32WithMark", "\0\0\xFE\xFF\0\0\0a"s, false},
                      BinaryRow{"Empty", "", false}),
    [](const auto &row) { return std::string(row.param.name); });

// Every sign that the head shows.
std::string signsOf(std::string_view head) {
    std::string signs;
    signs += qob::looksLikePdf(head) ? "pdf" : "";
    signs += qob::unreadableKind(head) != nullptr ? "unreadable" : "";
    signs += qob::looksLikeHtml(head) ? "html" : "";
    signs += qob::looksLikeMessage(head) ? "message" : "";
    signs += qob::looksBinary(head) ? "binary" : "";
    return signs;
}

TEST(ContentSigns, ReadNothingOutsideTheHeadHoweverItEnds) {
    // Each prefix is a heap block of its own, so that the sanitizer sees a read past its end.
    const std::string whole =
        "\xEF\xBB\xBF <?xml ?><!-- x --><HTML>\r\nFrom: a\r\n b\r\nTo: c\r\n\r\n";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::vector<char> block(whole.begin(), whole.begin() + static_cast<long>(length));
        const std::string_view head(block.data(), block.size());
        EXPECT_EQ(signsOf(head), length >= 27 ? "html" : "") << length;
    }
}

TEST(ContentSigns, TakeRandomBytesAsBinaryOrSomethingDefinite) {
    // The same bytes in every run.
    std::mt19937 random(20240607); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    for (int round = 0; round < 200; ++round) {
        std::string head(2048, '\0');
        for (char &byte : head) {
            byte = static_cast<char>(random());
        }
        EXPECT_THAT(signsOf(head), AnyOf("binary", "unreadable", "unreadablebinary"));
    }
}

} // namespace
