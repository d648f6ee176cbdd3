// SPDX-License-Identifier: MIT
// Streams hand text to their sink, keep their limit, and know how they ended.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support.h"

namespace {

using txif_test::stringSink;

HostParams limited(uint64_t limit) {
    HostParams params{};
    std::memcpy(params.outputName, "UTF-8", 6);
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = limit;
    return params;
}

TEST(Stream, WithoutParametersTakesEverything) {
    std::string text;
    const QobSink sink = stringSink(text);
    QobStream *stream = qob_stream_open(&sink, nullptr);
    EXPECT_NE(QOB_WriteStream(stream, 3, "abc"), 0);
    EXPECT_NE(QOB_WriteStream(stream, 0, nullptr), 0);
    EXPECT_NE(QOB_WriteStream(stream, 2, "de"), 0);
    EXPECT_EQ(qob_stream_close(stream), EML_OK);
    EXPECT_EQ(text, "abcde");
}

TEST(Stream, FilledToItsLimitIsNotTruncated) {
    std::string text;
    const QobSink sink = stringSink(text);
    const HostParams params = limited(3);
    QobStream *stream = qob_stream_open(&sink, &params);
    EXPECT_NE(QOB_WriteStream(stream, 3, "abc"), 0);
    EXPECT_EQ(qob_stream_close(stream), EML_OK);
}

TEST(Stream, TakesTheCharactersThatFitAndNothingAfterThem) {
    std::string text;
    const QobSink sink = stringSink(text);
    const HostParams params = limited(3);
    QobStream *stream = qob_stream_open(&sink, &params);
    EXPECT_EQ(QOB_WriteStream(stream, 4, "ab\xC3\xA9"), 0);
    EXPECT_EQ(QOB_WriteStream(stream, 1, "c"), 0);
    EXPECT_EQ(qob_stream_close(stream), EML_ERR_LIMIT);
    EXPECT_EQ(text, "ab");
}

TEST(Stream, TakesTheLowHalfOfTheLimitOnly) {
    std::string text;
    const QobSink sink = stringSink(text);
    const HostParams params = limited(0x500000002U);
    QobStream *stream = qob_stream_open(&sink, &params);
    EXPECT_EQ(QOB_WriteStream(stream, 3, "abc"), 0);
    EXPECT_EQ(qob_stream_close(stream), EML_ERR_LIMIT);
    EXPECT_EQ(text, "ab");
}

TEST(Stream, CallsASinkThatRefusedNoMore) {
    int calls = 0;
    const QobSink sink{[](void *context, const void *, uint32_t) -> int32_t {
                           ++*static_cast<int *>(context);
                           return 0;
                       },
                       &calls};
    QobStream *stream = qob_stream_open(&sink, nullptr);
    EXPECT_EQ(QOB_WriteStream(stream, 1, "a"), 0);
    EXPECT_EQ(QOB_WriteStream(stream, 1, "b"), 0);
    EXPECT_EQ(qob_stream_close(stream), QOB_ERR_WRITE);
    EXPECT_EQ(calls, 1);
}

TEST(Stream, NullTakesNothing) {
    EXPECT_EQ(QOB_WriteStream(nullptr, 1, "a"), 0);
    EXPECT_EQ(qob_stream_open(nullptr, nullptr), nullptr);
    EXPECT_EQ(qob_stream_close(nullptr), EML_OK);
}

} // namespace
