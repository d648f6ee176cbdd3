// SPDX-License-Identifier: MIT
// Cards of the versions 2.1, 3.0 and 4.0.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

class Card : public FilterTest {
protected:
    std::string textOfCard(std::string_view lines) {
        return textOf(CALENDAR_FILTER, "BEGIN:VCARD\r\n" + std::string(lines) + "END:VCARD\r\n");
    }
};

TEST_F(Card, Version3) {
    EXPECT_EQ(textOfCard("VERSION:3.0\r\n"
                         "N:Doe;Jo;;Dr.;\r\n"
                         "FN:Dr. Jo Doe\r\n"
                         "ORG:Example\\, Inc.;Sales\r\n"
                         "TITLE:Head of Sales\r\n"
                         "NOTE:first\\nsecond\r\n"
                         "TEL;TYPE=WORK,VOICE:+1 234\r\n"
                         "TEL;TYPE=CELL:+1 567\r\n"
                         "EMAIL;TYPE=INTERNET,PREF:jo@example.org\r\n"
                         "item1.ADR;TYPE=HOME:;;1 Main St\\, 2nd floor;Town;;12345;Land\r\n"
                         "BDAY:1970-01-31\r\n"
                         "UID:abc\r\n"),
              "Name: Dr. Jo Doe\n"
              "Organization: Example, Inc., Sales\n"
              "Title: Head of Sales\n"
              "Telephone (work): +1 234\n"
              "Telephone (cell): +1 567\n"
              "E-mail: jo@example.org\n"
              "Address (home): 1 Main St, 2nd floor, Town, 12345, Land\n"
              "Birthday: 1970-01-31\n"
              "Note: first\nsecond\n");
}

TEST_F(Card, Version4) {
    EXPECT_EQ(textOfCard("VERSION:4.0\r\n"
                         "FN:Jo\r\n"
                         "TEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-234\r\n"
                         "EMAIL;TYPE=work:jo@example.org\r\n"
                         "BDAY:--0131\r\n"
                         "PHOTO:data:image/jpeg;base64,AAAA\r\n"
                         "KIND:individual\r\n"),
              "Name: Jo\nTelephone (home): +1-234\nE-mail (work): jo@example.org\n"
              "Birthday: 01-31\n");
}

TEST_F(Card, Version2) {
    EXPECT_EQ(textOfCard("VERSION:2.1\r\n"
                         "N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg\r\n"
                         "TEL;WORK;VOICE:1234\r\n"
                         "TEL;HOME;FAX:5678\r\n"
                         "ADR;DOM;HOME;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:;;Stra=C3=9Fe =\r\n"
                         "1;Town\r\n"
                         "PHOTO;JPEG;ENCODING=BASE64:\r\n"
                         "  AAECAwQFBgcICQ==\r\n\r\n"
                         "NOTE;QUOTED-PRINTABLE:a=0D=0Ab\r\n"),
              "Name: J\u00F6rg M\u00FCller\nTelephone (work): 1234\nTelephone (home, fax): 5678\n"
              "Address (home): Stra\u00DFe 1, Town\nNote: a\nb\n");
}

TEST_F(Card, QuotedPrintableWithoutACharsetIsUtf8OrWindows1252) {
    EXPECT_EQ(textOfCard("FN;ENCODING=QUOTED-PRINTABLE:=C3=A9\r\n"), "Name: \u00E9\n");
    EXPECT_EQ(textOfCard("FN;ENCODING=QUOTED-PRINTABLE:=E9=80=\r\n\r\n"), "Name: \u00E9\u20AC\n");
}

TEST_F(Card, EightBitTextIsInTheCharsetThatTheCardDeclares) {
    const std::string text = "\u041F\u0440\u0438\u0432\u0435\u0442";
    EXPECT_EQ(textOf(CALENDAR_FILTER,
                     encoded("KOI8-R", "BEGIN:VCARD\r\nFN;CHARSET=koi8-r:" + text + "\r\n")),
              "Name: " + text + "\n");
}

TEST_F(Card, NameIsMadeOfItsPartsWhereItIsNotGivenInFull) {
    EXPECT_EQ(textOfCard("N:Doe;Jo;Q.,R.;Dr.;Jr.\r\n"), "Name: Dr. Jo Q.,R. Doe Jr.\n");
}

TEST_F(Card, CardsAreSeparatedByAnEmptyLine) {
    EXPECT_EQ(textOf(CALENDAR_FILTER, "BEGIN:VCARD\nFN:a\nEND:VCARD\n\nbegin:vcard\nfn:b\n"
                                      "end:vcard\n"),
              "Name: a\n\nName: b\n");
}

TEST_F(Card, CardInACardIsOneOfItsOwn) {
    EXPECT_EQ(textOfCard("FN:a\r\nAGENT:\r\nBEGIN:VCARD\r\nFN:b\r\nEND:VCARD\r\nNOTE:c\r\n"),
              "Name: a\n\nName: b\n\nNote: c\n");
}

TEST_F(Card, EmptyAndUnknownPropertiesAreLeftOut) {
    EXPECT_EQ(
        textOfCard("FN:a\r\nNOTE:\r\nADR:;;;;;;\r\nX-THING:x\r\nKEY;TYPE=PGP:x\r\nSOUND:x\r\n"),
        "Name: a\n");
}

} // namespace
} // namespace qob::tests
