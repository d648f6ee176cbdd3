// SPDX-License-Identifier: MIT
// A message that is an alternative itself: failures of the host, and HTML in charsets that HTML
// filters do not read.
#include <algorithm>

#include "support/text_walker_fixture.h"

namespace {

Prepare alternative(int32_t partType, const char *partCharset = "utf-8",
                    uint32_t flags = EML_FLAG_ATTACHMENTS) {
    return [=](TextWalkerFixture &f) {
        std::strcpy(f.handle.boundary, "outer");
        std::strcpy(f.handle.partBoundary, "inner");
        f.handle.contentType = EML_CT_MULTIPART_ALTERNATIVE;
        f.handle.partContentType = partType;
        std::strcpy(f.handle.partCharset, partCharset);
        f.params.flags = flags;
        f.setCharset("UTF-7");
    };
}
constexpr int32_t kPlain = EML_CT_TEXT_PLAIN;
constexpr int32_t kHtml = EML_CT_TEXT_HTML;

std::string part(std::string_view encoding, std::string_view text, std::string_view delimiter) {
    return crlf({"Content-Transfer-Encoding: " + std::string(encoding), "", text, delimiter}) +
           kTail;
}

struct Row {
    const char *promise;
    const char *service;
    int32_t partType;
    std::string text;
    std::vector<int32_t> codes; // with call 1, 2, ... failing
};

const Row kRows[] = {
    {"plain text: created, reopened at the closing delimiter",
     "QOB_FileOpen",
     kPlain,
     part("7bit", "text", "--outer--"),
     {22, 22}},
    {"plain text: reopened at an inner delimiter",
     "QOB_FileOpen",
     kPlain,
     part("7bit", "text", "--inner"),
     {22, 22}},
    {"plain text: not reopened at a message delimiter",
     "QOB_FileOpen",
     kPlain,
     part("7bit", "text", "--outer"),
     {22}},
    {"HTML: created", "QOB_FileOpen", kHtml, part("7bit", "text", "--outer--"), {22}},
    {"a name", "QOB_ASC_tmpnam", kHtml, part("7bit", "text", "--outer--"), {22}},
    {"decoder twice, the collected text, its conversion twice",
     "QOB_malloc",
     kPlain,
     part("base64", "YWJj", "--outer--"),
     {3000, 3000, 3000, 0, 0}},
    {"text that is thrown away is read back all the same",
     "QOB_malloc",
     kPlain,
     part("7bit", "text", "--inner"),
     {3000}},
    {"HTML: decoder twice, insert record",
     "QOB_malloc",
     kHtml,
     part("base64", "YWJj", "--outer--"),
     {3000, 3000, 3000}},
    {"the quoted-printable decoder's failure is passed over",
     "QOB_malloc",
     kHtml,
     part("quoted-printable", "abc", "--outer--"),
     {0, 0, 0, 3000}},
    {"the declaration is not checked, a raw HTML line is",
     "QOB_FileWrite",
     kHtml,
     part("7bit", "text", "--outer--"),
     {0, 24}},
    {"plain lines are not checked",
     "QOB_FileWrite",
     kPlain,
     part("7bit", "text", "--outer--"),
     {0, 0, 0}},
    {"the host's error at the final step",
     "insert",
     kHtml,
     part("7bit", "text", "--outer--"),
     {4242}},
    {"the host's error at an inner delimiter",
     "insert",
     kHtml,
     part("7bit", "text", "--inner"),
     {4242}},
};

TEST(MessageAlternativeFailure, GivesTheDocumentedCodeAndLeavesNothingBehind) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.promise);
        EXPECT_EQ(
            codesWhenFailing(row.service, Mix_Content_Only, alternative(row.partType), row.text),
            row.codes);
    }
}

TEST(MessageAlternativeFailure, OfAShortWriteRemovesTheFile) {
    TextWalkerFixture f;
    alternative(kHtml)(f);
    f.load(part("7bit", "text", "--outer--"));
    f.host.shortWriteLength = 3;
    f.host.failWritesTo(".htm", 2);
    EXPECT_EQ(Mix_Content_Only(&f.handle), 24);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
    EXPECT_TRUE(f.host.inserts.empty());
}

TEST(MessageAlternativeFailure, OfAnInsertionIsStoredWhenTheFlagSaysSo) {
    TextWalkerFixture f;
    alternative(kHtml, "utf-8", EML_FLAG_KEEP_GOING)(f);
    f.load(part("7bit", "one", "--inner") + crlf({"", "two", "--outer--", "rest"}));
    f.host.failCall("insert", 1);
    EXPECT_EQ(Mix_Content_Only(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.result, 4242);
    EXPECT_EQ(f.output(), "{|two}");
    EXPECT_EQ(f.unread(), "rest\r\n");
    f.expectNothingLeft();
}

TEST(MessageAlternativeFailure, OfABlockThatCannotBeHadGives3000) {
    TextWalkerFixture f;
    alternative(kPlain)(f);
    f.load(crlf({"", "text"}) + std::string(17000, '\n'));
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(Mix_Content_Only(&f.handle), 3000);
    f.expectNothingLeft();
}

TEST(MessageAlternativeFailure, OfALongNameGives22WithoutAnOpen) {
    for (const int32_t type : {kPlain, kHtml}) { // both names end in ".htm"
        TextWalkerFixture f;
        alternative(type)(f);
        f.host.tmpDirectory = std::string(4090, 'd');
        f.load(part("7bit", "text", "--outer--"));
        EXPECT_EQ(Mix_Content_Only(&f.handle), 22);
        EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
    }
}

TEST(MessageAlternativeFailure, OfAnyServiceLeavesNothingBehindAndGivesADocumentedCode) {
    const std::set<int32_t> kDocumented = {0, 12, 22, 24, 3000, 4242};
    for (const char *service : kWalkerServices) {
        for (const int32_t type : {kPlain, kHtml}) {
            for (const char *encoding : {"base64", "quoted-printable", "7bit"}) {
                const std::string text = part(encoding, std::string(2500, 'x') + "=", "--inner") +
                                         crlf({""}) + part(encoding, "+AGE-", "--outer--");
                for (const char *charset : {"utf-8", "utf-7"}) {
                    for (const int32_t code : codesWhenFailing(
                             service, Mix_Content_Only,
                             alternative(type, charset, EML_FLAG_BOUND_TMPNAM), text)) {
                        EXPECT_EQ(kDocumented.count(code), 1U) << service << ": " << code;
                    }
                }
            }
        }
    }
}

// ---- HTML that is converted to UTF-8 first ----

const std::string kSevenBit = part("7bit", "+AGE-", "--outer--");

void decodeUtf7(ScriptedHost &host) {
    host.convert = [](const std::string &source, const std::string &input) {
        return std::optional<std::string>(source == "UTF-7" && input == "+AGE-" ? "a" : input);
    };
}

TEST(HtmlToUtf8, ConvertsTheDocumentAndDeclaresUtf8) {
    for (const char *charset : {"utf-7", "hz-gb-2312"}) {
        SCOPED_TRACE(charset);
        TextWalkerFixture f;
        alternative(kHtml, charset)(f);
        decodeUtf7(f.host);
        EXPECT_EQ(f.walk(Mix_Content_Only, kSevenBit), EML_OK);
        EXPECT_EQ(f.output(), "{" + meta("utf-8") + "a}");
        EXPECT_EQ(f.host.removed, (std::vector<std::string>{"/tmp/t1.htm", "/tmp/t2.htm"}));
        f.expectNothingLeft();
    }
}

TEST(HtmlToUtf8, ReadsTheBodyInItsCharsetAndTheDeclarationInLatin1) {
    TextWalkerFixture f;
    alternative(kHtml, "utf-7")(f);
    EXPECT_EQ(f.walk(Mix_Content_Only, kSevenBit), EML_OK);
    std::vector<std::pair<std::string, std::string>> conversions;
    for (const ConversionCall &call : f.host.conversions) {
        if (call.output == "UTF-8" && call.record.textConversion == 1 && call.started == 0) {
            conversions.emplace_back(call.source, call.input);
        }
    }
    using Pair = std::pair<std::string, std::string>;
    EXPECT_EQ(conversions, (std::vector<Pair>{{"UTF-7", "+AGE-"}, {"ISO-8859-1", meta("utf-8")}}));
}

TEST(HtmlToUtf8, IsForTheTwoNamesExactly) {
    for (const char *charset : {"UTF-7", "utf-7 ", "utf-77", "HZ-GB-2312", "hz", ""}) {
        SCOPED_TRACE(charset);
        TextWalkerFixture f;
        alternative(kHtml, charset)(f);
        decodeUtf7(f.host);
        EXPECT_EQ(f.walk(Mix_Content_Only, kSevenBit), EML_OK);
        EXPECT_EQ(f.output(), "{" + meta(charset) + "+AGE-}");
    }
}

TEST(HtmlToUtf8, IsLeftOutAtAnInnerDelimiter) {
    TextWalkerFixture f;
    alternative(kHtml, "utf-7")(f);
    decodeUtf7(f.host);
    EXPECT_EQ(f.walk(Mix_Content_Only, part("7bit", "+AGE-", "--inner")), EML_OK);
    EXPECT_EQ(f.output(), "{+AGE-}");
}

TEST(HtmlToUtf8, HasRoomForFourBytesEach) {
    TextWalkerFixture f;
    alternative(kHtml, "utf-7")(f);
    f.host.convert = [](const std::string &source, const std::string &input) {
        return std::optional<std::string>(source == "UTF-7" ? std::string(4 * input.size(), 'w')
                                                            : input);
    };
    EXPECT_EQ(f.walk(Mix_Content_Only, part("7bit", std::string(2000, 'x'), "--outer--")), EML_OK);
    EXPECT_EQ(f.output(), "{" + meta("utf-8") + std::string(8000, 'w') + "}");
}

TEST(HtmlToUtf8, HandsOverTheDeclarationAloneWhenNothingCanBeConverted) {
    const struct {
        const char *promise;
        std::string text;
    } kEmptyRows[] = {{"empty", part("quoted-printable", "=", "--outer--")},
                      {"refused", kSevenBit}};
    for (const auto &row : kEmptyRows) {
        SCOPED_TRACE(row.promise);
        TextWalkerFixture f;
        alternative(kHtml, "utf-7")(f);
        f.host.convert = [](const std::string &source, const std::string &input) {
            return source == "UTF-7" ? std::nullopt : std::optional<std::string>(input);
        };
        EXPECT_EQ(f.walk(Mix_Content_Only, row.text), EML_OK);
        EXPECT_EQ(f.output(), "{" + meta("utf-8") + "}");
        f.expectNothingLeft();
    }
}

TEST(HtmlToUtf8, FailsWith12ForItsBuffersAnd22ForItsFiles) {
    const Prepare prepare = alternative(kHtml, "utf-7");
    std::vector<int32_t> codes =
        codesWhenFailing("QOB_malloc", Mix_Content_Only, prepare, kSevenBit);
    std::sort(codes.begin(), codes.end());
    // Two copies that the converter does without, four buffers, the insert record.
    EXPECT_EQ(codes, (std::vector<int32_t>{0, 0, 12, 12, 12, 12, 3000}));
    EXPECT_EQ(codesWhenFailing("QOB_FileOpen", Mix_Content_Only, prepare, kSevenBit),
              (std::vector<int32_t>{22, 22, 22}));
    EXPECT_EQ(codesWhenFailing("QOB_FileTellSize", Mix_Content_Only, prepare, kSevenBit),
              (std::vector<int32_t>{12}));
}

} // namespace
