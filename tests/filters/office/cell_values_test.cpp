// SPDX-License-Identifier: MIT
// Numbers, dates and strings of cells.
#include "cell_values.h"

#include <gtest/gtest.h>

namespace qob::filters::office {
namespace {

TEST(CellNumber, IsShownWithFifteenDigits) {
    EXPECT_EQ(numberText("0.1"), "0.1");
    EXPECT_EQ(numberText("0.10000000000000001"), "0.1");
    EXPECT_EQ(numberText("-1234.5678000000001"), "-1234.5678");
    EXPECT_EQ(numberText("1.2345678901234567E+20"), "1.23456789012346e+20");
}

TEST(CellNumber, WholeNumbersAreKept) {
    EXPECT_EQ(numberText("12345678901234567890"), "12345678901234567890");
}

TEST(CellNumber, WhatIsNoNumberStaysAsItIs) {
    EXPECT_EQ(numberText("12.3456789012345678 kg"), "12.3456789012345678 kg");
    EXPECT_EQ(numberText(""), "");
    EXPECT_EQ(numberText("1e999999999999999"), "1e999999999999999");
}

struct DateCase {
    const char *value;
    NumberKind kind;
    bool from1904;
    const char *text;
};

TEST(CellDate, IsIso8601) {
    constexpr DateCase kCases[] = {
        {"1", NumberKind::kDate, false, "1900-01-01"},
        {"59", NumberKind::kDate, false, "1900-02-28"},
        {"60", NumberKind::kDate, false, "1900-02-29"},
        {"61", NumberKind::kDate, false, "1900-03-01"},
        {"36526", NumberKind::kDate, false, "2000-01-01"},
        {"45351.999", NumberKind::kDate, false, "2024-02-29"},
        {"2958465", NumberKind::kDate, false, "9999-12-31"},
        {"0", NumberKind::kDate, true, "1904-01-01"},
        {"43889", NumberKind::kDate, true, "2024-02-29"},
        {"2957003", NumberKind::kDate, true, "9999-12-31"},
        {"45351.5", NumberKind::kDateTime, false, "2024-02-29T12:00:00"},
        {"45351.99999999", NumberKind::kDateTime, false, "2024-03-01T00:00:00"},
        {"0.75", NumberKind::kTime, false, "18:00:00"},
        {"45351.25", NumberKind::kTime, false, "06:00:00"},
        {"4.0000116", NumberKind::kElapsed, false, "96:00:01"},
        {"45351", NumberKind::kNumber, false, "45351"},
    };
    for (const DateCase &c : kCases) {
        EXPECT_EQ(dateText(c.value, c.kind, c.from1904), c.text) << c.value;
    }
}

TEST(CellDate, BeyondTheCalendarIsANumber) {
    EXPECT_EQ(dateText("-1", NumberKind::kDate, false), "-1");
    EXPECT_EQ(dateText("2958466", NumberKind::kDate, false), "2958466");
    EXPECT_EQ(dateText("2957004", NumberKind::kDate, true), "2957004");
    EXPECT_EQ(dateText("1e300", NumberKind::kElapsed, false), "1e300");
    EXPECT_EQ(dateText("nan", NumberKind::kDate, false), "nan");
}

struct FormatCase {
    const char *code;
    NumberKind kind;
};

TEST(CellFormat, KindFollowsFromItsPattern) {
    constexpr FormatCase kCases[] = {
        {"General", NumberKind::kNumber},
        {"0.00", NumberKind::kNumber},
        {"#,##0 \"days\"", NumberKind::kNumber},
        {"0.00E+00", NumberKind::kNumber},
        {"[Red]0", NumberKind::kNumber},
        {"[$USD] 0", NumberKind::kNumber},
        {"@", NumberKind::kNumber},
        {"yyyy\\-mm\\-dd", NumberKind::kDate},
        {"[$-409]d/m/yy;@", NumberKind::kDate},
        {"mmm", NumberKind::kDate},
        {"h:mm AM/PM", NumberKind::kTime},
        {"mm:ss.0", NumberKind::kTime},
        {"dd.mm.yyyy hh:mm", NumberKind::kDateTime},
        {"[h]:mm:ss", NumberKind::kElapsed},
        {"\"unclosed yyyy", NumberKind::kNumber},
        {"[unclosed yyyy", NumberKind::kNumber},
        {"\\", NumberKind::kNumber},
        {"", NumberKind::kNumber},
    };
    for (const FormatCase &c : kCases) {
        EXPECT_EQ(kindOfFormat(c.code), c.kind) << c.code;
    }
}

TEST(CellFormat, BuiltInOnesAreKnown) {
    EXPECT_EQ(builtInKind(0), NumberKind::kNumber);
    EXPECT_EQ(builtInKind(13), NumberKind::kNumber);
    EXPECT_EQ(builtInKind(14), NumberKind::kDate);
    EXPECT_EQ(builtInKind(21), NumberKind::kTime);
    EXPECT_EQ(builtInKind(22), NumberKind::kDateTime);
    EXPECT_EQ(builtInKind(23), NumberKind::kNumber);
    EXPECT_EQ(builtInKind(46), NumberKind::kElapsed);
    EXPECT_EQ(builtInKind(58), NumberKind::kDate);
    EXPECT_EQ(builtInKind(59), NumberKind::kNumber);
}

TEST(CellString, EscapesAreDecoded) {
    EXPECT_EQ(withoutEscapes("plain_x"), "plain_x");
    EXPECT_EQ(withoutEscapes("a_x0041_b"), "aAb");
    EXPECT_EQ(withoutEscapes("_x005F_x0041_"), "_x0041_");
    EXPECT_EQ(withoutEscapes("_x6F22_"), "漢");
    EXPECT_EQ(withoutEscapes("_x000D_"), " ");
    EXPECT_EQ(withoutEscapes("_xD800_"), "_xD800_");
    EXPECT_EQ(withoutEscapes("_x00G1__x00"), "_x00G1__x00");
}

TEST(CellColumn, CountsFromA) {
    EXPECT_EQ(columnOf("A1"), 0);
    EXPECT_EQ(columnOf("z9"), 25);
    EXPECT_EQ(columnOf("AA1"), 26);
    EXPECT_EQ(columnOf("XFD1048576"), 16383);
    EXPECT_EQ(columnOf("XFE1"), -1);
    EXPECT_EQ(columnOf("ZZZZZZZZZZ1"), -1);
    EXPECT_EQ(columnOf("12"), -1);
    EXPECT_EQ(columnOf(""), -1);
}

} // namespace
} // namespace qob::filters::office
