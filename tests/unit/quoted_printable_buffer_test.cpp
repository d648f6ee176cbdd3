// SPDX-License-Identifier: MIT
// The accumulation buffer of the quoted-printable decoder: how it grows, and what failures leave.
#include <algorithm>

#include "support/part_file.h"

namespace {

constexpr int32_t kNoMemory = EML_ERR_MEMORY;
using Sizes = std::vector<size_t>;

std::string soft(size_t length) {
    return std::string(length - 1, 's') + "=";
}
std::string text(size_t length) {
    return std::string(length, 't');
}

bool zeroBehindText(const ExtractionHandle &handle) {
    return std::all_of(handle.qpBuffer + handle.qpBufferUsed, handle.qpBuffer + handle.qpBufferSize,
                       [](char c) { return c == '\0'; });
}

TEST(QuotedPrintableBuffer, TakesALineThatFits) {
    PartFile f;
    EXPECT_EQ(f.quotedLine(soft(2047)), 0);
    EXPECT_EQ(f.handle.qpBufferUsed, 2046U);
    EXPECT_TRUE(f.host.reallocSizes.empty());
    EXPECT_TRUE(zeroBehindText(f.handle));
}

TEST(QuotedPrintableBuffer, GrowsForASoftBrokenLineThatDoesNotFit) {
    PartFile f;
    f.quotedLine(soft(1001)); // 1000 bytes used
    f.quotedLine(soft(1048)); // fills it exactly with its '='
    EXPECT_TRUE(f.host.reallocSizes.empty());
    EXPECT_EQ(f.handle.qpBufferUsed, 2047U);
    f.quotedLine(soft(2)); // 2047 + 2 do not fit
    EXPECT_EQ(f.host.reallocSizes, (Sizes{2048 + 2 - 1}));
    EXPECT_EQ(f.handle.qpBufferSize, 2049U);
    EXPECT_EQ(f.handle.qpBufferUsed, 2048U);
    EXPECT_TRUE(zeroBehindText(f.handle));
    f.quotedLine("t");
    EXPECT_EQ(f.written(), std::string(2048, 's') + "t\r\n");
}

TEST(QuotedPrintableBuffer, GrowsForAFinalLineThatWouldJustFillIt) {
    PartFile f;
    f.quotedLine(soft(1001));
    f.quotedLine(text(1047), End::kCut);
    EXPECT_TRUE(f.host.reallocSizes.empty());
    f.quotedLine(text(1), End::kCut); // 2047 + 1 fill it
    EXPECT_EQ(f.host.reallocSizes, (Sizes{2048 + 1}));
    EXPECT_EQ(f.handle.qpBufferSize, 2049U);
    EXPECT_TRUE(zeroBehindText(f.handle));
    f.quotedLine(text(10));
    EXPECT_EQ(f.host.reallocSizes, (Sizes{2049, 2059}));
    EXPECT_EQ(f.written(), std::string(1000, 's') + text(1058) + "\r\n");
    EXPECT_TRUE(zeroBehindText(f.handle));
}

TEST(QuotedPrintableBuffer, GrowsByWhatIsAppendedWhenItIsFull) {
    PartFile f;
    f.quotedLine(soft(1001));
    f.quotedLine(soft(1048), End::kCut); // its '=' is kept and fills the buffer
    EXPECT_EQ(f.handle.qpBufferUsed, 2048U);
    EXPECT_TRUE(f.host.reallocSizes.empty());
    f.quotedLine("abcd=", End::kCut);
    EXPECT_EQ(f.handle.qpBufferUsed, 2053U);
    EXPECT_GE(f.handle.qpBufferSize, 2053U);
    f.quotedLine("41");
    EXPECT_EQ(f.written(), std::string(1000 + 1047, 's') + "\xAB" + "cdA\r\n");
}

TEST(QuotedPrintableBuffer, IsClearedOnceItsTextIsDecoded) {
    PartFile f;
    f.quotedLine(soft(2000));
    f.quotedLine(text(2000));
    EXPECT_EQ(f.handle.qpBufferUsed, 0U);
    EXPECT_TRUE(zeroBehindText(f.handle));
}

TEST(QuotedPrintableBuffer, MayBeginWithNothing) {
    PartFile f;
    eml::freeBuffer(f.handle.qpBuffer);
    f.handle.qpBufferSize = 0;
    EXPECT_EQ(f.quotedLine("", End::kCut), 0);
    EXPECT_EQ(f.quotedLine(""), 0);
    EXPECT_EQ(f.quotedLine("="), 0);
    EXPECT_EQ(f.written(), "\r\n");
    EXPECT_EQ(f.quotedLine("abc"), 0);
    EXPECT_EQ(f.written(), "\r\nabc\r\n");
    EXPECT_EQ(std::count(f.host.reallocSizes.begin(), f.host.reallocSizes.end(), 0U), 0);
}

TEST(QuotedPrintableBuffer, BeginsWithASoftBrokenLineToo) {
    PartFile f;
    eml::freeBuffer(f.handle.qpBuffer);
    f.handle.qpBufferSize = 0;
    EXPECT_EQ(f.quotedLine("abc="), 0);
    EXPECT_EQ(f.host.reallocSizes, (Sizes{3}));
    EXPECT_EQ(f.quotedLine("=", End::kCut), 0);
    EXPECT_EQ(f.quotedLine("41"), 0);
    EXPECT_EQ(f.written(), "abcA\r\n");
}

TEST(QuotedPrintableBuffer, TakesAThousandSoftBrokenLines) {
    PartFile f;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(f.quotedLine(soft(76)), 0);
    }
    EXPECT_EQ(f.quotedLine("end"), 0);
    EXPECT_EQ(f.written(), std::string(1000 * 75, 's') + "end\r\n");
}

TEST(QuotedPrintableBuffer, ThatCannotGrowKeepsItsText) {
    for (const std::string &line : {soft(2047), text(2047)}) {
        PartFile f;
        f.quotedLine("abc=");
        f.host.failCall("QOB_realloc", 1);
        EXPECT_EQ(f.quotedLine(line), kNoMemory);
        EXPECT_EQ(f.handle.qpBufferUsed, 3U);
        EXPECT_EQ(f.handle.qpBufferSize, kQpBufferSize);
        EXPECT_EQ(f.written(), "");
        EXPECT_EQ(f.quotedLine("def"), 0);
        EXPECT_EQ(f.written(), "abcdef\r\n");
    }
}

TEST(QuotedPrintableBuffer, RefusesASizeBeyond32Bits) {
    for (const std::string &line : {soft(100), text(100)}) {
        PartFile f;
        f.handle.qpBufferUsed = 0xFFFFFFF0; // as if so much had been kept
        f.handle.qpBufferSize = 0xFFFFFFF0;
        EXPECT_EQ(f.quotedLine(line), kNoMemory);
        EXPECT_TRUE(f.host.reallocSizes.empty());
        EXPECT_EQ(f.handle.qpBufferUsed, 0xFFFFFFF0);
    }
}

TEST(QuotedPrintableBuffer, LosesItsTextWhenItCannotBeDecoded) {
    for (const uint32_t convert : {0U, 1U}) {
        for (int n = 1; n <= 3; ++n) {
            SCOPED_TRACE(n);
            PartFile f;
            QobFile *target = convert == 0 ? f.part : f.handle.outputFile;
            f.quoted("abc=", End::kLineEnd, target, convert);
            const size_t before = f.host.liveAllocations();
            f.host.failCall("QOB_malloc", n);
            EXPECT_EQ(f.quoted("defghi", End::kLineEnd, target, convert), kNoMemory);
            EXPECT_EQ(f.handle.qpBufferUsed, 0U);
            EXPECT_TRUE(zeroBehindText(f.handle));
            EXPECT_EQ(f.host.liveAllocations(), before);
            EXPECT_TRUE(f.host.calls.empty());
            EXPECT_EQ(f.quoted("x=4", End::kLineEnd, target, convert), 0);
            EXPECT_EQ(convert == 0 ? f.written() : f.output(),
                      std::string("x@") + (convert == 0 ? "\r\n" : "<out>"));
        }
    }
}

TEST(QuotedPrintableBuffer, IsDecodedAlsoWhenTheConversionHasNoMemory) {
    PartFile f;
    f.host.failCall("QOB_malloc", 4); // the input copy of the conversion
    EXPECT_EQ(f.convertedLine("abc"), 0);
    EXPECT_EQ(f.output(), "<out>");
}

TEST(QuotedPrintableBuffer, AllocatesWhatTheTextNeeds) {
    PartFile f;
    std::vector<size_t> sizes;
    f.host.convert = [&](const std::string &, const std::string &input) {
        for (const auto &[address, size] : f.host.allocationSizes) {
            sizes.push_back(size);
        }
        return input;
    };
    f.quoted("=41=42=43=44", End::kLineEnd, f.handle.outputFile, 1);
    // Beside the handle's own buffers: encoded text, decoded text, converted text, and the input
    // copy of the conversion.
    for (const size_t expected : {size_t{12 + 1}, size_t{4 * 12 + 1}, size_t{4 + 16 + 1}}) {
        EXPECT_TRUE(std::find(sizes.begin(), sizes.end(), expected) != sizes.end()) << expected;
    }
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), size_t{12 + 1}), 2);
}

} // namespace
