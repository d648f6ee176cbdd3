// SPDX-License-Identifier: MIT
// Header values without encoded words: plain text, quoted strings and addresses, each read in the
// charset that applies to it.
#include <gtest/gtest.h>

#include <cstring>

#include "emlcomm/encoded_word.h"
#include "support/failure_sweep.h"
#include "support/header_reading.h"

namespace {

// A handle whose line is the value itself; the default charset is "D".
struct ValueFixture : FilterFixture {
    explicit ValueFixture(const std::string &value) {
        std::strcpy(handle.defaultCharset, "D");
        handle.lineLength = static_cast<int32_t>(value.size());
        handle.lineEndSeen = 1;
        code = analyzeSpecialName(&handle, value.c_str(), 1);
    }
    int32_t code = -1;
};

TEST(HeaderValues, ReadEachPieceInItsCharset) {
    struct Row {
        const char *promise;
        const char *value;
        const char *text;
    };
    const Row rows[] = {
        {"plain text to the end: default", "abc", "D{abc}"},
        {"before a quote: Latin-1; quoted: default", "ab\"cd\"ef", "L{ab}L{\"}D{cd}L{\"}D{ef}"},
        {"before an address: default", "ab<c>", "D{ab}D{<c}D{>}"},
        {"behind an address", "<c>ab", "D{<c}D{>}D{ab}"},
        {"a display name and its address", "\"Name\" <a@b>", "L{\"}D{Name}L{\"}D{ }D{<a@b}D{>}"},
        {"empty quotes", "\"\"", "L{\"}L{\"}"},
        {"an unclosed quote", "a\"bc", "L{a}L{\"}D{bc}"},
        {"three quotes", "\"a\"b\"c", "L{\"}D{a}L{\"}L{b}L{\"}D{c}"},
        {"an empty address", "<>", "D{<}D{>}"},
        {"an address inside quotes", "\"a<b>c\"", "L{\"}D{a}D{<b}D{>}D{c}L{\"}"},
        {"quotes inside an address", "<a\"b\">", "D{<a\"b\"}D{>}"},
        {"'<' inside an address", "<a<b>", "D{<a<b}D{>}"},
        {"two addresses", "<a>, <b>", "D{<a}D{>}D{, }D{<b}D{>}"},
        {"a lone '>'", "a>b", "D{a>b}"},
        {"'=' and '?' apart", "a= ?b=", "D{a= ?b=}"},
        {"an unfinished address is left out", "ab<cd", "D{ab}"},
        {"'<' at the end", "ab<", "D{ab}"},
        {"an unfinished address ends the walk", "a<b\"c\"d", "D{a}"},
        {"an unfinished address behind a quote", "\"a\"<b", "L{\"}D{a}L{\"}"},
        {"blanks are text", " \t ", "D{ \t }"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        const ValueFixture f(row.value);
        EXPECT_EQ(f.code, EML_OK);
        EXPECT_EQ(convertedPieces(f.host), row.text);
    }
}

TEST(HeaderValues, EmptyTextWritesNothing) {
    const ValueFixture f("");
    EXPECT_EQ(f.code, EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_TRUE(f.host.conversions.empty());
    EXPECT_FALSE(f.host.called("QOB_FileWrite"));
}

TEST(HeaderValues, SetTheEncodedWordFlag) {
    const ValueFixture f("a");
    EXPECT_EQ(f.handle.encodedWordFlag, 1);
}

TEST(HeaderValues, DoNotConsultTheMode) {
    for (const int32_t mode : {0, 1, 2, -1}) {
        FilterFixture f;
        f.handle.lineEndSeen = 1;
        f.handle.lineLength = 30;
        EXPECT_EQ(analyzeSpecialName(&f.handle, "a =?utf-8?Q?b?= <c>", mode), EML_OK);
        EXPECT_EQ(f.output(), "a b <c>") << mode;
    }
}

TEST(HeaderValues, LeaveOutAPieceInAnUnknownCharset) {
    FilterFixture f;
    std::strcpy(f.handle.defaultCharset, "D");
    f.host.unknownCharsets = {"D"};
    EXPECT_EQ(analyzeSpecialName(&f.handle, "a\"b\"c", 1), EML_OK);
    EXPECT_EQ(f.output(), "a\"\"");
}

TEST(HeaderValues, WriteAlsoAPieceThatConvertsToNothing) {
    FilterFixture f;
    f.host.convert = [](const std::string &, const std::string &) { return std::string(); };
    EXPECT_EQ(analyzeSpecialName(&f.handle, "a", 1), EML_OK);
    EXPECT_TRUE(f.host.called(std::string("QOB_FileWrite ") + kOutputName + " 0"));
}

TEST(HeaderValues, ReportNoLimitOfTheirOwn) {
    // Only decoders report the limit; plain text, quotes and addresses are cut in silence.
    for (const char *value : {"abcdef", "\"abcdef\"", "<abcdef>"}) {
        FilterFixture f;
        f.setLimit(2);
        EXPECT_EQ(analyzeSpecialName(&f.handle, value, 1), EML_OK) << value;
        EXPECT_EQ(f.output(), std::string(value).substr(0, 2));
    }
}

TEST(HeaderValues, AnalyzeAddressReturns0Whatever) {
    FilterFixture ok;
    EXPECT_EQ(analyzeAddress(&ok.handle, "a <b>"), 0);
    EXPECT_EQ(ok.output(), "a <b>");

    FilterFixture noMemory;
    noMemory.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(analyzeAddress(&noMemory.handle, "a"), 0);
    EXPECT_EQ(noMemory.output(), "");

    FilterFixture limited;
    limited.handle.lineEndSeen = 1;
    limited.setLimit(1);
    EXPECT_EQ(analyzeAddress(&limited.handle, "=?utf-8?Q?ab?="), 0);
    EXPECT_EQ(limited.output(), "a");
}

TEST(HeaderValues, NeedTheirTwoBuffers) {
    for (const int n : {1, 2}) {
        FilterFixture f;
        const size_t before = f.host.liveAllocations();
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(analyzeSpecialName(&f.handle, "a", 1), EML_ERR_MEMORY);
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.host.liveAllocations(), before);
    }
}

TEST(HeaderValues, OfTheLongestLineAreWrittenWhole) {
    for (const char c : {'x', '>', '\xE9', ' '}) {
        FilterFixture f;
        const std::string value(kMaxLineLength, c);
        EXPECT_EQ(analyzeSpecialName(&f.handle, value.c_str(), 1), EML_OK);
        EXPECT_EQ(f.output(), value);
    }
    FilterFixture address;
    const std::string value = "<" + std::string(kMaxLineLength - 2, 'x') + ">";
    EXPECT_EQ(analyzeSpecialName(&address.handle, value.c_str(), 1), EML_OK);
    EXPECT_EQ(address.output(), value);
}

TEST(HeaderValues, LongerThanALineStayInsideTheirBuffers) {
    for (const char *unit :
         {"x", "\"", "<", "<>", "=?", "=", "?", "=?a?B?", "=?a?Q?=?=", "\"<a>"}) {
        for (const size_t length : {2046U, 2047U, 2048U, 2049U, 5000U}) {
            std::string value;
            while (value.size() < length) {
                value += unit;
            }
            FilterFixture f;
            f.handle.lineLength = kMaxLineLength;
            f.handle.lineEndSeen = 1;
            EXPECT_EQ(analyzeSpecialName(&f.handle, value.c_str(), 1), EML_OK) << unit << length;
        }
    }
}

TEST(HeaderValues, MayGrowFourfoldInConversion) {
    FilterFixture f;
    f.host.convert = [](const std::string &, const std::string &input) {
        return std::string(4 * input.size() + 1, 'y');
    };
    const std::string value(kMaxLineLength, 'x');
    EXPECT_EQ(analyzeSpecialName(&f.handle, value.c_str(), 1), EML_OK);
    EXPECT_EQ(f.output().size(), 4 * value.size() + 1);
}

TEST(HeaderValues, EveryServiceInTurn) {
    const auto walk = [](FilterFixture &f) {
        return analyzeSpecialName(&f.handle, "a \"b\" <c> =?utf-8?B?QUJD?= =?big5?Q?d=41?= e", 1);
    };
    const auto prepare = [](FilterFixture &f) {
        f.load("x\r\n");
        f.handle.lineEndSeen = 1;
        f.handle.lineLength = 60;
    };
    sweepAllServices({.prepare = prepare, .work = walk, .codes = {EML_OK, EML_ERR_MEMORY}});
    sweepAllServices({.prepare =
                          [prepare](FilterFixture &f) {
                              f.useStream();
                              prepare(f);
                          },
                      .work = walk,
                      .codes = {EML_OK, EML_ERR_MEMORY}});
}

} // namespace
