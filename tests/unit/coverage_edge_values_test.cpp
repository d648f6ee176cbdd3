// SPDX-License-Identifier: MIT
// Arguments and header lines at the edge of what routines are made for, which no message of an
// ordinary writer brings: each still has one defined answer.
#include <cstring>
#include <string>

#include "emlcomm/quoted_printable.h"
#include "emlcontent/attachment_files.h"
#include "emlcontent/field_finders.h"
#include "support/text_body.h"
#include "support/text_walker_fixture.h"

namespace {

TEST(DecimalQuotedPrintable, TakesACharacterBelowTheDigitsForZero) {
    FilterFixture f;
    const std::string line = "=-5=7/x";
    EXPECT_EQ(analyzeQF_Con(&f.handle, line.data(), static_cast<uint32_t>(line.size())), 0);
    EXPECT_STREQ(f.handle.convBuffer, "\x05"
                                      "Fx");
}

TEST(AttachmentDigits, AreEmptyWithTheOldLengthBelowZero) {
    FilterFixture f;
    std::memset(f.handle.attachmentDigits, 'z', sizeof(f.handle.attachmentDigits));
    f.handle.attachmentDigitsLength = 3;
    f.handle.attachmentCount = -1;
    EXPECT_EQ(WriteNum(&f.handle), 0);
    const char cleared[sizeof(f.handle.attachmentDigits)] = {};
    EXPECT_EQ(std::memcmp(f.handle.attachmentDigits, cleared, sizeof(cleared)), 0);
    EXPECT_EQ(f.handle.attachmentDigitsLength, 3);
}

TEST(MessageCharset, StaysAsItWasWithoutAQuoteAndAKey) {
    FilterFixture f;
    std::strcpy(f.handle.charset, "UTF-8");
    EXPECT_EQ(findChartset(&f.handle, "text/plain; format=flowed"), 0);
    EXPECT_STREQ(f.handle.charset, "UTF-8");
}

TEST(PendingHtml, IsNotHandedOverTwice) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
    EXPECT_EQ(f.read("<p>a</p>\r\n"), EML_OK);
    ASSERT_EQ(f.host.inserts.size(), 1U);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_EQ(f.host.inserts.size(), 1U);
    EXPECT_EQ(f.leftovers(), std::vector<std::string>{});
}

// An indented Content-Type line names no type, but parameters may follow it again.
TEST(NestedAlternativeHeader, TakesAnIndentedTypeLineForAParameter) {
    TextWalkerFixture f;
    std::strcpy(f.handle.boundary, "outer");
    std::strcpy(f.handle.partBoundary, "inner");
    f.handle.partContentType = EML_CT_MULTIPART_ALTERNATIVE;
    f.setCharset("ISO-8859-1");
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     crlf({"--inner", "Content-Type: text/plain", "X-Header: y",
                           " Content-Type: text/html", "\tcharset=\"utf-8\"",
                           "Content-Transfer-Encoding: 7bit", "", "text", "--inner--", ""})),
              EML_OK);
    EXPECT_EQ(f.output(), "text|");
    f.expectNothingLeft();
}

} // namespace
