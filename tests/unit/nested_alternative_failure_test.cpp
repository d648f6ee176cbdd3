// SPDX-License-Identifier: MIT
// An alternative inside another multipart: failures of the host.
#include "support/text_walker_fixture.h"

namespace {

Prepare nested(uint32_t flags = EML_FLAG_ATTACHMENTS) {
    return [flags](TextWalkerFixture &f) {
        std::strcpy(f.handle.boundary, "outer");
        std::strcpy(f.handle.partBoundary, "inner");
        f.handle.partContentType = EML_CT_MULTIPART_ALTERNATIVE;
        f.params.flags = flags;
        f.setCharset("ISO-8859-1");
    };
}

std::string part(std::string_view type, std::string_view encoding, std::string_view text) {
    return crlf({"--inner", "Content-Type: " + std::string(type) + "; charset=utf-8",
                 "Content-Transfer-Encoding: " + std::string(encoding), "", text});
}
const std::string kClose = crlf({"--inner--", "consumed"}) + kTail;

struct Row {
    const char *promise;
    const char *service;
    std::string parts;
    std::vector<int32_t> codes; // with call 1, 2, ... failing
};

const Row kRows[] = {
    {"the text file is created and reopened",
     "QOB_FileOpen",
     part("text/plain", "7bit", "a"),
     {22, 22}},
    {"the HTML file is created", "QOB_FileOpen", part("text/html", "7bit", "a"), {22}},
    {"names",
     "QOB_ASC_tmpnam",
     part("text/plain", "7bit", "a") + part("text/html", "7bit", "a"),
     {22, 22}},
    {"only the insert record is allocated for raw HTML",
     "QOB_malloc",
     part("text/html", "7bit", "a"),
     {3000}},
    {"the base64 decoder reports; text that no buffer can be had for is lost",
     "QOB_malloc",
     part("text/plain", "base64", "YWJj"),
     {3000, 3000, 0, 0, 0}},
    {"the base64 decoder reports for HTML too",
     "QOB_malloc",
     part("text/html", "base64", "YWJj"),
     {3000, 3000, 3000}},
    {"the quoted-printable decoder's failure is passed over",
     "QOB_malloc",
     part("text/html", "quoted-printable", "abc"),
     {0, 0, 0, 3000}},
    {"writes of plain text are not checked",
     "QOB_FileWrite",
     part("text/plain", "7bit", "a"),
     {0, 0, 0}},
    {"of HTML the opening is not checked, a raw line is",
     "QOB_FileWrite",
     part("text/html", "7bit", "a"),
     {0, 24}},
    {"an encoded HTML line is not checked",
     "QOB_FileWrite",
     part("text/html", "base64", "YWJj"),
     {0, 0}},
    {"the host's error is returned",
     "insert",
     part("text/html", "7bit", "a") + part("text/html", "7bit", "b"),
     {4242, 4242}},
    {"sizes that cannot be told", "QOB_FileTell", part("text/plain", "7bit", "a"), {0}},
};

TEST(NestedAlternativeFailure, GivesTheDocumentedCodeAndLeavesNothingBehind) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.promise);
        EXPECT_EQ(codesWhenFailing(row.service, Mix_Content_alter, nested(), row.parts + kClose),
                  row.codes);
    }
}

TEST(NestedAlternativeFailure, RemovesTheTextFileThatCannotBeReopened) {
    TextWalkerFixture f;
    nested()(f);
    f.load(part("text/plain", "7bit", "a") + kClose);
    f.host.failCall("QOB_FileOpen", 2);
    EXPECT_EQ(Mix_Content_alter(&f.handle), 22);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
}

TEST(NestedAlternativeFailure, RemovesTheHtmlFileOfAShortWrite) {
    TextWalkerFixture f;
    nested()(f);
    f.load(part("text/html", "7bit", "abc") + kClose);
    f.host.shortWriteLength = 2;
    f.host.failWritesTo(".htm", 2);
    EXPECT_EQ(Mix_Content_alter(&f.handle), 24);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
    EXPECT_TRUE(f.host.inserts.empty());
}

TEST(NestedAlternativeFailure, OfAnInsertionIsStoredAndTheWalkGoesOnWhenTheFlagSaysSo) {
    TextWalkerFixture f;
    nested(EML_FLAG_KEEP_GOING)(f);
    f.load(part("text/html", "7bit", "<html>1") + part("text/html", "7bit", "<html>2") + kClose);
    f.host.failCall("insert", 1);
    EXPECT_EQ(Mix_Content_alter(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.result, 4242);
    EXPECT_EQ(f.output(), "{<html>2}");
    EXPECT_EQ(f.unread(), kTail);
    f.expectNothingLeft();
}

TEST(NestedAlternativeFailure, HtmlNameThatWouldPassItsBoundGives22WithoutAnOpen) {
    TextWalkerFixture f;
    nested()(f);
    f.host.tmpDirectory = std::string(4090, 'd');
    f.load(part("text/html", "7bit", "abc") + kClose);
    EXPECT_EQ(Mix_Content_alter(&f.handle), 22);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
}

TEST(NestedAlternativeFailure, OfABlockThatCannotBeHadGives3000) {
    TextWalkerFixture f;
    nested()(f);
    f.load(part("text/plain", "7bit", "a") + std::string(17000, '\n'));
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(Mix_Content_alter(&f.handle), 3000);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
    f.expectNothingLeft();
}

TEST(NestedAlternativeFailure, OfAnyServiceLeavesNothingBehindAndGivesADocumentedCode) {
    const std::set<int32_t> kDocumented = {0, 22, 24, 3000, 4242};
    std::string text;
    for (const char *encoding : {"base64", "quoted-printable", "7bit"}) {
        text += part("text/plain", encoding, std::string(2500, 'x') + "=");
        text += part("text/html", encoding, std::string(2500, 'y') + "=");
    }
    text += part("text/plain", "7bit", "end");
    for (const char *service : kWalkerServices) {
        for (const uint32_t flags : {0U, EML_FLAG_KEEP_GOING | EML_FLAG_BOUND_TMPNAM}) {
            for (const int32_t code : codesWhenFailing(service, Mix_Content_alter, nested(flags),
                                                       text + crlf({"--inner--", ""}))) {
                EXPECT_EQ(kDocumented.count(code), 1U) << service << ": " << code;
            }
        }
    }
}

} // namespace
