// SPDX-License-Identifier: MIT
// Conversion of text into the output charset and into UTF-8, through the host's converter.
#include <algorithm>
#include <cstring>
#include <string>

#include "emlcomm/charset.h"
#include "support/exact_text.h"
#include "support/filter_fixture.h"

namespace {

enum class To { kOutput, kUtf8, kUtf8FromLatin1 };
constexpr To kAll[] = {To::kOutput, To::kUtf8, To::kUtf8FromLatin1};

// One conversion of `text` from EUC-JP, into a buffer of exactly the size that it may take.
struct Conversion {
    Conversion(FilterFixture &f, To to, std::string_view text) : dst(4 * text.size() + 1, 'j') {
        const std::vector<char> src = exactBytes(text);
        const auto length = static_cast<uint32_t>(text.size());
        std::strcpy(f.handle.charsetName, "EUC-JP");
        produced = to == To::kOutput ? TransChar(&f.handle, src.data(), dst.data(), length)
                                     : TransCharutf8(&f.handle, src.data(), dst.data(), length,
                                                     to == To::kUtf8 ? 1 : 0);
    }
    std::string text() const { return {dst.data(), produced}; }

    std::vector<char> dst;
    uint32_t produced = 0;
};

TEST(Conversion, GivesWhatTheConverterProduces) {
    for (const To to : kAll) {
        SCOPED_TRACE(static_cast<int>(to));
        FilterFixture f;
        f.host.convert = [](const std::string &, const std::string &input) {
            return "<" + input + ">";
        };
        const Conversion c(f, to, "text");
        EXPECT_EQ(c.produced, 6U);
        EXPECT_EQ(c.text(), "<text>");
        EXPECT_EQ(c.dst[6], 'j');
    }
}

TEST(Conversion, NamesSourceAndOutput) {
    struct Row {
        To to;
        const char *source;
        const char *output;
    };
    constexpr Row kRows[] = {{To::kOutput, "EUC-JP", "X-HOST"},
                             {To::kUtf8, "EUC-JP", "UTF-8"},
                             {To::kUtf8FromLatin1, "ISO-8859-1", "UTF-8"}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.source);
        FilterFixture f;
        std::strcpy(f.params.outputName, "X-HOST");
        const Conversion c(f, row.to, "text");
        ASSERT_EQ(f.host.conversions.size(), 1U);
        EXPECT_EQ(f.host.conversions[0].source, row.source);
        EXPECT_EQ(f.host.conversions[0].output, row.output);
        EXPECT_STREQ(f.handle.charsetName, "EUC-JP");
    }
}

TEST(Conversion, StripsControlCodesForTheCurrentCharset) {
    for (const To to : kAll) {
        SCOPED_TRACE(static_cast<int>(to));
        FilterFixture f;
        f.host.charWidth = 2;
        f.host.sourceCodeLeft = 77;
        const Conversion c(f, to, std::string_view("a\x01\0b", 4));
        EXPECT_EQ(c.text(), "ab");
        EXPECT_EQ(f.host.widthsAsked, (std::vector<std::string>{"EUC-JP"}));
        ASSERT_EQ(f.host.strips.size(), 1U);
        EXPECT_EQ(f.host.strips[0].length, 4U);
        EXPECT_EQ(f.host.strips[0].charWidth, 2U);
        EXPECT_EQ(f.host.strips[0].sourceCode, 77U);
    }
}

TEST(Conversion, FillsTheContext) {
    for (const To to : kAll) {
        SCOPED_TRACE(static_cast<int>(to));
        FilterFixture f;
        const Conversion c(f, to, std::string_view("a\x01z", 3));
        const ConversionCall &call = f.host.conversions.at(0);
        EXPECT_EQ(call.input, "az");
        EXPECT_EQ(call.capacity, 13U); // of the length before stripping
        EXPECT_TRUE(call.wordsClear);
        EXPECT_EQ(call.sourceRecord.sourceCode, 1U);
        EXPECT_EQ(call.sourceRecord.word1, 0U);
        EXPECT_EQ(call.sourceRecord.word2, 1U);
    }
}

TEST(Conversion, AsksWithTheTextRecord) {
    for (const To to : kAll) {
        for (uint32_t mode = 1; mode <= 5; ++mode) {
            SCOPED_TRACE(static_cast<int>(to));
            FilterFixture f;
            f.params.outputCode = 0xAABBCCDD;
            f.handle.options.newlineMode = mode;
            const Conversion c(f, to, "text");
            const CconvOutputRecord &record = f.host.conversions.at(0).record;
            EXPECT_EQ(record.outputCode, 0xAABBCCDDU);
            EXPECT_EQ(record.textConversion, 1U);
            EXPECT_EQ(record.replacement[0], 0U);
            EXPECT_EQ(record.replacement[1], 0U);
            EXPECT_EQ(record.lineEndConversion, 0U);
            EXPECT_EQ(record.newlineMode, mode);
            EXPECT_EQ(record.reserved4120, 0U);
            EXPECT_TRUE(std::all_of(std::begin(record.reserved16), std::end(record.reserved16),
                                    [](uint8_t byte) { return byte == 0; }));
        }
    }
}

TEST(Conversion, AsksForTheReplacementWhenSet) {
    for (const To to : kAll) {
        FilterFixture f;
        f.handle.replaceUnconvertible = -1;
        const Conversion c(f, to, "text");
        EXPECT_EQ(f.host.conversions.at(0).record.replacement[0], 0x003FU);
        EXPECT_EQ(f.host.conversions.at(0).record.replacement[1], 0x003FU);
    }
}

TEST(Conversion, TellsTheConverterWhatIsFirst) {
    struct Row {
        To to;
        uint32_t secondStarted; // told by the second conversion of a call
    };
    constexpr Row kRows[] = {{To::kOutput, 1}, {To::kUtf8, 0}, {To::kUtf8FromLatin1, 0}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(static_cast<int>(row.to));
        FilterFixture f;
        const Conversion first(f, row.to, "text");
        EXPECT_EQ(f.handle.convStarted, 1);
        const Conversion second(f, row.to, "text");
        EXPECT_EQ(f.host.conversions.at(0).record.firstConversion, 1U);
        EXPECT_EQ(f.host.conversions.at(0).started, 0U);
        EXPECT_EQ(f.host.conversions.at(1).record.firstConversion, 0U);
        EXPECT_EQ(f.host.conversions.at(1).started, row.secondStarted);
        EXPECT_EQ(f.handle.convStarted, 1);
    }
}

TEST(Conversion, IsSetUpAndReleasedForEveryCall) {
    for (const To to : kAll) {
        FilterFixture f;
        const size_t before = f.host.liveAllocations();
        const Conversion first(f, to, "text");
        const Conversion second(f, to, "text");
        EXPECT_EQ(f.host.count("cconvInitConvert"), 2);
        EXPECT_EQ(f.host.count("cconvTermConvert"), 2);
        EXPECT_EQ(f.host.liveAllocations(), before);
    }
}

TEST(Conversion, DropsTextOfAnUnknownCharset) {
    FilterFixture f;
    f.host.unknownCharsets = {"EUC-JP"};
    for (const To to : {To::kOutput, To::kUtf8}) {
        const Conversion c(f, to, "text");
        EXPECT_EQ(c.produced, 0U);
        EXPECT_EQ(std::string(c.dst.begin(), c.dst.end()), std::string(17, 'j'));
    }
    EXPECT_EQ(Conversion(f, To::kUtf8FromLatin1, "text").text(), "text");
    EXPECT_EQ(f.host.convertersOpen, 0);
}

TEST(Conversion, ThatFailsGivesNothingAndReleasesEverything) {
    struct Row {
        const char *service; // whose first call fails
        int setUps;          // converters to release
    };
    constexpr Row kRows[] = {
        {"cconvInitConvert", 0}, {"cconvChgCharset", 1}, {"QOB_malloc", 1}, {"cconvConvert", 1}};
    for (const To to : kAll) {
        for (const Row &row : kRows) {
            SCOPED_TRACE(row.service);
            FilterFixture f;
            const size_t before = f.host.liveAllocations();
            f.handle.base64PadCount = 2;
            f.host.failCall(row.service, 1);
            const Conversion c(f, to, "text");
            EXPECT_EQ(c.produced, 0U);
            EXPECT_EQ(f.host.count("cconvTermConvert"), row.setUps);
            EXPECT_EQ(f.host.convertersOpen, 0);
            EXPECT_EQ(f.host.liveAllocations(), before);
            EXPECT_EQ(f.handle.base64PadCount, 0);
            EXPECT_EQ(f.handle.convStarted, 1);
        }
    }
}

TEST(Conversion, ClearsThePadCount) {
    for (const To to : kAll) {
        FilterFixture f;
        f.handle.base64PadCount = 2;
        const Conversion c(f, to, "text");
        EXPECT_EQ(c.produced, 4U);
        EXPECT_EQ(f.handle.base64PadCount, 0);
    }
}

TEST(Conversion, OfNothingIsMadeAllTheSame) {
    for (const To to : kAll) {
        FilterFixture f;
        const Conversion c(f, to, "");
        EXPECT_EQ(c.produced, 0U);
        ASSERT_EQ(f.host.conversions.size(), 1U);
        EXPECT_EQ(f.host.conversions[0].capacity, 1U);
        EXPECT_EQ(f.host.count("cconvConvert"), 1);
    }
}

TEST(Conversion, MayGrowTextFourfold) {
    for (const To to : kAll) {
        FilterFixture f;
        f.host.convert = [](const std::string &, const std::string &input) {
            return std::string(4 * input.size() + 1, 'w');
        };
        EXPECT_EQ(Conversion(f, to, std::string(2047, 'a')).text(), std::string(8189, 'w'));
    }
}

TEST(Conversion, TakesLinesOfNulBytes) {
    for (const To to : kAll) {
        FilterFixture f;
        EXPECT_EQ(Conversion(f, to, std::string(2047, '\0')).produced, 0U);
        f.host.stripControlCodes = false;
        EXPECT_EQ(Conversion(f, to, std::string(2047, '\0')).text(), std::string(2047, '\0'));
    }
}

TEST(Conversion, RefusesALengthWhoseOutputCannotBeCounted) {
    constexpr uint32_t kTooLong = 0x40000000; // times 4 passes 32 bits
    for (const uint32_t length : {kTooLong, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        FilterFixture f;
        f.handle.base64PadCount = 1;
        char dst = 'j';
        EXPECT_EQ(TransChar(&f.handle, "", &dst, length), 0U);
        EXPECT_EQ(TransCharutf8(&f.handle, "", &dst, length, 1), 0U);
        EXPECT_EQ(dst, 'j');
        EXPECT_EQ(f.host.count("QOB_malloc"), 0);
        EXPECT_EQ(f.host.convertersOpen, 0);
        EXPECT_EQ(f.handle.base64PadCount, 0);
    }
}

TEST(ConversionBuffer, HasRoomForTheLargerOfItsSizes) {
    FilterFixture f;
    struct Row {
        uint32_t length;
        uint32_t least;
        size_t allocated; // one more for the terminator
    };
    constexpr Row kRows[] = {{6, 100, 101}, {24, 100, 101}, {25, 100, 102}, {2047, 256, 8190}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.length);
        const eml::Buffer buffer = eml::newConversionBuffer(row.length, row.least);
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(f.host.allocationSizes.at(buffer.get()), row.allocated);
    }
}

TEST(ConversionBuffer, OfASizeBeyond32BitsIsRefused) {
    FilterFixture f;
    EXPECT_EQ(eml::newConversionBuffer(0x40000000, 0), nullptr);
    EXPECT_EQ(eml::newConversionBuffer(0xFFFFFFFF, 0), nullptr);
    EXPECT_EQ(f.host.count("QOB_malloc"), 0);
}

TEST(CurrentCharset, IsCutToItsField) {
    FilterFixture f;
    eml::setCharsetName(&f.handle, std::string(100, 'c').c_str());
    EXPECT_EQ(std::string(f.handle.charsetName), std::string(kCharsetNameSize - 1, 'c'));
    eml::setCharsetName(&f.handle, f.handle.charsetName);
    EXPECT_EQ(std::string(f.handle.charsetName), std::string(kCharsetNameSize - 1, 'c'));
    eml::setCharsetName(&f.handle, "");
    EXPECT_STREQ(f.handle.charsetName, "");
}

} // namespace
