// SPDX-License-Identifier: MIT
// The main line reader within one block: line ends, limits, long lines, NUL bytes.
#include "emlcomm/line_reader.h"

#include <string>
#include <vector>

#include "support/filter_fixture.h"
#include "support/line_probe.h"

namespace {

using std::string_literals::operator""s;

struct Line {
    std::string text;
    uint32_t lineEndSeen;
};

struct EveryLineRow {
    const char *name;
    std::string input;
    std::vector<Line> lines; // then the end of the data
};

void PrintTo(const EveryLineRow &row, std::ostream *out) {
    *out << row.name;
}

class EveryLine : public testing::TestWithParam<EveryLineRow> {};

TEST_P(EveryLine, ComesInOrder) {
    FilterFixture f;
    f.load(GetParam().input);
    LineProbe probe(f, MemEveryLineRead);
    for (const Line &line : GetParam().lines) {
        EXPECT_EQ(probe.next(), line.text);
        EXPECT_EQ(f.handle.lineEndSeen, line.lineEndSeen) << "after " << line.text.substr(0, 40);
    }
    EXPECT_EQ(eml::filePosition(&f.handle), f.handle.fileSize);
    EXPECT_EQ(probe.next(), "");
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
}

const EveryLineRow kEveryLineRows[] = {
    {"NoInput", "", {}},
    {"CrLfThenLastLineWithoutLineEnd", "ab\r\nxy", {{"ab", 1}, {"xy", 0}}},
    {"EmptyLinesAreReturned", "\r\n\r\nab", {{"", 1}, {"", 1}, {"ab", 0}}},
    {"LoneLf", "ab\ncd\n", {{"ab", 1}, {"cd", 1}}},
    {"LoneCr", "ab\rcd\r", {{"ab", 1}, {"cd", 1}}},
    {"LfCrIsTwoLineEnds", "ab\n\rcd", {{"ab", 1}, {"", 1}, {"cd", 0}}},
    {"CrCrLfIsTwoLineEnds", "ab\r\r\ncd", {{"ab", 1}, {"", 1}, {"cd", 0}}},
    {"OnlyACr", "\r", {{"", 1}}},
    {"OnlyALf", "\n", {{"", 1}}},
    {"BlanksAreText", " \t\r\n", {{" \t", 1}}},
    {"NulBytesAreText", "a\0b\r\n\0\r\nc"s, {{"a\0b"s, 1}, {"\0"s, 1}, {"c", 0}}},
    {"BytesAbove127AreText", "\xFF\x80\x8D\n", {{"\xFF\x80\x8D", 1}}},
};

INSTANTIATE_TEST_SUITE_P(Rows, EveryLine, testing::ValuesIn(kEveryLineRows),
                         [](const auto &row) { return row.param.name; });

struct LongLineRow {
    size_t length;
    std::vector<size_t> pieces;
};

// A line end right behind a full piece belongs to that piece.
const LongLineRow kLongLineRows[] = {
    {2046, {2046}},       {2047, {2047}},       {2048, {2047, 1}},       {3000, {2047, 953}},
    {4000, {2047, 1953}}, {4094, {2047, 2047}}, {4095, {2047, 2047, 1}},
};

TEST(LongLine, ComesInPiecesOf2047Bytes) {
    for (const LongLineRow &row : kLongLineRows) {
        for (const std::string lineEnd : {"\r\n", "\r", "\n"}) {
            SCOPED_TRACE(std::to_string(row.length) + " bytes");
            FilterFixture f;
            f.load(std::string(row.length, 'x') + lineEnd + "after");
            LineProbe probe(f, MemEveryLineRead);
            for (size_t i = 0; i < row.pieces.size(); ++i) {
                EXPECT_EQ(probe.next(), std::string(row.pieces[i], 'x'));
                EXPECT_EQ(f.handle.lineEndSeen, i + 1 == row.pieces.size() ? 1U : 0U);
            }
            EXPECT_EQ(probe.next(), "after");
        }
    }
}

TEST(LongLine, OfFullPiecesAtTheEndOfTheInputHasNoLineEnd) {
    FilterFixture f;
    f.load(std::string(4094, 'x'));
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next().size(), 2047U);
    EXPECT_EQ(probe.next().size(), 2047U);
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
    EXPECT_EQ(probe.next(), "");
}

TEST(MemEveryLineRead, ReadsNothingAtOrBehindTheLimit) {
    FilterFixture f;
    f.load("abcdef\r\n");
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(3), "abc");
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
    EXPECT_EQ(probe.next(3), "");
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
    EXPECT_EQ(f.handle.blockPos, 3);
    EXPECT_EQ(probe.next(8), "def");
    EXPECT_EQ(f.handle.lineEndSeen, 1U);
}

TEST(MemEveryLineRead, LeavesALineEndThatStandsAtTheLimit) {
    FilterFixture f;
    f.load("ab\r\ncd");
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(2), "ab");
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
    EXPECT_EQ(probe.next(6), "");
    EXPECT_EQ(f.handle.lineEndSeen, 1U);
    EXPECT_EQ(probe.next(6), "cd");
}

TEST(MemEveryLineRead, TakesACrLfPairWholeWhenOnlyItsCrIsBelowTheLimit) {
    FilterFixture f;
    f.load("ab\r\ncd");
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(3), "ab");
    EXPECT_EQ(f.handle.blockPos, 4);
}

TEST(MemEveryLineRead, ReturnsNothingForALimitOfZeroOrLess) {
    for (const int32_t limit : {0, -1, INT32_MIN}) {
        FilterFixture f;
        f.load("ab\r\n");
        LineProbe probe(f, MemEveryLineRead);
        EXPECT_EQ(probe.next(limit), "");
        EXPECT_EQ(f.handle.blockPos, 0);
        EXPECT_EQ(f.handle.lineEndSeen, 0U);
    }
}

TEST(MemEveryLineRead, StopsAtTheBlockEndWhateverTheLimit) {
    FilterFixture f;
    f.load("abcdef");
    f.handle.blockLength = 4;
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(INT32_MAX), "abcd");
    EXPECT_EQ(f.handle.lineEndSeen, 0U);
    EXPECT_EQ(probe.next(INT32_MAX), "");
    EXPECT_EQ(f.handle.blockPos, 4);
}

TEST(MemEveryLineRead, NeverReturnsTheZeroByteBehindTheFile) {
    FilterFixture f;
    f.load("ab");
    f.handle.blockLength = 3; // a small file's first block counts its terminating zero
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(), "ab");
    EXPECT_EQ(probe.next(), "");
    EXPECT_EQ(f.handle.blockPos, 2);
}

TEST(MemEveryLineRead, ReturnsNothingBehindTheEndOfTheFile) {
    FilterFixture f;
    f.load("abcdef");
    f.handle.fileSize = 4;
    f.handle.blockPos = 5;
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(), "");
    EXPECT_EQ(f.handle.blockPos, 5);
}

TEST(MemEveryLineRead, NotesWhereTheLineBegan) {
    FilterFixture f;
    f.load("ab\r\ncd\r\nef");
    f.handle.lineStartMark = 77;
    LineProbe probe(f, MemEveryLineRead);
    for (const int32_t start : {0, 4, 8}) {
        probe.next();
        EXPECT_EQ(f.handle.lineStartPos, start);
    }
}

TEST(MemEveryLineRead, TakesTheFileAsTheLimitWhenTheBlockSetsNone) {
    FilterFixture f;
    f.load("ab\r\ncd\r\nef");
    LineProbe probe(f, MemEveryLineRead);
    f.handle.blockLength = 0;
    EXPECT_EQ(probe.next(100), "ab");
    // Such a block is reloaded at every line end.
    EXPECT_EQ(f.handle.blockStart, 2);
    EXPECT_EQ(f.handle.blockPos, 2);
    EXPECT_EQ(f.handle.blockLength, 8);
    f.handle.blockLength = -5;
    EXPECT_EQ(probe.next(100), "cd");
    f.handle.blockLength = 0;
    EXPECT_EQ(probe.next(100), "ef");
}

TEST(ReadLine, StoresTheLineAndItsLength) {
    FilterFixture f;
    f.load("ab\r\n\r\ncde");
    EXPECT_EQ(eml::readLine(&f.handle), EML_OK);
    EXPECT_EQ(eml::currentLine(&f.handle), "ab");
    EXPECT_EQ(eml::readLine(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.lineLength, 0);
    EXPECT_EQ(eml::readLine(&f.handle), EML_OK);
    EXPECT_EQ(eml::currentLine(&f.handle), "cde");
}

} // namespace
