// SPDX-License-Identifier: MIT
// Promises of the conversion without ICU: wherever it gives a result, the pipeline through ICU
// gives the same, byte for byte; and it gives one for the text that nearly all mail consists of.
#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "codec_cache.h"
#include "direct.h"
#include "pipeline.h"

namespace {

using namespace std::string_view_literals;
using qob::CodecCache;
using qob::DirectForm;
using qob::OutputCodec;
using qob::SourceCodec;

constexpr const char *kSources[] = {
    "UTF-8",       "",           "ISO-8859-1",  "ISO-8859-15", "KOI8-R",     "macintosh",
    "windows-874", "WINDOWS31J", "EUC-JP",      "ChineseGBK",  "GB18030",    "ChineseBIG5",
    "KoreanKSC",   "Big5-HKSCS", "ISO-2022-JP", "ISO-2022-KR", "HZ-GB-2312", "UTF-7",
    "ibm-037",     "UTF-16LE",   "x-user-none", "ibm-930",     "ibm-1390",   "TIS-620"};
constexpr const char *kOutputs[] = {"UTF-8",       "ISO-8859-1", "US-ASCII", "WINDOWS31J",
                                    "ISO-2022-JP", "HZ-GB-2312", "UTF-16LE", "GB18030",
                                    "UTF-7",       "ibm-037"};

// Beginnings and insides of characters in every charset above, marks, shifts and line ends.
constexpr std::string_view kMorsels[] = {
    "a"sv,
    " "sv,
    "plain text "sv,
    "\t"sv,
    "\r"sv,
    "\n"sv,
    "\r\n"sv,
    "\n\r"sv,
    "\0"sv,
    "\x1A"sv,
    "\x1C"sv,
    "\x7F"sv,
    "\x80"sv,
    "\xFF"sv,
    "\x1B"sv,
    "\x0E"sv,
    "\x0F"sv,
    "~"sv,
    "\\"sv,
    "~{VPND~}"sv,
    "+AAE-"sv,
    "\x1B$B"sv,
    "\x1B(B"sv,
    "\x1B(J"sv,
    "\x1B$@"sv,
    "\x1B(I"sv,
    "\x1B$BF|K\\"sv,
    "8l\x1B(B"sv,
    "\x1B$(D\"/"sv,
    "\x8E\xB1"sv,
    "\x82\xA0"sv,
    "\x83\x5C"sv,
    "\xA4\xA2"sv,
    "\xB0\xA1"sv,
    "\xC7\xD1"sv,
    "\xFC\x4B"sv,
    "\xA1\x40"sv,
    "\x8F\xB0\xA1"sv,
    "\xB1"sv,
    "\x81\x30\x81\x30"sv,
    "\xC3\xA9"sv,
    "\xE3\x81\x82"sv,
    "\xF0\x9F\x98\x80"sv,
    "\xEF\xBB\xBF"sv,
    "\xEF\xA2\x80"sv,
    "\xEF\xA3\xBF"sv,
    "\xEF\xBF\xBD"sv,
    "\xEF\xBF\xBF"sv,
    "\xED\xA0\x80"sv,
    "\xED\x9F\xBF"sv,
    "\xC0\x80"sv,
    "\xE0\x80\x80"sv,
    "\xE0\xA0\x80"sv,
    "\xF0\x80\x80\x80"sv,
    "\xF4\x90\x80\x80"sv,
    "\xF4\x8F\xBF\xBF"sv,
    "\xE3\x81"sv,
    "\xF0\x9F"sv,
    "\xFE\xFF"sv,
    "\x84\x31\x95\x33"sv,
};

struct Case {
    const char *source;
    const char *output;
    std::uint32_t newline = 1;
    std::optional<std::size_t> capacity = {}; // nothing: 4 x length + 1
};

// The codec that reads the piece through ICU; text of no known charset is UTF-8 here.
SourceCodec &plainSource(const char *name) {
    SourceCodec *source = CodecCache::get().source(name);
    return source->kind() == qob::SourceKind::Undeclared ? *CodecCache::get().icuSource("UTF-8")
                                                         : *source;
}

// Nothing when the conversion does not take the piece. The room is exactly the capacity.
std::optional<std::string> directly(const Case &given, std::string_view input) {
    std::vector<char> room(given.capacity.value_or(4 * input.size() + 1));
    std::int64_t produced = -1;
    const std::vector<char> exact(input.begin(), input.end());
    if (!qob::convertDirectly({CodecCache::get().source(given.source),
                               {exact.data(), exact.size()},
                               CodecCache::get().output(given.output),
                               given.newline,
                               room.data(),
                               room.size()},
                              &produced)) {
        return std::nullopt;
    }
    return std::string(room.data(), static_cast<std::size_t>(produced));
}

std::string throughIcu(const Case &given, std::string_view input) {
    SourceCodec &source = plainSource(given.source);
    OutputCodec *output = CodecCache::get().output(given.output);
    EXPECT_TRUE(source.prepare() && output->prepare());
    output->setReplacement(0);
    std::vector<char> room(given.capacity.value_or(4 * input.size() + 1));
    const std::int64_t produced =
        qob::convertPiece({&source, input, output, given.newline, room.data(), room.size()});
    EXPECT_GE(produced, 0);
    return {room.data(), static_cast<std::size_t>(produced)};
}

std::string bytesOf(std::string_view text) {
    std::string shown;
    for (const char byte : text) {
        constexpr std::string_view kDigits = "0123456789ABCDEF";
        shown += kDigits[static_cast<unsigned char>(byte) >> 4U];
        shown += kDigits[static_cast<unsigned char>(byte) & 0xFU];
        shown += ' ';
    }
    return shown;
}

// True when the piece was converted directly.
bool expectTwin(const Case &given, std::string_view input) {
    const std::optional<std::string> direct = directly(given, input);
    if (!direct) {
        return false;
    }
    EXPECT_EQ(bytesOf(*direct), bytesOf(throughIcu(given, input)))
        << given.source << " to " << given.output << ", line ends " << given.newline << ": "
        << bytesOf(input);
    return true;
}

TEST(Direct, EveryByteBetweenOthersIsAsThroughIcu) {
    for (const char *source : kSources) {
        for (const char *output : kOutputs) {
            for (int byte = 0; byte < 0x100; ++byte) {
                const std::string one(1, static_cast<char>(byte));
                for (const std::string &text :
                     {one, "a" + one, one + "a", std::string(one).append("\r\n").append(one)}) {
                    expectTwin({source, output}, text);
                }
            }
        }
    }
}

// Two of ASCII are but two times one.
TEST(Direct, EveryTwoBytesAreAsThroughIcu) {
    for (const char *source : kSources) {
        const bool japanese = plainSource(source).direct() == DirectForm::Japanese7Bit;
        for (int first = japanese ? 0 : 0x80; first < 0x100; ++first) {
            for (int second = 0; second < 0x100; ++second) {
                std::string text = {static_cast<char>(first), static_cast<char>(second)};
                expectTwin({source, "UTF-8"}, text);
                text.insert(0, japanese ? "\x1B$B" : "").append(japanese ? "\x1B(B" : "a");
                expectTwin({source, "UTF-8"}, text);
            }
        }
    }
}

TEST(Direct, ThePiecesOfACharsetDoNotInfluenceEachOther) {
    std::mt19937 random(20261102); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
    int direct = 0;
    for (int round = 0; round < 100000; ++round) {
        const Case given = {kSources[random() % std::size(kSources)],
                            kOutputs[random() % 3 == 0 ? random() % std::size(kOutputs) : 0],
                            static_cast<std::uint32_t>(random() % 7)};
        std::string text;
        for (auto left = random() % 12; left != 0; --left) {
            text += kMorsels[random() % std::size(kMorsels)];
        }
        direct += expectTwin(given, text) ? 1 : 0;
    }
    EXPECT_GT(direct, 1000);
}

TEST(Direct, RandomCharactersOfACharsetAreAsThroughIcu) {
    constexpr std::pair<const char *, std::pair<int, int>> kLeads[] = {
        {"WINDOWS31J", {0x81, 0xFC}}, {"EUC-JP", {0xA1, 0xFE}},      {"ChineseGBK", {0x81, 0xFE}},
        {"KoreanKSC", {0x81, 0xFE}},  {"ChineseBIG5", {0x81, 0xFE}}, {"KOI8-R", {0x80, 0xFF}},
    };
    std::mt19937 random(6); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    for (const auto &[source, leads] : kLeads) {
        int direct = 0;
        for (int round = 0; round < 5000; ++round) {
            std::string text;
            for (auto left = 1 + random() % 4; left != 0; --left) {
                const auto width = static_cast<unsigned>(leads.second - leads.first + 1);
                text += static_cast<char>(static_cast<unsigned>(leads.first) + random() % width);
                text += static_cast<char>(0xA1 + random() % 0x5E);
            }
            direct += expectTwin({source, "UTF-8"}, text) ? 1 : 0;
        }
        EXPECT_GT(direct, 500) << source;
    }
}

TEST(Direct, WhateverRoomThereIsTheResultIsAsThroughIcu) {
    for (const std::string_view text :
         {""sv, "\r"sv, "a\nb"sv, "\xC3\xA9\n"sv, "\xB0\xA1\n"sv, "\x1B$BF|\x1B(B\r\n"sv}) {
        for (const char *source : {"UTF-8", "ISO-8859-1", "KoreanKSC", "ISO-2022-JP"}) {
            for (std::uint32_t newline = 0; newline < 7; ++newline) {
                for (std::size_t capacity = 0; capacity <= 4 * text.size() + 1; ++capacity) {
                    expectTwin({source, "UTF-8", newline, capacity}, text);
                    expectTwin({source, "ISO-8859-1", newline, capacity}, text);
                }
            }
        }
    }
}

TEST(Direct, TakesTheTextThatMailConsistsOf) {
    const std::pair<Case, std::string_view> rows[] = {
        {{"UTF-8", "UTF-8"}, "Grüße, 日本語, 😀\r\n"},
        {{"", "UTF-8"}, "Grüße"},
        {{"US-ASCII", "UTF-8"}, "plain text, and a\ttab\n"},
        {{"ISO-8859-1", "UTF-8"},
         "Gr\xFC\xDF"
         "e \x80\r\n"},
        {{"ISO-8859-1", "ISO-8859-1", 2}, "\r"},
        {{"ISO-8859-1", "UTF-16LE", 1, 0}, ""},
        {{"KOI8-R", "UTF-8"}, "\xF0\xD2\xC9"},
        {{"EUC-KR", "UTF-8"}, "\xC7\xD1 \xB1\xDB\r\n"},
        {{"GB2312", "UTF-8"}, "\xC4\xE3\xBA\xC3"},
        {{"Big5", "UTF-8"}, "\xA7\x41\xA6\x6E"},
        {{"Shift_JIS", "UTF-8"}, "\x93\xFA\x96\x7B \xB1"},
        {{"EUC-JP", "UTF-8"}, "\xC6\xFC\xCB\xDC"},
        {{"ISO-2022-JP", "UTF-8"}, "a \x1B$BF|K\\\x1B(B\x1B$B8l\x1B(B\n"},
        {{"UTF-8", "WINDOWS31J", 2}, "plain\n"},
        {{"UTF-8", "UTF-8", 5}, "a\nb"},
    };
    for (const auto &[given, text] : rows) {
        const bool expected = std::string_view(given.output) != "UTF-16LE";
        EXPECT_EQ(expectTwin(given, text), expected) << given.source << ": " << bytesOf(text);
    }
}

// What is said of the commonest charsets without opening them is what ICU says.
TEST(Direct, OutputsKnownWithoutIcuHoldTheLineSeparatorAsIcuSays) {
    for (const char *name : {"UTF-8", "ISO-8859-1", "US-ASCII"}) {
        const OutputCodec *codec = CodecCache::get().output(name);
        UErrorCode status = U_ZERO_ERROR;
        const qob::Converter converter(ucnv_open(name, &status));
        ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &status);
        ASSERT_TRUE(U_SUCCESS(status));
        constexpr UChar kSeparator = 0x2028;
        std::array<char, 8> bytes{};
        ucnv_fromUChars(converter.get(), bytes.data(), 8, &kSeparator, 1, &status);
        EXPECT_EQ(U_SUCCESS(status) != 0, codec->hasLineSeparator()) << name;
    }
}

} // namespace
