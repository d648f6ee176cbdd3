// SPDX-License-Identifier: MIT
// A text part of a mixed message: its end, the end of the file, and failures on the way.
#include "support/text_walker_fixture.h"

namespace {

Prepare part(int32_t type, int32_t encoding, uint32_t flags = EML_FLAG_ATTACHMENTS) {
    return [=](TextWalkerFixture &f) {
        std::strcpy(f.handle.boundary, "edge");
        f.handle.partContentType = type;
        f.handle.partTransferEncoding = encoding;
        f.params.flags = flags;
        f.setCharset("UTF-8");
    };
}

const std::string kBase64Part = crlf({"", "QUJD", "--edge"}) + kTail;
const std::string kRawPart = crlf({"", "abc", "--edge"}) + kTail;

TEST(TextPartEnd, RemovesTheCollectingFileAndReports22WhenItCannotBeReopened) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_PLAIN, EML_TE_BASE64)(f);
    f.load(kBase64Part);
    f.host.failCall("QOB_FileOpen", 2);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), 22);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    EXPECT_EQ(f.output(), "\n");
    f.expectNothingLeft();
}

TEST(TextPartEnd, LosesTextThatNoBufferCanBeHadForWithoutAnError) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_PLAIN, EML_TE_BASE64)(f);
    f.load(kBase64Part);
    f.host.failCall("QOB_malloc", 3); // behind the decoder's two
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "\n");
    EXPECT_EQ(f.unread(), kTail);
    f.expectNothingLeft();
}

TEST(TextPartEnd, HasNothingToFlushWhenTheFileIsEmptyOrItsSizeCannotBeTold) {
    const struct {
        const char *service;
        std::string part;
    } kRows[] = {{"", crlf({"Content-Transfer-Encoding: base64", "", "--edge"}) + kTail},
                 {"QOB_FileTell", kBase64Part}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.service);
        TextWalkerFixture f;
        part(EML_CT_TEXT_PLAIN, EML_TE_BASE64)(f);
        f.load(row.part);
        f.host.failCall(row.service, 1);
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), EML_OK);
        EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
        EXPECT_EQ(f.unread(), kTail);
        f.expectNothingLeft();
    }
}

TEST(TextPartEnd, AtTheEndOfTheFileEncodedPlainTextIsLostAndItsFileStays) {
    for (const int32_t encoding : {EML_TE_BASE64, EML_TE_QUOTED_PRINTABLE}) {
        TextWalkerFixture f;
        part(EML_CT_TEXT_PLAIN, encoding)(f);
        EXPECT_EQ(f.walk(Mix_Content_OnePart, crlf({"", "QUJD"})), EML_OK);
        EXPECT_EQ(f.output(), "\n");
        EXPECT_EQ(f.leftFiles(), std::vector<std::string>{"/tmp/t1"});
        f.expectAllReleased(); // the handle of the file that stays is closed
    }
}

TEST(TextPartEnd, AtTheEndOfTheFileUnencodedPlainTextIsAllWritten) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_PLAIN, 0)(f);
    EXPECT_EQ(f.walk(Mix_Content_OnePart, "\r\none\r\ntwo"), EML_OK);
    EXPECT_EQ(f.output(), "\none\ntwo\n");
    f.expectNothingLeft();
}

TEST(TextPartEnd, AtTheEndOfTheFileHtmlIsHandedOver) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_HTML, 0)(f);
    EXPECT_EQ(f.walk(Mix_Content_OnePart, crlf({"", "<b>"})), EML_OK);
    EXPECT_EQ(f.output(), "\n{<HTML><b>}");
    f.expectNothingLeft();
}

TEST(TextPartEnd, OfHtmlWithNothingBelowTheHeaderIsAnEmptyFileHandedOver) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_HTML, 0)(f);
    EXPECT_EQ(f.walk(Mix_Content_OnePart, ""), EML_OK);
    EXPECT_EQ(f.output(), "{}");
    f.expectNothingLeft();
}

TEST(TextPartEnd, IsReachedAtOnceInAnEmptyInput) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_PLAIN, EML_TE_BASE64)(f);
    EXPECT_EQ(f.walk(Mix_Content_OnePart, ""), EML_OK);
    EXPECT_EQ(f.output(), "");
    f.expectNothingLeft();
}

TEST(TextPartFailure, HtmlFileThatCannotBeMadeGives3000) {
    for (const char *service : {"QOB_FileOpen", "QOB_ASC_tmpnam"}) {
        SCOPED_TRACE(service);
        TextWalkerFixture f;
        part(EML_CT_TEXT_HTML, 0)(f);
        f.load(kRawPart);
        f.host.failCall(service, 1);
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), 3000);
        f.expectNothingLeft();
    }
}

TEST(TextPartFailure, HtmlNameThatWouldPassItsBoundGives3000WithoutAnOpen) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_HTML, 0)(f);
    f.host.tmpDirectory = std::string(4090, 'd'); // + "t1" + ".htm" is 4096 characters
    f.load(kRawPart);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), 3000);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
}

TEST(TextPartFailure, ShortWriteOfARawHtmlLineGives24AndRemovesTheFile) {
    for (const int32_t taken : {0, 1, 2}) {
        TextWalkerFixture f;
        part(EML_CT_TEXT_HTML, 0)(f);
        f.load(kRawPart);
        f.host.shortWriteLength = taken;
        f.host.failWritesTo(".htm", 2); // the first is of the opening tag
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), 24);
        EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
        EXPECT_EQ(f.host.inserts.size(), 0U);
        f.expectNothingLeft();
    }
}

TEST(TextPartFailure, ShortWriteOfTheHtmlOpeningIsNotChecked) {
    TextWalkerFixture f;
    part(EML_CT_TEXT_HTML, 0)(f);
    f.load(kRawPart);
    f.host.failWritesTo(".htm", 1);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "\n{abc}");
}

TEST(TextPartFailure, Base64DecoderReportsAndItsFileIsRemoved) {
    for (const int32_t type : {EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML}) {
        TextWalkerFixture f;
        part(type, EML_TE_BASE64)(f);
        f.load(kBase64Part);
        f.host.failCall("QOB_malloc", 1);
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), 3000);
        EXPECT_EQ(f.host.removed.size(), 1U);
        EXPECT_EQ(f.host.inserts.size(), 0U);
        f.expectNothingLeft();
    }
}

TEST(TextPartFailure, QuotedPrintableDecoderDoesNotEndThePart) {
    for (const int32_t type : {EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML}) {
        TextWalkerFixture f;
        part(type, EML_TE_QUOTED_PRINTABLE)(f);
        f.load(crlf({"", "lost", "kept", "--edge"}) + kTail);
        f.host.failCall("QOB_malloc", 1);
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), EML_OK);
        EXPECT_EQ(f.output(), type == EML_CT_TEXT_PLAIN ? "\nkept|" : "\n{<HTML>kept|}");
        EXPECT_EQ(f.unread(), kTail);
        f.expectNothingLeft();
    }
}

// ---- every service, each of its calls in turn ----

TEST(TextPartFailure, OfEachAllocationGivesTheDocumentedCode) {
    // Decoder: two buffers. Flush: the text, its conversion and the converter's input copy, whose
    // loss is no error.
    EXPECT_EQ(codesWhenFailing("QOB_malloc", Mix_Content_OnePart,
                               part(EML_CT_TEXT_PLAIN, EML_TE_BASE64), kBase64Part),
              (std::vector<int32_t>{3000, 3000, 0, 0, 0}));
    EXPECT_EQ(
        codesWhenFailing("QOB_malloc", Mix_Content_OnePart, part(EML_CT_TEXT_PLAIN, 0), kRawPart),
        (std::vector<int32_t>{0}));
    EXPECT_EQ(
        codesWhenFailing("QOB_malloc", Mix_Content_OnePart, part(EML_CT_TEXT_HTML, 0), kRawPart),
        (std::vector<int32_t>{3000}));
}

TEST(TextPartFailure, OfEachOpenGivesTheDocumentedCode) {
    EXPECT_EQ(codesWhenFailing("QOB_FileOpen", Mix_Content_OnePart,
                               part(EML_CT_TEXT_PLAIN, EML_TE_BASE64), kBase64Part),
              (std::vector<int32_t>{22, 22}));
    EXPECT_EQ(codesWhenFailing("QOB_FileOpen", Mix_Content_OnePart,
                               part(EML_CT_TEXT_HTML, EML_TE_BASE64), kBase64Part),
              (std::vector<int32_t>{3000}));
}

TEST(TextPartFailure, OfAnyServiceLeavesNothingBehindAndGivesADocumentedCode) {
    const std::set<int32_t> kDocumented = {0, 22, 24, 3000, 4242};
    std::string longPart = "\r\n=\r\n";
    for (int i = 0; i < 8; ++i) {
        longPart += std::string(2400, 'x') + "\r\n";
    }
    longPart += "--edge\r\n";
    for (const char *service : kWalkerServices) {
        for (const int32_t type : {EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML}) {
            for (const int32_t encoding : {EML_TE_BASE64, EML_TE_QUOTED_PRINTABLE, EML_TE_OTHER}) {
                for (const std::string &text : {kBase64Part, longPart}) {
                    for (const int32_t code :
                         codesWhenFailing(service, Mix_Content_OnePart,
                                          part(type, encoding, EML_FLAG_BOUND_TMPNAM), text)) {
                        EXPECT_EQ(kDocumented.count(code), 1U) << service << ": " << code;
                    }
                }
            }
        }
    }
}

} // namespace
