// SPDX-License-Identifier: MIT
// The body of an attachment part: what ends it, and how its lines are decoded.
#include <cstring>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

using namespace std::string_literals;

// The header that opens the file and enters the body; labels are off in this file.
const std::string kHeader = "X: filename=\"a\"\n\n";

struct BodyFixture : WalkerFixture {
    BodyFixture() { params.flags = kFlagsNoLabels; }
};

TEST(AttachmentBody, EndsAtADelimiterAndLeavesTheRestUnread) {
    const struct {
        const char *what;
        std::string body;
        std::string content;
        std::string unread;
    } rows[] = {
        {"message delimiter", "one\n\ntwo\n--b\nnext\n", "one\n\ntwo\n", "next\n"},
        {"closing delimiter", "one\n--b--\nnext\n", "one\n", "next\n"},
        {"longer delimiter", "one\n--boundary\nnext\n", "one\n", "next\n"},
        {"the first two bytes are not looked at", "one\nxxb\nnext\n", "one\n", "next\n"},
        {"an indented delimiter is text", "one\n --b\n--b--\n", "one\n --b\n", ""},
        {"a shorter line is text", "--\n-\n--b--\n", "--\n-\n", ""},
        {"CR LF", "one\r\n\r\ntwo\r\n--b\r\nnext", "one\n\ntwo\n", "next"},
        {"end of the input", "one\ntwo", "one\ntwo\n", ""},
        {"end of the input, no text", "", "", ""},
        {"no line but the delimiter", "--b", "", ""},
        {"blanks are kept", "  one\n\t\n--b", "  one\n\t\n", ""},
        {"NUL bytes are kept", "a\0c\n\0\n--b"s, "a\0c\n\0\n"s, ""},
    };
    for (const auto &row : rows) {
        BodyFixture f;
        f.load(kHeader + row.body);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.what;
        EXPECT_EQ(f.handedOver(), row.content) << row.what;
        EXPECT_EQ(f.unread(), row.unread) << row.what;
        EXPECT_EQ(f.output(), "<" + row.content + ">") << row.what;
        f.expectNothingLeft();
    }
}

TEST(AttachmentBody, HoldsLinesThatLookLikeHeaderLines) {
    const std::string lines = "Content-Transfer-Encoding: base64\ncharset=\"utf-8\"\n"
                              "Content-Disposition: attachment; filename=\"q\"\n"
                              "Content-Type: text/plain; name=\"q\"\nX: filename*=q\n";
    for (const int32_t type : {EML_CT_OTHER, EML_CT_MESSAGE_RFC822}) {
        BodyFixture f;
        f.handle.partContentType = type;
        f.load(kHeader + lines + "--b--\n");
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
        EXPECT_EQ(f.handedOver(), lines);
        EXPECT_EQ(f.handle.attachmentCount, 1);
        EXPECT_EQ(f.handle.partTransferEncoding, 0);
    }
}

TEST(AttachmentBody, EndsAtTheClosingDelimiterOfTheInnerMultipart) {
    const struct {
        const char *what;
        std::string nested;
        std::string body;
        std::string content;
        std::string unread;
    } rows[] = {
        {"a delimiter is dropped", "--in", "one\n--in\ntwo\n--in--\nrest\n", "one\ntwo\n",
         "rest\n"},
        {"in any case", "--in", "one\n--IN\ntwo\n--In--\nrest\n", "one\ntwo\n", "rest\n"},
        {"a longer line is dropped", "--in", "one\n--inner\n--in-\n--b\nrest\n", "one\n", "rest\n"},
        {"text behind the closing dashes", "--in", "one\n--in--x\nrest\n", "one\n", "rest\n"},
        {"a shorter line is text", "--in", "--i\n--b\n", "--i\n", ""},
        {"80 bytes without an end", std::string(80, '-'), std::string(100, '-') + "x\nrest\n", "",
         "rest\n"},
        {"80 bytes dropped", std::string(80, '='), std::string(100, '=') + "\n--b\nrest\n", "",
         "rest\n"},
        {"79 of 80 bytes are text", std::string(80, '='), std::string(79, '=') + "\n--b\n",
         std::string(79, '=') + "\n", ""},
    };
    for (const auto &row : rows) {
        BodyFixture f;
        std::memcpy(f.handle.nestedBoundary, row.nested.data(), row.nested.size());
        f.load(kHeader + row.body);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.what;
        EXPECT_EQ(f.handedOver(), row.content) << row.what;
        EXPECT_EQ(f.unread(), row.unread) << row.what;
    }
}

TEST(AttachmentBody, WithoutAFileIsReadAndDropped) {
    BodyFixture f;
    f.load("\none\n\nContent-Disposition: attachment; filename=\"q\"\n--b\nnext\n");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.unread(), "next\n");
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
    EXPECT_TRUE(f.host.removed.empty());
}

TEST(AttachmentBody, WithoutAFileIsDroppedInEveryEncodingAndMode) {
    for (const int32_t encoding : {0, 1, 2, 3}) {
        for (const bool stream : {false, true}) {
            BodyFixture f;
            if (stream) {
                f.useStream();
            }
            f.handle.partTransferEncoding = encoding;
            f.load("\naGVsbG8h\nh=65y=\n\nabc\n--b\nnext\n");
            EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << encoding;
            EXPECT_EQ(f.output(), "") << encoding;
            EXPECT_EQ(f.unread(), "next\n") << encoding;
        }
    }
}

TEST(AttachmentBody, IsDecodedByTheEncodingOfItsPart) {
    const struct {
        const char *what;
        int32_t message;
        int32_t inNested;
        int32_t part;
        int32_t nested;
        const char *body;
        const char *content;
    } rows[] = {
        {"none", EML_CT_MULTIPART_MIXED, 0, 0, 1, "a=41\n--b", "a=41\n"},
        {"other", EML_CT_MULTIPART_MIXED, 0, 3, 1, "a=41\n--b", "a=41\n"},
        {"base64", EML_CT_MULTIPART_MIXED, 0, 1, 0, "aGVs\nbG8h\n--b", "hello!"},
        {"quoted-printable", EML_CT_MULTIPART_MIXED, 0, 2, 0, "h=65=\nllo\n--b", "hello\n"},
        {"nested base64", EML_CT_MULTIPART_MIXED, 1, 0, 1, "aGVsbG8h\n--b", "hello!"},
        {"nested quoted-printable", EML_CT_MULTIPART_MIXED, 1, 0, 2, "h=65y\n--b", "hey\n"},
        {"nested none", EML_CT_MULTIPART_MIXED, 1, 1, 0, "aGVsbG8h\n--b", "aGVsbG8h\n"},
        {"nested in a report", EML_CT_MULTIPART_REPORT, 1, 1, 0, "aGVsbG8h\n--b", "hello!"},
        {"nested in an untyped message", EML_CT_OTHER, 1, 1, 3, "aGVsbG8h\n--b", "hello!"},
        {"base64, padded, empty line", EML_CT_MULTIPART_MIXED, 0, 1, 0, "aGk=\n\n--b", "hi\n"},
        {"base64, padded, no empty line", EML_CT_MULTIPART_MIXED, 0, 1, 0, "aGk=\n--b", "hi@"},
        {"an empty line is a line end", EML_CT_MULTIPART_MIXED, 0, 1, 0, "aGVs\n\nbG8h\n--b",
         "hel\nlo!"},
        {"before a soft-broken line ends", EML_CT_MULTIPART_MIXED, 0, 2, 0, "a=\n\nb\n--b",
         "\nab\n"},
    };
    for (const auto &row : rows) {
        BodyFixture f;
        f.handle.contentType = row.message;
        f.handle.inNestedPart = row.inNested;
        f.handle.partTransferEncoding = row.part;
        f.handle.nestedTransferEncoding = row.nested;
        f.load(kHeader + row.body);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.what;
        EXPECT_EQ(f.handedOver(), row.content) << row.what;
    }
}

TEST(AttachmentBody, TakesTheTransferEncodingOfTheNestedHeader) {
    BodyFixture f;
    f.handle.inNestedPart = 1;
    f.load("X: filename=\"a\"\nContent-Transfer-Encoding: base64\n\naGVsbG8h\n--b");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.nestedTransferEncoding, EML_TE_BASE64);
    EXPECT_EQ(f.handle.partTransferEncoding, 0);
    EXPECT_EQ(f.handedOver(), "hello!");
}

TEST(AttachmentBody, UsesThePartCharsetFromTheFirstLineOn) {
    const struct {
        const char *body;
        const char *charset;
    } rows[] = {{"text\n--b", "UTF-8"}, {"\n--b", "before"}, {"--b", "before"}};
    for (const auto &row : rows) {
        BodyFixture f;
        std::strcpy(f.handle.charsetName, "before");
        std::strcpy(f.handle.partCharset, "utf-8");
        f.load(kHeader + row.body);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
        EXPECT_STREQ(f.handle.charsetName, row.charset) << row.body;
    }
}

TEST(AttachmentBody, HasTheLineEndOfTemporaryFiles) {
    BodyFixture f;
    f.host.tmpLineEnd = "\r\n";
    f.load(kHeader + "one\n\ntwo\n--b");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.handedOver(), "one\r\n\r\ntwo\r\n");
}

TEST(AttachmentBody, BreaksRawLinesAtTheLineBuffer) {
    const auto x = [](size_t n) { return std::string(n, 'x'); };
    const struct {
        size_t length;
        std::string content;
    } rows[] = {{2046, x(2046) + "\n"},
                {2047, x(2047) + "\n"},
                {2048, x(2047) + "\nx\n"},
                {4000, x(2047) + "\n" + x(1953) + "\n"}};
    for (const auto &row : rows) {
        BodyFixture f;
        f.load(kHeader + x(row.length) + "\n--b--\n");
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.length;
        EXPECT_EQ(f.handedOver(), row.content) << row.length;
    }
}

TEST(AttachmentBody, RunsOverBlocksWhereverTheyEnd) {
    std::string lines;
    for (int n = 0; lines.size() < 18000; ++n) {
        lines += "line " + std::to_string(n) + " " + std::string(static_cast<size_t>(n) % 60, 'x') +
                 "\n";
        lines += n % 7 == 0 ? "\n" : "";
    }
    for (size_t shift = 0; shift < 80; ++shift) {
        BodyFixture f;
        f.load("Y: " + std::string(shift, 'y') + "\n" + kHeader + lines + "--b--\nrest");
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << shift;
        EXPECT_TRUE(f.handedOver() == lines) << shift;
        EXPECT_EQ(f.unread(), "rest") << shift;
    }
}

} // namespace
