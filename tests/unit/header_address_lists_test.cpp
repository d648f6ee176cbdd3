// SPDX-License-Identifier: MIT
// The header reader: To, Cc and Bcc, whose lines may continue one another.
#include <gtest/gtest.h>

#include "support/header_reading.h"

namespace {

TEST(AddressLists, WriteEachLabelOncePerMessage) {
    const HeaderRow rows[] = {
        {"To", "To: a\r\n\r\n", "To: a\n\n"},
        {"Cc", "Cc: a\r\n\r\n", "Cc: a\n\n"},
        {"Bcc", "Bcc: a\r\n\r\n", "Bcc: a\n\n"},
        {"names in any case", "TO: a\r\nCC: b\r\nbCC: c\r\n\r\n", "To: a\nCc: b\nBcc: c\n\n"},
        {"a second To is handed over whole", "To: a\r\nTo: b\r\n\r\n", "To: aTo: b\n\n"},
        {"a second To in any case", "To: a\r\nTO: b\r\n\r\n", "To: aTO: b\n\n"},
        {"a second Cc without its name", "Cc: a\r\nCc: b\r\n\r\n", "Cc: ab\n\n"},
        {"a second Bcc without its name", "Bcc: a\r\nBcc: b\r\n\r\n", "Bcc: ab\n\n"},
        {"a later To follows the last text", "To: a\r\nSubject: s\r\nTo: b\r\n\r\n",
         "To: a\nSubject: sTo: b\n\n"},
        {"names alone", "To:\r\nCc:\r\nBcc:\r\n\r\n", "To: \nCc: \nBcc: \n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(AddressLists, BeginAtTheFieldsOwnPosition) {
    const HeaderRow rows[] = {
        {"To: from the 5th character", "To: ab\r\n\r\n", "To: ab\n\n"},
        {"To: the 4th is not looked at", "To:ab\r\n\r\n", "To: b\n\n"},
        {"To: a comma and no blank", "To:ab,\r\n\r\n", "To: ab,\n\n"},
        {"To: a comma and a blank", "To: ab,\r\n\r\n", "To: ab,\n\n"},
        {"To: a comma and a tab", "To:\tab,\r\n\r\n", "To: ab,\n\n"},
        {"To: a comma alone", "To:,\r\n\r\n", "To: ,\n\n"},
        {"To: one character", "To:a\r\n\r\n", "To: \n\n"},
        {"Cc: behind a blank", "Cc: ab\r\n\r\n", "Cc: ab\n\n"},
        {"Cc: behind a tab", "Cc:\tab\r\n\r\n", "Cc: ab\n\n"},
        {"Cc: without a blank", "Cc:ab\r\n\r\n", "Cc: ab\n\n"},
        {"Cc: one blank only", "Cc:  ab\r\n\r\n", "Cc:  ab\n\n"},
        {"Bcc: from the 6th character", "Bcc: ab\r\n\r\n", "Bcc: ab\n\n"},
        {"Bcc: the 5th is not looked at", "Bcc:ab\r\n\r\n", "Bcc: b\n\n"},
        {"Bcc: one character", "Bcc:a\r\n\r\n", "Bcc: \n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(AddressLists, GoOnInFoldedLines) {
    const HeaderRow rows[] = {
        {"To", "To: a\r\n b\r\n\r\n", "To: ab\n\n"},
        {"To, twice", "To: a\r\n b\r\n \tc\r\n\r\n", "To: abc\n\n"},
        {"Cc", "Cc: a\r\n b\r\n\r\n", "Cc: ab\n\n"},
        {"Bcc from the sixth character", "Bcc: a\r\n bcdefg\r\n\r\n", "Bcc: afg\n\n"},
        {"a short folded Bcc line is lost", "Bcc: a\r\n bcd\r\n\r\n", "Bcc: a\n\n"},
        {"a folded line may open a list", "To: a\r\n b,\r\nSubject: s\r\n\r\n",
         "To: ab,Subject: s\n\n"},
        {"not behind a skipped field", "To: a\r\nX: y\r\n b\r\n\r\n", "To: a\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(AddressLists, StayOpenBehindAComma) {
    const HeaderRow rows[] = {
        {"To takes a Subject line", "To: a,\r\nSubject: s\r\n\r\n", "To: a,Subject: s\n\n"},
        {"To takes a folded line", "To: a,\r\n  b\r\n\r\n", "To: a,b\n\n"},
        {"To takes a Date line", "To: a,\r\nDate: d\r\n\r\n", "To: a,Date: d\n\n"},
        {"To takes a Cc line", "To: a,\r\nCc: c\r\n\r\n", "To: a,Cc: c\n\n"},
        {"comma after comma", "To: a,\r\nb,\r\nc\r\nSubject: s\r\n\r\n",
         "To: a,b,c\nSubject: s\n\n"},
        {"Cc takes an unknown line", "Cc: a,\r\nX: y\r\n\r\n", "Cc: a,X: y\n\n"},
        {"Cc takes a Bcc line", "Cc: a,\r\nBcc: b\r\n\r\n", "Cc: a,Bcc: b\n\n"},
        {"Bcc takes an unknown line", "Bcc: a,\r\n  b\r\n\r\n", "Bcc: a,b\n\n"},
        {"Bcc takes a boundary line", "Bcc: a,\r\n--x\r\nSubject: s\r\n\r\n",
         "Bcc: a,--x\nSubject: s\n\n"},
        {"a list ended goes on in folded lines", "Cc: a,\r\n b\r\n c\r\n\r\n", "Cc: a,bc\n\n"},
        {"a comma and a blank do not", "To: a, \r\nSubject: s\r\n\r\n", "To: a, \nSubject: s\n\n"},
        {"the empty line ends it all", "To: a,\r\n\r\nb\r\n", "To: a,\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(AddressLists, YieldToTheFieldsTestedBeforeThem) {
    const HeaderRow rows[] = {
        {"From while To is open; To stays open", "To: a,\r\nFrom: f\r\nX: y\r\n\r\n",
         "To: a,\nFrom: fX: y\n\n"},
        {"Subject while Cc is open; Cc stays open", "Cc: a,\r\nSubject: s\r\nX: y\r\n\r\n",
         "Cc: a,\nSubject: sX: y\n\n"},
        {"Date while Cc is open; Cc stays open", "Cc: a,\r\nDate: d\r\nX: y\r\n\r\n",
         "Cc: a,X: y\nDate: d\n"},
        {"To while Cc is open ends Cc's list", "Cc: a,\r\nTo: t\r\nX: y\r\n\r\n",
         "Cc: a,\nTo: t\n\n"},
        {"Cc while Bcc is open continues it, name included", "Bcc: a,\r\nCc: c\r\nX: y\r\n\r\n",
         "Bcc: a,\nCc: Cc: c\n\n"},
        {"a transfer encoding while Bcc is open",
         "Bcc: a,\r\nContent-Transfer-Encoding: 8bit\r\nb\r\n\r\n", "Bcc: a,b\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(AddressLists, KeepLinesFromCountingAsFoldedWhileOpen) {
    // The folded line would continue Subject; the open list takes it, and is closed by it.
    expectHeader({"Subject in an open list", "Cc: a,\r\nSubject: s\r\n b\r\nX: y\r\n\r\n",
                  "Cc: a,\nSubject: sb\n\n"});
}

TEST(AddressLists, CountAsOneOfTheFiveFields) {
    for (const char *header : {"To: a\r\n\r\n", "Cc: a\r\n\r\n", "Bcc: a\r\n\r\n"}) {
        EXPECT_EQ(HeaderRun(header).code, EML_OK) << header;
    }
}

TEST(AddressLists, DecodeEncodedWordsAndAddresses) {
    expectHeader(
        {"all three", "To: \"N\" <a@b>,\r\n =?utf-8?Q?c=40d?=\r\n\r\n", "To: \"N\" <a@b>,c@d\n\n"});
}

} // namespace
