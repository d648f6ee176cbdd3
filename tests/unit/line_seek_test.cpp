// SPDX-License-Identifier: MIT
// Reading without consuming: the line at a position, the next byte, and the reload that both share.
#include <algorithm>
#include <memory>
#include <string>

#include "emlcomm/line_reader.h"
#include "support/filter_fixture.h"
#include "support/line_probe.h"

namespace {

// Reads into a dirty buffer of maxLength + 1 bytes and checks that what follows the line is zero.
std::string lineAt(FilterFixture &f, int32_t maxLength, int32_t position) {
    const auto size = static_cast<size_t>(std::clamp(maxLength, 0, kMaxLineLength)) + 1;
    const auto buffer = std::make_unique<char[]>(size);
    std::fill_n(buffer.get(), size, '#');
    const int32_t length = LineReadFromSeek(&f.handle, buffer.get(), maxLength, position);
    if (length < 0 || static_cast<size_t>(length) >= size) {
        return "result " + std::to_string(length);
    }
    EXPECT_TRUE(
        std::all_of(buffer.get() + length, buffer.get() + size, [](char c) { return c == '\0'; }));
    return {buffer.get(), static_cast<size_t>(length)};
}

TEST(LineReadFromSeek, ReturnsTheSameLineAgain) {
    FilterFixture f;
    f.load("ab\r\ncd\r\nef");
    f.handle.blockPos = 8;
    EXPECT_EQ(lineAt(f, 2047, 4), "cd");
    EXPECT_EQ(lineAt(f, 2047, 4), "cd");
    EXPECT_EQ(f.handle.blockPos, 8);
    EXPECT_EQ(f.handle.blockStart, 0);
    EXPECT_EQ(f.host.count("QOB_FileSeek"), 0);
}

TEST(LineReadFromSeek, ReadsFromThePositionToTheLineEnd) {
    struct Row {
        int32_t maxLength;
        int32_t position;
        const char *line;
    };
    const Row rows[] = {
        {2047, 0, "ab"},       {2047, 1, "b"},   {2047, 2, ""},
        {2047, 3, ""},         {2047, 4, "cde"}, {2047, 7, ""},
        {2047, 8, "fgh"},      {2, 4, "cd"},     {3, 4, "cde"},
        {1, 4, "c"},           {0, 4, ""},       {-1, 4, ""},
        {2, 8, "fg"},          {2047, 11, ""},   {2047, 12, ""},
        {2047, INT32_MAX, ""}, {2047, -1, ""},   {2047, INT32_MIN, ""},
        {INT32_MAX, 4, "cde"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.maxLength) + " bytes at " + std::to_string(row.position));
        FilterFixture f;
        f.load("ab\r\ncde\nfgh");
        EXPECT_EQ(lineAt(f, row.maxLength, row.position), row.line);
        EXPECT_EQ(f.handle.blockPos, 0);
    }
}

TEST(LineReadFromSeek, CutsAt2047Bytes) {
    FilterFixture f;
    f.load(std::string(4000, 'x'));
    EXPECT_EQ(lineAt(f, INT32_MAX, 0).size(), 2047U);
    EXPECT_EQ(lineAt(f, 2048, 0).size(), 2047U);
    EXPECT_EQ(lineAt(f, 2046, 0).size(), 2046U);
}

TEST(LineReadFromSeek, FillsAShortLookAheadBufferAndNoMore) {
    FilterFixture f;
    f.load(std::string(4000, 'x'));
    EXPECT_EQ(lineAt(f, 255, 10), std::string(255, 'x'));
}

TEST(LineReadFromSeek, KeepsNulBytes) {
    FilterFixture f;
    f.load(std::string("\0a\0\n", 4));
    EXPECT_EQ(lineAt(f, 2047, 0), std::string("\0a\0", 3));
}

TEST(LineReadFromSeek, ReadsALineAcrossTheBlockEndFromTheReadPosition) {
    FilterFixture f;
    f.load(std::string(16380, 'x') + "abcdefgh\r\ny");
    f.handle.blockPos = 16380;
    EXPECT_EQ(lineAt(f, 2047, 16380), "abcdefgh");
    EXPECT_EQ(f.handle.blockStart, 16380);
    EXPECT_EQ(f.handle.blockPos, 0);
    EXPECT_EQ(f.handle.blockLength, 11);
    EXPECT_EQ(f.handle.lastBlock, 1);
}

TEST(LineReadFromSeek, DropsWhatItGatheredWhenTheBlockMovesElsewhere) {
    FilterFixture f;
    f.load(std::string(16370, 'x') + "\nposition\nabcdefgh\r\ny");
    f.handle.blockPos = 16371;
    // The new block begins at the read position, not where the line asked for began.
    EXPECT_EQ(lineAt(f, 2047, 16380), "position");
    EXPECT_EQ(f.handle.blockStart, 16371);
}

TEST(LineReadFromSeek, KeepsWhatItGatheredWhenNoBlockFollows) {
    FilterFixture f;
    f.load("abcdefgh");
    f.handle.blockLength = 4;
    f.handle.blockPos = 8;
    EXPECT_EQ(lineAt(f, 2047, 2), "cd");
    EXPECT_EQ(f.handle.blockStart, 8);
    EXPECT_EQ(f.handle.blockPos, 8);
}

TEST(LineReadFromSeek, KeepsWhatItGatheredWhenTheBlockCannotBeLoaded) {
    FilterFixture f;
    f.load(std::string(16380, 'x') + "abcdefgh\r\ny");
    f.handle.blockPos = 16380;
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(lineAt(f, 2047, 16380), "abcd");
    EXPECT_EQ(f.handle.readBuffer, nullptr);
    EXPECT_EQ(lineAt(f, 2047, 0), "result 3000");
}

TEST(LineReadFromSeek, TakesTheFileAsTheLimitWhenTheBlockSetsNone) {
    FilterFixture f;
    f.load("abcdef");
    f.handle.blockLength = 0;
    EXPECT_EQ(lineAt(f, 2047, 2), "cdef");
    EXPECT_EQ(f.host.count("QOB_FileSeek"), 0);
}

TEST(RereadLine, StoresTheMarkedLineAndItsLength) {
    FilterFixture f;
    f.load("ab\r\ncde\r\n");
    f.handle.blockPos = 9;
    f.handle.rereadPos = 4;
    EXPECT_EQ(eml::rereadLine(&f.handle), EML_OK);
    EXPECT_EQ(eml::currentLine(&f.handle), "cde");
    EXPECT_EQ(f.handle.blockPos, 9);
}

// ---- EnterRead ----

struct EnterRow {
    const char *what;
    int32_t blockPos;
    int32_t limit;
    int32_t result;
};

TEST(EnterRead, TellsTextFromALineEndWithoutMoving) {
    // The input is "a\r\n" NUL "b\n", its block the first three bytes.
    const EnterRow rows[] = {
        {"text in the block", 0, 3, 1},
        {"CR in the block", 1, 3, 0},
        {"LF in the block", 2, 3, 0},
        {"LF at the limit, read from the file", 2, 2, 0},
        {"text behind the limit", 0, 0, 1},
        {"NUL behind the block", 3, 3, 1},
        {"text behind the block", 4, 3, 1},
        {"LF behind the block", 5, 3, 0},
        {"LF behind the block but below the limit", 5, 100, 0},
        {"the end of the file", 6, 3, 1},
        {"behind the end of the file", 7, 100, 1},
    };
    for (const EnterRow &row : rows) {
        SCOPED_TRACE(row.what);
        FilterFixture f;
        f.load(std::string("a\r\n\0b\n", 6));
        QOB_FileSeek(f.handle.inputFile, 0, 0);
        eml::loadBlock(&f.handle, 3);
        f.handle.blockPos = row.blockPos;
        EXPECT_EQ(EnterRead(&f.handle, row.limit), row.result);
        EXPECT_EQ(f.handle.blockPos, row.blockPos);
        EXPECT_EQ(f.handle.blockStart, 0);
        EXPECT_EQ(f.handle.blockLength, 3);
    }
}

TEST(EnterRead, LeavesTheFileAtTheBlocksStart) {
    FilterFixture f;
    f.load(std::string(16384, 'x') + "\ny");
    f.handle.blockStart = 100;
    f.handle.blockPos = 16284;
    f.handle.blockLength = 16284;
    EXPECT_EQ(EnterRead(&f.handle, f.handle.blockLength), 0);
    EXPECT_EQ(QOB_FileTell(f.handle.inputFile), 100);
}

TEST(EnterRead, TakesAByteThatCannotBeReadForText) {
    FilterFixture f;
    f.load("ab\n");
    f.handle.blockPos = 2;
    f.host.failCall("QOB_FileRead", 1);
    EXPECT_EQ(EnterRead(&f.handle, 2), 1);
}

// ---- EmlReadAgain ----

TEST(EmlReadAgain, LoadsAFullBlockIntoANewBuffer) {
    FilterFixture f;
    f.load(std::string(100, 'x') + std::string(16384, 'y'));
    f.handle.blockPos = 100;
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.blockStart, 100);
    EXPECT_EQ(f.handle.blockPos, 0);
    EXPECT_EQ(f.handle.blockLength, 16384);
    EXPECT_EQ(f.handle.lastBlock, 0);
    EXPECT_EQ(f.host.count("QOB_free"), 1);
    EXPECT_EQ(f.host.count("QOB_malloc"), 1);
    EXPECT_EQ(std::string(f.handle.readBuffer), std::string(16384, 'y'));
}

TEST(EmlReadAgain, MarksTheLastBlock) {
    FilterFixture f;
    f.load(std::string(101, 'x') + std::string(16383, 'y'));
    f.handle.blockPos = 101;
    EXPECT_EQ(f.handle.lastBlock, 0);
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.blockLength, 16383);
    EXPECT_EQ(f.handle.lastBlock, 1);
    EXPECT_EQ(f.host.allocationSizes[f.handle.readBuffer], 16384U);
}

TEST(EmlReadAgain, ReportsTheEndOfTheInputAsAFailedAllocation) {
    FilterFixture f;
    f.load("abcd");
    f.handle.blockPos = 4;
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.handle.blockStart, 4);
    EXPECT_EQ(f.handle.blockPos, 4);
    EXPECT_STREQ(f.handle.readBuffer, "abcd");
}

TEST(EmlReadAgain, ReportsAFailedAllocation) {
    FilterFixture f;
    f.load("abcd");
    f.handle.blockPos = 2;
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
}

TEST(EmlReadAgain, ComesBackFromAFailedAllocation) {
    FilterFixture f;
    f.load("abcd");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(EmlReadAgain(&f.handle), EML_OK);
    EXPECT_STREQ(f.handle.readBuffer, "abcd");
}

} // namespace
