// SPDX-License-Identifier: MIT
// The line readers at the end of a block: a line end there moves the block on, so that a CR LF pair
// is never torn.
#include <string>

#include "emlcomm/line_reader.h"
#include "support/filter_fixture.h"
#include "support/line_probe.h"

namespace {

// An input whose first block ends with `lineEnd`'s first byte, followed by the rest of `lineEnd`
// and `tail` bytes of text.
std::string splitAtBlockEnd(const std::string &lineEnd, size_t tail) {
    return std::string(16383, 'x') + lineEnd + std::string(tail, 'y');
}

// Moves on to the last `length` bytes of the first block.
void standBeforeBlockEnd(FilterFixture &f, int32_t length) {
    f.handle.blockPos = kBlockSize - length;
}

struct ReloadingReader {
    const char *name;
    LineReader reader;
    std::string kept; // of the line end "\r\n" in the line
};
const ReloadingReader kReloadingReaders[] = {
    {"MemEveryLineRead", MemEveryLineRead, ""},
    {"MemLineRead", MemLineRead, ""},
    {"MemLineRead_EndCrlf", MemLineRead_EndCrlf, "\r\n"},
};

TEST(BlockEnd, DoesNotTearCrLf) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", 5));
        standBeforeBlockEnd(f, 3);
        LineProbe probe(f, row.reader);
        EXPECT_EQ(probe.next(), "xx" + row.kept);
        EXPECT_EQ(f.handle.blockStart, 16383);
        EXPECT_EQ(f.handle.blockPos, 2);
        EXPECT_EQ(f.handle.blockLength, 7);
        EXPECT_EQ(probe.next(), "yyyyy");
    }
}

TEST(BlockEnd, TakesALoneLineEndAsOneByte) {
    for (const std::string lineEnd : {"\r", "\n"}) {
        FilterFixture f;
        f.load(splitAtBlockEnd(lineEnd, 5));
        standBeforeBlockEnd(f, 3);
        LineProbe probe(f, MemEveryLineRead);
        EXPECT_EQ(probe.next(), "xx");
        EXPECT_EQ(f.handle.lineEndSeen, 1U);
        EXPECT_EQ(f.handle.blockStart, 16383);
        EXPECT_EQ(f.handle.blockPos, 1);
        EXPECT_EQ(probe.next(), "yyyyy");
    }
}

TEST(BlockEnd, KeepsTheBufferForAFullBlock) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", 16382)); // exactly 16384 bytes from the CR on
        standBeforeBlockEnd(f, 3);
        const char *buffer = f.handle.readBuffer;
        LineProbe probe(f, row.reader);
        EXPECT_EQ(probe.next(), "xx" + row.kept);
        EXPECT_EQ(f.handle.readBuffer, buffer);
        EXPECT_EQ(f.host.count("QOB_malloc"), 0);
        EXPECT_EQ(f.handle.blockLength, 16384);
        EXPECT_EQ(std::string(buffer, 16384), "\r\n" + std::string(16382, 'y'));
    }
}

TEST(BlockEnd, AllocatesTheLastShortBlockAnew) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", 16381)); // 16383 bytes from the CR on
        standBeforeBlockEnd(f, 3);
        LineProbe probe(f, row.reader);
        EXPECT_EQ(probe.next(), "xx" + row.kept);
        EXPECT_EQ(f.host.count("QOB_malloc"), 1);
        EXPECT_EQ(f.handle.blockLength, 16383);
        EXPECT_EQ(f.host.allocationSizes[f.handle.readBuffer], 16384U);
        EXPECT_EQ(f.handle.readBuffer[16383], '\0');
    }
}

TEST(BlockEnd, NeverMarksTheLastBlock) {
    for (const ReloadingReader &row : kReloadingReaders) {
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", 5));
        standBeforeBlockEnd(f, 3);
        LineProbe probe(f, row.reader);
        probe.next();
        EXPECT_EQ(f.handle.lastBlock, 0) << row.name;
    }
}

TEST(BlockEnd, IsLeftAloneWhenNoLineEndStandsThere) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load(std::string(16381, 'x') + "\r\nabc\r\n");
        standBeforeBlockEnd(f, 5);
        LineProbe probe(f, row.reader);
        EXPECT_EQ(probe.next(), "xx" + row.kept);
        EXPECT_EQ(probe.next(), "a"); // the line comes in two pieces
        EXPECT_EQ(probe.next(), "");
        EXPECT_EQ(f.handle.blockStart, 0);
        EXPECT_EQ(f.handle.blockPos, 16384);
        EXPECT_EQ(f.host.count("QOB_FileSeek"), 0);
    }
}

TEST(BlockEnd, AtTheEndOfTheInputLeavesALastBlockOfOneByte) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load("ab\n");
        LineProbe probe(f, row.reader);
        EXPECT_EQ(probe.next(), row.kept.empty() ? "ab" : "ab\n");
        EXPECT_EQ(f.handle.blockStart, 2);
        EXPECT_EQ(f.handle.blockPos, 1);
        EXPECT_EQ(f.handle.blockLength, 1);
        EXPECT_EQ(probe.next(), "");
    }
}

TEST(BlockEnd, TakesTheLineEndBehindAFullPieceFromTheNextBlock) {
    FilterFixture f;
    f.load(splitAtBlockEnd("\r\n", 5));
    standBeforeBlockEnd(f, 2048);
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(), std::string(2047, 'x'));
    EXPECT_EQ(f.handle.lineEndSeen, 1U);
    EXPECT_EQ(probe.next(), "yyyyy");
}

TEST(BlockEnd, LeavesALineEndThatDoesNotFitAfterTheReload) {
    FilterFixture f;
    f.load(splitAtBlockEnd("\r\n", 5));
    standBeforeBlockEnd(f, 2048);
    LineProbe probe(f, MemLineRead_EndCrlf);
    EXPECT_EQ(probe.next(), std::string(2047, 'x'));
    EXPECT_EQ(probe.next(), "\r\n");
    EXPECT_EQ(probe.next(), "yyyyy");
}

TEST(BlockEnd, IsNeverLeftByMemLineReadTmp) {
    FilterFixture f;
    f.load(splitAtBlockEnd("\r\n", 5));
    standBeforeBlockEnd(f, 3);
    LineProbe probe(f, MemLineRead_tmp);
    EXPECT_EQ(probe.next(), "xx\r");
    EXPECT_EQ(f.handle.blockPos, 16384);
    EXPECT_EQ(f.handle.blockStart, 0);
    EXPECT_EQ(probe.next(), "");
    EXPECT_EQ(f.host.count("QOB_FileSeek"), 0);
    EXPECT_EQ(f.host.count("QOB_malloc"), 0);
}

TEST(FailedReload, IsReportedInPlaceOfTheLengthByEveryReaderFromThenOn) {
    for (const ReloadingReader &row : kReloadingReaders) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", 5));
        standBeforeBlockEnd(f, 3);
        f.host.failCall("QOB_malloc", 1);
        LineProbe probe(f, row.reader);
        probe.next();
        EXPECT_EQ(probe.result, EML_ERR_MEMORY);
        EXPECT_EQ(f.handle.readBuffer, nullptr);
        EXPECT_EQ(f.handle.lineEndSeen, 0U);

        for (const LineReader reader :
             {MemEveryLineRead, MemLineRead, MemLineRead_EndCrlf, MemLineRead_tmp}) {
            LineProbe later(f, reader);
            later.next();
            EXPECT_EQ(later.result, EML_ERR_MEMORY);
        }
        char line[kLineBufferSize];
        EXPECT_EQ(LineReadFromSeek(&f.handle, line, kMaxLineLength, 0), EML_ERR_MEMORY);
        EXPECT_EQ(EnterRead(&f.handle, f.handle.blockLength), 0); // the file's own byte: the CR
        EXPECT_EQ(eml::readLine(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(f.handle.lineLength, 0);
        EXPECT_EQ(eml::rereadLine(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(eml::refillBlock(&f.handle), eml::Refill::kNoMemory);
    }
}

TEST(FailedReload, CannotHappenForAFullBlock) {
    FilterFixture f;
    f.load(splitAtBlockEnd("\r\n", 20000));
    standBeforeBlockEnd(f, 3);
    f.host.failCall("QOB_malloc", 1, ScriptedHost::Failure::kFromThere);
    LineProbe probe(f, MemEveryLineRead);
    EXPECT_EQ(probe.next(), "xx");
    EXPECT_EQ(f.handle.blockPos, 2);
}

TEST(FailedReload, OfInputThatCannotBeReadGivesZeroBytes) {
    for (const size_t tail : {5U, 20000U}) {
        FilterFixture f;
        f.load(splitAtBlockEnd("\r\n", tail));
        standBeforeBlockEnd(f, 3);
        f.host.failCall("QOB_FileRead", 1);
        LineProbe probe(f, MemEveryLineRead);
        EXPECT_EQ(probe.next(), "xx");
        EXPECT_EQ(f.handle.blockPos, 1); // no LF to be seen behind the zero byte
        EXPECT_EQ(probe.next(), std::string(tail == 5 ? 6 : 2047, '\0'));
    }
}

// ---- the refill before each line of a part ----

TEST(RefillBlock, MovesOnWhenNoMoreThan77BytesAreLeft) {
    struct Row {
        int32_t left;
        bool moved;
    };
    for (const Row row :
         {Row{16384, false}, Row{78, false}, Row{77, true}, Row{1, true}, Row{0, true}}) {
        SCOPED_TRACE(row.left);
        FilterFixture f;
        f.load(std::string(40000, 'x'));
        standBeforeBlockEnd(f, row.left);
        EXPECT_EQ(eml::refillBlock(&f.handle), eml::Refill::kReady);
        EXPECT_EQ(f.handle.blockStart, row.moved ? 16384 - row.left : 0);
        EXPECT_EQ(f.handle.blockPos, row.moved ? 0 : 16384 - row.left);
        EXPECT_EQ(f.handle.blockLength, 16384);
        EXPECT_EQ(f.handle.lastBlock, 0);
    }
}

TEST(RefillBlock, LoadsTheShortRestWithoutMarkingIt) {
    FilterFixture f;
    f.load(std::string(16384, 'x') + "rest");
    standBeforeBlockEnd(f, 10);
    EXPECT_EQ(eml::refillBlock(&f.handle), eml::Refill::kReady);
    EXPECT_EQ(f.handle.blockLength, 14);
    EXPECT_STREQ(f.handle.readBuffer, "xxxxxxxxxxrest");
    EXPECT_EQ(f.handle.lastBlock, 0);
}

TEST(RefillBlock, TellsTheEndOfTheInput) {
    FilterFixture f;
    f.load("ab");
    f.handle.blockPos = 2;
    EXPECT_EQ(eml::refillBlock(&f.handle), eml::Refill::kInputUsedUp);
    EXPECT_EQ(f.handle.blockStart, 0);
}

TEST(RefillBlock, TellsAFailedAllocation) {
    FilterFixture f;
    f.load("ab");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(eml::refillBlock(&f.handle), eml::Refill::kNoMemory);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
}

} // namespace
