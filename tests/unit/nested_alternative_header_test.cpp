// SPDX-License-Identifier: MIT
// An alternative inside another multipart: part headers, and which of them let a body in.
#include "support/text_walker_fixture.h"

namespace {

// As the body reader hands it over: the Content-Type line of the inner multipart is in hand, its
// boundary known when it stood on that line.
struct NestedFixture : TextWalkerFixture {
    explicit NestedFixture(const char *innerBoundary = "inner") {
        std::strcpy(handle.boundary, "outer");
        std::strcpy(handle.partBoundary, innerBoundary);
        handle.partContentType = EML_CT_MULTIPART_ALTERNATIVE;
        setCharset("ISO-8859-1");
    }
};

struct Row {
    const char *promise;
    std::string part; // behind "--inner", before the closing delimiter
    const char *output;
};

const Row kBodyRows[] = {
    {"plain text needs a charset and a transfer-encoding line behind the type",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit", "",
           "text"}),
     "text|"},
    {"no transfer-encoding line: the body is dropped",
     crlf({"Content-Type: text/plain; charset=utf-8", "", "text"}), ""},
    {"the transfer-encoding line before the type: the body is dropped",
     crlf({"Content-Transfer-Encoding: 7bit", "Content-Type: text/plain; charset=utf-8", "",
           "text"}),
     ""},
    {"no charset anywhere: the body is dropped",
     crlf({"Content-Type: text/plain", "Content-Transfer-Encoding: 7bit", "", "text"}), ""},
    {"the charset may stand on a folded line",
     crlf({"Content-Type: text/plain;", "\tcharset=\"utf-8\"", "Content-Transfer-Encoding: 7bit",
           "", "text"}),
     "text|"},
    {"the charset of a folded line counts in lower case only",
     crlf({"Content-Type: text/plain;", "\tCharset=\"utf-8\"", "Content-Transfer-Encoding: 7bit",
           "", "text"}),
     ""},
    {"the charset of a folded line must begin it",
     crlf({"Content-Type: text/plain;", "\tx=y; charset=\"utf-8\"",
           "Content-Transfer-Encoding: 7bit", "", "text"}),
     ""},
    {"a folded line below another header line brings no charset",
     crlf({"Content-Type: text/plain", "X-Header: y", "\tcharset=\"utf-8\"",
           "Content-Transfer-Encoding: 7bit", "", "text"}),
     ""},
    {"field names count in any case",
     crlf({"CONTENT-TYPE: TEXT/PLAIN; charset=utf-8", "content-transfer-encoding: 7BIT", "",
           "text"}),
     "text|"},
    {"an indented transfer-encoding line counts when no type line is above it",
     crlf({"Content-Type: text/plain; charset=utf-8", "X-Header: y",
           " Content-Transfer-Encoding: 7bit", "", "text"}),
     "text|"},
    {"below a type line an indented transfer-encoding line is a parameter",
     crlf({"Content-Type: text/plain; charset=utf-8", " Content-Transfer-Encoding: 7bit", "",
           "text"}),
     ""},
    {"the line below the transfer encoding is dropped, whatever it is",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit",
           "Content-ID: <x>", "", "text"}),
     "|text|"},
    {"a disposition line is dropped, also in the body",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit", "",
           "content-disposition: inline", "text"}),
     "text|"},
    {"a type line in a body is dropped and changes nothing",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit", "", "a",
           "Content-Type: text/html", "b"}),
     "a|b|"},
    {"a transfer-encoding line in a plain body starts the text anew",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit", "",
           "first", "Content-Transfer-Encoding: base64", "", "c2Vjb25k"}),
     "second"},
    {"body lines are taken as read",
     crlf({"Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit", "",
           " Content-Transfer-Encoding: base64", "  --inner", ""}),
     " Content-Transfer-Encoding: base64|  --inner||"},
    {"a part of another type is dropped",
     crlf({"Content-Type: application/pdf", "Content-Transfer-Encoding: 7bit", "", "text"}), ""},
    {"HTML begins below the first empty line, which is not in the file",
     crlf({"Content-Type: text/html", "X-Header: y", "", "<html>", "", "x"}), "{<html>|x}"},
    {"text/enriched counts as HTML", crlf({"Content-Type: text/enriched", "", "<html>"}),
     "{<html>}"},
    {"a line of blanks is no empty line and opens no HTML file",
     crlf({"Content-Type: text/html", "  ", "<html>"}), ""},
};

TEST(NestedAlternativeHeader, DecidesWhichBodiesCount) {
    for (const Row &row : kBodyRows) {
        SCOPED_TRACE(row.promise);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter,
                         crlf({"--inner"}) + row.part + crlf({"--inner--", "consumed", "rest"})),
                  EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.unread(), "rest\r\n");
        EXPECT_EQ(f.handle.inNestedPart, 1);
        f.expectNothingLeft();
    }
}

TEST(NestedAlternativeHeader, OneCharsetCountsForAllLaterParts) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     crlf({"--inner", "Content-Type: text/html; charset=big5", "", "<html>",
                           "--inner", "Content-Type: text/plain", "Content-Transfer-Encoding: 7bit",
                           "", "text", "--inner--", ""})),
              EML_OK);
    EXPECT_EQ(f.output(), "{<html>}text|");
    EXPECT_STREQ(f.handle.charsetName, "ChineseBIG5");
}

struct CharsetRow {
    std::string lines;
    std::string charsetName;
};

const CharsetRow kCharsetRows[] = {
    {"Content-Type: text/plain; charset=gb2312\r\n", "ChineseGBK"},
    {"Content-Type: text/plain; charset=\"koi8-r\"; format=flowed\r\n", "koi8-r"},
    {"Content-Type: text/plain;\r\n charset=\"euc-kr\"\r\n", "KoreanKSC"},
    {"Content-Type: text/plain;\r\n charset=euc-kr\r\n", ""},
    {"Content-Type: text/plain; charset=big5\r\n charset=\"utf-8\"\r\n", "UTF-8"},
    {"Content-Type: text/plain; charset=" + std::string(200, 'c') + "\r\n", std::string(31, 'c')},
};

TEST(NestedAlternativeHeader, GivesTheCharsetThatTheTextIsConvertedFrom) {
    for (const CharsetRow &row : kCharsetRows) {
        SCOPED_TRACE(row.lines);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter, "--inner\r\n" + row.lines +
                                                crlf({"Content-Transfer-Encoding: 7bit", "", "text",
                                                      "--inner--", ""})),
                  EML_OK);
        EXPECT_EQ(f.output(), "text|");
        ASSERT_FALSE(f.host.conversions.empty());
        EXPECT_EQ(f.host.conversions.back().source, row.charsetName);
        EXPECT_EQ(f.host.conversions.back().input, "text|"); // in one piece
    }
}

const std::string kTextPart =
    crlf({"--inner", "Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: 7bit",
          "", "text", "--inner--", ""});

const Row kBoundaryRows[] = {
    {"a folded line directly below the type line in hand", crlf({"\tboundary=\"inner\""}), "text|"},
    {"a folded line below a folded line", crlf({" type=\"x\";", " boundary=\"inner\""}), "text|"},
    {"a line of its own", crlf({"X-Header: y", "boundary=\"inner\""}), "text|"},
    {"the last quoted text of the line", crlf({"\tboundary=\"other\"; x=\"inner\""}), "text|"},
    {"not a folded line below another header line", crlf({"X-Header: y", "\tboundary=\"inner\""}),
     ""},
    {"not in other letters", crlf({"\tBoundary=\"inner\""}), ""},
    {"not a folded line that something else begins", crlf({"\tx=y; boundary=\"inner\""}), ""},
    {"not without quotes", crlf({"\tboundary=inner"}), ""},
};

TEST(NestedAlternativeHeader, TakesTheInnerBoundaryFromTheLinesBelow) {
    for (const Row &row : kBoundaryRows) {
        SCOPED_TRACE(row.promise);
        NestedFixture f("");
        EXPECT_EQ(f.walk(Mix_Content_alter, row.part + kTextPart), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        f.expectNothingLeft();
    }
}

TEST(NestedAlternativeHeader, ClearsThePadCountForHtmlPartsOnly) {
    const struct {
        const char *type;
        int32_t pads;
    } kRows[] = {{"text/html", 0}, {"text/plain", 2}, {"image/gif", 2}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.type);
        NestedFixture f;
        f.handle.base64PadCount = 2;
        EXPECT_EQ(
            f.walk(Mix_Content_alter, crlf({"--inner", std::string("Content-Type: ") + row.type})),
            EML_OK);
        EXPECT_EQ(f.handle.base64PadCount, row.pads);
    }
}

TEST(NestedAlternativeHeader, FillsTheNestedFieldsWhileInANestedPart) {
    NestedFixture f;
    f.handle.inNestedPart = 1;
    EXPECT_EQ(f.walk(Mix_Content_alter, kTextPart), EML_OK);
    EXPECT_EQ(f.handle.nestedContentType, EML_CT_TEXT_PLAIN);
    EXPECT_EQ(f.handle.nestedTransferEncoding, EML_TE_OTHER);
    EXPECT_STREQ(f.handle.nestedCharset, "utf-8");
    EXPECT_EQ(f.handle.partContentType, EML_CT_MULTIPART_ALTERNATIVE);
    EXPECT_EQ(f.output(), ""); // the part's own type is what lets a body in
    f.expectNothingLeft();
}

} // namespace
