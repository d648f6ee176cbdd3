// SPDX-License-Identifier: MIT
// The header reader: From and Subject, what it records of the MIME fields, and where it stops.
#include <gtest/gtest.h>

#include <cstring>

#include "emlcontent/field_finders.h"
#include "support/header_reading.h"

namespace {

TEST(HeaderFields, WritesFromAndSubjectUnderTheirLabels) {
    const HeaderRow rows[] = {
        {"From", "From: a@b\r\n\r\n", "From: a@b\n\n"},
        {"Subject", "Subject: s\r\n\r\n", "Subject: s\n\n"},
        {"names in any case", "FROM: a\r\nsUBJECT: s\r\n\r\n", "From: a\nSubject: s\n\n"},
        {"in the order of the file", "Subject: s\r\nFrom: a\r\n\r\n", "Subject: s\nFrom: a\n\n"},
        {"a name without a blank", "From:a\r\nSubject:s\r\n\r\n", "From: a\nSubject: s\n\n"},
        {"a tab is the one blank", "From:\ta\r\n\r\n", "From: a\n\n"},
        {"a second blank stays", "From:  a\r\nSubject: \ts\r\n\r\n", "From:  a\nSubject: \ts\n\n"},
        {"a name alone gives the label", "From:\r\nSubject:\r\n\r\n", "From: \nSubject: \n\n"},
        {"a name and a blank", "From: \r\n\r\n", "From: \n\n"},
        {"the label again for every From", "From: a\r\nFrom: b\r\n\r\n", "From: a\nFrom: b\n\n"},
        {"the label again for every Subject", "Subject: a\r\nSubject: b\r\n\r\n",
         "Subject: a\nSubject: b\n\n"},
        {"a name is no beginning of another", "Fromage: a\r\nSubject: s\r\n\r\n", "Subject: s\n\n"},
        {"a lone LF and a lone CR end lines too", "From: a\nSubject: s\r\r",
         "From: a\nSubject: s\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(HeaderFields, JoinsFoldedLinesWithoutALineEnd) {
    const HeaderRow rows[] = {
        {"Subject", "Subject: a\r\n b\r\n\r\n", "Subject: ab\n\n"},
        {"From", "From: a\r\n\tb\r\n\r\n", "From: ab\n\n"},
        {"several blanks", "Subject: a\r\n \t  b\r\n\r\n", "Subject: ab\n\n"},
        {"several lines", "Subject: a\r\n b\r\n c\r\n d\r\n\r\n", "Subject: abcd\n\n"},
        {"a name alone, then its value", "Subject:\r\n s\r\n\r\n", "Subject: s\n\n"},
        {"a folded line is no field", "Subject: a\r\n From: b\r\n\r\n", "Subject: aFrom: b\n\n"},
        {"not behind a skipped field", "From: a\r\nX-Y: z\r\n b\r\n\r\n", "From: a\n\n"},
        {"not behind a Date line", "From: a\r\nDate: d\r\n b\r\n\r\n", "From: a\nDate: d\n"},
        {"not behind a transfer encoding",
         "Subject: a\r\nContent-Transfer-Encoding: 8bit\r\n b\r\n\r\n", "Subject: a\n\n"},
        {"a line of blanks is folded and empty", "From: a\r\n \t \r\n b\r\n\r\n", "From: ab\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(HeaderFields, SkipsEveryOtherField) {
    const HeaderRow rows[] = {
        {"Received", "Received: x\r\n by y\r\nFrom: a\r\n\r\n", "From: a\n\n"},
        {"X-MimeOLE", "From: a\r\nX-MimeOLE: x\r\n y\r\nSubject: s\r\n\r\n",
         "From: a\nSubject: s\n\n"},
        {"text that is no field", "From: a\r\nnothing\r\n\r\n", "From: a\n\n"},
        {"a single dash", "From: a\r\n-\r\nSubject: s\r\n\r\n", "From: a\nSubject: s\n\n"},
        {"a folded first line", " x\r\nFrom: a\r\n\r\n", "From: a\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(HeaderFields, EndsAtTheEmptyLineAndLeavesTheBody) {
    HeaderRun run("From: a\r\n\r\nbody");
    EXPECT_EQ(run.code, EML_OK);
    EXPECT_EQ(run.f.handle.blockPos, 11);
}

TEST(HeaderFields, EndsWithTheInput) {
    expectHeader({"no empty line", "From: a\r\nSubject: s", "From: a\nSubject: s\n\n"});
    expectHeader({"no field at all", "X: y\r\n", "\n"});
    expectHeader({"no input", "", "\n"});
}

TEST(HeaderFields, EndsAtTheMessageBoundary) {
    const HeaderRow rows[] = {
        {"the boundary",
         "From: a\r\nContent-Type: multipart/mixed; boundary=\"bo\"\r\n--bo\r\nSubject: s\r\n\r\n",
         "From: a\n\n"},
        {"what begins with it",
         "From: a\r\nContent-Type: multipart/mixed; boundary=\"bo\"\r\n--bo--\r\nSubject: "
         "s\r\n\r\n",
         "From: a\n\n"},
        {"not another one",
         "From: a\r\nContent-Type: multipart/mixed; boundary=\"bo\"\r\n--Bo\r\nSubject: s\r\n\r\n",
         "From: a\nSubject: s\n\n"},
        {"not an indented one",
         "From: a\r\nContent-Type: multipart/mixed; boundary=\"bo\"\r\n --bo\r\nSubject: s\r\n\r\n",
         "From: a\nSubject: s\n\n"},
        {"any dashes while the boundary is empty", "From: a\r\n--x\r\nSubject: s\r\n\r\n",
         "From: a\n\n"},
        {"two dashes alone", "From: a\r\n--\r\nSubject: s\r\n\r\n", "From: a\n\n"},
        {"also before any field", "--x\r\nSubject: s\r\n\r\n", "\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(HeaderFields, ConsumesTheBoundaryLineThatEndsIt) {
    HeaderRun run("From: a\r\n--x\r\nbody");
    EXPECT_EQ(run.f.handle.blockPos, 14);
}

TEST(HeaderFields, RecordsTypeBoundaryCharsetAndEncoding) {
    struct Row {
        const char *promise;
        const char *fields;
        int32_t contentType;
        const char *boundary;
        const char *charset;
        int32_t encoding;
    };
    const Row rows[] = {
        {"type and charset", "Content-Type: text/html; charset=utf-8\r\n", EML_CT_TEXT_HTML, "",
         "utf-8", 0},
        {"no blank, any case", "CONTENT-TYPE:Text/Plain\r\n", EML_CT_TEXT_PLAIN, "", "", 0},
        {"boundary on the line", "Content-Type: multipart/mixed; boundary=\"b1\"\r\n",
         EML_CT_MULTIPART_MIXED, "b1", "", 0},
        {"boundary on a folded line", "Content-Type: multipart/mixed;\r\n\tboundary=\"b1\"\r\n",
         EML_CT_MULTIPART_MIXED, "b1", "", 0},
        {"Boundary with a capital", "Content-Type: multipart/related;\r\n Boundary=\"b1\"\r\n",
         EML_CT_MULTIPART_RELATED, "b1", "", 0},
        {"BOUNDARY is not known", "Content-Type: multipart/mixed; BOUNDARY=\"b1\"\r\n",
         EML_CT_MULTIPART_MIXED, "", "", 0},
        {"charset on a folded line", "Content-Type: text/plain;\r\n charset=big5\r\n",
         EML_CT_TEXT_PLAIN, "", "big5", 0},
        {"several folded lines", "Content-Type: multipart/mixed;\r\n x=y;\r\n boundary=\"b1\"\r\n",
         EML_CT_MULTIPART_MIXED, "b1", "", 0},
        {"the type on the folded line's 14th character",
         "Content-Type:\r\n 0123456789abtext/html\r\n", EML_CT_TEXT_HTML, "", "", 0},
        {"a shorter folded line gives no type", "Content-Type: text/plain;\r\n text/html\r\n",
         EML_CT_TEXT_PLAIN, "", "", 0},
        {"a name alone gives no type", "Content-Type:\r\n", EML_CT_OTHER, "", "", 0},
        {"base64", "Content-Transfer-Encoding: base64\r\n", 0, "", "", EML_TE_BASE64},
        {"quoted-printable, any case", "content-transfer-encoding:QUOTED-PRINTABLE\r\n", 0, "", "",
         EML_TE_QUOTED_PRINTABLE},
        {"8bit", "Content-Transfer-Encoding: 8bit\r\n", 0, "", "", EML_TE_OTHER},
        {"no encoding named", "Content-Transfer-Encoding:\r\n", 0, "", "", EML_TE_OTHER},
        {"parameters only below Content-Type",
         "Content-Type: multipart/mixed\r\nX: y\r\n boundary=\"b1\"\r\n", EML_CT_MULTIPART_MIXED,
         "", "", 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        HeaderRun run(std::string("From: a\r\n") + row.fields + "\r\n");
        EXPECT_EQ(run.code, EML_OK);
        EXPECT_EQ(run.text, "From: a\n\n");
        EXPECT_EQ(run.f.handle.contentType, row.contentType);
        EXPECT_STREQ(run.f.handle.boundary, row.boundary);
        EXPECT_STREQ(run.f.handle.charset, row.charset);
        EXPECT_EQ(run.f.handle.transferEncoding, row.encoding);
    }
}

TEST(HeaderFields, LeaveTheEncodedWordFlagClear) {
    for (const char *header : {"Subject: s\r\n\r\n", "Subject: s\r\n--\r\n", "Subject: s"}) {
        HeaderRun run(header);
        EXPECT_EQ(run.text, "Subject: s\n\n");
        EXPECT_EQ(run.f.handle.encodedWordFlag, 0) << header;
    }
}

TEST(HeaderFields, ConvertLabelsFromLatin1AndValuesFromTheDefaultCharset) {
    FilterFixture f;
    std::strcpy(f.handle.defaultCharset, "WINDOWS31J");
    f.load("From: a\r\n\r\n");
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(convertedPieces(f.host), "L{From: }WINDOWS31J{a}L{}");
}

TEST(HeaderFields, GoToTheStreamInStreamMode) {
    FilterFixture f;
    f.useStream();
    f.load("From: a\r\nTo: b\r\nSubject: =?utf-8?B?c3U=?=\r\nDate: d\r\n\r\n");
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "From: a\nTo: b\nSubject: su\nDate: d\n");
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
}

} // namespace
