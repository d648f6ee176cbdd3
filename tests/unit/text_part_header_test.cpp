// SPDX-License-Identifier: MIT
// A text part of a mixed message: where its header ends, and what the header decides.
#include "support/text_walker_fixture.h"

namespace {

struct HeaderRow {
    const char *promise;
    const char *charsetName; // known when the part begins
    std::string part;
    const char *output;
    const char *unread;
};

const HeaderRow kHeaderRows[] = {
    {"an empty line ends the header, and is the body's first line", "UTF-8",
     crlf({"X-Header: y", "", "Hello", "--edge", "rest"}), "\nHello\n", "rest\r\n"},
    {"an empty line ends no header while no charset is known", "",
     crlf({"", "lost", "", "--edge", "lost too"}), "", ""},
    {"a charset line makes the next empty line the end", "",
     crlf({"", " charset=\"utf-8\"", "", "Hello", "--edge"}), "\nHello\n", ""},
    {"a charset line need not be indented", "", crlf({"charset=\"utf-8\"", "", "Hello", "--edge"}),
     "\nHello\n", ""},
    {"the charset key counts in lower case only", "",
     crlf({" Charset=\"utf-8\"", "", "lost", "--edge"}), "", ""},
    {"the charset key must begin its line", "",
     crlf({" format=flowed; charset=\"utf-8\"", "", "lost", "--edge"}), "", ""},
    {"a transfer-encoding line ends the header together with the line below it", "UTF-8",
     crlf({"Content-Transfer-Encoding: 7bit", "dropped", "Hello", "--edge"}), "Hello\n", ""},
    {"so does one below a charset line", "",
     crlf({" charset=\"utf-8\"", "Content-Transfer-Encoding: 7bit", "", "Hello", "--edge"}),
     "Hello\n", ""},
    {"the transfer-encoding name counts in any case and indented", "UTF-8",
     crlf({" \tcontent-TRANSFER-encoding:8bit", "", "Hello", "--edge"}), "Hello\n", ""},
    {"a transfer-encoding line ends no header while no charset is known", "",
     crlf({"Content-Transfer-Encoding: 7bit", "", "lost", "--edge"}), "", ""},
    {"a transfer encoding given before the charset is kept", "",
     crlf({"Content-Transfer-Encoding: base64", " charset=\"utf-8\"", "", "QUJD", "", "--edge"}),
     "\n\nABC", ""},
    {"a boundary in the header is ignored", "UTF-8",
     crlf({"--edge", "--edge--", "", "Hello", "--edge", "rest"}), "\nHello\n", "rest\r\n"},
    {"a description line in the header is ignored", "UTF-8",
     crlf({"Content-description: x", "", "Hello", "--edge"}), "\nHello\n", ""},
    {"a line of blanks is no empty line", "UTF-8", crlf({"", "  ", "--edge"}), "\n  \n", ""},
    {"a line of blanks does not end the header", "UTF-8", crlf({" \t ", "lost", "--edge"}), "", ""},
};

TEST(TextPartHeader, EndsWhereTheRulesSay) {
    for (const HeaderRow &row : kHeaderRows) {
        SCOPED_TRACE(row.promise);
        TextWalkerFixture f;
        std::strcpy(f.handle.boundary, "edge");
        f.handle.partContentType = EML_CT_TEXT_PLAIN;
        f.setCharset(row.charsetName);
        EXPECT_EQ(f.walk(Mix_Content_OnePart, row.part), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.unread(), row.unread);
        f.expectAllReleased();
    }
}

// A body line that names a transfer encoding leads back to header mode.
const HeaderRow kReturnRows[] = {
    {"the line that leads back is neither written nor analysed", "UTF-8",
     crlf({"", "A", "Content-Transfer-Encoding: base64", "header",
           "content-transfer-encoding: 8bit", "dropped", "QUJD", "--edge"}),
     "\nA\nQUJD\n", ""},
    {"the empty line that ended the header is used up: the part has no more body", "UTF-8",
     crlf({"", "A", "Content-Transfer-Encoding: 7bit", "", "lost", "--edge", "lost too"}), "\nA\n",
     ""},
    {"a header that a transfer-encoding line ended may be ended by an empty line later", "UTF-8",
     crlf({"Content-Transfer-Encoding: 7bit", "", "A", "Content-Transfer-Encoding: 7bit", "x: y",
           "", "B", "--edge"}),
     "A\n\nB\n", ""},
    {"a charset line in the second header arms the empty line again", "UTF-8",
     crlf({"", "A", "Content-Transfer-Encoding: 7bit", "charset=\"utf-8\"", "", "B", "--edge"}),
     "\nA\n\nB\n", ""},
    {"the second header may bring another encoding", "UTF-8",
     crlf({"", "A", "Content-Transfer-Encoding:", "Content-Transfer-Encoding: base64", "", "QUJD",
           "--edge"}),
     "\nA\nABC", ""},
    {"an indented name is text: body lines are taken as read", "UTF-8",
     crlf({"", " Content-Transfer-Encoding: 7bit", "--edge"}),
     "\n Content-Transfer-Encoding: 7bit\n", ""},
};

TEST(TextPartHeader, IsReturnedToByATransferEncodingLineInTheBody) {
    for (const HeaderRow &row : kReturnRows) {
        SCOPED_TRACE(row.promise);
        TextWalkerFixture f;
        std::strcpy(f.handle.boundary, "edge");
        f.handle.partContentType = EML_CT_TEXT_PLAIN;
        f.setCharset(row.charsetName);
        EXPECT_EQ(f.walk(Mix_Content_OnePart, row.part), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.unread(), row.unread);
        f.expectNothingLeft();
    }
}

struct CharsetRow {
    std::string line;
    std::string charsetName;
};

const CharsetRow kCharsetRows[] = {
    {" charset=\"gb2312\"", "ChineseGBK"},
    {" charset=\"euc-kr\"", "KoreanKSC"},
    {" charset=\"koi8-r\"", "koi8-r"},
    {" charset=\"a\"; x=\"big5\"", "ChineseBIG5"},
    {" charset=utf-8", ""},
    {" charset=\"utf-8", "UTF-8"},
    {" charset=\"" + std::string(100, 'x') + "\"", std::string(31, 'x')},
    {" charset=", ""},
};

TEST(TextPartHeader, TakesTheQuotedCharsetOfAFoldedLineAndNormalisesIt) {
    for (const CharsetRow &row : kCharsetRows) {
        SCOPED_TRACE(row.line);
        TextWalkerFixture f;
        std::strcpy(f.handle.boundary, "edge");
        f.handle.partContentType = EML_CT_TEXT_PLAIN;
        f.setCharset("ISO-8859-1");
        EXPECT_EQ(f.walk(Mix_Content_OnePart, crlf({row.line, "", "Hello", "--edge"})), EML_OK);
        EXPECT_EQ(f.handle.charsetName, row.charsetName);
        ASSERT_FALSE(f.host.conversions.empty());
        EXPECT_EQ(f.output(), "\nHello\n");
        bool converted = false;
        for (const ConversionCall &call : f.host.conversions) {
            converted = converted || (call.input == "Hello" && call.source == row.charsetName);
        }
        EXPECT_TRUE(converted);
    }
}

struct TextFileRow {
    const char *promise;
    int32_t type;
    int32_t inNestedPart;
    const char *encoding;
    bool opened;
};

constexpr TextFileRow kTextFileRows[] = {
    {"base64", EML_CT_TEXT_PLAIN, 0, "base64", true},
    {"quoted-printable", EML_CT_TEXT_PLAIN, 0, "Quoted-Printable", true},
    {"no encoding to speak of", EML_CT_TEXT_PLAIN, 0, "7bit", false},
    {"HTML collects in its own file", EML_CT_TEXT_HTML, 0, "base64", false},
    {"a part of any other type", EML_CT_IMAGE_GIF, 0, "base64", true},
    {"inside a nested part the outer encoding stays unknown", EML_CT_TEXT_PLAIN, 1, "7bit", true},
};

TEST(TextPartHeader, OpensTheCollectingFileWithTheTransferEncodingLine) {
    for (const TextFileRow &row : kTextFileRows) {
        SCOPED_TRACE(row.promise);
        TextWalkerFixture f;
        std::strcpy(f.handle.boundary, "edge");
        f.handle.partContentType = row.type;
        f.handle.inNestedPart = row.inNestedPart;
        f.setCharset("UTF-8");
        const std::string line = std::string("Content-Transfer-Encoding: ") + row.encoding;
        EXPECT_EQ(f.walk(Mix_Content_OnePart, crlf({line, "", "--edge", "rest"})), EML_OK);
        EXPECT_EQ(f.host.called("QOB_FileOpen /tmp/t1 wb"), row.opened);
        EXPECT_EQ(f.unread(), "rest\r\n");
        f.expectNothingLeft();
    }
}

TEST(TextPartHeader, FailsWith22WhenTheCollectingFileCannotBeCreated) {
    TextWalkerFixture f;
    std::strcpy(f.handle.boundary, "edge");
    f.handle.partContentType = EML_CT_TEXT_PLAIN;
    f.setCharset("UTF-8");
    f.load(crlf({"Content-Transfer-Encoding: base64", "", "QUJD", "--edge"}));
    f.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), 22);
    EXPECT_EQ(f.output(), "");
    f.expectNothingLeft();
}

TEST(TextPartHeader, BindsTemporaryNamesToTheSessionWhenTheFlagAsksForIt) {
    TextWalkerFixture f;
    std::strcpy(f.handle.boundary, "edge");
    f.handle.partContentType = EML_CT_TEXT_PLAIN;
    f.params.flags |= EML_FLAG_BOUND_TMPNAM;
    f.setCharset("UTF-8");
    EXPECT_EQ(f.walk(Mix_Content_OnePart,
                     crlf({"Content-Transfer-Encoding: base64", "", "QUJD", "--edge"})),
              EML_OK);
    EXPECT_TRUE(f.host.called("QOB_ASC_tmpnam1 /out/text"));
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/b1 wb"));
    EXPECT_EQ(f.host.count("QOB_ASC_tmpnam"), 0);
    EXPECT_EQ(f.output(), "ABC");
}

} // namespace
