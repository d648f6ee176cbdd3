// SPDX-License-Identifier: MIT
// One entry of a digest: its name, the lines that are copied into its file, and its end.
#include <cstring>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

using namespace std::string_literals;

constexpr int32_t kCompleted = 1;
const std::string kFile = kAttachBase + "1.eml";

// On the first entry of a digest with the boundary "d".
struct DigestFixture : WalkerFixture {
    DigestFixture() {
        handle.contentType = EML_CT_MULTIPART_DIGEST;
        std::strcpy(handle.boundary, "d");
        handle.attachmentCount = 1;
    }
};

TEST(DigestEntry, IsNamedByTheFirstSubjectFurtherOnInTheBlock) {
    const struct {
        const char *what;
        std::string read;
        std::string unread;
        std::string name; // as written: a blank of the label, then the name
    } rows[] = {
        {"its own", "--d\n", "Subject: hi\n\nbody\n--d--\n", " hi.eml"},
        {"no blank behind the colon", "--d\n", "Subject:hi\n", "hi.eml"},
        {"CR LF", "--d\r\n", "Subject: hi\r\n\r\n", " hi.eml"},
        {"none", "--d\n", "From: x\n\nbody\n--d--\n", "attachment.eml"},
        {"an empty one", "--d\n", "Subject:\nX: y\n", "attachment.eml"},
        {"an empty one with CR LF", "--d\r\n", "Subject:\r\nX: y\r\n", "attachment.eml"},
        {"an empty one hides a later one", "--d\n", "Subject:\n--d\nSubject: x\n",
         "attachment.eml"},
        {"blanks", "--d\n", "Subject:  \n", "  .eml"},
        {"at the end of the input", "--d\n", "Subject:", ".eml"},
        {"of a later entry", "--d\n", "From: x\n\nbody\n--d\nSubject: two\n", " two.eml"},
        {"in the body", "--d\n", "From: x\n\nRe: Subject: in text\n", " in text.eml"},
        {"inside another field", "--d\n", "X-Subject: x\n", " x.eml"},
        {"in another case", "--d\n", "subject: a\nSUBJECT: b\n", "attachment.eml"},
        {"above the entry", "Subject: above\n--d\n", "From: x\n", "attachment.eml"},
        {"behind a NUL", "--d\n", "a\0\nSubject: x\n"s, "attachment.eml"},
        {"an encoded word", "--d\n", "Subject: =?utf-8?B?w6k=?=\n", " \xC3\xA9.eml"},
        {"quotes", "--d\n", "Subject: \"q\" x\n", " \"q\" x.eml"},
    };
    for (const auto &row : rows) {
        DigestFixture f;
        f.loadAt(row.read, row.unread);
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted) << row.what;
        const std::string label = "\nAttach1:\nattachmemt_name: " + row.name + "\n\n<";
        EXPECT_EQ(f.output().substr(0, label.size()), label) << row.what;
        EXPECT_EQ(f.handle.encodedWordFlag, 0) << row.what;
        f.expectNothingLeft();
    }
}

TEST(DigestEntry, HasItsNameCutAtTheNameBuffer) {
    for (const size_t length : {2043U, 2044U, 3000U, 16000U}) {
        DigestFixture f;
        f.load("Subject:" + std::string(length, 's') + "\n");
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
        const std::string label =
            "\nAttach1:\nattachmemt_name: " + std::string(2043, 's') + ".eml\n\n<";
        EXPECT_EQ(f.output().substr(0, label.size()), label) << length;
    }
}

TEST(DigestEntry, IsCopiedUpToTheNextDelimiter) {
    const struct {
        const char *what;
        std::string entry;
        std::string content;
        std::string unread;
    } rows[] = {
        {"header and body", "From: x\n\nbody\n--d\nrest", "From: x\n\nbody\n", "--d\nrest"},
        {"closing delimiter", "From: x\n\nbody\n--d--\nrest", "From: x\n\nbody\n", "--d--\nrest"},
        {"longer delimiter", "body\n--digest\nrest", "body\n", "--digest\nrest"},
        {"end of the input", "From: x\n\nbody", "From: x\n\nbody\n", ""},
        {"nothing", "", "", ""},
        {"an empty entry", "--d\nrest", "", "--d\nrest"},
        {"the empty line behind the delimiter is copied", "\nFrom: x\n--d", "\nFrom: x\n", "--d"},
        {"CR LF", "From: x\r\n\r\nbody\r\n--d\r\n", "From: x\n\nbody\n", "--d\r\n"},
        {"delimiters of inner multiparts are not copied", "a\n--in\nb\n--in--\n--\n-- \nc\n--d",
         "a\nb\nc\n", "--d"},
        {"an indented delimiter is text", " --d\n-d\n--d", " --d\n-d\n", "--d"},
        {"encoded text is not decoded", "Content-Transfer-Encoding: base64\n\naGVsbG8h\na=\n--d",
         "Content-Transfer-Encoding: base64\n\naGVsbG8h\na=\n", "--d"},
        {"types are not analysed", "Content-Type: text/plain; charset=\"x\"\n--d",
         "Content-Type: text/plain; charset=\"x\"\n", "--d"},
        {"NUL bytes", "a\0b\n\0\n--d"s, "a\0b\n\0\n"s, "--d"},
        {"a long line", std::string(2048, 'x') + "\n--d", std::string(2047, 'x') + "\nx\n", "--d"},
    };
    for (const auto &row : rows) {
        DigestFixture f;
        f.loadAt("--d\n", row.entry);
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted) << row.what;
        EXPECT_EQ(f.handedOver(), row.content) << row.what;
        EXPECT_EQ(f.unread(), row.unread) << row.what;
        EXPECT_EQ(f.handle.partContentType, EML_CT_OTHER) << row.what;
        f.expectNothingLeft();
    }
}

TEST(DigestEntry, LeavesTheReadPositionAtTheStartOfTheDelimiter) {
    DigestFixture f;
    f.loadAt("--d\n", "body\n--d\n" + std::string(200, '.'));
    EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
    EXPECT_EQ(f.handle.blockPos, 9);
    EXPECT_EQ(f.handle.blockPos, f.handle.lineStartPos);
}

// Reading a line whose end is the last byte of a block moves the block on; the delimiter is to be
// read again all the same.
TEST(DigestEntry, LeavesADelimiterToBeReadAgainAtAnyBlockEnd) {
    const std::string longBoundary(79, 'd');
    for (const char *lineEnd : {"\n", "\r\n", "\r"}) {
        for (const std::string &boundary : {std::string("d"), longBoundary}) {
            const std::string delimiter = "--" + boundary + lineEnd;
            for (const std::string &rest : {std::string(), "rest" + std::string(300, '.')}) {
                for (size_t position = 16384 - 90; position < 16384 + 10; ++position) {
                    DigestFixture f;
                    std::strcpy(f.handle.boundary, boundary.c_str());
                    std::string text;
                    while (text.size() + 2000 < position) {
                        text += std::string(1999, 'x') + "\n";
                    }
                    text += std::string(position - text.size() - 1, 'y') + "\n";
                    f.load(text + delimiter + rest);
                    EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
                    // A delimiter that does not fit into the block is read in pieces and missed.
                    const bool whole =
                        position + 77 >= 16384 || position + delimiter.size() <= 16384;
                    if (whole && position + boundary.size() + 2 <= 16384) {
                        EXPECT_TRUE(f.unread() == delimiter + rest) << position;
                        EXPECT_TRUE(f.handedOver() == text) << position;
                    }
                }
            }
        }
    }
}

TEST(DigestEntry, IsCopiedOverBlockEnds) {
    std::string lines;
    for (int n = 0; lines.size() < 18000; ++n) {
        lines += std::string(static_cast<size_t>(n) % 76, 'x') + "\n";
    }
    for (size_t shift = 0; shift < 80; ++shift) {
        DigestFixture f;
        const std::string entry = std::string(shift % 76, 'y') + "\n" + lines;
        f.loadAt("--d\n" + std::string(shift, '.') + "\n", entry + "--d\nrest");
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
        EXPECT_TRUE(f.handedOver() == entry) << shift;
        EXPECT_EQ(f.unread(), "--d\nrest") << shift;
    }
}

TEST(DigestEntry, IsDecodedByThePartsTransferEncoding) {
    const struct {
        int32_t encoding;
        const char *entry;
        const char *content;
    } rows[] = {{EML_TE_BASE64, "aGVs\nbG8h\n--d", "hello!"},
                {EML_TE_QUOTED_PRINTABLE, "h=65=\nllo\n--d", "hello\n"},
                {EML_TE_OTHER, "h=65\n--d", "h=65\n"}};
    for (const auto &row : rows) {
        DigestFixture f;
        f.handle.partTransferEncoding = row.encoding;
        f.load(row.entry);
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
        EXPECT_EQ(f.handedOver(), row.content);
    }
}

TEST(DigestEntry, OfTheTwinTypeHasItsTypeLinesTakenAndLeftOut) {
    DigestFixture f;
    f.handle.contentType = EML_CT_DIGEST_TWIN;
    f.load("Content-Type: text/html; charset=iso-2022-jp\n"
           "Content-Type: multipart/mixed; boundary=\"in\"\n"
           "content-type: text/plain\n Content-Type: x\nbody\n--d");
    EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
    EXPECT_EQ(f.handedOver(), "content-type: text/plain\n Content-Type: x\nbody\n");
    EXPECT_STREQ(f.handle.charsetName, "ISO-2022-JP");
    EXPECT_STREQ(f.handle.partBoundary, "in");
    EXPECT_EQ(f.handle.partContentType, EML_CT_MULTIPART_MIXED);
}

TEST(DigestEntry, BeginsWithTheMarkedLine) {
    DigestFixture f;
    f.loadAt("marked\n--d\n", "From: x\n--d");
    f.handle.rereadPending = 1;
    f.handle.rereadPos = 0;
    EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
    EXPECT_EQ(f.handedOver(), "marked\nFrom: x\n");
    EXPECT_EQ(f.handle.rereadPending, 0);
}

TEST(DigestEntry, GoesIntoAnEmlFileOfTheLowestFreeNumber) {
    DigestFixture f;
    f.load("body\n");
    f.host.files[kAttachBase + "1"] = "taken";
    EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
    EXPECT_TRUE(f.host.called("QOB_FileOpen " + kAttachBase + "2.eml wb+"));
    EXPECT_EQ(f.host.removed, std::vector<std::string>{kAttachBase + "2.eml"});
}

TEST(DigestEntry, IsHandedOverAsTheFlagsSay) {
    const std::string label = "\nAttach1:\nattachmemt_name: attachment.eml\n\n";
    const struct {
        uint32_t flags;
        std::string output;
        bool told; // the number word
    } rows[] = {
        {0x0, "", false},           {0x2, label + "<body\n>", true},
        {0x8, "", false},           {0x6, label, true},
        {0x8002, "<body\n>", true}, {0x8006, "", true},
        {0x8000, "", false},        {0x1D, "", false},
        {0x1F, label, true},        {0x1B, label + "<body\n>", true},
    };
    for (const auto &row : rows) {
        DigestFixture f;
        f.params.flags = row.flags;
        f.session.attachmentNumber = 77;
        f.handle.attachmentCount = 1;
        f.load("body\n");
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted) << row.flags;
        EXPECT_EQ(f.output(), row.output) << row.flags;
        EXPECT_EQ(f.session.attachmentNumber, row.told ? 0U : 77U) << row.flags;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile}) << row.flags;
        f.expectNothingLeft();
    }
}

TEST(DigestEntry, IsHandedOverWithTheHostsOwnRecords) {
    for (const bool stream : {false, true}) {
        DigestFixture f;
        if (stream) {
            f.useStream();
        }
        f.setLimit(1000);
        int callback = 0;
        f.handle.errCallback = &callback;
        f.handle.attachmentCount = 9;
        f.load("body\n");
        EXPECT_EQ(Mix_attach_list(&f.handle), kCompleted);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        const InsertCall &call = f.host.inserts[0];
        EXPECT_EQ(call.name, kFile);
        EXPECT_TRUE(call.sameParams);
        EXPECT_EQ(call.toStream, stream);
        EXPECT_EQ(call.callback, &callback);
        EXPECT_EQ(call.session.attachmentNumber, 8U);
        const std::string label = "\nAttach9:\nattachmemt_name: attachment.eml\n\n";
        EXPECT_EQ(call.session.savedOutputCount, label.size());
        EXPECT_EQ(f.handle.outputCount, label.size() + 7); // "<body\n>"
    }
}

} // namespace
