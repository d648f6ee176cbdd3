// SPDX-License-Identifier: MIT
// The arithmetic of the limits, each from both sides.
#include "extraction_limits.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "fake_clock.h"

namespace {

using qob::Limits;
using qob::LimitValues;

constexpr uint64_t kMegabyte = uint64_t{1} << 20U;

int32_t takeOnce(const LimitValues &values, uint64_t bytes, uint64_t packed) {
    Limits limits(values);
    uint64_t ofFile = 0;
    return limits.takeUnpacked(bytes, packed, ofFile);
}

TEST(PartsLimit, LetsExactlySoManyThrough) {
    Limits limits(LimitValues{.parts = 3});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(limits.takePart(), EML_OK);
    }
    EXPECT_EQ(limits.stopped(), EML_OK);
    EXPECT_EQ(limits.takePart(), QOB_ERR_PARTS);
    EXPECT_EQ(limits.takePart(), QOB_ERR_PARTS);
    EXPECT_EQ(limits.stopped(), QOB_ERR_PARTS);
}

TEST(PartsLimit, OfZeroIsNone) {
    Limits limits(LimitValues{.parts = 0});
    for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(limits.takePart(), EML_OK);
    }
}

TEST(UnpackedLimit, SumsOverFilesAndStaysMet) {
    Limits limits(LimitValues{.unpacked = 100});
    uint64_t first = 0;
    uint64_t second = 0;
    EXPECT_EQ(limits.takeUnpacked(60, 60, first), EML_OK);
    EXPECT_EQ(limits.takeUnpacked(40, 40, second), EML_OK);
    EXPECT_EQ(limits.takeUnpacked(1, 40, second), QOB_ERR_UNPACKED);
    EXPECT_EQ(limits.takeUnpacked(0, 40, second), QOB_ERR_UNPACKED);
    EXPECT_EQ(limits.stopped(), EML_OK) << "what is not packed may still be inserted";
}

TEST(UnpackedLimit, CannotOverflow) {
    Limits limits(LimitValues{.unpacked = 100, .ratio = 0});
    uint64_t ofFile = 0;
    EXPECT_EQ(limits.takeUnpacked(UINT64_MAX, 1, ofFile), QOB_ERR_UNPACKED);
    EXPECT_EQ(limits.takeUnpacked(UINT64_MAX, 1, ofFile), QOB_ERR_UNPACKED);
}

TEST(UnpackedLimit, OfNoLimitIsNone) {
    EXPECT_EQ(takeOnce(LimitValues{.unpacked = QOB_NO_LIMIT, .ratio = 0}, UINT64_MAX, 1), EML_OK);
}

TEST(RatioLimit, IsMetByOneByteMore) {
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 200}, 20000 * 200, 20000), EML_OK);
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 200}, 20000 * 200 + 1, 20000), QOB_ERR_RATIO);
}

TEST(RatioLimit, LeavesTheFirstMegabyteFree) {
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 2}, kMegabyte, 1), EML_OK);
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 2}, kMegabyte + 1, 1), QOB_ERR_RATIO);
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 2}, kMegabyte + 1, 0), QOB_ERR_RATIO);
}

TEST(RatioLimit, CountsEachFileForItself) {
    Limits limits(LimitValues{.ratio = 2});
    uint64_t first = 0;
    uint64_t second = 0;
    EXPECT_EQ(limits.takeUnpacked(kMegabyte, 1, first), EML_OK);
    EXPECT_EQ(limits.takeUnpacked(kMegabyte, 1, second), EML_OK);
    EXPECT_EQ(limits.takeUnpacked(1, 1, first), QOB_ERR_RATIO);
}

TEST(RatioLimit, OfZeroIsNone) {
    EXPECT_EQ(takeOnce(LimitValues{.ratio = 0}, 2 * kMegabyte, 1), EML_OK);
}

TEST(TimeLimit, IsMetBehindTheLastMillisecond) {
    Limits limits(LimitValues{.seconds = 1000});
    advanceTestClock(999'000);
    EXPECT_EQ(limits.checkTime(), EML_OK);
    EXPECT_GT(limits.millisecondsLeft(), 0U);
    EXPECT_LE(limits.millisecondsLeft(), 1000U);
    advanceTestClock(1001);
    EXPECT_EQ(limits.millisecondsLeft(), 0U);
    EXPECT_EQ(limits.stopped(), EML_OK) << "nobody asked yet";
    EXPECT_EQ(limits.checkTime(), QOB_ERR_TIME);
    EXPECT_EQ(limits.stopped(), QOB_ERR_TIME);
}

TEST(TimeLimit, OfZeroIsNone) {
    Limits limits(LimitValues{.seconds = 0});
    advanceTestClock(1'000'000'000);
    EXPECT_EQ(limits.checkTime(), EML_OK);
    EXPECT_EQ(limits.millisecondsLeft(), UINT64_MAX);
}

TEST(LimitReport, IsMadeOncePerCode) {
    Limits limits;
    EXPECT_TRUE(limits.firstReport(QOB_ERR_PARTS));
    EXPECT_FALSE(limits.firstReport(QOB_ERR_PARTS));
    EXPECT_TRUE(limits.firstReport(QOB_ERR_DEPTH));
}

TEST(LimitReport, NamesTheLimit) {
    const Limits limits(LimitValues{.unpacked = 11, .parts = 12, .ratio = 13, .seconds = 14});
    EXPECT_EQ(limits.reason(QOB_ERR_UNPACKED),
              "more than 11 bytes were unpacked, the rest is left out");
    EXPECT_EQ(limits.reason(QOB_ERR_PARTS),
              "there are more than 12 attachments and members, those that follow are left out");
    EXPECT_EQ(
        limits.reason(QOB_ERR_RATIO),
        "the file grew by more than 13 times when it was unpacked, the rest of it is left out");
    EXPECT_EQ(limits.reason(QOB_ERR_TIME),
              "the extraction took longer than 14 seconds, the rest is left out");
    EXPECT_EQ(limits.reason(QOB_ERR_DEPTH), "files are nested deeper than the limit");
}

} // namespace
