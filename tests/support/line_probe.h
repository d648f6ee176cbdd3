// SPDX-License-Identifier: MIT
// Calls a line reader with a dirty buffer of exactly the promised size, so that the address checker
// sees a byte too many, and checks what every reader promises: the line fits, and the rest of the
// buffer is zero.
#ifndef QOB_TESTS_LINE_PROBE_H
#define QOB_TESTS_LINE_PROBE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "emlcomm/line_reader.h"
#include "support/filter_fixture.h"

using LineReader = int32_t (*)(ExtractionHandle *, char *, int32_t);

class LineProbe {
public:
    LineProbe(FilterFixture &fixture, LineReader lineReader) : f(fixture), reader(lineReader) {}

    // The next line within the current block.
    std::string next() { return next(f.handle.blockLength); }

    std::string next(int32_t limit) {
        const auto buffer = std::make_unique<char[]>(kLineBufferSize);
        std::fill_n(buffer.get(), kLineBufferSize, '#');
        result = reader(&f.handle, buffer.get(), limit);
        if (result == EML_ERR_MEMORY) {
            return ""; // no line
        }
        const int32_t length = result;
        EXPECT_GE(length, 0);
        EXPECT_LE(length, kMaxLineLength);
        EXPECT_TRUE(std::all_of(buffer.get() + length, buffer.get() + kLineBufferSize,
                                [](char c) { return c == '\0'; }));
        return {buffer.get(), static_cast<size_t>(length)};
    }

    // `count` lines, one after the other.
    std::vector<std::string> lines(size_t count) {
        std::vector<std::string> read;
        while (read.size() < count) {
            read.push_back(next());
        }
        return read;
    }

    int32_t result = 0; // what the last call returned

private:
    FilterFixture &f;
    LineReader reader;
};

#endif
