// SPDX-License-Identifier: MIT
// The header of an attachment part: what names the file, and what ends the header.
#include <cstring>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

constexpr const char *kNoFile = "";
constexpr const char *kCalledA = "\nAttach1:\nattachmemt_name: a.txt\n\n<hello\n>";
constexpr const char *kCalledZ = "\nAttach1:\nattachmemt_name: z\n\n<hello\n>";
constexpr const char *kUnnamed = "\nAttach1:\nattachmemt_name: attachment\n\n<hello\n>";
constexpr const char *kUnnamedMessage = "\nAttach1:\nattachmemt_name: attachment.eml\n\n<hello\n>";

// Keeps the last lines of a part away from the end of the block, which would move it.
const std::string kMore = "\n" + std::string(100, '.') + "\n";

struct HeaderRow {
    const char *what;
    const char *part; // the lines behind the part's Content-Type line
    const char *output;
};

// Walks the part of a row. Output and number of attachments tell what was found.
void expectRow(const HeaderRow &row, int32_t partType, int32_t nestedType = EML_CT_OTHER,
               const char *typeLine = "Content-Type: x/y\n") {
    WalkerFixture f;
    f.handle.partContentType = partType;
    f.handle.nestedContentType = nestedType;
    f.loadAt(typeLine, row.part + kMore);
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.what;
    EXPECT_EQ(f.output(), row.output) << row.what;
    EXPECT_EQ(f.handle.attachmentCount, row.output[0] == '\0' ? 0 : 1) << row.what;
    f.expectNothingLeft();
}

TEST(AttachmentHeader, NamesTheFileOfAnyPart) {
    const HeaderRow rows[] = {
        {"attachment; filename=",
         "Content-Disposition: attachment; filename=\"a.txt\"\n\nhello\n--b--\n", kCalledA},
        {"inline; filename=", "Content-Disposition: inline; filename=\"a.txt\"\n\nhello\n--b--\n",
         kCalledA},
        {"FileName=", "Content-Disposition: inline; FileName=\"a.txt\"\n\nhello\n--b--\n",
         kCalledA},
        {"folded", "Content-Disposition: attachment;\n\tfilename=\"a.txt\"\n\nhello\n--b--\n",
         kCalledA},
        {"any field", "X-Any: filename=\"a.txt\"\n\nhello\n--b--\n", kCalledA},
        {"value folded", "X: filename=\"a\n .txt\"\n\nhello\n--b--\n", kCalledA},
        {"encoded word", "X: filename=\"=?utf-8?Q?a=2Etxt?=\"\n\nhello\n--b--\n", kCalledA},
        {"only the first line with a name",
         "X: filename=\"a.txt\"\nY: filename=\"z\"\n\nhello\n--b--\n", kCalledA},
        {"behind a delimiter", "--b\nX: filename=\"a.txt\"\n\nhello\n--b--\n", kCalledA},
        {"above a line of blanks", "X: filename=\"a.txt\"\n \t\n\nhello\n--b--\n", kCalledA},
        {"CR LF", "X: filename=\"a.txt\"\r\n\r\nhello\r\n--b--\r\n", kCalledA},
        {"unquoted: the line below is the name", "X: filename=a.txt\nz\n\nhello\n--b--\n",
         kCalledZ},
        {"filename*", "X: inline; filename*=utf-8''a.txt\n\nhello\n--b--\n", kUnnamed},
        {"filename*0", "X: inline; filename*0=a\n\nhello\n--b--\n", kUnnamed},
    };
    for (const HeaderRow &row : rows) {
        expectRow(row, EML_CT_IMAGE_JPEG);
        expectRow(row, EML_CT_OTHER);
    }
}

TEST(AttachmentHeader, GivesNoFileToAPartThatNothingNames) {
    const HeaderRow rows[] = {
        {"no name", "Content-ID: <1>\n\nhello\n--b--\n", kNoFile},
        {"no header at all", "\nhello\n--b--\n", kNoFile},
        {"disposition alone", "Content-Disposition: attachment\nContent-ID: <1>\n\nhello\n--b--\n",
         kNoFile},
        {"filename* on a line that goes on", "X: filename*=utf-8''a.txt;\n\nhello\n--b--\n",
         kNoFile},
    };
    for (const HeaderRow &row : rows) {
        expectRow(row, EML_CT_OTHER);
    }
}

TEST(AttachmentHeader, MakesAMessageAnAttachmentWithOrWithoutAName) {
    const HeaderRow rows[] = {
        {"no header", "\nhello\n--b--\n", kUnnamedMessage},
        {"inline", "Content-Disposition: inline\n\nhello\n--b--\n", kUnnamedMessage},
        {"attachment", "Content-Disposition: attachment\n\nhello\n--b--\n", kUnnamedMessage},
        {"attachment; filename=",
         "Content-Disposition: attachment; filename=\"z\"\n\nhello\n--b--\n", kCalledZ},
        {"inline; filename=", "Content-Disposition: inline; filename=\"z\"\n\nhello\n--b--\n",
         kCalledZ},
        {"folded", "Content-Disposition: attachment;\n filename=\"z\"\n\nhello\n--b--\n", kCalledZ},
        {"after attachment the next line starts it",
         "Content-Disposition: attachment\nContent-ID: 1\nX: filename=\"z\"\n\nhello\n--b--\n",
         kUnnamedMessage},
        {"field name in any case",
         "CONTENT-disposition: attachment\nContent-ID: 1\nX: filename=\"z\"\n\nhello\n--b--\n",
         kUnnamedMessage},
        {"attachment in lower case only",
         "Content-Disposition: Attachment\nContent-ID: 1\nX: filename=\"z\"\n\nhello\n--b--\n",
         kCalledZ},
        {"a later disposition",
         "Content-Disposition: attachment\nContent-Disposition: inline; filename=\"z\"\n\n"
         "hello\n--b--\n",
         kCalledZ},
        {"a transfer encoding starts nothing",
         "Content-Disposition: attachment\nContent-Transfer-Encoding: 7bit\n"
         "X: filename=\"z\"\n\nhello\n--b--\n",
         kCalledZ},
        {"filename*", "X: inline; filename*=utf-8''a.txt\n\nhello\n--b--\n", kUnnamedMessage},
    };
    for (const HeaderRow &row : rows) {
        expectRow(row, EML_CT_MESSAGE_RFC822);
    }
}

TEST(AttachmentHeader, GivesTheEndingEmlByThePartTypeAlone) {
    expectRow({"in a message", "\nhello\n--b--\n", kUnnamed}, EML_CT_OTHER, EML_CT_MESSAGE_RFC822);
    expectRow({"attachment in a message",
               "Content-Disposition: attachment\nX: filename=\"z\"\n\nhello\n--b--\n", kCalledZ},
              EML_CT_TEXT_PLAIN, EML_CT_MESSAGE_RFC822);
    for (const bool message : {false, true}) {
        WalkerFixture f;
        f.handle.partContentType = message ? EML_CT_MESSAGE_RFC822 : EML_CT_OTHER;
        f.handle.nestedContentType = EML_CT_MESSAGE_RFC822;
        f.load("\nhello\n--b--\n");
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(f.host.inserts[0].name, kAttachBase + (message ? "1.eml" : "1"));
    }
}

// The name parameter takes the place of the empty line that ends the header, so the body begins
// only at the next empty line; what stands in between is lost, and when the body has no empty line
// the walk goes on into the next part.
TEST(AttachmentHeader, WithANameParameterOnlyEndsAtTheSecondEmptyLine) {
    const HeaderRow rows[] = {
        {"a first paragraph is lost", "\nlost\n\nhello\n--b--\n", kCalledZ},
        {"two empty lines", "\n\nhello\n--b--\n", kCalledZ},
        {"the body of the next part is taken", "\nlost\n--b\nContent-Type: x/y\n\nhello\n--b--\n",
         kCalledZ},
        {"a transfer encoding is still taken",
         "\nContent-Transfer-Encoding: quoted-printable\n\nh=65llo\n--b--\n", kCalledZ},
    };
    for (const HeaderRow &row : rows) {
        expectRow(row, EML_CT_OTHER, EML_CT_OTHER, "Content-Type: image/png; name=\"z\"\n");
        expectRow(row, EML_CT_MESSAGE_RFC822, EML_CT_OTHER,
                  "Content-Type: application/x; name=\"z\"\n");
    }
}

TEST(AttachmentHeader, MayBeAllThatThereIs) {
    const struct {
        const char *part;
        const char *output;
    } rows[] = {
        {"", ""},
        {"Content-ID: <1>\n", ""},
        {"Content-Disposition: attachment", ""},
        {"\n", "\nAttach1:\nattachmemt_name: attachment.eml\n\n<>"},
        {"X: filename=\"z", "\nAttach1:\nattachmemt_name: z\n\n<>"},
    };
    for (const auto &row : rows) {
        WalkerFixture f;
        f.handle.partContentType = EML_CT_MESSAGE_RFC822;
        f.load(row.part);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.part;
        EXPECT_EQ(f.output(), row.output) << row.part;
        f.expectNothingLeft();
    }
}

TEST(AttachmentHeader, WithANameParameterAndNoFurtherEmptyLineLosesTheBody) {
    WalkerFixture f;
    f.loadAt("Content-Type: image/png; name=\"z\"\n", "\nlost\n--b--\n" + std::string(80, '.'));
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "\nAttach1:\nattachmemt_name: z\n\n<>");
}

// The parameter is looked for in the current block only, and near its end the block is moved.
TEST(AttachmentHeader, DoesNotSeeANameParameterOfAnEarlierBlock) {
    WalkerFixture f;
    f.loadAt("Content-Type: image/png; name=\"z\"\n", "\nhello\n--b--\n");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.handle.attachmentCount, 0);
}

TEST(AttachmentHeader, WithANameParameterThatIsADelimiterGoesOn) {
    for (const bool nested : {false, true}) {
        WalkerFixture f;
        std::strcpy(f.handle.boundary, nested ? "b" : "lename");
        std::strcpy(f.handle.nestedBoundary, nested ? "filename" : "");
        f.loadAt("Content-Type: image/png; name=\"q\"\n",
                 "\n\n\nX: Filename=\"z\" filename*=a.txt\n\nhello\n" + kMore);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
        const std::string label = "\nAttach1:\nattachmemt_name: attachment\n\n";
        EXPECT_EQ(f.output(), label + "<hello\n" + kMore + ">");
    }
}

TEST(AttachmentHeader, WithANameParameterThatIsADelimiterStillEndsBehindACharsetLine) {
    WalkerFixture f;
    f.handle.partContentType = EML_CT_MESSAGE_RFC822;
    std::strcpy(f.handle.boundary, "lename");
    f.loadAt("Content-Type: application/x; name=\"q\"\n",
             "\n charset=\"utf-8\"\n\nhello\n--lename\n" + kMore);
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), kUnnamedMessage);
}

TEST(AttachmentHeader, DoesNotLookForANameParameterOnceAFileIsOpen) {
    expectRow({"", "X: filename=\"a.txt\"\n\nhello\n--b--\n", kCalledA}, EML_CT_OTHER, EML_CT_OTHER,
              "Content-Type: image/png; name=\"z\"\n");
}

TEST(AttachmentHeader, OfTheAppleDoubleTypeSkipsEmptyLinesUntilAFileIsNamed) {
    const HeaderRow rows[] = {
        {"inner headers follow",
         "\n--in\nContent-Type: application/applefile; name=\"q\"\n\n"
         "X: filename=\"a.txt\"\n\nhello\n--b--\n",
         kCalledA},
        {"no name: no body", "\nhello\n\nworld\n--b--\n", kNoFile},
    };
    for (const HeaderRow &row : rows) {
        expectRow(row, EML_CT_MULTIPART_REPORT, EML_CT_OTHER,
                  "Content-Type: multipart/appledouble; name=\"q\"\n");
    }
}

// A folded charset parameter counts as the end of the header: the line below it is taken for the
// empty line. A part whose name would only come then is lost.
TEST(AttachmentHeader, EndsBehindACharsetLine) {
    const HeaderRow untyped[] = {
        {"before the name", " charset=\"utf-8\"\nX: filename=\"a.txt\"\n\nhello\n--b--\n", kNoFile},
        {"behind the name", "X: filename=\"a.txt\"\n charset=\"utf-8\"\n\nhello\n--b--\n",
         kCalledA},
        {"behind the name, a line follows",
         "X: filename=\"a.txt\"\n charset=\"utf-8\"\nY: dropped\nhello\n--b--\n", kCalledA},
        {"a transfer encoding does not count",
         "X: filename=\"a.txt\"\ncharset=\"utf-8\"\nContent-Transfer-Encoding: "
         "7bit\n\nhello\n--b--\n",
         kCalledA},
        {"above an empty line: the body begins below", "charset=\"utf-8\"\n\nlost\n\nlost\n--b--\n",
         kNoFile},
        {"capitals are no charset line",
         " Charset=\"utf-8\"\nX: filename=\"a.txt\"\n\nhello\n--b--\n", kCalledA},
    };
    for (const HeaderRow &row : untyped) {
        expectRow(row, EML_CT_OTHER);
    }
    expectRow({"a name parameter is not looked for", " charset=\"utf-8\"\n\nhello\n--b--\n",
               kUnnamedMessage},
              EML_CT_MESSAGE_RFC822, EML_CT_OTHER, "Content-Type: application/x; name=\"q\"\n");
    expectRow({"a message starts unnamed", " charset=\"utf-8\"\nX: filename=\"z\"\nhello\n--b--\n",
               kUnnamedMessage},
              EML_CT_MESSAGE_RFC822);
}

TEST(AttachmentHeader, TakesTheCharsetOfAFoldedParameter) {
    WalkerFixture f;
    f.load("X: filename=\"a\"\n charset=\"iso-2022-jp\"\n\n");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_STREQ(f.handle.partCharset, "iso-2022-jp");
    EXPECT_STREQ(f.handle.charsetName, "ISO-2022-JP");
}

TEST(AttachmentHeader, TakesTheTransferEncodingBehindBlanks) {
    WalkerFixture f;
    f.load("X: filename=\"a\"\n \tcontent-TRANSFER-encoding:  BASE64\n\naGVsbG8h\n--b--\n");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.partTransferEncoding, EML_TE_BASE64);
    EXPECT_EQ(f.handedOver(), "hello!");
}

TEST(AttachmentHeader, SkipsDelimitersOfTheInnerMultipart) {
    for (const char *line : {"--in", "--in--", "--IN", " --in--"}) {
        WalkerFixture f;
        std::strcpy(f.handle.nestedBoundary, "--in");
        f.load(std::string(line) + " filename=\"q\"\nX: filename=\"a.txt\"\n\nhello\n--b--\n");
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << line;
        EXPECT_EQ(f.output(), kCalledA) << line;
    }
}

TEST(MarkedLine, IsReadAgainBeforeThePart) {
    WalkerFixture f;
    f.loadAt("Content-Disposition: attachment; filename=\"a.txt\"\nContent-Type: image/png\n",
             "\nhello\n--b--\n");
    f.handle.rereadPending = 1;
    f.handle.rereadPos = 0;
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), kCalledA);
    EXPECT_EQ(f.handle.rereadPending, 0);
}

TEST(MarkedLine, MayBeAnyHeaderLine) {
    const struct {
        const char *what;
        const char *line;
        const char *output;
    } rows[] = {
        {"a charset ends the header", "charset=\"utf-8\"\n",
         "\nAttach1:\nattachmemt_name: attachment.eml\n\n<hello\n>"},
        {"a disposition of attachment", "Content-Disposition: attachment\n", kUnnamedMessage},
        {"a delimiter is skipped", "--b\n", kUnnamedMessage},
        {"a transfer encoding", "Content-Transfer-Encoding: 7bit\n", kUnnamedMessage},
        {"an empty line is no header end", "\n", kUnnamedMessage},
    };
    for (const auto &row : rows) {
        WalkerFixture f;
        f.handle.partContentType = EML_CT_MESSAGE_RFC822;
        f.loadAt(row.line, "\nhello\n--b--\n");
        f.handle.rereadPending = 1;
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << row.what;
        EXPECT_EQ(f.output(), row.output) << row.what;
    }
}

TEST(MarkedLine, OutsideTheBlockIsAnEmptyLine) {
    for (const int32_t position : {-1, -20000, 1000, 2147483647}) {
        WalkerFixture f;
        f.load("X: filename=\"a.txt\"\n\nhello\n--b--\n");
        f.handle.rereadPending = 1;
        f.handle.rereadPos = position;
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << position;
        EXPECT_EQ(f.output(), kCalledA) << position;
    }
}

} // namespace
