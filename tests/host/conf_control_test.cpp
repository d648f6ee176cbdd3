// SPDX-License-Identifier: MIT
// Promises of control-code stripping and character widths.
#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "conf_convert.h"

namespace {

using namespace std::string_view_literals;

// The first word of the source record, as the converter leaves it.
std::uint32_t sourceCodeOf(const char *charset) {
    const auto context = std::make_unique<CconvContext>();
    CconvOutputRecord record{};
    record.firstConversion = 1;
    CconvSourceRecord source{1, 0, 1};
    EXPECT_EQ(cconvInitConvert(context.get(), &record, "UTF-8", 0), 0);
    EXPECT_EQ(cconvChgCharset(context.get(), &source, charset), 0);
    cconvTermConvert(context.get());
    return source.sourceCode;
}

std::string strip(std::string_view text, std::uint32_t width, std::uint32_t sourceCode) {
    std::string copy(text.size(), 'X');
    copy.resize(QOB_CopyStripControlCode(
        copy.data(), text.data(), static_cast<std::uint32_t>(text.size()), width, sourceCode));
    return copy;
}

std::string stripFor(const char *charset, std::string_view text) {
    return strip(text, QOB_GetGroupCharWidth(charset), sourceCodeOf(charset));
}

TEST(CharWidth, IsThatOfTheCodeUnit) {
    const std::pair<const char *, std::uint32_t> rows[] = {
        {"UTF-8", 1},    {"WINDOWS31J", 1},      {"ISO-2022-JP", 1}, {"GB18030", 1},
        {"UTF-16", 2},   {"UTF-16LE", 2},        {"utf-16be", 2},    {"ISO-10646-UCS-2", 2},
        {"UCS-2", 2},    {"unicode", 2},         {"EUC-JP-FIX", 2},  {"UTF-32", 4},
        {"UTF-32LE", 4}, {"ISO-10646-UCS-4", 4}, {"UCS-4", 4},       {"UTF-7", 1},
        {"", 1},         {"x-unknown", 1},       {"\x01", 1},        {nullptr, 1},
    };
    for (const auto &[charset, width] : rows) {
        EXPECT_EQ(QOB_GetGroupCharWidth(charset), width) << (charset == nullptr ? "" : charset);
    }
}

// The names met last are remembered; what each means stays the same in whatever order they come.
TEST(CharWidth, IsThatOfTheNameWhateverWasAskedBefore) {
    const std::pair<const char *, std::uint32_t> rows[] = {
        {"UTF-8", 1}, {"UTF-16", 2}, {"UTF-1", 1},      {"UTF-32", 4}, {"", 1},      {"UTF-16", 2},
        {"UTF", 1},   {"UTF-8", 1},  {"UTF-16LE", 2},   {"UTF-32", 4}, {"UTF-8", 1}, {"UCS-2", 2},
        {"", 1},      {"UTF-7", 1},  {"iso-8859-1", 1}, {"UTF-32", 4},
    };
    for (int round = 0; round < 3; ++round) {
        for (const auto &[charset, width] : rows) {
            EXPECT_EQ(QOB_GetGroupCharWidth(charset), width) << charset;
            EXPECT_EQ(QOB_GetGroupCharWidth(charset), width) << charset;
        }
    }
}

TEST(CharWidth, AskedForABrokenNameDoesNotMakeItReadable) {
    EXPECT_EQ(QOB_GetGroupCharWidth("UTF-8\x01"), 1U);
    EXPECT_EQ(convert("UTF-8\x01", "text"), std::nullopt);
}

TEST(ControlCodes, AreDroppedButTabAndLineEnds) {
    std::string all;
    for (int byte = 0; byte < 0x100; ++byte) {
        all += static_cast<char>(byte);
    }
    std::string expected = "\t\n\r";
    for (int byte = 0x20; byte < 0x100; ++byte) {
        if (byte != 0x7F) {
            expected += static_cast<char>(byte);
        }
    }
    for (const char *charset : {"UTF-8", "ISO-8859-1", "WINDOWS31J", "", "koi8-r", "HZ-GB-2312"}) {
        EXPECT_EQ(stripFor(charset, all), expected) << charset;
    }
}

// Bytes are looked at several at a time; one by one gives the same.
TEST(ControlCodes, AreDroppedWhereverTheyStand) {
    const auto isDropped = [](char byte, bool keepsShifts) {
        const bool isText = byte == '\t' || byte == '\n' || byte == '\r';
        const bool isShift = byte == '\x1B' || byte == '\x0E' || byte == '\x0F';
        const bool isControl = static_cast<unsigned char>(byte) < 0x20 || byte == '\x7F';
        return isControl && !isText && !(keepsShifts && isShift);
    };
    std::mt19937 random(61); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
    const std::uint32_t shifts = sourceCodeOf("ISO-2022-JP");
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 40, 'a');
        for (auto changes = random() % 8; changes != 0 && !text.empty(); --changes) {
            const bool isControl = random() % 2 == 0;
            text[random() % text.size()] = static_cast<char>(random() % (isControl ? 0x20 : 0x100));
        }
        for (const bool keepsShifts : {false, true}) {
            std::string expected;
            std::copy_if(
                text.begin(), text.end(), std::back_inserter(expected),
                [&isDropped, keepsShifts](char byte) { return !isDropped(byte, keepsShifts); });
            EXPECT_EQ(strip(text, 1, keepsShifts ? shifts : 0), expected);
        }
    }
}

TEST(ControlCodes, EscapeAndShiftsStayInStatefulCharsets) {
    for (const char *charset : {"ISO-2022-JP", "ISO-2022-KR", "ISO-2022-CN", "ISO-2022-JP-2"}) {
        EXPECT_EQ(stripFor(charset, "a\x1B\x0E\x0F\x01\x7F.\0"sv), "a\x1B\x0E\x0F.") << charset;
    }
    EXPECT_EQ(stripFor("WINDOWS31J", "a\x1B\x0E\x0F."), "a.");
}

TEST(ControlCodes, OfSixteenBitsAreFoundByUnit) {
    EXPECT_EQ(stripFor("UTF-16BE", "\0a\0\x01\x01\x01\0\x7F\x7F\x7F\0\n"sv),
              "\0a\x01\x01\x7F\x7F\0\n"sv);
    EXPECT_EQ(stripFor("UTF-16LE", "a\0\x01\0\x01\x01\x7F\0\n\0"sv), "a\0\x01\x01\n\0"sv);
    EXPECT_EQ(stripFor("EUC-JP-FIX", "\0a\0\x01\xB0\xA1"sv), "\0a\xB0\xA1"sv);
}

TEST(ControlCodes, OfSixteenBitsFollowTheMark) {
    EXPECT_EQ(stripFor("UTF-16", "\xFF\xFE"
                                 "a\0\x01\0"sv),
              "\xFF\xFE"
              "a\0"sv);
    EXPECT_EQ(stripFor("UTF-16", "\xFE\xFF\0a\0\x01"sv), "\xFE\xFF\0a"sv);
    EXPECT_EQ(stripFor("UTF-16", "\0a\0\x01\x01\0"sv), "\0a\x01\0"sv);
}

TEST(ControlCodes, OfThirtyTwoBitsAreFoundByUnit) {
    EXPECT_EQ(stripFor("UTF-32BE", "\0\0\0a\0\0\0\x01\0\0\x01\0"sv), "\0\0\0a\0\0\x01\0"sv);
    EXPECT_EQ(stripFor("UTF-32LE", "a\0\0\0\x01\0\0\0\0\x01\0\0"sv), "a\0\0\0\0\x01\0\0"sv);
}

TEST(ControlCodes, AUnitCutAtTheEndIsKept) {
    EXPECT_EQ(stripFor("UTF-16BE", "\0a\0"sv), "\0a\0"sv);
    EXPECT_EQ(stripFor("UTF-32BE", "\0\0\0a\0\0\x01"sv), "\0\0\0a\0\0\x01"sv);
}

TEST(ControlCodes, AnySourceCodeAndWidthIsSafe) {
    for (std::uint32_t width : {0U, 1U, 3U, 5U, 0xFFFFFFFFU}) {
        for (std::uint32_t code : {0U, 1U, 8U, 0xFFFFFFFFU}) {
            EXPECT_EQ(strip("a\x1B\x01.", width, code), "a.") << width << " " << code;
        }
    }
    EXPECT_EQ(QOB_CopyStripControlCode(nullptr, "a", 1, 1, 0), 0U);
    char byte = 'x';
    EXPECT_EQ(QOB_CopyStripControlCode(&byte, nullptr, 1, 1, 0), 0U);
    EXPECT_EQ(QOB_CopyStripControlCode(&byte, "", 0, 1, 0), 0U);
}

// Where bytes below 0x20 are not control codes, they go once the text is decoded.
TEST(ControlCodes, HiddenInAnEncodingAreDroppedWhenDecoded) {
    EXPECT_EQ(convert("UTF-7", "a+AAEAGw-b", {.strip = true}), "ab");
    EXPECT_EQ(convert("ibm-037", "\x81\x00\x2F\x7F"sv, {.strip = true}), "a\"");
}

TEST(ControlCodes, DoNotHurtADoubleByteCharacter) {
    EXPECT_EQ(convert("WINDOWS31J", "\x83\x5C\x01\x83\x7E", {.strip = true}), "ソミ");
}

} // namespace
