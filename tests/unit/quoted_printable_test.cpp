// SPDX-License-Identifier: MIT
// Quoted-printable lines: escapes, soft line breaks, line ends.
#include "emlcomm/quoted_printable.h"

#include <cstring>

#include "support/part_file.h"

namespace {

using namespace std::string_literals;
using Calls = std::vector<std::string>;

struct Row {
    std::string line;
    std::string decoded;
};

const Row kRows[] = {
    {"plain text", "plain text\r\n"},
    {"", "\r\n"},
    {"   ", "   \r\n"},
    {"a=3Db", "a=b\r\n"},
    {"=e9=E9", "\xE9\xE9\r\n"},
    {"=00", "\0\r\n"s},
    {"=41=42=43", "ABC\r\n"},
    {"a\0b"s, "a\0b\r\n"s},
    {"\xE9\x80", "\xE9\x80\r\n"},
    // A character that is no digit counts with its own code.
    {"=G1", "\x71\r\n"},
    {"=1G", "\x57\r\n"},
    {"==3D", "\xD3"
             "D\r\n"},
    {"=\xE9\xE9", "\x79\r\n"},
    {"a= ", "a\0\r\n"s},
    {"=  x", "\x20x\r\n"},
    {"=\0\0x"s, "\0x\r\n"s},
    // An escape at the end goes on with zero bytes.
    {"=4", "@\r\n"},
    {"x=4", "x@\r\n"},
    {"=G", "p\r\n"},
    // An encoded line end ends the line by itself.
    {"abc=0D=0A", "abc\r\n"},
    {"abc=0D", "abc\r"},
    {"abc=0A", "abc\n"},
    {"=0a", "\n"},
    {"=0D=0Aabc", "\r\nabc\r\n"},
    {"=0A=20", "\n \r\n"},
};

TEST(QuotedPrintable, DecodesALine) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.line);
        PartFile f;
        EXPECT_EQ(f.quotedLine(row.line), 0);
        EXPECT_EQ(f.written(), row.decoded);
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.handle.qpBufferUsed, 0U);
    }
}

TEST(QuotedPrintable, EscapesStandForOneByte) {
    struct Digits {
        char first;
        char second;
        uint8_t value;
    };
    constexpr Digits kDigits[] = {{'3', 'D', 0x3D}, {'3', 'd', 0x3D}, {'e', '9', 0xE9},
                                  {'F', 'f', 0xFF}, {'0', '0', 0x00}, {'9', 'a', 0x9A},
                                  {'G', '1', 0x71}, {'1', 'G', 0x57}, {'4', '\0', 0x40},
                                  {'\0', '\0', 0},  {'=', '=', 0x0D}, {'`', '@', 0x40},
                                  {':', '/', 0xCF}, {'g', 'g', 0xD7}, {'\xFF', '\xFF', 0xEF}};
    for (const Digits &row : kDigits) {
        const char digits[2] = {row.first, row.second};
        EXPECT_EQ(atoi_my(digits), row.value) << row.first << row.second;
    }
}

TEST(QuotedPrintable, JoinsSoftBrokenLines) {
    PartFile f;
    EXPECT_EQ(f.quotedLine("abc="), 0);
    EXPECT_EQ(f.written(), "");
    EXPECT_EQ(f.handle.qpBufferUsed, 3U);
    EXPECT_EQ(f.quotedLine("def"), 0);
    EXPECT_EQ(f.written(), "abcdef\r\n");
}

TEST(QuotedPrintable, JoinsAsManyLinesAsAreSoftBroken) {
    struct Lines {
        std::vector<std::string> lines;
        std::string decoded;
    };
    const Lines rows[] = {
        {{"a=", "b=", "c=", "d"}, "abcd\r\n"},
        {{"=", "x"}, "x\r\n"},
        {{"=", "=", "="}, ""},
        {{"a=", ""}, "a\r\n"},
        {{"=", ""}, "\r\n"},
        {{"one", "two=", "three", "four"}, "one\r\ntwothree\r\nfour\r\n"},
        // An escape may be broken too.
        {{"=4=", "1"}, "A\r\n"},
        {{"==", "41"}, "A\r\n"},
        {{"a=0D=", "=0A"}, "a\r\n"},
        // Blanks behind the '=' make it an escape.
        {{"a= ", "b"}, "a\0\r\nb\r\n"s},
    };
    for (const Lines &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.lines));
        PartFile f;
        for (const std::string &line : row.lines) {
            EXPECT_EQ(f.quotedLine(line), 0);
        }
        EXPECT_EQ(f.written(), row.decoded);
    }
}

TEST(QuotedPrintable, WaitsForTheRestOfACutLine) {
    PartFile f;
    EXPECT_EQ(f.quotedLine("abc=4", End::kCut), 0);
    EXPECT_EQ(f.written(), "");
    EXPECT_EQ(f.quotedLine("", End::kCut), 0);
    EXPECT_EQ(f.quotedLine("1def"), 0);
    EXPECT_EQ(f.written(), "abcAdef\r\n");
}

TEST(QuotedPrintable, KeepsTheEqualsSignAtACut) {
    PartFile f;
    EXPECT_EQ(f.quotedLine("abc=", End::kCut), 0);
    EXPECT_EQ(f.handle.qpBufferUsed, 4U);
    EXPECT_EQ(f.quotedLine("3Ddef"), 0);
    EXPECT_EQ(f.written(), "abc=def\r\n");
}

TEST(QuotedPrintable, JoinsALineOfAnyLengthThatWasCutInPieces) {
    PartFile f;
    const std::string piece(2047, 'p');
    EXPECT_EQ(f.quotedLine(piece, End::kCut), 0);
    EXPECT_EQ(f.quotedLine(piece, End::kCut), 0);
    EXPECT_EQ(f.quotedLine("end"), 0);
    EXPECT_EQ(f.written(), piece + piece + "end\r\n");
}

TEST(QuotedPrintable, TheSoftBreakIsLookedForAtTheEndOfTheInputLine) {
    // An encoded word is a part of the line that was read: only the byte at the line's last
    // position counts, wherever the text given ends.
    struct Lengths {
        const char *text;
        int32_t lineLength;
        uint32_t kept; // bytes kept for later
        const char *decoded;
    };
    constexpr Lengths kLengths[] = {
        {"ab=", 30, 0, "ab"},   {"ab=", 4, 0, "ab"},        {"ab=", 3, 2, ""},
        {"ab=41", 3, 4, ""},    {"ab=41", 2, 0, "abA\r\n"}, {"=41", 1, 2, ""},
        {"=41", 0, 0, "A\r\n"}, {"=41", -5, 0, "A\r\n"},
    };
    for (const Lengths &row : kLengths) {
        SCOPED_TRACE(row.text + std::to_string(row.lineLength));
        PartFile f;
        const std::vector<char> line = exactBytes(row.text);
        f.handle.lineLength = row.lineLength;
        f.handle.lineEndSeen = 1;
        EXPECT_EQ(analyzeQF(&f.handle, line.data(), static_cast<uint32_t>(line.size()), f.part, 0),
                  0);
        EXPECT_EQ(f.handle.qpBufferUsed, row.kept);
        const std::string zero = std::string(row.decoded) == "ab" ? "\0\r\n"s : "";
        EXPECT_EQ(f.written(), row.decoded + zero);
    }
}

TEST(QuotedPrintable, WritesTheDecodedBytesInOnePiece) {
    PartFile f;
    f.quotedLine("a=3D=");
    f.quotedLine("b");
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /tmp/part 3", "QOB_FileWrite /tmp/part 2"}));
}

TEST(QuotedPrintable, WritesAnEmptyLineAsNothingAndALineEnd) {
    PartFile f;
    f.quotedLine("");
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /tmp/part 0", "QOB_FileWrite /tmp/part 2"}));
}

TEST(QuotedPrintable, AddsNoLineEndInHeaderValues) {
    const Row rows[] = {{"abc", "abc"}, {"abc=0D=0A", "abc\r\n"}, {"", ""}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        PartFile f;
        f.handle.encodedWordFlag = 1;
        EXPECT_EQ(f.quotedLine(row.line), 0);
        EXPECT_EQ(f.written(), row.decoded);
        EXPECT_EQ(f.convertedLine(row.line), 0);
        EXPECT_EQ(f.output(), row.decoded);
    }
}

TEST(QuotedPrintable, ConvertsFromTheCurrentCharset) {
    PartFile f;
    std::strcpy(f.handle.charsetName, "EUC-JP");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return source + "(" + input + ")";
    };
    EXPECT_EQ(f.convertedLine("a=3D="), 0);
    EXPECT_EQ(f.convertedLine("b"), 0);
    EXPECT_EQ(f.output(), "EUC-JP(a=b)<out>");
    EXPECT_EQ(f.written(), "");
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(QuotedPrintable, ConvertsLinesWithTheirOwnLineEnd) {
    PartFile f;
    EXPECT_EQ(f.convertedLine("abc=0A"), 0);
    EXPECT_EQ(f.output(), "abc\n");
}

TEST(QuotedPrintable, ConvertsAnEmptyLineToo) {
    PartFile f;
    EXPECT_EQ(f.convertedLine(""), 0);
    ASSERT_GE(f.host.conversions.size(), 1U);
    EXPECT_EQ(f.host.conversions[0].input, "");
    EXPECT_EQ(f.host.conversions[0].record.textConversion, 1U);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 0", "QOB_FileWrite /out/text 5"}));
}

TEST(QuotedPrintable, ConvertedTextMayGrowFourfold) {
    PartFile f;
    f.host.convert = [](const std::string &, const std::string &input) {
        return std::string(4 * input.size() + 1, 'w');
    };
    EXPECT_EQ(f.convertedLine(std::string(2047, 'a')), 0);
    EXPECT_EQ(f.output(), std::string(4 * 2047 + 1, 'w') + "<out>");
}

TEST(QuotedPrintable, DropsTextThatCannotBeConverted) {
    PartFile f;
    std::strcpy(f.handle.charsetName, "x-unknown");
    f.host.unknownCharsets = {"x-unknown"};
    EXPECT_EQ(f.convertedLine("abc"), 0);
    EXPECT_EQ(f.output(), "<out>");
}

TEST(QuotedPrintable, TakesAReachedLimitForSuccess) {
    PartFile f;
    f.setLimit(2);
    EXPECT_EQ(f.convertedLine("abcdef"), 0);
    EXPECT_EQ(f.output(), "ab");
    EXPECT_EQ(f.handle.textWritten, 1U); // the line end was tried
    EXPECT_EQ(f.convertedLine("ghi"), 0);
    EXPECT_EQ(f.output(), "ab");
}

TEST(QuotedPrintable, PartsKnowNoLimit) {
    PartFile f;
    f.setLimit(0);
    EXPECT_EQ(f.quotedLine("abc"), 0);
    EXPECT_EQ(f.written(), "abc\r\n");
}

TEST(QuotedPrintable, WithoutATargetKeepsNothing) {
    for (const uint32_t convert : {0U, 1U}) {
        PartFile f;
        EXPECT_EQ(f.quoted("abc=", End::kLineEnd, nullptr, convert), 0);
        EXPECT_EQ(f.quoted("def", End::kLineEnd, nullptr, convert), 0);
        EXPECT_EQ(f.handle.qpBufferUsed, 0U);
        EXPECT_TRUE(f.host.calls.empty());
        EXPECT_TRUE(f.host.conversions.empty());
    }
}

TEST(QuotedPrintable, GoesToTheStreamWithoutATarget) {
    PartFile f;
    f.useStream();
    EXPECT_EQ(f.quoted("abc=", End::kLineEnd, nullptr, 1), 0);
    EXPECT_EQ(f.quoted("def", End::kLineEnd, nullptr, 1), 0);
    EXPECT_EQ(f.output(), "abcdef<out>");
}

TEST(QuotedPrintable, UnconvertedIntoNoFileIsLostInStreamMode) {
    PartFile f;
    f.useStream();
    f.host.calls.clear();
    EXPECT_EQ(f.quoted("abc=", End::kLineEnd, nullptr, 0), 0);
    EXPECT_EQ(f.quoted("def", End::kLineEnd, nullptr, 0), 0);
    EXPECT_EQ(f.handle.qpBufferUsed, 0U);
    EXPECT_EQ(f.output(), "");
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(QuotedPrintable, IgnoresFailedWrites) {
    PartFile f;
    f.host.failWritesTo(kPartName, 1);
    EXPECT_EQ(f.quotedLine("abc"), 0);
    EXPECT_EQ(f.quotedLine("def"), 0);
    EXPECT_EQ(f.written(), "\r\ndef\r\n");
}

TEST(DecimalQuotedPrintable, ReadsTwoDecimalDigits) {
    FilterFixture f;
    const std::vector<char> line = exactBytes("a=65=9z=7");
    EXPECT_EQ(analyzeQF_Con(&f.handle, line.data(), static_cast<uint32_t>(line.size())), 0);
    EXPECT_STREQ(f.handle.convBuffer, "aAZF");
    const std::vector<char> longLine(9000, 'x');
    EXPECT_EQ(analyzeQF_Con(&f.handle, longLine.data(), 9000), 0);
    EXPECT_EQ(std::string(f.handle.convBuffer), std::string(kConvBufferSize, 'x'));
}

TEST(DecodedText, IsConvertedAndWritten) {
    FilterFixture f;
    std::strcpy(f.handle.charsetName, "EUC-JP");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return source + "(" + input + ")";
    };
    const std::vector<char> text = exactBytes("decoded text");
    EXPECT_EQ(WriteStrToFile(&f.handle, text.data(), 12), 20U);
    EXPECT_EQ(f.output(), "EUC-JP(decoded text)");
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 20"}));
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(DecodedText, GoesToTheStreamInStreamMode) {
    FilterFixture f;
    f.useStream();
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 4U);
    EXPECT_EQ(f.output(), "text");
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
}

TEST(DecodedText, ReportsItsLengthAlsoWhenTheLimitCutsIt) {
    FilterFixture f;
    f.setLimit(2);
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 4U);
    EXPECT_EQ(f.output(), "te");
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(DecodedText, OpensTheOutputWhenItIsNotOpen) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.calls.clear();
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 4U);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileOpen /out/text wb", "QOB_FileWrite /out/text 4"}));
}

TEST(DecodedText, ReportsNothingWhenTheOutputCannotBeOpened) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.failCall("QOB_FileOpen", 1);
    const size_t before = f.host.liveAllocations();
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 0U);
    EXPECT_EQ(f.handle.outputOpenFailed, 1U);
    EXPECT_EQ(f.handle.textWritten, 0U);
    EXPECT_EQ(f.host.liveAllocations(), before);
}

TEST(DecodedText, ThatConvertsToNothingIsNotWritten) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.calls.clear();
    f.host.failCall("cconvConvert", 1);
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 0U);
    EXPECT_EQ(WriteStrToFile(&f.handle, "", 0), 0U);
    EXPECT_TRUE(f.host.calls.empty());
    EXPECT_EQ(f.handle.textWritten, 0U);
}

TEST(DecodedText, NeedsItsBuffer) {
    FilterFixture f;
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(WriteStrToFile(&f.handle, "text", 4), 0U);
    EXPECT_EQ(WriteStrToFile(&f.handle, "", 0x40000000), 0U); // 4 times that passes 32 bits
    EXPECT_TRUE(f.host.conversions.empty());
    EXPECT_EQ(f.output(), "");
}

} // namespace
