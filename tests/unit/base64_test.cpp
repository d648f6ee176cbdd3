// SPDX-License-Identifier: MIT
// Base64: characters, groups, body lines and encoded words.
#include "emlcomm/base64.h"

#include <cstring>

#include "support/part_file.h"

namespace {

using namespace std::string_literals;
using Calls = std::vector<std::string>;

constexpr int32_t kNoMemory = EML_ERR_MEMORY;
constexpr int32_t kLimit = EML_ERR_LIMIT;
const std::string kEmptyLine = "\r\nnext part";
const std::string kMoreText = "more text\r\n";
const std::string kEndOfFile;

TEST(Base64Alphabet, IsExportedWithPadAndTerminator) {
    EXPECT_EQ(sizeof(Base64Alphatbet), 66U);
    EXPECT_STREQ(Base64Alphatbet,
                 "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=");
}

struct MapRow {
    char character;
    uint8_t streaming; // convertAlphatbet
    uint8_t last;      // convertAlphatbet64
    int32_t pads;      // counted by the second
};
constexpr uint8_t kUntouched = 0xAA;
constexpr MapRow kMapRows[] = {
    {'A', 0, 0, 0},
    {'Z', 25, 25, 0},
    {'a', 26, 26, 0},
    {'z', 51, 51, 0},
    {'0', 52, 52, 0},
    {'9', 61, 61, 0},
    {'+', 62, 62, 0},
    {'/', 63, 63, 0},
    {'=', 64, kUntouched, 1},
    {'\0', 65, kUntouched, 0},
    {'.', kUntouched, kUntouched, 0},
    {' ', kUntouched, kUntouched, 0},
    {'-', kUntouched, kUntouched, 0},
    {'_', kUntouched, kUntouched, 0},
    {'\r', kUntouched, kUntouched, 0},
    {'\x80', kUntouched, kUntouched, 0},
    {'\xC1', kUntouched, kUntouched, 0}, // 'A' with its high bit set
    {'\xFF', kUntouched, kUntouched, 0},
};

TEST(Base64Character, BecomesItsValue) {
    for (const MapRow &row : kMapRows) {
        SCOPED_TRACE(static_cast<int>(row.character));
        ExtractionHandle handle = {};
        uint8_t value = kUntouched;
        EXPECT_EQ(convertAlphatbet(&handle, row.character, &value), 0);
        EXPECT_EQ(value, row.streaming);
        EXPECT_EQ(handle.base64PadCount, 0);
        value = kUntouched;
        EXPECT_EQ(convertAlphatbet64(&handle, row.character, &value), 0);
        EXPECT_EQ(value, row.last);
        EXPECT_EQ(handle.base64PadCount, row.pads);
    }
}

struct GroupRow {
    uint8_t values[4];
    uint8_t bytes[3];
};
constexpr GroupRow kGroups[] = {
    {{0, 0, 0, 0}, {0, 0, 0}},
    {{63, 63, 63, 63}, {0xFF, 0xFF, 0xFF}},
    {{16, 20, 8, 3}, {0x41, 0x42, 0x03}},
    {{1, 0, 0, 0}, {0x04, 0x00, 0x00}},
    {{0, 0x3F, 0, 0}, {0x03, 0xF0, 0x00}},
    {{0, 0, 0x3F, 0}, {0x00, 0x0F, 0xC0}},
    // A value of 64 leaks into the byte before it.
    {{16, 16, 64, 64}, {0x41, 0x10, 0x40}},
    {{64, 64, 64, 64}, {0x04, 0x10, 0x40}},
    {{65, 65, 65, 65}, {0x04, 0x10, 0x41}},
};

TEST(Base64Group, OfFourValuesBecomesThreeBytes) {
    for (const GroupRow &row : kGroups) {
        SCOPED_TRACE(testing::PrintToString(row.values));
        ExtractionHandle handle = {};
        uint8_t out[3] = {};
        DoBase64(&handle, row.values, out);
        EXPECT_EQ(std::memcmp(out, row.bytes, 3), 0) << testing::PrintToString(out);
    }
}

TEST(Base64Group, AtTheEndLeavesOutWhatWasPadded) {
    struct Row {
        int32_t pads;
        std::string bytes;
    };
    const Row rows[] = {{0, "\x41\x42\x03"},
                        {1, "\x41\x42?"},
                        {2, "\x41??"},
                        {3, "\x41\x42\x03"},
                        {4, "\x41\x42\x03"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.pads);
        ExtractionHandle handle = {};
        handle.base64PadCount = row.pads;
        const uint8_t values[4] = {16, 20, 8, 3};
        uint8_t out[3] = {'?', '?', '?'};
        DoBase64_end(&handle, values, out);
        EXPECT_EQ(std::string(out, out + 3), row.bytes);
        EXPECT_EQ(handle.base64PadCount, row.pads);
    }
}

TEST(Base64Values, EndWithTheGroupThatBeginsBeforeTheCount) {
    struct Row {
        uint32_t count;
        size_t groups; // decoded, the last of them padded
    };
    constexpr Row kRows[] = {{0, 1}, {1, 1}, {4, 1}, {5, 2}, {7, 2}, {8, 2}, {9, 3}, {76, 19}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.count);
        ExtractionHandle handle = {};
        handle.base64PadCount = 2;
        std::vector<uint8_t> values(4 * row.groups, 63);
        std::vector<uint8_t> out(3 * row.groups, '?');
        conver64toNormal(&handle, values.data(), out.data(), row.count);
        const std::string expected = std::string(3 * row.groups - 2, '\xFF') + "??";
        EXPECT_EQ(std::string(out.begin(), out.end()), expected);
    }
}

struct LineRow {
    std::string line;
    std::string following;
    std::string written;
    int32_t pads; // counted by the line
};
const LineRow kLineRows[] = {
    {"QUJD", kMoreText, "ABC", 0},
    {"QUJD", kEmptyLine, "ABC", 0},
    {"QUJDREVG", kMoreText, "ABCDEF", 0},
    // Padding counts on the line that an empty line follows.
    {"QQ==", kEmptyLine, "A", 2},
    {"QUI=", kEmptyLine, "AB", 1},
    {"QUJDQQ==", kEmptyLine, "ABCA", 2},
    {"QUJDQQ==", "\nnext", "ABCA", 2},
    // Elsewhere '=' is 64 and leaks.
    {"QQ==", kMoreText, "\x41\x10\x40", 0},
    {"QQ==", "--boundary\r\n", "\x41\x10\x40", 0},
    {"QQ==", kEndOfFile, "\x41\x10\x40", 0},
    {"QUI=", kMoreText, "AB@", 0},
    {"Q=Q=", kEndOfFile, "\x44\x04\x40", 0},
    {"=QUJ", kEmptyLine, "\x01\x05\x09", 0},
    // Every '=' of the last line counts, wherever it stands.
    {"Q=Q=", kEmptyLine, "@", 2},
    // A line of odd length loses its last group.
    {"QUJDQ", kMoreText, "ABC", 0},
    {"QUJDQUI", kMoreText, "ABC", 0},
    {"QUI", kMoreText, "", 0},
    {"Q", kEmptyLine, "", 0},
    {"QUJDQ=", kEmptyLine, "AB", 1},
    // What is no base64 character counts as 0 in its place.
    {"QU.D", kMoreText, "A@\x03", 0},
    {"QU D", kMoreText, "A@\x03", 0},
    {"Q\xD5\xCA"
     "D",
     kMoreText, "@\0\x03"s, 0},
    {"QUJ\0"s, kMoreText, "ABA", 0},
    // More pads than text.
    {"==", kEmptyLine, "", 2},
    {"====", kEmptyLine, "", 4},
    {"QUJDREVG====", kEmptyLine, "ABCDE", 4},
    {"", kMoreText, "", 0},
};

TEST(Base64Line, IsDecodedIntoTheFile) {
    for (const LineRow &row : kLineRows) {
        SCOPED_TRACE(row.line + " | " + row.following);
        PartFile f;
        EXPECT_EQ(f.base64Line(row.line, row.following), 0);
        EXPECT_EQ(f.written(), row.written);
        EXPECT_EQ(f.handle.base64PadCount, row.pads);
        EXPECT_EQ(f.output(), "");
    }
}

TEST(Base64Line, IsWrittenWithOneCall) {
    struct Row {
        std::string line;
        std::string call;
    };
    const Row rows[] = {{std::string(76, 'Q'), "QOB_FileWrite /tmp/part 57"},
                        {"QQ==", "QOB_FileWrite /tmp/part 1"},
                        {"", "QOB_FileWrite /tmp/part 0"},
                        {"QUI", "QOB_FileWrite /tmp/part 0"},
                        // The count is handed over as it is, also below zero.
                        {"==", "QOB_FileWrite /tmp/part -2"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        PartFile f;
        f.base64Line(row.line, kEmptyLine);
        EXPECT_EQ(f.host.calls, (Calls{row.call}));
    }
}

TEST(Base64Line, Of76CharactersBecomes57Bytes) {
    PartFile f;
    std::string line;
    std::string expected;
    for (int i = 0; i < 19; ++i) {
        line += "QUJD";
        expected += "ABC";
    }
    EXPECT_EQ(f.base64Line(line, kMoreText), 0);
    EXPECT_EQ(f.written(), expected);
}

TEST(Base64Line, CountsPadsOverTheLinesOfAPart) {
    PartFile f;
    f.base64Line("QQ==", kEmptyLine);
    f.base64Line("QUJDREVG", kMoreText); // two bytes less for the pads before
    EXPECT_EQ(f.written(), "AABCD");
    EXPECT_EQ(f.handle.base64PadCount, 2);
    f.base64Line("QUI=", kEmptyLine); // three pads by now: nothing is left
    EXPECT_EQ(f.written(), "AABCD");
    EXPECT_EQ(f.handle.base64PadCount, 3);
}

TEST(Base64Line, LooksAtTheNextByteBehindTheBlock) {
    for (const bool empty : {true, false}) {
        SCOPED_TRACE(empty);
        PartFile f;
        f.load(std::string(16384, 'x') + (empty ? "\r\n" : "yz") + std::string(100, 'y'));
        f.handle.blockPos = f.handle.blockLength;
        EXPECT_EQ(analyzeBase64_tmpfile(&f.handle, "QQ==", 4, f.part), 0);
        EXPECT_EQ(f.written(), empty ? "A" : "\x41\x10\x40");
        EXPECT_EQ(f.handle.blockStart, 0);
        EXPECT_EQ(f.handle.blockPos, 16384);
    }
}

TEST(Base64Line, LooksNoFurtherThanItNeeds) {
    PartFile f;
    f.load(std::string(16384, 'x') + "\r\n");
    f.handle.blockPos = f.handle.blockLength;
    EXPECT_EQ(analyzeBase64_tmpfile(&f.handle, "QUJD", 4, f.part), 0);
    EXPECT_EQ(f.host.count("QOB_FileRead"), 0);
}

TEST(Base64Line, NeedsAFile) {
    PartFile f;
    f.load(kEmptyLine);
    EXPECT_EQ(analyzeBase64_tmpfile(&f.handle, "QQ==", 4, nullptr), 0);
    EXPECT_EQ(analyzeBase64_tmpfileutf8(&f.handle, "QQ==", 4, nullptr), 0);
    EXPECT_EQ(analyzeBase64_aaaa(&f.handle, "QQ==", 4, nullptr), 0);
    EXPECT_EQ(f.handle.base64PadCount, 0);
    EXPECT_EQ(f.host.count("QOB_malloc"), 0);
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(Base64Line, NeedsItsBuffers) {
    for (int n = 1; n <= 2; ++n) {
        PartFile f;
        f.load(kEmptyLine);
        const size_t before = f.host.liveAllocations();
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(analyzeBase64_tmpfile(&f.handle, "QQ==", 4, f.part), kNoMemory);
        EXPECT_EQ(f.host.liveAllocations(), before);
        EXPECT_EQ(f.handle.base64PadCount, 0);
        EXPECT_TRUE(f.host.calls.empty());
    }
}

TEST(Base64Line, IgnoresAFailedWriteAndTheLimit) {
    PartFile f;
    f.setLimit(0);
    f.host.failWritesTo(kPartName, 1);
    EXPECT_EQ(f.base64Line("QUJD", kMoreText), 0);
    EXPECT_EQ(f.base64Line("REVG", kMoreText), 0);
    EXPECT_EQ(f.written(), "DEF");
}

TEST(Base64Line, OfAnyLengthAndBytesStaysInItsBuffers) {
    for (const size_t length : {2045U, 2046U, 2047U, 2048U, 4000U}) {
        for (const char c : {'Q', '=', '.', '\0', '\xFF'}) {
            for (const std::string &following : {kEmptyLine, kMoreText, kEndOfFile}) {
                PartFile f;
                EXPECT_EQ(f.base64Line(std::string(length, c), following), 0);
                const bool counted = c == '=' && following == kEmptyLine;
                EXPECT_EQ(f.written().size(), counted ? 0 : length / 4 * 3);
            }
        }
    }
}

int32_t decodeWord(FilterFixture &f, const std::string &text) {
    const std::vector<char> word = exactBytes(text);
    return analyzeBase64(&f.handle, word.data(), static_cast<uint32_t>(word.size()));
}

TEST(Base64Word, IsConvertedAndWritten) {
    FilterFixture f;
    std::strcpy(f.handle.charsetName, "EUC-JP");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return source + "(" + input + ")";
    };
    EXPECT_EQ(decodeWord(f, "QUJDRA=="), 0);
    EXPECT_EQ(f.output(), "EUC-JP(ABCD)");
    EXPECT_EQ(f.host.count("QOB_FileRead"), 0); // padding counts without a look ahead
}

TEST(Base64Word, DecodesByTheRulesOfALastLine) {
    struct Row {
        std::string word;
        std::string written;
    };
    const Row rows[] = {{"QUJD", "ABC"}, {"QQ==", "A"}, {"QUI=", "AB"}, {"QUJDQ", "ABC"},
                        {"QUI", ""},     {"==", ""},    {"====", ""},   {"", ""}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.word);
        FilterFixture f;
        EXPECT_EQ(decodeWord(f, row.word), 0);
        EXPECT_EQ(f.output(), row.written);
        EXPECT_EQ(f.handle.base64PadCount, 0); // the conversion cleared it
    }
}

TEST(Base64Word, KeepsWhatIsNoCharacterAsZeroInItsPlace) {
    FilterFixture f;
    f.host.stripControlCodes = false;
    EXPECT_EQ(decodeWord(f, "QU.D"), 0);
    EXPECT_EQ(f.output(), "A@\x03");
}

TEST(Base64Word, WithPadsInTheMiddleGoesOnWithZeros) {
    FilterFixture f;
    f.host.stripControlCodes = false;
    // D, two zero values, then a group that loses the two bytes that were padded.
    EXPECT_EQ(decodeWord(f, "RA==QUJD"), 0);
    EXPECT_EQ(f.output(), "D\0\0A"s);
}

TEST(Base64Word, LeavesTheConversionBufferClear) {
    FilterFixture f;
    std::memset(f.handle.convBuffer, 'j', kConvBufferSize);
    f.handle.convBufferUsed = kConvBufferSize;
    EXPECT_EQ(decodeWord(f, "QUJD"), 0);
    EXPECT_EQ(std::string(f.handle.convBuffer, kConvBufferSize),
              std::string(kConvBufferSize, '\0'));
}

TEST(Base64Word, ReportsTheLimit) {
    FilterFixture f;
    f.setLimit(2);
    EXPECT_EQ(decodeWord(f, "QUJD"), kLimit);
    EXPECT_EQ(f.output(), "AB");
}

TEST(Base64Word, NeedsItsBuffers) {
    for (int n = 1; n <= 2; ++n) {
        FilterFixture f;
        const size_t before = f.host.liveAllocations();
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(decodeWord(f, "QUJD"), kNoMemory);
        EXPECT_EQ(f.host.liveAllocations(), before);
        EXPECT_TRUE(f.host.calls.empty());
    }
}

TEST(Base64Word, OfALineThatGrowsFourfoldFits) {
    FilterFixture f;
    f.host.stripControlCodes = false;
    f.host.convert = [](const std::string &, const std::string &input) {
        return std::string(4 * input.size() + 1, 'w');
    };
    EXPECT_EQ(decodeWord(f, std::string(2047, 'Q')), 0);
    EXPECT_EQ(f.output(), std::string(4 * 1533 + 1, 'w'));
}

TEST(Base64Carry, PutsTheLastCharacterOfAnOddLineBeforeTheNext) {
    FilterFixture f;
    EXPECT_EQ(analyzeBase64_aaaa(&f.handle, "QUJDR", 5, f.handle.outputFile), 0);
    EXPECT_EQ(f.output(), "ABC");
    EXPECT_EQ(analyzeBase64_aaaa(&f.handle, "EVG", 3, f.handle.outputFile), 0);
    EXPECT_EQ(f.output(), "ABCDEF");
    EXPECT_EQ(analyzeBase64_aaaa(&f.handle, "QUI=", 4, f.handle.outputFile), 0);
    EXPECT_EQ(f.output(), "ABCDEFAB@"); // '=' is never a pad here
}

TEST(Base64Sextets, AreWrittenUndecoded) {
    PartFile f;
    f.load(kEmptyLine);
    EXPECT_EQ(analyzeBase64_tmpfileutf8(&f.handle, "AZ/=", 4, f.part), 0);
    EXPECT_EQ(f.written(), std::string("\x00\x19\x3F\x00", 4));
    EXPECT_EQ(f.handle.base64PadCount, 1);
}

} // namespace
