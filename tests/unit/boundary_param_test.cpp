// SPDX-License-Identifier: MIT
// The boundary parameter, of the message and of a part.
#include <cstring>
#include <string>

#include "emlcontent/field_finders.h"
#include "support/exact_text.h"

#include <gtest/gtest.h>

namespace {

const std::string k79(79, 'b');
const std::string k80(80, 'b');
const std::string k200(200, 'b');

std::string messageBoundary(const std::string &line) {
    ExtractionHandle handle = {};
    std::strcpy(handle.boundary, "before");
    EXPECT_EQ(findBoundary(&handle, exactString(line).data()), 0);
    return handle.boundary;
}

struct Row {
    std::string line;
    std::string boundary;
};

TEST(MessageBoundary, IsTheQuotedValue) {
    const Row rows[] = {
        {"Content-Type: multipart/mixed; boundary=\"abc\"", "abc"},
        {" boundary=\"abc\"; charset=\"x\"", "abc"},
        {" Boundary=\"abc\"", "abc"},
        {" charset=\"x\"; boundary=\"abc\"", "abc"},
        {" boundary=  \"abc\"", "abc"},
        {" boundary=\"a b;c\"", "a b;c"},
        {" boundary=\"abc", "abc"},
        {" boundary=\"", ""},
        {" boundary=\"\"", ""},
        {" boundary=\"\" \"later\"", ""},
        // The lower-case key is the one looked for first.
        {" Boundary=\"first\"; boundary=\"second\"", "second"},
        // The value need not follow the key directly.
        {" boundary=abc; name=\"quoted\"", "quoted"},
        {" boundary=\"a\xE9\x80\"", "a\xE9\x80"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageBoundary(row.line), row.boundary) << row.line;
    }
}

TEST(MessageBoundary, IsEmptyWithoutQuotes) {
    EXPECT_EQ(messageBoundary("boundary=abc"), "");
    EXPECT_EQ(messageBoundary("boundary="), "");
    EXPECT_EQ(messageBoundary("\"x\"; Boundary=abc"), "");
}

TEST(MessageBoundary, OtherCapitalsAreNoKey) {
    EXPECT_EQ(messageBoundary("BOUNDARY=\"abc\""), "before");
    EXPECT_EQ(messageBoundary("no key \"abc\""), "before");
}

TEST(MessageBoundary, HasAtMost79Characters) {
    const Row rows[] = {
        {"boundary=\"" + k79 + "\"", k79},
        // The closing quote directly after the 79th character closes.
        {"boundary=\"" + k79 + "\"; name=\"later\"", k79},
        {"boundary=\"" + k79, k79},
        {"boundary=\"" + k80, k79},
        {"boundary=\"" + k200, k79},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageBoundary(row.line), row.boundary) << row.line;
    }
}

TEST(MessageBoundary, ThatIsTooLongIsReplacedFromTheNextQuoteOn) {
    const Row rows[] = {
        {"boundary=\"" + k80 + "\"", ""},
        {"boundary=\"" + k80 + "\"; tail", "; tail"},
        {"boundary=\"" + k80 + "\"; name=\"later\"", "; name="},
        {"boundary=\"" + k200 + "\"" + k200 + "\"x", "x"},
        {"boundary=\"" + k200 + "\"" + k200, k79},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageBoundary(row.line), row.boundary) << row.line;
    }
}

TEST(MessageBoundary, ReplacesAnEarlierOne) {
    ExtractionHandle handle = {};
    findBoundary(&handle, ("boundary=\"" + k79 + "\"").c_str());
    findBoundary(&handle, "boundary=\"abc\"");
    EXPECT_STREQ(handle.boundary, "abc");
    findBoundary(&handle, "boundary=abc");
    EXPECT_STREQ(handle.boundary, "");
}

TEST(MessageBoundary, StaysInsideItsField) {
    for (const size_t length : {78U, 79U, 80U, 81U, 200U, 2000U}) {
        SCOPED_TRACE(length);
        ExtractionHandle handle = {};
        handle.contentType = 0x5A5A5A5A; // directly behind the field
        findBoundary(&handle, ("boundary=\"" + std::string(length, 'b')).c_str());
        EXPECT_EQ(handle.contentType, 0x5A5A5A5A);
        EXPECT_EQ(strnlen(handle.boundary, kBoundarySize), std::min<size_t>(length, 79));
    }
}

// A handle whose boundaries hold something else before.
struct PartBoundary {
    explicit PartBoundary(const std::string &text, int32_t inNestedPart = 0) {
        handle.inNestedPart = inNestedPart;
        std::strcpy(handle.partBoundary, "outer-before");
        std::strcpy(handle.nestedBoundary, "nested-before");
        EXPECT_EQ(findBoundary_pre(&handle, exactString(text).data()), 0);
    }
    std::string part() const { return handle.partBoundary; }
    std::string nested() const { return handle.nestedBoundary; }

    ExtractionHandle handle = {};
};

const Row kPartRows[] = {
    {"\"abc\"", "abc"},
    {"boundary=\"abc\"; x", "abc"},
    {"text before \"abc\" and after", "abc"},
    {"\"a b;c\"", "a b;c"},
    // The text between the last pair of quotes wins.
    {"boundary=\"abc\"; name=\"file\"", "file"},
    {"\"first\" \"second\" \"third\"", "third"},
    {"\"long first\" \"b\"", "b"},
    {"\"abc\" \"\"", ""},
    {"\"\" \"abc\"", "abc"},
    {"\"\"", ""},
    // An unclosed last quote ends with the text.
    {"\"abc", "abc"},
    {"\"abc\" \"unclosed; x=y", "unclosed; x=y"},
    {"\"abc\" \"", ""},
    {"\"", ""},
    {"abc", ""},
    {"boundary=abc", ""},
    {"", ""},
    {"\"" + k79 + "\"", k79},
    {"\"" + k80 + "\"", k79},
    {"\"" + k200 + "\"", k79},
    {"\"" + k200 + "\" \"abc\"", "abc"},
    {"\"" + k200, k79},
};

TEST(PartBoundaryFinder, TakesTheLastQuotedText) {
    for (const Row &row : kPartRows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(PartBoundary(row.line).part(), row.boundary);
    }
}

TEST(PartBoundaryFinder, FillsTheNestedFieldWhileANestedPartIsRead) {
    for (const Row &row : kPartRows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(PartBoundary(row.line, 1).nested(), row.boundary);
    }
}

TEST(PartBoundaryFinder, EndsBothFieldsAtTheLengthFound) {
    EXPECT_EQ(PartBoundary("\"abc\"").nested(), "nes");
    EXPECT_EQ(PartBoundary("\"abc\"", 1).part(), "out");
    EXPECT_EQ(PartBoundary("none").nested(), "");
    EXPECT_EQ(PartBoundary("none", 1).part(), "");
}

TEST(PartBoundaryFinder, StaysInsideItsFields) {
    for (const int32_t nested : {0, 1}) {
        for (const size_t length : {78U, 79U, 80U, 81U, 200U, 2000U}) {
            SCOPED_TRACE(length);
            ExtractionHandle handle = {};
            handle.inNestedPart = nested;
            handle.partContentType = 0x5A5A5A5A;
            handle.nestedContentType = 0x5A5A5A5A;
            findBoundary_pre(&handle, ("\"" + std::string(length, 'b') + "\"").c_str());
            EXPECT_EQ(handle.partContentType, 0x5A5A5A5A);
            EXPECT_EQ(handle.nestedContentType, 0x5A5A5A5A);
            const char *filled = nested == 0 ? handle.partBoundary : handle.nestedBoundary;
            EXPECT_EQ(strnlen(filled, kBoundarySize), std::min<size_t>(length, 79));
        }
    }
}

} // namespace
