// SPDX-License-Identifier: MIT
// Calendars: what is written for events, tasks and journal entries.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

class Calendar : public FilterTest {
protected:
    // The text of a calendar with these lines in it.
    std::string textOfCalendar(std::string_view lines) {
        return textOf(CALENDAR_FILTER, "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//x//y\r\n" +
                                           std::string(lines) + "END:VCALENDAR\r\n");
    }
    std::string textOfEvent(std::string_view lines) {
        return textOfCalendar("BEGIN:VEVENT\r\n" + std::string(lines) + "END:VEVENT\r\n");
    }
};

TEST_F(Calendar, EventIsLabelledLinesInOneOrder) {
    EXPECT_EQ(textOfEvent("UID:1234@example.org\r\n"
                          "DTSTAMP:20261101T000000Z\r\n"
                          "DESCRIPTION:Agenda\\nfirst\\, second\r\n"
                          "ATTENDEE;CN=\"Doe, Jo\";PARTSTAT=ACCEPTED:mailto:jo@example.org\r\n"
                          "ATTENDEE:MAILTO:al@example.org\r\n"
                          "ORGANIZER;CN=Bea:mailto:bea@example.org\r\n"
                          "LOCATION:Room 1\\; upstairs\r\n"
                          "DTEND;TZID=Europe/Berlin:20261121T113000\r\n"
                          "DTSTART;TZID=Europe/Berlin:20261121T100000\r\n"
                          "SUMMARY:Meeting\r\n"),
              "Summary: Meeting\n"
              "Start: 2026-11-21 10:00 Europe/Berlin\n"
              "End: 2026-11-21 11:30 Europe/Berlin\n"
              "Location: Room 1; upstairs\n"
              "Organizer: Bea <bea@example.org>\n"
              "Attendee: Doe, Jo <jo@example.org>\n"
              "Attendee: al@example.org\n"
              "Description: Agenda\nfirst, second\n");
}

TEST_F(Calendar, StreamGetsTheSame) {
    EXPECT_EQ(runStream(CALENDAR_FILTER, "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:a\nEND:VEVENT\n"
                                         "END:VCALENDAR\n")
                  .text,
              "Summary: a\n");
}

TEST_F(Calendar, TasksAndJournalsAreEntriesToo) {
    EXPECT_EQ(textOfCalendar("X-WR-CALNAME:Team\r\n"
                             "BEGIN:VTODO\r\nSUMMARY:Write\r\nDUE;VALUE=DATE:20261224\r\n"
                             "STATUS:NEEDS-ACTION\r\nEND:VTODO\r\n"
                             "BEGIN:VJOURNAL\r\nSUMMARY:Diary\r\nCATEGORIES:a,b\\,c\r\n"
                             "END:VJOURNAL\r\n"),
              "Calendar: Team\n\n"
              "Summary: Write\nDue: 2026-12-24\nStatus: NEEDS-ACTION\n\n"
              "Summary: Diary\nCategories: a, b,c\n");
}

TEST_F(Calendar, AlarmsAndTimeZonesAreSilent) {
    EXPECT_EQ(textOfCalendar("BEGIN:VTIMEZONE\r\nTZID:X\r\nBEGIN:STANDARD\r\nCOMMENT:no\r\n"
                             "END:STANDARD\r\nEND:VTIMEZONE\r\n"
                             "BEGIN:VEVENT\r\nSUMMARY:a\r\nBEGIN:VALARM\r\nDESCRIPTION:Reminder\r\n"
                             "END:VALARM\r\nLOCATION:b\r\nEND:VEVENT\r\n"),
              "Summary: a\nLocation: b\n");
}

TEST_F(Calendar, FoldedLinesAreWhole) {
    EXPECT_EQ(textOfEvent("SUMMARY:one\r\n  two\r\n\t three\r\nLOCATION:four\r\n  \r\n five\r\n"),
              "Summary: one two three\nLocation: four five\n");
}

TEST_F(Calendar, FoldMayDivideACharacter) {
    EXPECT_EQ(textOfEvent("SUMMARY:caf\xC3\r\n \xA9 \xE6\x97\r\n \xA5\r\n"),
              "Summary: caf\u00E9 \u65E5\n");
}

TEST_F(Calendar, LinesMayEndInAnyWay) {
    for (const char *end : {"\r\n", "\n", "\r"}) {
        std::string file;
        for (const char *line : {"BEGIN:VCALENDAR", "BEGIN:VEVENT", "SUMMARY:on", " e",
                                 "END:VEVENT", "END:VCALENDAR"}) {
            file += line + std::string(end);
        }
        EXPECT_EQ(textOf(CALENDAR_FILTER, file), "Summary: one\n");
    }
}

TEST_F(Calendar, LinkedAttachmentIsNamedAndAnInlineOneIsNot) {
    EXPECT_EQ(textOfEvent("ATTACH:https://example.org/a;b\r\n"
                          "ATTACH;ENCODING=BASE64;VALUE=BINARY:AAECAw==\r\n"),
              "Attachment: https://example.org/a;b\n");
}

TEST_F(Calendar, QuotedPrintableOfOldCalendarsIsRead) {
    EXPECT_EQ(textOfEvent("DESCRIPTION;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:caf=C3=A9=0D=0A=\r\n"
                          "more=20text\r\n"),
              "Description: caf\u00E9\nmore text\n");
}

TEST_F(Calendar, OtherCharsetsAreRecognised) {
    const std::string file =
        "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\n"
        "SUMMARY:"
        "\u4ECA\u65E5\u306F\u4F1A\u8B70\u3067\u3059\u3002\u3069\u3046\u305E\u3088\u308D\u3057\u304F"
        "\u304A\u9858\u3044\u3057\u307E\u3059\r\nEND:VEVENT\r\n"
        "END:VCALENDAR\r\n";
    const std::string text = "Summary: "
                             "\u4ECA\u65E5\u306F\u4F1A\u8B70\u3067\u3059\u3002\u3069\u3046\u305E"
                             "\u3088\u308D\u3057\u304F\u304A\u9858\u3044\u3057\u307E\u3059\n";
    setLanguage("Japanese");
    for (const char *charset : {"UTF-8", "Shift_JIS", "EUC-JP", "UTF-16", "ISO-2022-JP"}) {
        EXPECT_EQ(textOf(CALENDAR_FILTER, encoded(charset, file)), text) << charset;
    }
    EXPECT_EQ(textOf(CALENDAR_FILTER, "\xEF\xBB\xBF" + file), text);
}

TEST_F(Calendar, WritesTheOutputCharsetAndTheHostsLineEnds) {
    setCharset("ISO-8859-1");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(textOfEvent("SUMMARY:caf\u00E9\r\nDESCRIPTION:a\\nb\r\n"),
              "Summary: caf\xE9\r\nDescription: a\r\nb\r\n");
}

TEST_F(Calendar, ObeysTheLimit) {
    setLimit(12);
    const std::string file = "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:ab";
    EXPECT_EQ(run(CALENDAR_FILTER, file).code, EML_OK);
    EXPECT_EQ(run(CALENDAR_FILTER, file).text, "Summary: ab\n");
    EXPECT_EQ(run(CALENDAR_FILTER, file + "c").code, EML_ERR_LIMIT);
    EXPECT_EQ(run(CALENDAR_FILTER, file + "c").text, "Summary: abc");
}

TEST_F(Calendar, EmptyCalendarGivesNoTextAndIsNoFailure) {
    const Outcome outcome = run(CALENDAR_FILTER, "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(Calendar, FileWithoutCalendarOrCardIsReportedOnce) {
    for (const char *input : {"", "plain text\n", "BEGIN:VSOMETHING\nSUMMARY:a\n", "SUMMARY:a\n"}) {
        const Outcome outcome = run(CALENDAR_FILTER, input);
        EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED);
        EXPECT_EQ(outcome.text, "");
        ASSERT_EQ(outcome.notices.size(), 1U);
        EXPECT_EQ(outcome.notices[0].reason, "the file has no calendar and no card in it");
    }
}

} // namespace
} // namespace qob::tests
