// SPDX-License-Identifier: MIT
// The line readers that skip empty lines or keep line ends, and what all readers share: no way of
// cutting the input into blocks loses or doubles a byte.
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "emlcomm/line_reader.h"
#include "support/filter_fixture.h"
#include "support/line_probe.h"

namespace {

using std::string_literals::operator""s;

struct ReaderRow {
    const char *name;
    LineReader reader;
    std::string input;
    std::vector<std::string> lines; // then the end of the data
};

void PrintTo(const ReaderRow &row, std::ostream *out) {
    *out << row.name;
}

class ReaderLines : public testing::TestWithParam<ReaderRow> {};

TEST_P(ReaderLines, ComeInOrder) {
    FilterFixture f;
    f.load(GetParam().input);
    LineProbe probe(f, GetParam().reader);
    EXPECT_EQ(probe.lines(GetParam().lines.size()), GetParam().lines);
    EXPECT_EQ(probe.next(), "");
    EXPECT_EQ(eml::filePosition(&f.handle), f.handle.fileSize);
}

const std::string kX2045(2045, 'x');
const std::string kX2046(2046, 'x');
const std::string kX2047(2047, 'x');

const ReaderRow kReaderRows[] = {
    {"SkippingNoInput", MemLineRead, "", {}},
    {"SkippingEmptyLinesBefore", MemLineRead, "\r\n\r\nab", {"ab"}},
    {"SkippingEmptyLinesBetween", MemLineRead, "ab\r\n\r\n\n\r\rcd\r\n", {"ab", "cd"}},
    {"SkippingOnlyEmptyLines", MemLineRead, "\r\n\r\n\n", {}},
    {"SkippingASingleLineEnd", MemLineRead, "\n", {}},
    {"SkippingKeepsBlankLines", MemLineRead, "ab\n \ncd", {"ab", " ", "cd"}},
    {"SkippingTakesCrLfAsAPair", MemLineRead, "ab\r\n", {"ab"}},
    {"SkippingKeepsNulBytes", MemLineRead, "\r\n\0\r\na\0"s, {"\0"s, "a\0"s}},
    {"SkippingCutsAt2047",
     MemLineRead,
     std::string(3000, 'x') + "\r\ny",
     {kX2047, std::string(953, 'x'), "y"}},
    {"SkippingTakesLineEndBehind2047", MemLineRead, kX2047 + "\r\ny", {kX2047, "y"}},

    {"KeepingNoInput", MemLineRead_EndCrlf, "", {}},
    {"KeepingEachKindOfLineEnd",
     MemLineRead_EndCrlf,
     "ab\r\ncd\ref\ngh",
     {"ab\r\n", "cd\r", "ef\n", "gh"}},
    {"KeepingEmptyLines", MemLineRead_EndCrlf, "\r\n\n\r\ra", {"\r\n", "\n", "\r", "\r", "a"}},
    {"KeepingNulBytes", MemLineRead_EndCrlf, "a\0\r\n\0"s, {"a\0\r\n"s, "\0"s}},
    {"KeepingCrLfThatJustFits", MemLineRead_EndCrlf, kX2045 + "\r\ny", {kX2045 + "\r\n", "y"}},
    {"KeepingLfThatJustFits", MemLineRead_EndCrlf, kX2046 + "\ny", {kX2046 + "\n", "y"}},
    // Where the buffer has no room beside the line, the line end comes by itself and whole.
    {"KeepingCrLfForTheNextCall", MemLineRead_EndCrlf, kX2046 + "\r\ny", {kX2046, "\r\n", "y"}},
    {"KeepingLfForTheNextCall", MemLineRead_EndCrlf, kX2047 + "\ny", {kX2047, "\n", "y"}},
    {"KeepingCutsAt2047", MemLineRead_EndCrlf, kX2047 + "z\r\n", {kX2047, "z\r\n"}},

    {"OneByteNoInput", MemLineRead_tmp, "", {}},
    {"OneByteOfEachLineEnd", MemLineRead_tmp, "ab\r\ncd\nef\rgh", {"ab\r", "cd\n", "ef\r", "gh"}},
    {"OneByteSkipsEmptyLines", MemLineRead_tmp, "\r\n\r\nab", {"ab"}},
    {"OneByteLineEndThatJustFits", MemLineRead_tmp, kX2046 + "\ny", {kX2046 + "\n", "y"}},
    {"OneByteLineEndThatDoesNotFit", MemLineRead_tmp, kX2047 + "\r\ny", {kX2047, "y"}},
    {"OneByteKeepsNulBytes", MemLineRead_tmp, "\n\0\n"s, {"\0\n"s}},
};

INSTANTIATE_TEST_SUITE_P(Rows, ReaderLines, testing::ValuesIn(kReaderRows),
                         [](const auto &row) { return row.param.name; });

TEST(MemLineRead, SkipsNoFurtherThanOneByteBeforeTheLimit) {
    FilterFixture f;
    f.load("\n\n\nab");
    LineProbe probe(f, MemLineRead);
    // The line end in front of the limit is an empty line of its own.
    EXPECT_EQ(probe.next(2), "");
    EXPECT_EQ(f.handle.blockPos, 2);
    EXPECT_EQ(probe.next(4), "a");
    EXPECT_EQ(probe.next(4), "");
    EXPECT_EQ(f.handle.blockPos, 4);
    EXPECT_EQ(probe.next(5), "b");
}

TEST(MemLineRead, ReturnsNothingBehindTheBlock) {
    FilterFixture f;
    f.load("abcdef");
    f.handle.blockLength = 3;
    f.handle.blockPos = 4;
    LineProbe probe(f, MemLineRead);
    EXPECT_EQ(probe.next(6), "");
    EXPECT_EQ(f.handle.blockPos, 4);
}

TEST(MemLineRead, SkipsToTheBlockEndAndNoFurther) {
    FilterFixture f;
    f.load("\n\n\n\nab");
    f.handle.blockLength = 3;
    LineProbe probe(f, MemLineRead);
    EXPECT_EQ(probe.next(6), "");
    EXPECT_EQ(f.handle.blockPos, 3);
    EXPECT_EQ(f.handle.blockStart, 0);
}

TEST(MemLineRead_tmp, KeepsTheLineEndThatStandsBeforeTheLimit) {
    FilterFixture f;
    f.load("\n\nab");
    LineProbe probe(f, MemLineRead_tmp);
    EXPECT_EQ(probe.next(2), "\n");
    EXPECT_EQ(probe.next(4), "ab");
}

TEST(SkippingReaders, TakeTheLineStartFromTheMark) {
    for (const LineReader reader : {MemLineRead, MemLineRead_EndCrlf, MemLineRead_tmp}) {
        FilterFixture f;
        f.load("ab\r\ncd");
        f.handle.lineStartMark = 77;
        LineProbe probe(f, reader);
        probe.lines(2);
        EXPECT_EQ(f.handle.lineStartPos, 77);
    }
}

TEST(SkippingReaders, ReturnNothingAtTheLimit) {
    for (const LineReader reader : {MemLineRead, MemLineRead_EndCrlf, MemLineRead_tmp}) {
        for (const int32_t limit : {2, 1, 0, -1, INT32_MIN}) {
            FilterFixture f;
            f.load("\r\n\r\nab");
            f.handle.blockPos = 2;
            LineProbe probe(f, reader);
            EXPECT_EQ(probe.next(limit), "");
            EXPECT_EQ(f.handle.blockPos, 2);
        }
    }
}

// ---- every cut of the input into blocks ----

struct EveryCutRow {
    const char *name;
    LineReader reader;
    std::string (*expected)(const std::string &input); // of all lines joined
    bool marksLineEnds;                                // "\n" is put where lineEndSeen is 1
};

std::string withoutLineEnds(const std::string &input) {
    std::string text;
    std::copy_if(input.begin(), input.end(), std::back_inserter(text),
                 [](char c) { return c != '\r' && c != '\n'; });
    return text;
}

std::string withLfLineEnds(const std::string &input) {
    std::string text;
    for (size_t i = 0; i < input.size(); ++i) {
        const bool lfOfAPair = input[i] == '\n' && i > 0 && input[i - 1] == '\r';
        if (!lfOfAPair) {
            text += input[i] == '\r' ? '\n' : input[i];
        }
    }
    return text;
}

std::string unchanged(const std::string &input) {
    return input;
}

// Reads all of the input as the driver does, the first block being `blockSize` bytes long.
std::string readAll(const EveryCutRow &row, const std::string &input, int32_t blockSize) {
    FilterFixture f;
    f.load(input);
    ExtractionHandle &handle = f.handle;
    handle.blockLength = blockSize;
    LineProbe probe(f, row.reader);
    std::string text;
    for (size_t calls = 0; eml::filePosition(&handle) < handle.fileSize; ++calls) {
        if (calls > 4 * input.size()) {
            return "never at the end";
        }
        if (handle.blockPos >= handle.blockLength) {
            eml::advanceBlockStart(&handle, handle.blockPos);
            handle.blockPos = 0;
            QOB_FileSeek(handle.inputFile, handle.blockStart, 0);
            eml::loadBlock(&handle, std::min(blockSize, handle.fileSize - handle.blockStart));
        }
        text += probe.next();
        if (row.marksLineEnds && handle.lineEndSeen == 1) {
            text += '\n';
        }
    }
    return text;
}

TEST(EveryCutIntoBlocks, LosesNoByte) {
    const EveryCutRow rows[] = {
        {"MemEveryLineRead", MemEveryLineRead, withLfLineEnds, true},
        {"MemLineRead", MemLineRead, withoutLineEnds, false},
        {"MemLineRead_EndCrlf", MemLineRead_EndCrlf, unchanged, false},
    };
    const std::string inputs[] = {
        "ab\r\ncd\r\n",
        "\r\n\r\nab\r\n\r\n",
        "\r\r\n\n\rab\n\r\r",
        "a\rb\nc\r\nd",
        "\n",
        "\r",
        "\r\n",
        "a",
        "\0\r\n\0\0\n\0"s,
        "From: a@b\r\nSubject: hi\r\n\r\nHello\r\nWorld",
    };
    for (const EveryCutRow &row : rows) {
        for (const std::string &input : inputs) {
            for (size_t size = 1; size <= input.size(); ++size) {
                SCOPED_TRACE(row.name + (" on block size " + std::to_string(size)));
                EXPECT_EQ(readAll(row, input, static_cast<int32_t>(size)), row.expected(input));
            }
        }
    }
}

} // namespace
