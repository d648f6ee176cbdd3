// SPDX-License-Identifier: MIT
// Calendars and cards that are damaged, cut or made to exhaust the reader.
#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

using HostileItems = FilterTest;

const std::string kFile =
    "BEGIN:VCALENDAR\r\nX-WR-CALNAME:c\r\nBEGIN:VEVENT\r\nSUMMARY;X=\"a;b\":one\\,\r\n two\r\n"
    "DTSTART;TZID=Europe/Berlin:20261121T100000\r\nRRULE:FREQ=DAILY;COUNT=2\r\nDURATION:PT1H\r\n"
    "ORGANIZER;CN=^n^':mailto:a@b\r\nEND:VEVENT\r\nEND:VCALENDAR\r\nBEGIN:VCARD\r\n"
    "N;QUOTED-PRINTABLE;CHARSET=utf-8:=C3=\r\n=A9;b\r\nTEL;WORK:1\r\nEND:VCARD\r\n";

TEST_F(HostileItems, EveryTruncationGivesABeginningOrIsReported) {
    ASSERT_THAT(textOf(CALENDAR_FILTER, kFile), testing::HasSubstr("Telephone (work): 1\n"));
    for (std::size_t length = 0; length < kFile.size(); ++length) {
        const Outcome outcome = run(CALENDAR_FILTER, kFile.substr(0, length));
        EXPECT_EQ(outcome.code, length < 15 ? int32_t{QOB_ERR_DAMAGED} : int32_t{EML_OK}) << length;
    }
}

TEST_F(HostileItems, FlippedBytesDoNoHarm) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 500; ++round) {
        std::string damaged = kFile;
        for (int flips = 0; flips < 4; ++flips) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        const Outcome outcome = run(CALENDAR_FILTER, damaged);
        EXPECT_TRUE(outcome.code == EML_OK || outcome.code == QOB_ERR_DAMAGED) << damaged;
    }
}

TEST_F(HostileItems, ComponentsNestedWithoutEndAreCounted) {
    EXPECT_EQ(textOf(CALENDAR_FILTER, "BEGIN:VCALENDAR\n" + repeated("BEGIN:VEVENT\n", 100000) +
                                          "SUMMARY:deep\n" + repeated("END:VEVENT\n", 100000) +
                                          "BEGIN:VEVENT\nSUMMARY:after\n"),
              "Summary: after\n");
}

TEST_F(HostileItems, EndsWithoutBeginningsAreNothing) {
    EXPECT_EQ(textOf(CALENDAR_FILTER, repeated("END:VEVENT\n", 1000) + "BEGIN:VCARD\nFN:a\n"),
              "Name: a\n");
}

TEST_F(HostileItems, LongLinesAndManyPartsTakeTimeInProportion) {
    const auto start = std::chrono::steady_clock::now();
    const std::string begin = "BEGIN:VCARD\n";
    run(CALENDAR_FILTER, begin + "NOTE:" + repeated("\\n", 1000000));
    run(CALENDAR_FILTER, begin + "N:" + repeated(";", 1000000));
    run(CALENDAR_FILTER, begin + "TEL" + repeated(";a=b,c", 200000) + ":1");
    run(CALENDAR_FILTER, begin + "TEL;T=" + repeated(",", 1000000) + ":1");
    run(CALENDAR_FILTER, begin + "QUOTED-PRINTABLE" + repeated("x=\n", 500000));
    run(CALENDAR_FILTER, begin + "NOTE:" + repeated("x\n ", 500000));
    run(CALENDAR_FILTER, begin + repeated("=\n", 1000000));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST_F(HostileItems, ItemWithoutEndIsWrittenInFull) {
    const std::string text =
        textOf(CALENDAR_FILTER, "BEGIN:VEVENT\nBEGIN:VCARD\n" + repeated("NOTE:text\n", 100000));
    EXPECT_EQ(text, repeated("Note: text\n", 100000));
}

TEST_F(HostileItems, StopsWhenTheStreamTakesNothingMore) {
    EXPECT_EQ(
        runStream(CALENDAR_FILTER, "BEGIN:VCARD\n" + repeated("NOTE:text\n", 200000), 20000).code,
        EML_OK);
}

TEST_F(HostileItems, ThreadsDoNotDisturbEachOther) {
    EXPECT_THAT(
        textsOfThreads(CALENDAR_FILTER, "BEGIN:VCARD\nFN:\u00E9\nTEL;HOME:1\n", 4, 20),
        testing::AllOf(testing::SizeIs(80), testing::Each("Name: \u00E9\nTelephone (home): 1\n")));
}

} // namespace
} // namespace qob::tests
