// SPDX-License-Identifier: MIT
// How a run's numbers read.
#include <chrono>
#include <string>

#include <gmock/gmock.h>

#include "console/tally.h"

namespace {

using emltext::progressLine;
using emltext::summaryLine;
using emltext::Tally;
using namespace std::chrono_literals;

Tally halfDone() {
    Tally tally;
    tally.messages = 1000;
    tally.failed = 3;
    tally.bytesIn = 25'000'000;
    tally.bytesOut = 4'200'000;
    tally.total = 2000;
    tally.elapsed = 10s;
    return tally;
}

TEST(ProgressLine, ShowsHowFarTheRunIs) {
    EXPECT_EQ(progressLine(halfDone(), 80),
              "[#############.............] 1,000/2,000 messages, 2.5 MB/s, 3 failed, 0:10 left");
}

TEST(ProgressLine, IsWithoutBarAndTimeWhileTheTotalIsUnknown) {
    Tally tally = halfDone();
    tally.total.reset();
    EXPECT_EQ(progressLine(tally, 80), "1,000 messages, 2.5 MB/s, 3 failed");
}

TEST(ProgressLine, FitsIntoAnyWidth) {
    for (std::size_t width = 0; width < 120; ++width) {
        EXPECT_LE(progressLine(halfDone(), width).size(), width);
    }
    EXPECT_EQ(progressLine(halfDone(), 20), "1,000/2,000 messages");
}

TEST(ProgressLine, CountsWhatEarlierRunsFinished) {
    Tally tally = halfDone();
    tally.messages = 500;
    tally.messagesBefore = 500;
    tally.failedBefore = 2;
    EXPECT_THAT(progressLine(tally, 100),
                ::testing::HasSubstr("1,000/2,000 messages, 2.5 MB/s, 5 failed, 0:20 left"));
}

TEST(ProgressLine, MakesNoPromiseBeforeTheFirstMessage) {
    Tally tally;
    tally.total = 10;
    EXPECT_EQ(progressLine(tally, 30), "0/10 messages, 0.0 MB/s, 0 fai");
}

TEST(SummaryLine, TellsWhatWasDone) {
    EXPECT_EQ(summaryLine(halfDone(), false),
              "emltext: 1,000 messages, 3 failed, 25.0 MB read, 4.2 MB of text, 10.0 s");
}

TEST(SummaryLine, TellsOfAnInterruptAndOfEarlierRuns) {
    Tally tally = halfDone();
    tally.messages = 1;
    tally.bytesIn = 999;
    tally.messagesBefore = 1234567;
    tally.failedBefore = 8;
    EXPECT_EQ(summaryLine(tally, true),
              "emltext: interrupted after 1 message, 3 failed, 999 bytes read, 4.2 MB of text, "
              "10.0 s; 1,234,567 were finished before, 8 of them failed");
}

} // namespace
