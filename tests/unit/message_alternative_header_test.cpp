// SPDX-License-Identifier: MIT
// A message that is an alternative itself: part headers, and where bodies begin.
#include "support/text_walker_fixture.h"

namespace {

constexpr int32_t kPlain = EML_CT_TEXT_PLAIN;
constexpr int32_t kHtml = EML_CT_TEXT_HTML;
constexpr int32_t kAlternative = EML_CT_MULTIPART_ALTERNATIVE;
constexpr int32_t kRelated = EML_CT_MULTIPART_RELATED;

// As the body reader hands it over, a part's Content-Type line in hand and analysed.
struct MessageFixture : TextWalkerFixture {
    explicit MessageFixture(int32_t partType = kPlain, int32_t messageType = kAlternative,
                            const char *charsetName = "UTF-8") {
        std::strcpy(handle.boundary, "outer");
        handle.contentType = messageType;
        handle.partContentType = partType;
        std::strcpy(handle.partCharset, "utf-8");
        setCharset(charsetName);
    }
};

const std::string kMeta = meta("utf-8");
const std::string kTwin = "XXXXXXXXXXXXXtext/html"; // a type from its 14th character

struct Row {
    const char *promise;
    int32_t partType;
    std::string part; // up to the closing delimiter
    std::string output;
};

const Row kRows[] = {
    {"the empty line that ends the header is the body's first line", kPlain,
     crlf({"X-Header: y", "", "text"}), "|text|"},
    {"in HTML too", kHtml, crlf({"X-Header: y", "", "text"}), "{" + kMeta + "|text}"},
    {"a transfer-encoding line ends the header with the empty line below it", kPlain,
     crlf({"Content-Transfer-Encoding: 7bit", "", "text"}), "text|"},
    {"in any case and indented", kPlain, crlf({" \tCONTENT-transfer-encoding: 7bit", "", "text"}),
     "text|"},
    {"base64", kPlain, crlf({"Content-Transfer-Encoding: base64", "", "YWJj"}), "abc"},
    {"quoted-printable", kPlain,
     crlf({"Content-Transfer-Encoding: quoted-printable", "", "a=", "=3D"}), "a=|"},
    {"HTML base64", kHtml, crlf({"Content-Transfer-Encoding: base64", "", "PGI+", ""}),
     "{" + kMeta + "<b>|}"},
    {"HTML quoted-printable", kHtml,
     crlf({"Content-Transfer-Encoding: quoted-printable", "", "=3Cb=3E"}), "{" + kMeta + "<b>|}"},
    {"raw HTML lines are joined", kHtml,
     crlf({"Content-Transfer-Encoding: 7bit", "", "a", "b", "", "c"}), "{" + kMeta + "ab|c}"},
    {"one Content- line below it goes with the empty line", kPlain,
     crlf({"Content-Transfer-Encoding: 7bit", "content-ID: <x>", "", "text"}), "text|"},
    {"two of them as well", kPlain,
     crlf(
         {"Content-Transfer-Encoding: 7bit", "Content-ID: <x>", "Content-Location: y", "", "text"}),
     "text|"},
    {"three end the header one line early", kPlain,
     crlf({"Content-Transfer-Encoding: 7bit", "Content-A: x", "Content-B: y", "Content-C: z", "",
           "text"}),
     "|text|"},
    {"one other line goes with the empty line", kPlain,
     crlf({"Content-Transfer-Encoding: 7bit", "X-Header: y", "", "text"}), "text|"},
    {"without any empty line two lines are lost", kPlain,
     crlf({"Content-Transfer-Encoding: 7bit", "first", "second", "third"}), "third|"},
    {"a type line directly below it begins the body", kPlain,
     crlf({"Content-Transfer-Encoding: base64", "Content-Type: text/html; charset=big5", "PGI+",
           ""}),
     "{" + kMeta + "<b>|}"},
    {"indented below a type line, the line below it is a type from its 14th character", kPlain,
     crlf({"Content-Type: text/plain", " Content-Transfer-Encoding: base64", kTwin, "PGI+", ""}),
     "{" + kMeta + "<b>|}"},
    {"not indented, that line is any line", kPlain,
     crlf({"Content-Type: text/plain", "Content-Transfer-Encoding: base64", kTwin, "PGI+", "YWJj"}),
     "abc"},
    {"in a body it leads back to the header and is not analysed", kPlain,
     crlf({"", "a", "Content-Transfer-Encoding: base64", "header", "", "b"}), "|a||b|"},
    {"and folded lines below it are no types", kPlain,
     crlf({"Content-Type: text/plain", "", "a", "Content-Transfer-Encoding: base64",
           " folded, and long enough", "", "b"}),
     "|a||b|"},
    {"indented in a body it is text", kPlain, crlf({"", " Content-Transfer-Encoding: base64"}),
     "| Content-Transfer-Encoding: base64|"},
    {"a type line in a body changes the type of what follows", kPlain,
     crlf({"", "a", "Content-Type: text/html", "b"}), "{|a|" + kMeta + "b}"},
    {"a folded line below a type line is taken for a type, from its 14th character", kPlain,
     crlf({"Content-Type: text/plain;", "\tformat=flowed; x=y", "", "lost"}), ""},
    {"a folded line below another header line is not", kPlain,
     crlf({"Content-Type: text/plain;", "X-Header: y", "\tformat=flowed; x=y", "", "text"}),
     "|text|"},
    {"nor is a folded charset line", kPlain,
     crlf({"Content-Type: text/plain;", "\tcharset=\"utf-8\"", "", "text"}), "|text|"},
    {"a body line that begins with a blank is no folded line", kPlain,
     crlf({"Content-Type: text/plain", "", "  text"}), "|  text|"},
    {"a line of blanks does not end the header", kPlain, crlf({"  ", "lost", "", "text"}),
     "|text|"},
    {"a part of another type is dropped", kPlain, crlf({"Content-Type: image/gif", "", "lost"}),
     ""},
};

TEST(MessageAlternativeHeader, DecidesWhereTheBodyBegins) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.promise);
        for (const bool stream : {false, true}) {
            MessageFixture f(row.partType);
            if (stream) {
                f.useStream();
            }
            EXPECT_EQ(f.walk(Mix_Content_Only, row.part + crlf({"--outer--", "rest"})), EML_OK);
            EXPECT_EQ(f.output(), row.output);
            EXPECT_EQ(f.unread(), "rest\r\n");
            f.expectNothingLeft();
        }
    }
}

struct KnownRow {
    const char *promise;
    int32_t partType;
    int32_t messageType;
    const char *charsetName;
    std::string part;
    std::string output;
};

const std::string kEncodingFirst = crlf({"Content-Transfer-Encoding: 7bit", "", "a", "", "b"});

const KnownRow kKnownRows[] = {
    {"alternative, charset known", kPlain, kAlternative, "UTF-8", kEncodingFirst, "a||b|"},
    {"related, charset known", kPlain, kRelated, "UTF-8", kEncodingFirst, "a||b|"},
    {"alternative, none known: there is a body, but no file for it", kPlain, kAlternative, "",
     kEncodingFirst, ""},
    {"related, none known: not even a body", kPlain, kRelated, "", kEncodingFirst, ""},
    {"HTML: the empty line below the transfer encoding makes do", kHtml, kAlternative, "",
     kEncodingFirst, "{" + kMeta + "a|b}"},
    {"HTML, related: it comes too late for the body's beginning", kHtml, kRelated, "",
     kEncodingFirst, "{" + kMeta + "|b}"},
    {"HTML without a transfer-encoding line", kHtml, kAlternative, "", crlf({"", "lost"}), ""},
    {"a charset line", kPlain, kRelated, "",
     crlf({" charset=\"utf-8\"", "Content-Transfer-Encoding: 7bit", "", "text"}), "text|"},
    {"not in other letters", kPlain, kRelated, "",
     crlf({" CHARSET=\"utf-8\"", "Content-Transfer-Encoding: 7bit", "", "lost"}), ""},
    {"an inner delimiter, for the parts behind it", kPlain, kAlternative, "",
     crlf({" boundary=\"inner\"", "Content-Transfer-Encoding: 7bit", "", "lost", "--inner",
           "Content-Type: text/plain", "", "text"}),
     "|text|"},
    {"not a message delimiter", kPlain, kAlternative, "",
     crlf({"Content-Transfer-Encoding: 7bit", "", "lost", "--outer", "Content-Type: text/plain", "",
           "lost"}),
     ""},
    {"a charset on the type line does not count", kPlain, kAlternative, "",
     crlf({"Content-Type: text/plain; charset=utf-8", "", "lost"}), ""},
};

TEST(MessageAlternativeHeader, LetsABodyInOnlyWhenACharsetIsKnown) {
    for (const KnownRow &row : kKnownRows) {
        SCOPED_TRACE(row.promise);
        MessageFixture f(row.partType, row.messageType, row.charsetName);
        EXPECT_EQ(f.walk(Mix_Content_Only, row.part + crlf({"--outer--", "", "--outer--"})),
                  EML_OK);
        EXPECT_EQ(f.output(), row.output);
        f.expectNothingLeft();
    }
}

struct CharsetRow {
    std::string line;
    std::string charsetName;
};

const CharsetRow kCharsetRows[] = {
    {" charset=\"gb2312\"", "ChineseGBK"},
    {"charset=\"koi8-r\"", "koi8-r"},
    {" charset=big5", ""},
    {"Content-Type: text/plain; charset=big5", "ChineseBIG5"},
    {"Content-Type: text/plain; charset=\"euc-kr\"; x=y", "KoreanKSC"},
    {" charset=\"" + std::string(100, 'x') + "\"", std::string(31, 'x')},
};

TEST(MessageAlternativeHeader, GivesTheCharsetThatTheTextIsConvertedFrom) {
    for (const CharsetRow &row : kCharsetRows) {
        SCOPED_TRACE(row.line);
        MessageFixture f;
        EXPECT_EQ(f.walk(Mix_Content_Only, crlf({row.line, "", "text", "--outer--"})), EML_OK);
        EXPECT_EQ(f.output(), "|text|");
        ASSERT_FALSE(f.host.conversions.empty());
        EXPECT_EQ(f.host.conversions.back().source, row.charsetName);
        EXPECT_EQ(f.host.conversions.back().input, "|text|");
    }
}

TEST(MessageAlternativeHeader, ClearsThePadCountWithEveryTypeLine) {
    for (const char *lines : {"Content-Type: image/gif\r\n",
                              "Content-Transfer-Encoding: 7bit\r\nContent-Type: image/gif\r\n"}) {
        MessageFixture f;
        f.handle.base64PadCount = 2;
        EXPECT_EQ(f.walk(Mix_Content_Only, lines), EML_OK);
        EXPECT_EQ(f.handle.base64PadCount, 0);
        EXPECT_EQ(f.handle.partContentType, EML_CT_IMAGE_GIF);
    }
}

TEST(MessageAlternativeHeader, DeclaresThePartsCharsetAsTheMessageWritesIt) {
    for (const std::string &charset :
         {std::string("utf-8"), std::string("Shift_JIS"), std::string("UTF-7"),
          std::string("HZ-GB-2312"), std::string("utf-7x"), std::string(), std::string(31, 'c'),
          std::string("a>b")}) {
        SCOPED_TRACE(charset);
        MessageFixture f(kHtml);
        std::strcpy(f.handle.partCharset, charset.c_str());
        EXPECT_EQ(f.walk(Mix_Content_Only, crlf({"", "x", "--outer--"})), EML_OK);
        EXPECT_EQ(f.output(), "{" + meta(charset) + "|x}");
    }
}

} // namespace
