// SPDX-License-Identifier: MIT
// Encoded words in header values.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "emlcomm/encoded_word.h"
#include "support/header_reading.h"

namespace {

// A handle whose line is the value itself; the default charset is "D".
struct WordFixture : FilterFixture {
    explicit WordFixture(const std::string &value) : text(value) {
        std::strcpy(handle.defaultCharset, "D");
        handle.lineLength = static_cast<int32_t>(text.size());
        handle.lineEndSeen = 1;
    }
    int32_t run() { return analyzeSpecialName(&handle, text.c_str(), 1); }
    std::string text;
};

struct WordRow {
    const char *promise;
    const char *value;
    const char *text; // pieces as CHARSET{bytes}, Latin-1 as L
};

void expectPieces(const WordRow &row) {
    SCOPED_TRACE(row.promise);
    WordFixture f(row.value);
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(convertedPieces(f.host), row.text);
}

TEST(EncodedWords, DecodeBase64AndQuotedPrintable) {
    const WordRow rows[] = {
        {"B", "=?UTF-8?B?aGVsbG8=?=", "UTF-8{hello}"},
        {"b", "=?UTF-8?b?QUJD?=", "UTF-8{ABC}"},
        {"Q", "=?UTF-8?Q?=41b=c3?=", "UTF-8{Ab\xC3}"},
        {"q", "=?UTF-8?q?=41?=", "UTF-8{A}"},
        {"any other letter is quoted-printable", "=?UTF-8?X?=41?=", "UTF-8{A}"},
        {"no letter is quoted-printable",
         "=?UTF-8??"
         "?=41?=",
         "UTF-8{A}"},
        {"two pads", "=?UTF-8?B?QQ==?=", "UTF-8{A}"},
        {"underscores stay", "=?UTF-8?Q?a_b?=", "UTF-8{a_b}"},
        {"a question mark inside the text", "=?UTF-8?Q?a?b?=", "UTF-8{a?b}"},
        {"the byte behind the letter is not checked", "=?UTF-8?BxQUJD?=", "UTF-8{ABC}"},
        {"letters behind the first are text", "=?UTF-8?QB?ab?=", "UTF-8{?ab}"},
        {"text around: Latin-1 before, default behind", "a=?UTF-8?Q?b?=c", "L{a}UTF-8{b}D{c}"},
        {"blanks between words are written", "=?UTF-8?Q?a?= =?UTF-8?Q?b?=", "UTF-8{a}L{ }UTF-8{b}"},
        {"words without a blank", "=?UTF-8?Q?a?==?big5?B?QUJD?=", "UTF-8{a}ChineseBIG5{ABC}"},
        {"inside quotes as outside", "\"a=?UTF-8?Q?b?=c\"", "L{\"}L{a}UTF-8{b}D{c}L{\"}"},
        {"before an address", "=?UTF-8?Q?b?= <a@b>", "UTF-8{b}D{ }D{<a@b}D{>}"},
        {"not inside an address", "<=?UTF-8?Q?b?=>", "D{<=?UTF-8?Q?b?=}D{>}"},
    };
    for (const WordRow &row : rows) {
        expectPieces(row);
    }
}

TEST(EncodedWords, NormaliseTheirCharset) {
    const WordRow rows[] = {
        {"iso-2022-jp", "=?iso-2022-jp?B?QUJD?=", "ISO-2022-JP{ABC}"},
        {"gb2312", "=?gb2312?Q?a?=", "ChineseGBK{a}"},
        {"leading blanks", "=?  euc-kr?Q?a?=", "KoreanKSC{a}"},
        {"an unknown name as it is", "=?koi8-r?B?QUJD?=", "koi8-r{ABC}"},
        {"no name in the first word, Q: default", "=??Q?a?=", "D{a}"},
        {"no name in the first word, B: empty", "=??B?QUJD?=", "{ABC}"},
        {"no name keeps the word's before it, B",
         "=?big5?Q?a?==??B?QUJD?=", "ChineseBIG5{a}ChineseBIG5{ABC}"},
        {"no name keeps the word's before it, Q",
         "=?big5?B?QUJD?==??Q?a?=", "ChineseBIG5{ABC}ChineseBIG5{a}"},
        {"31 characters",
         "=?abcdefghijklmnopqrstuvwxyzABCDE?Q?a?=", "abcdefghijklmnopqrstuvwxyzABCDE{a}"},
        {"what is longer is cut to 31",
         "=?abcdefghijklmnopqrstuvwxyzABCDEFGH?B?QUJD?=", "abcdefghijklmnopqrstuvwxyzABCDE{ABC}"},
    };
    for (const WordRow &row : rows) {
        expectPieces(row);
    }
}

TEST(EncodedWords, WithoutTextWriteNothing) {
    const WordRow rows[] = {
        {"B",
         "a=?UTF-8?B?"
         "?=b",
         "L{a}D{b}"},
        {"Q",
         "a=?UTF-8?Q?"
         "?=b",
         "L{a}D{b}"},
        {"their charset is kept for the next",
         "=?big5?B?"
         "?==??Q?a?=",
         "ChineseBIG5{a}"},
    };
    for (const WordRow &row : rows) {
        expectPieces(row);
    }
}

TEST(EncodedWords, WithoutAnEndAreDroppedAndEndTheWalk) {
    for (const char *value :
         {"a=?", "a=?UTF-8", "a=?UTF-8?", "a=?UTF-8?B", "a=?UTF-8?B?", "a=?UTF-8?B?QUJD",
          "a=?UTF-8?B?QUJD=", "a=?UTF-8?Q?b?", "a=?UTF-8?Q?b<c>\"d\"", "a=??", "a=?UTF-8?="}) {
        expectPieces({value, value, "L{a}"});
    }
}

TEST(EncodedWords, WithAnEmptyCharsetAreDroppedByTheConverter) {
    WordFixture f("=??B?QUJD?=x");
    f.host.unknownCharsets = {""};
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(f.output(), "x");
}

TEST(EncodedWords, AreNotFollowedByALineEnd) {
    WordFixture f("=?UTF-8?Q?ab?=");
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(f.output(), "ab");
    EXPECT_EQ(f.handle.qpBufferUsed, 0U);
}

TEST(EncodedWords, EndingInAnEqualsSignAreNoSoftBreak) {
    // The soft break is looked for at the end of the whole line, where this word does not reach.
    WordFixture f("=?UTF-8?Q?ab=?= c");
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(f.output(), "ab c");
    EXPECT_EQ(f.handle.qpBufferUsed, 0U);
}

TEST(EncodedWords, LeaveNothingOfALongerWordInAShorterOne) {
    WordFixture f("=?UTF-8?B?QUJDREVGR0g=?==?UTF-8?B?QUJD?= <abcdefgh> <a>");
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(f.output(), "ABCDEFGHABC <abcdefgh> <a>");
}

TEST(EncodedWords, CountPadsOfEachWordApart) {
    WordFixture f("=?UTF-8?B?QQ==?==?UTF-8?B?QUI=?==?UTF-8?B?QUJD?=");
    EXPECT_EQ(f.run(), EML_OK);
    EXPECT_EQ(f.output(), "AABABC");
}

TEST(EncodedWords, ReportTheLimitOfTheirDecoder) {
    struct Row {
        const char *value;
        int32_t code;
    };
    // The quoted-printable decoder itself takes a reached limit for success.
    for (const Row &row :
         {Row{"=?UTF-8?B?YWJjZA==?=", EML_ERR_LIMIT}, Row{"=?UTF-8?Q?abcd?=", EML_OK},
          Row{"=?UTF-8?Q?abcd?==?UTF-8?B?YWJjZA==?=", EML_ERR_LIMIT},
          Row{"=?UTF-8?B?YWJjZA==?==?UTF-8?Q?abcd?=", EML_OK}}) {
        WordFixture f(row.value);
        f.setLimit(2);
        EXPECT_EQ(f.run(), row.code) << row.value;
        EXPECT_EQ(f.output(), "ab");
    }
}

TEST(EncodedWords, ReportTheLastDecodersResult) {
    WordFixture fits("=?UTF-8?Q?ab?=cdef");
    fits.setLimit(3);
    EXPECT_EQ(fits.run(), EML_OK);
    EXPECT_EQ(fits.output(), "abc");

    WordFixture failsFirst("=?UTF-8?B?QUJD?==?UTF-8?B?REVG?=");
    failsFirst.host.failCall("QOB_malloc", 3); // behind the walk's own two buffers
    EXPECT_EQ(failsFirst.run(), EML_OK);
    EXPECT_EQ(failsFirst.output(), "DEF");
}

TEST(EncodedWords, ReportAFailedDecoderAsMemory) {
    for (const char *value : {"=?UTF-8?B?QUJD?=", "=?UTF-8?Q?abc?="}) {
        WordFixture f(value);
        const size_t before = f.host.liveAllocations();
        f.host.failCall("QOB_malloc", 3);
        EXPECT_EQ(f.run(), EML_ERR_MEMORY) << value;
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.host.liveAllocations(), before);
    }
}

TEST(EncodedWords, OfTheLongestLineAreDecodedWhole) {
    const std::string head = "=?UTF-8?Q?";
    const std::string letters(kMaxLineLength - head.size() - 2, 'x');
    WordFixture quoted(head + letters + "?=");
    EXPECT_EQ(quoted.run(), EML_OK);
    EXPECT_EQ(quoted.output(), letters);

    std::string groups;
    std::string decoded;
    while (groups.size() + 16 < static_cast<size_t>(kMaxLineLength)) {
        groups += "QUJD";
        decoded += "ABC";
    }
    WordFixture base64("=?UTF-8?B?" + groups + "?=");
    EXPECT_EQ(base64.run(), EML_OK);
    EXPECT_EQ(base64.output(), decoded);
}

TEST(EncodedWords, OfPadsAloneAreHarmless) {
    for (const size_t pads : {1U, 2U, 3U, 4U, 5U, 2000U}) {
        WordFixture f("=?UTF-8?B?" + std::string(pads, '=') + "?=x");
        EXPECT_EQ(f.run(), EML_OK) << pads;
        EXPECT_EQ(f.handle.base64PadCount, 0);
    }
}

TEST(EncodedWords, OfRandomBytesEndWithAResult) {
    std::mt19937 random(20470);
    const std::string alphabet = "=?=?=?BbQq\"<>utf-8 A1\x80\xFF";
    for (int round = 0; round < 3000; ++round) {
        std::string value(random() % 120, ' ');
        for (char &c : value) {
            c = alphabet[random() % alphabet.size()];
        }
        WordFixture f(value);
        f.handle.lineLength = static_cast<int32_t>(random() % 130);
        f.handle.lineEndSeen = random() % 2;
        EXPECT_EQ(f.run(), EML_OK) << value;
    }
}

} // namespace
