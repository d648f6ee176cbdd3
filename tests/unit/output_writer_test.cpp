// SPDX-License-Identifier: MIT
// Bytes and labels on their way out: the raw writer with its limit, and the label writers.
#include "emlcomm/output.h"

#include <cstring>

#include "support/filter_fixture.h"

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kOk = EML_OK;
constexpr uint32_t kLimit = EML_ERR_LIMIT;
constexpr uint32_t kNoMemory = EML_ERR_MEMORY;

uint32_t write(FilterFixture &f, const std::string &text) {
    return myfwrite(&f.handle, text.data(), 1, static_cast<uint32_t>(text.size()),
                    f.handle.outputFile);
}

TEST(OutputWriter, HandsSizeAndCountToTheFileWithoutALimit) {
    FilterFixture f;
    EXPECT_EQ(myfwrite(&f.handle, "abcdef", 2, 3, f.handle.outputFile), kOk);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 3"}));
    EXPECT_EQ(f.output(), "abcdef");
}

TEST(OutputWriter, HandsTheByteCountToTheStreamWithoutALimit) {
    FilterFixture f;
    f.useStream();
    f.host.calls.clear();
    EXPECT_EQ(myfwrite(&f.handle, "abcdef", 2, 3, nullptr), kOk);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_WriteStream 6"}));
    EXPECT_EQ(f.output(), "abcdef");
}

TEST(OutputWriter, CountsNothingWithoutALimit) {
    FilterFixture f;
    f.handle.options.opt4000 = 1;
    f.handle.outputLimit = 3;
    EXPECT_EQ(write(f, "abcdef"), kOk);
    EXPECT_EQ(f.output(), "abcdef");
    EXPECT_EQ(f.handle.outputCount, 0U);
    EXPECT_EQ(f.session.savedOutputCount, 0U);
    EXPECT_EQ(f.handle.limitReached, 0U);
}

TEST(OutputWriter, WritesToTheFileGiven) {
    FilterFixture f;
    QobFile *other = QOB_FileOpen("/tmp/other", "wb");
    EXPECT_EQ(myfwrite(&f.handle, "abc", 1, 3, other), kOk);
    f.setLimit(10);
    EXPECT_EQ(myfwrite(&f.handle, "def", 1, 3, other), kOk);
    QOB_FileClose(other);
    EXPECT_EQ(f.host.files["/tmp/other"], "abcdef");
    EXPECT_EQ(f.output(), "");
}

TEST(OutputWriter, WritesToTheStreamWhateverTheFile) {
    FilterFixture f;
    f.useStream();
    QobFile *other = QOB_FileOpen("/tmp/other", "wb");
    EXPECT_EQ(myfwrite(&f.handle, "abc", 1, 3, other), kOk);
    QOB_FileClose(other);
    EXPECT_EQ(f.host.files["/tmp/other"], "");
    EXPECT_EQ(f.output(), "abc");
}

TEST(OutputWriter, WritesNothingToANullFile) {
    FilterFixture f;
    EXPECT_EQ(myfwrite(&f.handle, "abc", 1, 3, nullptr), kOk);
    f.setLimit(2);
    EXPECT_EQ(myfwrite(&f.handle, "abc", 1, 3, nullptr), kLimit);
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(OutputWriter, IgnoresFailedWrites) {
    FilterFixture f;
    f.setLimit(10);
    f.host.failCall("QOB_FileWrite", 1);
    EXPECT_EQ(write(f, "abcd"), kOk);
    EXPECT_EQ(write(f, "ef"), kOk);
    EXPECT_EQ(f.output(), "ef");
    EXPECT_EQ(f.handle.outputCount, 6U);
}

TEST(OutputWriter, IgnoresAStreamThatTakesNothing) {
    FilterFixture f;
    f.useStream();
    f.setLimit(10);
    f.host.writeStreamFails = true;
    EXPECT_EQ(write(f, "abcd"), kOk);
    EXPECT_EQ(f.handle.outputCount, 4U);
}

TEST(OutputLimit, CountsWhatIsWritten) {
    FilterFixture f;
    f.setLimit(100);
    EXPECT_EQ(myfwrite(&f.handle, "abcdef", 2, 3, f.handle.outputFile), kOk);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 6"}));
    EXPECT_EQ(write(f, "gh"), kOk);
    EXPECT_EQ(f.handle.outputCount, 8U);
    EXPECT_EQ(f.output(), "abcdefgh");
}

TEST(OutputLimit, CountsWhatTheStreamTakes) {
    FilterFixture f;
    f.useStream();
    f.setLimit(5);
    f.host.calls.clear();
    EXPECT_EQ(write(f, "abc"), kOk);
    EXPECT_EQ(write(f, "defg"), kLimit);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_WriteStream 3", "QOB_WriteStream 2"}));
    EXPECT_EQ(f.output(), "abcde");
    EXPECT_EQ(f.handle.outputCount, 5U);
}

TEST(OutputLimit, CutsTheTextThatPassesIt) {
    FilterFixture f;
    f.setLimit(10);
    EXPECT_EQ(write(f, "12345678"), kOk);
    EXPECT_EQ(f.handle.limitReached, 0U);
    EXPECT_EQ(write(f, "abcde"), kLimit);
    EXPECT_EQ(f.output(), "12345678ab");
    EXPECT_EQ(f.handle.outputCount, 10U);
    EXPECT_EQ(f.handle.limitReached, 1U);
    EXPECT_EQ(write(f, "x"), kLimit);
    EXPECT_EQ(write(f, ""), kLimit);
    EXPECT_EQ(f.output(), "12345678ab");
}

TEST(OutputLimit, AsksTheHostWhereToCut) {
    FilterFixture f;
    f.setLimit(10);
    f.host.cutShortBy = 1;
    EXPECT_EQ(write(f, "12345678"), kOk);
    EXPECT_EQ(write(f, "abcde"), kLimit);
    ASSERT_EQ(f.host.cuts.size(), 1U);
    EXPECT_EQ(f.host.cuts[0].data, "abcde");
    EXPECT_EQ(f.host.cuts[0].room, 2U);
    EXPECT_EQ(f.host.cuts[0].params, &f.params);
    EXPECT_EQ(f.output(), "12345678a");
    EXPECT_EQ(f.handle.outputCount, 9U);
    // One byte of room is left, and stays unused.
    EXPECT_EQ(write(f, "x"), kLimit);
    EXPECT_EQ(f.output(), "12345678a");
}

TEST(OutputLimit, IsReachedByTheFirstWriteBehindIt) {
    FilterFixture f;
    f.setLimit(3);
    EXPECT_EQ(write(f, "abc"), kOk);
    EXPECT_EQ(f.handle.limitReached, 0U);
    EXPECT_EQ(write(f, ""), kLimit);
    EXPECT_EQ(f.handle.limitReached, 1U);
    EXPECT_EQ(f.output(), "abc");
    EXPECT_TRUE(f.host.cuts.empty());
}

TEST(OutputLimit, OfZeroDropsEverything) {
    FilterFixture f;
    f.setLimit(0);
    EXPECT_EQ(write(f, "a"), kLimit);
    EXPECT_EQ(f.handle.limitReached, 1U);
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(OutputLimit, OnceReachedStaysReached) {
    FilterFixture f;
    f.setLimit(100);
    f.handle.limitReached = 1;
    EXPECT_EQ(write(f, "a"), kLimit);
    EXPECT_EQ(f.output(), "");
}

TEST(OutputLimit, IsReachedByInsertedTextToo) {
    FilterFixture f;
    f.setLimit(10);
    f.handle.outputCount = 11;
    EXPECT_EQ(write(f, "a"), kLimit);
    EXPECT_EQ(f.handle.limitReached, 1U);
    EXPECT_EQ(f.output(), "");
}

TEST(OutputLimit, HoldsAtTheTopOfTheCount) {
    FilterFixture f;
    f.setLimit(0xFFFFFFFF);
    f.handle.outputCount = 0xFFFFFFF0;
    EXPECT_EQ(write(f, std::string(32, 'x')), kLimit);
    EXPECT_EQ(f.output(), std::string(15, 'x'));
    EXPECT_EQ(f.handle.outputCount, 0xFFFFFFFF);
}

TEST(OutputLimit, MirrorsTheCountWhenAsked) {
    FilterFixture f;
    f.setLimit(5);
    f.handle.options.opt4000 = 1;
    EXPECT_EQ(write(f, "abc"), kOk);
    EXPECT_EQ(f.session.savedOutputCount, 3U);
    EXPECT_EQ(write(f, "defg"), kLimit);
    EXPECT_EQ(f.session.savedOutputCount, 5U);
}

TEST(OutputLimit, MirrorsNothingUnasked) {
    FilterFixture f;
    f.setLimit(5);
    EXPECT_EQ(write(f, "abc"), kOk);
    EXPECT_EQ(write(f, "defg"), kLimit);
    EXPECT_EQ(f.session.savedOutputCount, 0U);
}

TEST(HeaderLabel, WritesExactlyTheLengthGiven) {
    for (const std::string label : {"From: ", "To: ", "Cc: ", "Bcc: ", "Subject: "}) {
        SCOPED_TRACE(label);
        FilterFixture f;
        EXPECT_EQ(
            WriteHder(&f.handle, (label + "tail").c_str(), static_cast<uint32_t>(label.size())),
            kOk);
        EXPECT_EQ(f.output(), label);
    }
}

TEST(HeaderLabel, IsConvertedFromLatin1) {
    FilterFixture f;
    std::strcpy(f.handle.charsetName, "ChineseGBK");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return source + "(" + input + ")";
    };
    EXPECT_EQ(WriteHder(&f.handle, "To: ", 4), kOk);
    EXPECT_EQ(f.output(), "ISO-8859-1(To: )");
    EXPECT_EQ(f.host.conversions.at(0).output, "UTF-8");
    EXPECT_STREQ(f.handle.charsetName, "ISO-8859-1");
}

TEST(HeaderLabel, GoesToTheStreamInStreamMode) {
    FilterFixture f;
    f.useStream();
    EXPECT_EQ(WriteHder(&f.handle, "To: ", 4), kOk);
    EXPECT_EQ(f.output(), "To: ");
}

TEST(HeaderLabel, TakesAReachedLimitForSuccess) {
    FilterFixture f;
    f.setLimit(3);
    EXPECT_EQ(WriteHder(&f.handle, "From: ", 6), kOk);
    EXPECT_EQ(f.output(), "Fro");
    EXPECT_EQ(WriteHder(&f.handle, "To: ", 4), kOk);
    EXPECT_EQ(f.output(), "Fro");
}

TEST(HeaderLabel, NeedsItsBuffer) {
    FilterFixture f;
    std::strcpy(f.handle.charsetName, "UTF-8");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(WriteHder(&f.handle, "From: ", 6), kNoMemory);
    EXPECT_TRUE(f.host.calls.empty());
    EXPECT_TRUE(f.host.conversions.empty());
}

TEST(HeaderLabel, FreesItsBuffer) {
    FilterFixture f;
    const size_t before = f.host.liveAllocations();
    EXPECT_EQ(WriteHder(&f.handle, "From: ", 6), kOk);
    EXPECT_EQ(f.host.liveAllocations(), before);
}

TEST(HeaderLabel, OfAnyLengthFitsWhenItGrowsFourfold) {
    FilterFixture f;
    f.host.convert = [](const std::string &, const std::string &input) {
        return std::string(4 * input.size() + 1, 'w');
    };
    EXPECT_EQ(WriteHder(&f.handle, std::string(2047, 'l').c_str(), 2047), kOk);
    EXPECT_EQ(f.output(), std::string(4 * 2047 + 1, 'w'));
}

TEST(HeaderLabel, ThatConvertsToNothingIsWrittenWithCountZero) {
    FilterFixture f;
    f.host.failCall("cconvConvert", 1);
    EXPECT_EQ(WriteHder(&f.handle, "From: ", 6), kOk);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 0"}));
}

// The flags of WriterHder_Null and a call with them.
struct NullLabels {
    int32_t from = 0;
    int32_t to = 0;
    int32_t cc = 0;
    int32_t bcc = 0;
    uint32_t write(FilterFixture &f, int32_t count) {
        return WriterHder_Null(&f.handle, &from, &to, &cc, &bcc, count);
    }
    std::vector<int32_t> flags() const { return {from, to, cc, bcc}; }
};

TEST(EmptyLabels, AreWrittenAsFarAsTheCountSays) {
    struct Row {
        int32_t count;
        const char *written;
        std::vector<int32_t> flags;
    };
    const Row rows[] = {
        {-1, "From: ", {1, 0, 0, 0}},
        {0, "From: ", {1, 0, 0, 0}},
        {1, "From: ", {1, 0, 0, 0}},
        {2, "From: To: ", {1, 1, 0, 0}},
        {3, "From: To: Cc: ", {1, 1, 1, 0}},
        {4, "From: To: Cc: Bcc: ", {1, 1, 1, 1}},
        {5, "From: To: Cc: Bcc: ", {1, 1, 1, 1}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.count);
        FilterFixture f;
        NullLabels labels;
        EXPECT_EQ(labels.write(f, row.count), kOk);
        EXPECT_EQ(f.output(), row.written);
        EXPECT_EQ(labels.flags(), row.flags);
    }
}

TEST(EmptyLabels, SkipThoseThatWereWritten) {
    FilterFixture f;
    NullLabels labels = {1, 0, 7, 0};
    EXPECT_EQ(labels.write(f, 4), kOk);
    EXPECT_EQ(f.output(), "To: Bcc: ");
    EXPECT_EQ(labels.flags(), (std::vector<int32_t>{1, 1, 7, 1}));
    EXPECT_EQ(labels.write(f, 4), kOk);
    EXPECT_EQ(f.output(), "To: Bcc: ");
}

TEST(EmptyLabels, StopAtTheFirstError) {
    FilterFixture f;
    NullLabels labels;
    f.host.failCall("QOB_malloc", 3); // the buffer of the second label
    EXPECT_EQ(labels.write(f, 4), kNoMemory);
    EXPECT_EQ(f.output(), "From: ");
    EXPECT_EQ(labels.flags(), (std::vector<int32_t>{1, 0, 0, 0}));
}

TEST(EmptyLabels, GoOnAtAReachedLimit) {
    FilterFixture f;
    f.setLimit(7);
    NullLabels labels;
    EXPECT_EQ(labels.write(f, 4), kOk);
    EXPECT_EQ(f.output(), "From: T");
    EXPECT_EQ(labels.flags(), (std::vector<int32_t>{1, 1, 1, 1}));
}

TEST(ConvertedPiece, IsWrittenFromTheCharsetGiven) {
    FilterFixture f;
    f.host.convert = [](const std::string &source, const std::string &input) {
        return source + "(" + input + ")";
    };
    std::memset(f.handle.convBuffer, 'j', kConvBufferSize);
    f.handle.convBufferUsed = kConvBufferSize;
    EXPECT_EQ(eml::writeConverted(&f.handle, "text", "EUC-JP"), kOk);
    EXPECT_EQ(f.output(), "EUC-JP(text)");
    EXPECT_STREQ(f.handle.charsetName, "EUC-JP");
    EXPECT_STREQ(f.handle.convBuffer, "EUC-JP(text)");
}

TEST(ConvertedPiece, OfTheLongestLineFitsWhenItGrowsFourfold) {
    FilterFixture f;
    f.host.convert = [](const std::string &, const std::string &input) {
        return std::string(4 * input.size() + 1, 'w');
    };
    EXPECT_EQ(eml::writeConverted(&f.handle, std::string(2047, 'a'), "UTF-8"), kOk);
    EXPECT_EQ(f.output(), std::string(4 * 2047 + 1, 'w'));
}

} // namespace
