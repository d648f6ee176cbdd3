// SPDX-License-Identifier: MIT
// Promises of a conversion: malformed text, line ends, room, byte order, threads.
#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "conf_convert.h"

namespace {

using namespace std::string_view_literals;

TEST(Malformed, BecomesTheReplacementCharacter) {
    const std::tuple<const char *, std::string_view, std::string_view> rows[] = {
        {"UTF-8", "a\xFF.\xE6\x97", "a\uFFFD.\uFFFD"},
        {"UTF-16BE", "\0a\xDC\0\0.\xFF"sv, "a\uFFFD.\uFFFD"},
        {"WINDOWS31J", "a\x80.\x93", "a\uFFFD.\uFFFD"},
        {"EUC-JP", "a\xFF.\xC6", "a\uFFFD.\uFFFD"},
        {"EUC-JP-FIX", "\0a\x80\x80\0.\xC6"sv, "a\uFFFD.\uFFFD"},
        {"ChineseGBK", "a\xFF.\xC4", "a\uFFFD.\uFFFD"},
        {"ChineseBIG5", "a\xFF.\xA7", "a\uFFFD.\uFFFD"},
        {"KoreanKSC", "a\xFF.\xBE", "a\uFFFD.\uFFFD"},
        {"ISO-2022-JP", "a\xFF.\x1B$BF", "a\uFFFD.\uFFFD"},
        {"windows-1257", "a\xA1.", "a\uFFFD."},
    };
    for (const auto &[charset, bytes, text] : rows) {
        EXPECT_EQ(convert(charset, bytes), text) << charset;
    }
}

TEST(Malformed, IsAQuestionMarkWhenTheRecordAsksForIt) {
    const Settings settings{.replacement = '?'};
    EXPECT_EQ(convert("UTF-8", "a\xFF.", settings), "a?.");
    EXPECT_EQ(convert("windows-1257", "a\xA1.", settings), "a?.");
    EXPECT_EQ(convert("UTF-8", "a\uFFFD.", settings), "a\uFFFD.");
    EXPECT_EQ(convert("UTF-8", "a\xFF."), "a\uFFFD.");
}

TEST(Malformed, IsAQuestionMarkWhereTheOutputHasNoReplacementCharacter) {
    EXPECT_EQ(convert("UTF-8", "a\xFF.", {.output = "ISO-8859-1"}), "a?.");
    EXPECT_EQ(convert("UTF-8", "a\xFF.", {.output = "WINDOWS31J"}), "a?.");
    EXPECT_EQ(convert("UTF-8", "a\xFF.", {.output = "ISO-2022-JP"}), "a?.");
    EXPECT_EQ(convert("UTF-8", "a\xFF.", {.output = "GB18030"}), "a\x84\x31\xA4\x37.");
}

TEST(Malformed, OfUnassignedBytesOfATable) {
    EXPECT_EQ(convert("windows-1253", "a\xD2."), "a\uFFFD.");
    EXPECT_EQ(convert("windows-874", "a\xDB."), "a\uFFFD.");
    EXPECT_EQ(convert("KoreanKSC", "a\xFF."), "a\uFFFD.");
    EXPECT_EQ(convert("macintosh", "\xF0"), "\uF8FF");
}

TEST(Unconvertible, IsAQuestionMark) {
    EXPECT_EQ(convert("UTF-8", "aéω日😀.", {.output = "ISO-8859-1"}), "a\xE9???.");
    EXPECT_EQ(convert("UTF-8", "é😀.", {.output = "WINDOWS31J"}), "??.");
    EXPECT_EQ(convert("UTF-8", "日😀.", {.output = "ISO-2022-JP"}), "\x1B$BF|\x1B(B?.");
}

TEST(Unconvertible, FormattingCharactersVanish) {
    EXPECT_EQ(convert("UTF-8", "a\u200Bb\u200Dc\uFE0F.", {.output = "WINDOWS31J"}), "abc.");
}

TEST(Unconvertible, TakesACharacterNearItWhereThereIsOne) {
    EXPECT_EQ(convert("UTF-8", "\u301C", {.output = "WINDOWS31J"}), "\x81\x60");
}

struct LineEndRow {
    std::uint32_t mode;
    const char *output;
    std::string_view bytes;
};

const LineEndRow kLineEnds[] = {
    {1, "UTF-8", "\n"},         {2, "UTF-8", "\r\n"},
    {3, "UTF-8", "\n"},         {4, "UTF-8", "\r"},
    {5, "UTF-8", "\u2028"},     {5, "GB18030", "\x81\x36\xA6\x35"},
    {5, "ISO-8859-1", "\n"},    {5, "WINDOWS31J", "\n"},
    {0, "UTF-8", "\n"},         {99, "UTF-8", "\n"},
    {1, "UTF-16", "\0\n"sv},    {2, "UTF-16LE", "\r\0\n\0"sv},
    {5, "UTF-16", "\x20\x28"},  {2, "UTF-32", "\0\0\0\r\0\0\0\n"sv},
    {2, "ISO-2022-JP", "\r\n"}, {2, "ISO-8859-1", "\r\n"},
};

TEST(LineEnd, OfALoneCarriageReturnFollowsTheMode) {
    for (const LineEndRow &row : kLineEnds) {
        EXPECT_EQ(
            convert("ISO-8859-1", "\r",
                    {.output = row.output, .newline = row.mode, .lineEnd = true, .capacity = 32}),
            row.bytes)
            << row.mode << " " << row.output;
    }
}

TEST(LineEnd, InTextFollowsTheModeWhateverItWas) {
    for (const LineEndRow &row : kLineEnds) {
        const std::string newline(row.bytes);
        const Settings settings{.output = row.output, .newline = row.mode, .capacity = 64};
        EXPECT_EQ(convert("UTF-8", "\r\n\r\n", settings), newline + newline) << row.output;
        EXPECT_EQ(convert("UTF-8", "\r\r\n\n", settings), newline + newline + newline)
            << row.output;
        EXPECT_EQ(convert("UTF-8", "\n\r", settings), newline + newline) << row.output;
    }
}

TEST(LineEnd, OfWideTextIsFoundByUnit) {
    EXPECT_EQ(convert("UTF-16LE", "\r\0\n\0\x0A\x0D"sv, {.newline = 1}), "\n\u0D0A");
}

// Text is decoded in chunks; a line end may lie across any of their borders.
TEST(LineEnd, AcrossChunksIsOne) {
    for (std::size_t before = 1000; before < 1050; ++before) {
        const std::string text(before, 'x');
        for (const char *charset : {"UTF-8", "ISO-8859-1", "WINDOWS31J"}) {
            ASSERT_EQ(convert(charset, text + "\r\ny"), text + "\ny") << before << charset;
        }
    }
}

TEST(Text, LongerThanAnyBufferIsConvertedWhole) {
    std::string japanese;
    std::string expected;
    for (int i = 0; i < 50000; ++i) {
        japanese += i % 7 == 0 ? "a" : "\x93\xFA";
        expected += i % 7 == 0 ? "a" : "日";
    }
    EXPECT_EQ(convert("WINDOWS31J", japanese), expected);
    EXPECT_EQ(convert("UTF-8", expected, {.output = "WINDOWS31J"}), japanese);
}

TEST(Text, MayBeEmpty) {
    EXPECT_EQ(convert("UTF-8", ""), "");
    EXPECT_EQ(convert("ISO-2022-KR", "", {.output = "ISO-2022-KR"}), "");
    EXPECT_EQ(convert("", "", {.capacity = 0}), "");
}

TEST(Text, FitsFourTimesItsLengthPlusOneInEveryOutput) {
    std::string latin;
    for (int byte = 0x20; byte < 0x100; ++byte) {
        latin += static_cast<char>(byte);
    }
    for (const char *output : {"UTF-8", "UTF-16", "UTF-16LE", "UTF-32", "UTF-32LE", "GB18030",
                               "UTF-7", "WINDOWS31J", "ChineseGBK", "EUC-JP"}) {
        for (const char byte : latin) {
            const std::string one(1, byte);
            EXPECT_EQ(convert("windows-1252", one, {.output = output}),
                      convert("windows-1252", one, {.output = output, .capacity = 100}))
                << output << static_cast<int>(byte);
        }
        EXPECT_EQ(convert("windows-1252", latin, {.output = output}),
                  convert("windows-1252", latin, {.output = output, .capacity = 9999}))
            << output;
    }
}

TEST(Room, TooSmallCutsAfterTheLastCharacterThatFits) {
    const std::pair<std::int64_t, std::string_view> rows[] = {
        {0, ""}, {1, "a"}, {2, "a"}, {3, "a"}, {4, "a日"}, {7, "a日"}, {8, "a日😀"}, {9, "a日😀b"},
    };
    for (const auto &[capacity, text] : rows) {
        EXPECT_EQ(convert("UTF-8", "a日😀b", {.capacity = capacity}), text) << capacity;
    }
}

TEST(Room, TooSmallStillReturnsToTheInitialState) {
    for (std::int64_t capacity = 0; capacity < 30; ++capacity) {
        const auto bytes =
            convert("UTF-8", "日本ab日", {.output = "ISO-2022-JP", .capacity = capacity});
        ASSERT_TRUE(bytes.has_value());
        EXPECT_TRUE("日本ab日"sv.starts_with(*convert("ISO-2022-JP", *bytes))) << *bytes;
        EXPECT_EQ(convert("ISO-2022-JP", *bytes + "x"), *convert("ISO-2022-JP", *bytes) + "x");
        EXPECT_EQ(bytes->empty(), capacity < 8);
    }
    EXPECT_EQ(convert("UTF-8", "日本", {.output = "ISO-2022-JP", .capacity = 9}), "\x1B$BF|\x1B(B");
    EXPECT_EQ(convert("UTF-8", "a你好", {.output = "HZ-GB-2312", .capacity = 8}), "a~{Dc~}");
    EXPECT_EQ(convert("UTF-8", "a你", {.output = "HZ-GB-2312", .capacity = 6}), "a");
}

TEST(Room, TooSmallForCrLfTakesLfBeforeItCutsText) {
    EXPECT_EQ(convert("UTF-8", "\na", {.output = "UTF-32", .newline = 2}), "\0\0\0\n\0\0\0a"sv);
    EXPECT_EQ(convert("UTF-8", "aaaa\naaaa", {.output = "UTF-32", .newline = 2})->size(), 36U);
}

TEST(Room, TooSmallForALongTextEndsAtACharacter) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += "日";
    }
    for (std::int64_t capacity : {29999, 30000, 30001, 30002}) {
        const auto bytes = convert("UTF-8", text, {.capacity = capacity});
        EXPECT_EQ(bytes->size(), static_cast<std::size_t>(capacity / 3 * 3));
        EXPECT_TRUE(text.starts_with(*bytes));
    }
}

TEST(Room, TooSmallLeavesTheNextConversionUnharmed) {
    EXPECT_EQ(convert("ISO-2022-JP", "\x1B$BF|K\\\x1B(B", {.capacity = 2}), "");
    EXPECT_EQ(convert("ISO-2022-JP", "ab", {.output = "UTF-8"}), "ab");
    EXPECT_EQ(convert("UTF-8", "日本", {.output = "ISO-2022-JP", .capacity = 1}), "");
    EXPECT_EQ(convert("UTF-8", "ab", {.output = "ISO-2022-JP"}), "ab");
}

TEST(ByteOrder, ComesFromTheMarkElseIsBigEndian) {
    EXPECT_EQ(convert("UTF-16", "\xFF\xFE"
                                "a\0"sv),
              "a");
    EXPECT_EQ(convert("UTF-16", "\xFE\xFF\0a"sv), "a");
    EXPECT_EQ(convert("UTF-16", "\0a"sv), "a");
    EXPECT_EQ(convert("UTF-32", "\xFF\xFE\0\0a\0\0\0"sv), "a");
    EXPECT_EQ(convert("UTF-32", "\0\0\xFE\xFF\0\0\0a"sv), "a");
    EXPECT_EQ(convert("UTF-32", "\0\0\0a"sv), "a");
    EXPECT_EQ(convert("UTF-16LE", "a\0"sv), "a");
}

TEST(ByteOrder, OfAMarkHoldsForTheLaterPiecesOfTheExtraction) {
    EXPECT_EQ(convert("UTF-16", "\xFF\xFE"
                                "a\0"sv),
              "a");
    EXPECT_EQ(convert("UTF-16", "b\0\x01\x01\n\0\x0A\x0D"sv, {.first = false, .strip = true}),
              "b\u0101\n\u0D0A");
    EXPECT_EQ(convert("UTF-16", "b\0"sv, {.first = true}), "戀");
}

TEST(ByteOrder, MarkIsNoText) {
    EXPECT_EQ(convert("UTF-8", "\uFEFFa"), "a");
    EXPECT_EQ(convert("", "\uFEFFa"), "a");
    EXPECT_EQ(convert("UTF-16LE", "\xFF\xFE"
                                  "a\0"sv),
              "a");
    EXPECT_EQ(convert("UTF-8", "a\uFEFFb"), "a\uFEFFb");
}

TEST(Context, NotSetUpIsRefused) {
    const auto context = std::make_unique<CconvContext>();
    CconvSourceRecord source{1, 0, 1};
    std::memset(context.get(), 0, sizeof *context);
    EXPECT_NE(cconvChgCharset(context.get(), &source, "UTF-8"), 0);
    EXPECT_NE(cconvConvert(context.get()), 0);
    CconvOutputRecord record{};
    ASSERT_EQ(cconvInitConvert(context.get(), &record, "UTF-8", 0), 0);
    EXPECT_NE(cconvConvert(context.get()), 0) << "no charset chosen";
    ASSERT_EQ(cconvChgCharset(context.get(), &source, "UTF-8"), 0);
    EXPECT_EQ(cconvTermConvert(context.get()), 0);
    EXPECT_NE(cconvConvert(context.get()), 0) << "ended";
    EXPECT_NE(cconvInitConvert(nullptr, &record, "UTF-8", 0), 0);
    EXPECT_NE(cconvInitConvert(context.get(), nullptr, "UTF-8", 0), 0);
    EXPECT_NE(cconvTermConvert(nullptr), 0);
}

TEST(Context, IsTouchedOnlyAtItsBeginning) {
    const auto context = std::make_unique<CconvContext>();
    std::memset(context.get(), 0xA5, sizeof *context);
    const CconvOutputRecord record{};
    ASSERT_EQ(cconvInitConvert(context.get(), &record, "UTF-8", 0), 0);
    const auto *bytes = reinterpret_cast<const unsigned char *>(context.get());
    EXPECT_TRUE(std::all_of(bytes, bytes + offsetof(CconvContext, converter),
                            [](unsigned char byte) { return byte == 0xA5; }));
    EXPECT_TRUE(std::all_of(bytes + 256, bytes + sizeof *context,
                            [](unsigned char byte) { return byte == 0xA5; }));
    cconvTermConvert(context.get());
}

TEST(Context, SeveralMayBeSetUpTogether) {
    const CconvOutputRecord record{};
    CconvSourceRecord source{1, 0, 1};
    const auto outer = std::make_unique<CconvContext>();
    ASSERT_EQ(cconvInitConvert(outer.get(), &record, "UTF-8", 0), 0);
    ASSERT_EQ(cconvChgCharset(outer.get(), &source, "ISO-2022-JP"), 0);
    EXPECT_EQ(convert("ISO-2022-JP", "\x1B$BF|", {.output = "UTF-8", .replacement = '?'}), "日");
    char output[32];
    outer->input = "\xFF\x1B$BF|";
    outer->inputLength = 6;
    outer->output = output;
    outer->outputCapacity = sizeof output;
    ASSERT_EQ(cconvConvert(outer.get()), 0);
    EXPECT_EQ(std::string_view(output, outer->produced), "\uFFFD日");
    cconvTermConvert(outer.get());
}

// Whatever the bytes and the room, a conversion succeeds within the room, and the converters are
// then in their initial state.
TEST(AnyBytes, AreConvertedWithinTheRoom) {
    const char *charsets[] = {
        "",       "UTF-8",       "UTF-16",      "UTF-32",      "UTF-7",
        "EUC-JP", "EUC-JP-FIX",  "ISO-2022-JP", "HZ",          "GB18030",
        "BIG5",   "WINDOWS31J",  "ISO-2022-KR", "ISO-2022-CN", "SCSU",
        "BOCU-1", "ibm-037",     "ibm-930",     "Big5-HKSCS",  "KoreanKSC",
        "EUC-TW", "windows-874", "LMBCS-1",     "CESU-8",      "IMAP-mailbox-name"};
    const char *outputs[] = {"UTF-8", "UTF-16LE", "ISO-2022-JP", "ISO-2022-KR", "HZ",
                             "UTF-7", "GB18030",  "ISO-8859-1",  "EUC-JP",      "ibm-930"};
    std::uint32_t seed = 1;
    const auto next = [&seed] { return (seed = seed * 1664525U + 1013904223U) >> 16U; };
    for (const char *charset : charsets) {
        for (const char *output : outputs) {
            for (int round = 0; round < 40; ++round) {
                std::string bytes(next() % 80, '\0');
                for (char &byte : bytes) {
                    byte = static_cast<char>(next() % 3 == 0 ? next() : next() % 0x60 + 0x0E);
                }
                const Settings settings{.output = output,
                                        .newline = next() % 6,
                                        .strip = next() % 2 == 0,
                                        .capacity = static_cast<std::int64_t>(next() % 100)};
                ASSERT_TRUE(convert(charset, bytes, settings).has_value())
                    << charset << " to " << output << ": " << testing::PrintToString(bytes);
            }
        }
    }
    for (const char *output : {"ISO-2022-JP", "HZ", "UTF-7"}) {
        EXPECT_EQ(convert("ISO-2022-JP", "a.", {.output = output}), "a.") << output;
    }
}

TEST(Threads, ConvertAtOnceEachInItsLanguage) {
    std::atomic<int> wrong{0};
    const auto work = [&wrong](const char *language, std::string_view bytes,
                               std::string_view text) {
        const Language own(language);
        for (int i = 0; i < 2000; ++i) {
            wrong += convert("", bytes) != text ? 1 : 0;
            wrong += convert("ISO-2022-JP", "\x1B$BF|") != "日" ? 1 : 0;
            wrong += convert("koi8-r", "\xC1", {.output = "UTF-16"}) != "\x04\x30" ? 1 : 0;
        }
    };
    std::thread other(work, "ko", "\xBE\xC8", "안");
    work("jp", "\x93\xFA", "日");
    other.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Threads, AContextIsRefusedOnAnother) {
    const auto context = std::make_unique<CconvContext>();
    const CconvOutputRecord record{};
    ASSERT_EQ(cconvInitConvert(context.get(), &record, "UTF-8", 0), 0);
    std::thread([&context] {
        CconvSourceRecord source{1, 0, 1};
        EXPECT_NE(cconvChgCharset(context.get(), &source, "UTF-8"), 0);
    }).join();
    cconvTermConvert(context.get());
}

} // namespace
