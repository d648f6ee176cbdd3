// SPDX-License-Identifier: MIT
// The walkers' lines beside those of a slow, obvious reader, over random files of many blocks.
#include <string>

#include "emlcomm/line_reader.h"
#include "plain_reader.h"
#include "support/exact_text.h"
#include "support/filter_fixture.h"

namespace {

// Short, ordinary and long lines with every kind of line end between them.
std::string randomFile(RandomText &random, size_t size) {
    constexpr std::string_view kLineEnds[] = {"\r\n",   "\n",   "\r",      "\n\n",
                                              "\r\r\n", "\n\r", "\r\n\r\n"};
    std::string text;
    while (text.size() < size) {
        const size_t length = random.below(50) == 0 ? random.below(5000) : random.lineLength();
        text += random.text(length, "ab\t =.-");
        text += kLineEnds[random.below(std::size(kLineEnds))];
    }
    return text;
}

PlainReader plainReaderOf(const FilterFixture &f, const std::string &file) {
    return {.file = file, .length = f.handle.blockLength};
}

void expectSamePlace(const FilterFixture &f, const PlainReader &plain) {
    ASSERT_EQ(f.handle.blockStart, plain.start);
    ASSERT_EQ(f.handle.blockPos, plain.at);
    ASSERT_EQ(f.handle.blockLength, plain.length);
}

void expectLine(const FilterFixture &f, const std::string &line) {
    ASSERT_EQ(eml::currentLine(&f.handle), line);
    const std::string_view behind(f.handle.lineBuffer + line.size(), kLineBufferSize - line.size());
    ASSERT_EQ(behind.find_first_not_of('\0'), std::string_view::npos);
}

TEST(LineReaderTwin, AgreesOnEveryLineOfRandomFiles) {
    RandomText random(20240507);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        const std::string file = randomFile(random, 1 + random.below(60000));
        FilterFixture f;
        f.load(file);
        PlainReader plain = plainReaderOf(f, file);
        while (plain.refill()) {
            ASSERT_EQ(eml::readNextLine(&f.handle), eml::NextLine::kRead);
            expectLine(f, plain.everyLine(plain.length));
            ASSERT_EQ(f.handle.lineEndSeen != 0, plain.lineEndSeen);
            expectSamePlace(f, plain);
            ASSERT_FALSE(HasFatalFailure());
        }
        ASSERT_EQ(eml::readNextLine(&f.handle), eml::NextLine::kInputUsedUp);
    }
}

TEST(LineReaderTwin, AgreesOnLinesWithTextOfRandomBlocks) {
    RandomText random(20240508);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        const std::string file = randomFile(random, 1 + random.below(30000));
        FilterFixture f;
        f.load(file);
        PlainReader plain = plainReaderOf(f, file);
        for (std::string line = plain.textLine(plain.length); !line.empty();
             line = plain.textLine(plain.length)) {
            ASSERT_EQ(eml::readLineWithText(&f.handle, f.handle.blockLength), EML_OK);
            expectLine(f, line);
            expectSamePlace(f, plain);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

} // namespace
