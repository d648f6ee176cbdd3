// SPDX-License-Identifier: MIT
// Dates, durations, recurrences and persons as people write them.
#include "value_text.h"

#include <gtest/gtest.h>

namespace qob::filters {
namespace {

TEST(ValueText, Dates) {
    EXPECT_EQ(dateText("20261121T100000", "Europe/Berlin"), "2026-11-21 10:00 Europe/Berlin");
    EXPECT_EQ(dateText("20261121T100005", ""), "2026-11-21 10:00:05");
    EXPECT_EQ(dateText("20261121T100000Z", "Europe/Berlin"), "2026-11-21 10:00 UTC");
    EXPECT_EQ(dateText("20261121", "Europe/Berlin"), "2026-11-21");
    EXPECT_EQ(dateText("--1121", ""), "11-21");
    EXPECT_EQ(dateText("2026-11-21", ""), "2026-11-21");
    EXPECT_EQ(dateText("20261121T10", ""), "20261121T10");
    EXPECT_EQ(dateText(" next week ", ""), "next week");
}

TEST(ValueText, Durations) {
    EXPECT_EQ(durationText("PT1H30M"), "1 hour 30 minutes");
    EXPECT_EQ(durationText("P1DT2S"), "1 day 2 seconds");
    EXPECT_EQ(durationText("-P2W"), "-2 weeks");
    EXPECT_EQ(durationText("P"), "P");
    EXPECT_EQ(durationText("soon"), "soon");
    EXPECT_EQ(durationText(""), "");
}

TEST(ValueText, Recurrences) {
    EXPECT_EQ(recurrenceText("FREQ=WEEKLY"), "weekly");
    EXPECT_EQ(recurrenceText("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE"),
              "weekly (INTERVAL=2;BYDAY=MO,WE)");
    EXPECT_EQ(recurrenceText("D1 #10"), "D1 #10");
}

TEST(ValueText, Persons) {
    EXPECT_EQ(personText("mailto:jo@example.org", "Jo"), "Jo <jo@example.org>");
    EXPECT_EQ(personText("MAILTO:jo@example.org", ""), "jo@example.org");
    EXPECT_EQ(personText("mailto:jo@example.org", "jo@example.org"), "jo@example.org");
    EXPECT_EQ(personText("", "Jo"), "Jo");
    EXPECT_EQ(personText("urn:uuid:1", "Jo"), "Jo <urn:uuid:1>");
}

TEST(ValueText, QuotedPrintableThatIsNoneStays) {
    auto line = parseContentLine("N;ENCODING=quoted-printable:a=4=XZ=41=");
    EXPECT_TRUE(decodeValue(*line, "UTF-8"));
    EXPECT_EQ(line->value, "a=4=XZA=");
}

TEST(ValueText, BinaryValuesAreNoText) {
    for (const char *text : {"A;ENCODING=b:x", "A;BASE64:x", "A;VALUE=binary:x", "A:data:,x"}) {
        auto line = parseContentLine(text);
        EXPECT_FALSE(decodeValue(*line, "UTF-8")) << text;
    }
}

} // namespace
} // namespace qob::filters
