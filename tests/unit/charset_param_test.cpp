// SPDX-License-Identifier: MIT
// The charset parameter, of the message and of a part.
#include <cstring>
#include <string>

#include "emlcontent/field_finders.h"
#include "support/exact_text.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    std::string text;
    std::string charset;
};

const std::string k25 = "abcdefghijklmnopqrstuvwxy";
const std::string k31 = "abcdefghijklmnopqrstuvwxyz01234";
const std::string k40 = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";

std::string messageCharset(const std::string &line, const std::string &before = "") {
    ExtractionHandle handle = {};
    std::strcpy(handle.charset, before.c_str());
    EXPECT_EQ(findChartset(&handle, exactString(line).data()), 0);
    return handle.charset;
}

TEST(MessageCharsetParam, IsTheLastQuotedTextOfTheLine) {
    const Row rows[] = {
        {"text/plain; charset=\"utf-8\"", "utf-8"},
        {"text/plain; charset=us-ascii; name=\"a.txt\"", "a.txt"},
        {"name=\"a.txt\"; charset=utf-8", "a.txt"},
        {"name=\"a.txt\"; charset=\"utf-8\"", "utf-8"},
        {"charset=\"utf-8\"; name=\"a.txt\"", "a.txt"},
        {"charset=\" utf-8; x\"", " utf-8; x"},
        // An unclosed quote ends with the line.
        {"charset=\"utf-8; x=y", "utf-8; x=y"},
        {"name=\"longer\"; charset=\"u", "u"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageCharset(row.text), row.charset) << row.text;
        EXPECT_EQ(messageCharset(row.text, "before-before-befor"), row.charset) << row.text;
    }
}

TEST(MessageCharsetParam, QuotedHasAtMost19Characters) {
    const Row rows[] = {
        {"charset=\"" + k25 + "\"", k25.substr(0, 19)},
        {"charset=\"" + k25, k25.substr(0, 19)},
        {"charset=\"" + k25.substr(0, 19) + "\"", k25.substr(0, 19)},
        {"charset=\"" + std::string(2000, 'c') + "\"", std::string(19, 'c')},
        // A text that was cut is taken at once; one that just fits is not.
        {"charset=\"" + k25 + "\"; name=\"a.txt\"", k25.substr(0, 19)},
        {"charset=\"" + k25.substr(0, 20) + "\"; name=\"a.txt\"", k25.substr(0, 19)},
        {"charset=\"" + k25.substr(0, 19) + "\"; name=\"a.txt\"", "a.txt"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageCharset(row.text), row.charset) << row.text;
    }
}

TEST(MessageCharsetParam, IsElseTheUnquotedValue) {
    const Row rows[] = {
        {"text/plain; charset=utf-8", "utf-8"},
        {"text/plain; charset=utf-8; format=flowed", "utf-8"},
        {"charset=utf-8;", "utf-8"},
        {"charset= utf-8 (comment)", " utf-8 (comment)"},
        {"charset=", ""},
        {"charset=;", ""},
        {"charset=utf-8; charset=koi8-r", "utf-8"},
        // Empty quotes are no value.
        {"name=\"\"; charset=utf-8", "utf-8"},
        {"charset=\"\"", "\"\""},
        {"charset=\"\"; x", "\"\""},
        {"name=\"abc\" \"\"; charset=koi8-r", "koi8-r"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageCharset(row.text), row.charset) << row.text;
    }
}

TEST(MessageCharsetParam, UnquotedHasAtMost19Characters) {
    EXPECT_EQ(messageCharset("charset=" + k25), k25.substr(0, 19));
    EXPECT_EQ(messageCharset("charset=" + k25 + "; x"), k25.substr(0, 19));
    EXPECT_EQ(messageCharset("charset=" + k25.substr(0, 19) + "; x"), k25.substr(0, 19));
    EXPECT_EQ(messageCharset("charset=" + k25.substr(0, 18) + "; x"), k25.substr(0, 18));
    EXPECT_EQ(messageCharset("charset=" + std::string(2000, 'c')), std::string(19, 'c'));
}

TEST(MessageCharsetParam, BeforeASemicolonKeepsOneByteBehindIt) {
    EXPECT_EQ(messageCharset("charset=utf-8; x", "iso-8859-15"), "utf-88");
    EXPECT_EQ(messageCharset("charset=; x", "koi8-r"), "k");
    // The byte may come from a quoted text of the same line that was given up.
    EXPECT_EQ(messageCharset("name=\"abc\" \"\"; charset=x; y"), "xb");
    // At the end of the line there is no such byte.
    EXPECT_EQ(messageCharset("charset=utf-8", "iso-8859-15"), "utf-8");
}

TEST(MessageCharsetParam, StaysInsideItsField) {
    for (const size_t length : {18U, 19U, 20U, 21U, 200U, 2000U}) {
        const std::string value(length, 'c');
        for (const std::string &line : {"charset=" + value, "charset=" + value + ";",
                                        "charset=\"" + value + "\"", "charset=\"" + value}) {
            SCOPED_TRACE(line);
            ExtractionHandle handle = {};
            std::memset(handle.charset, 'j', kMessageCharsetSize - 1);
            handle.transferEncoding = 0x5A5A5A5A; // directly behind the field
            findChartset(&handle, line.c_str());
            EXPECT_EQ(handle.transferEncoding, 0x5A5A5A5A);
            EXPECT_LT(strnlen(handle.charset, kMessageCharsetSize), kMessageCharsetSize);
        }
    }
}

using PartFinder = int32_t (*)(ExtractionHandle *, const char *);

// A handle whose part charsets hold something else before.
struct PartCharset {
    PartCharset(PartFinder finder, const std::string &text, int32_t inNestedPart = 0) {
        handle.inNestedPart = inNestedPart;
        std::strcpy(handle.partCharset, "outer-before");
        std::strcpy(handle.nestedCharset, "nested-before");
        EXPECT_EQ(finder(&handle, exactString(text).data()), 0);
    }
    std::string part() const { return handle.partCharset; }
    std::string nested() const { return handle.nestedCharset; }

    ExtractionHandle handle = {};
};

void expectRows(PartFinder finder, const std::vector<Row> &rows) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(PartCharset(finder, row.text).part(), row.charset);
        EXPECT_EQ(PartCharset(finder, row.text, 1).nested(), row.charset);
    }
}

TEST(PartCharsetFinder, TakesTheLastQuotedText) {
    expectRows(findChartset_pre, {
                                     {"\"utf-8\"", "utf-8"},
                                     {"charset=\"utf-8\"; format=flowed", "utf-8"},
                                     {"charset=\"utf-8\"; name=\"a.txt\"", "a.txt"},
                                     {"\"utf-8\" \"\"", ""},
                                     {"\"\" \"utf-8\"", "utf-8"},
                                     {"\"utf-8", "utf-8"},
                                     {"\"a\" \"utf-8; x", "utf-8; x"},
                                     {"\"", ""},
                                     {"charset=utf-8", ""},
                                     {"", ""},
                                     {"\"" + k31 + "\"", k31},
                                     {"\"" + k40 + "\"", k31},
                                     {"\"" + k40 + "\" \"a\"", "a"},
                                 });
}

TEST(PartCharsetValue, IsQuotedOrNot) {
    expectRows(findChartset_pre1, {
                                      {"utf-8", "utf-8"},
                                      {"utf-8; format=flowed", "utf-8"},
                                      {"   utf-8", "utf-8"},
                                      {"utf-8 (comment) ; x", "utf-8 (comment) "},
                                      {"\"utf-8\"; x", "utf-8"},
                                      {"  \"utf-8\"  ; x", "utf-8"},
                                      {"\"utf-8; x\"; y", "utf-8; x"},
                                      {"\"utf-8", "utf-8"},
                                      {"\"utf-8; x", "utf-8; x"},
                                      {"", ""},
                                      {"   ", ""},
                                      {";", ""},
                                      {"  ; utf-8", ""},
                                      {"\"\"", ""},
                                      {"\"\"; utf-8", ""},
                                  });
}

TEST(PartCharsetValue, SkipsSpacesButNoOtherBlanks) {
    expectRows(findChartset_pre1, {{"\tutf-8", "\tutf-8"}, {" \t\"utf-8\"", "\t\"utf-8\""}});
}

TEST(PartCharsetValue, GoesOnBehindAClosingQuote) {
    expectRows(findChartset_pre1, {
                                      {"\"\"utf-8", "utf-8"},
                                      {"\"abc\" \"de\"; x", "de"},
                                      {"\"abc\"\"\"; x", ""},
                                      {"\"abc\"tail; x", "abctail"},
                                      {"\"abc\"  tail \"q\"; x", "abctail \"q\""},
                                      {"utf-8\"x\"", "utf-8\"x\""},
                                  });
}

TEST(PartCharsetValue, HasAtMost31Characters) {
    expectRows(findChartset_pre1, {
                                      {k31, k31},
                                      {k40, k31},
                                      {k40 + "; x", k31},
                                      {"\"" + k31 + "\"", k31},
                                      {"\"" + k40 + "\"", k31},
                                      {"\"" + k40 + "\"tail", k31},
                                      {"\"" + k40 + "\" \"a\"", "a"},
                                      {std::string(2000, 'c'), std::string(31, 'c')},
                                  });
}

TEST(PartCharsetSpecial, TakesTheValueAfterTheKey) {
    expectRows(findChartset_pre_special, {
                                             {"Content-Type: text/plain; charset=utf-8", "utf-8"},
                                             {" charset=\"utf-8\"; name=\"a.txt\"", "utf-8"},
                                             {"name=\"a.txt\"; charset=utf-8; x", "utf-8"},
                                             {"charset=utf-8; charset=koi8-r", "utf-8"},
                                             {"charset=", ""},
                                         });
}

TEST(PartCharsetSpecial, LooksForTheKeyAsPrinted) {
    EXPECT_EQ(PartCharset(findChartset_pre_special, "Charset=utf-8").part(), "outer-before");
    EXPECT_EQ(PartCharset(findChartset_pre_special, "CHARSET=x; charset=utf-8").part(), "utf-8");
}

TEST(PartCharsetFields, BothEndAtTheLengthFound) {
    for (const PartFinder finder : {findChartset_pre, findChartset_pre1}) {
        EXPECT_EQ(PartCharset(finder, "\"abc\"").nested(), "nes");
        EXPECT_EQ(PartCharset(finder, "\"abc\"", 1).part(), "out");
        EXPECT_EQ(PartCharset(finder, "").nested(), "");
        EXPECT_EQ(PartCharset(finder, "", 1).part(), "");
    }
    EXPECT_EQ(PartCharset(findChartset_pre_special, "charset=abc").nested(), "nes");
    EXPECT_EQ(PartCharset(findChartset_pre_special, "charset=abc", 1).part(), "out");
}

TEST(PartCharsetFields, StayInsideThemselves) {
    for (const PartFinder finder : {findChartset_pre, findChartset_pre1}) {
        for (const int32_t nested : {0, 1}) {
            for (const size_t length : {30U, 31U, 32U, 33U, 200U, 2000U}) {
                SCOPED_TRACE(length);
                ExtractionHandle handle = {};
                handle.inNestedPart = nested;
                std::memset(handle.partBoundary, 'j', kBoundarySize);   // directly behind
                std::memset(handle.nestedBoundary, 'j', kBoundarySize); // each field
                finder(&handle, ("\"" + std::string(length, 'c') + "\"").c_str());
                EXPECT_EQ(handle.partBoundary[0], 'j');
                EXPECT_EQ(handle.nestedBoundary[0], 'j');
                const char *filled = nested == 0 ? handle.partCharset : handle.nestedCharset;
                EXPECT_EQ(strnlen(filled, kPartCharsetSize), std::min<size_t>(length, 31));
            }
        }
    }
}

} // namespace
