// SPDX-License-Identifier: MIT
// Line ends: made by the host's converter, written to the output and to temporary files.
#include "emlcomm/output.h"

#include <algorithm>
#include <cstring>

#include "support/filter_fixture.h"

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kOk = EML_OK;
constexpr uint32_t kLost = EML_ERR_OUTPUT_LOST;

using Producer = uint32_t (*)(ExtractionHandle *, char *);
struct ProducerRow {
    const char *name;
    Producer produce;
    const char *output; // the output description
};
constexpr ProducerRow kProducers[] = {{"TransCRLF", TransCRLF, "X-HOST"},
                                      {"TransCRLF_tmp", TransCRLF_tmp, "ISO-8859-1"}};

TEST(LineEnd, IsWhatTheConverterMakesOfACarriageReturn) {
    for (const ProducerRow &row : kProducers) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        std::strcpy(f.params.outputName, "X-HOST");
        f.host.lineEnd = "<out>";
        f.host.tmpLineEnd = "<tmp>";
        char buffer[32];
        std::memset(buffer, 'j', sizeof(buffer));
        EXPECT_EQ(row.produce(&f.handle, buffer), 5U);
        EXPECT_EQ(std::string(buffer, 6),
                  row.produce == TransCRLF ? std::string("<out>j") : std::string("<tmp>j"));
        ASSERT_EQ(f.host.conversions.size(), 1U);
        const ConversionCall &call = f.host.conversions[0];
        EXPECT_EQ(call.output, row.output);
        EXPECT_EQ(call.source, "ISO-8859-1");
        EXPECT_EQ(call.input, "\r");
        EXPECT_EQ(call.capacity, 32U);
        EXPECT_TRUE(call.wordsClear);
        EXPECT_EQ(call.sourceRecord.sourceCode, 1U);
        EXPECT_EQ(call.sourceRecord.word1, 0U);
        EXPECT_EQ(call.sourceRecord.word2, 1U);
        EXPECT_EQ(f.host.convertersOpen, 0);
    }
}

TEST(LineEnd, IsAskedForWithTheLineEndRecord) {
    for (const ProducerRow &row : kProducers) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.params.outputCode = 0x12345678;
        f.handle.options.newlineMode = 4;
        char buffer[32];
        row.produce(&f.handle, buffer);
        const CconvOutputRecord &record = f.host.conversions.at(0).record;
        EXPECT_EQ(record.outputCode, 0x12345678U);
        EXPECT_EQ(record.textConversion, 0U);
        EXPECT_EQ(record.replacement[0], 0U);
        EXPECT_EQ(record.replacement[1], 0U);
        EXPECT_EQ(record.lineEndConversion, 1U);
        EXPECT_EQ(record.newlineMode, 4U);
        EXPECT_EQ(record.reserved4120, 0U);
        EXPECT_TRUE(std::all_of(std::begin(record.reserved16), std::end(record.reserved16),
                                [](uint8_t byte) { return byte == 0; }));
    }
}

TEST(LineEnd, TellsTheConverterWhatIsFirst) {
    for (const ProducerRow &row : kProducers) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        char buffer[32];
        row.produce(&f.handle, buffer);
        row.produce(&f.handle, buffer);
        EXPECT_EQ(f.host.conversions.at(0).record.firstConversion, 1U);
        EXPECT_EQ(f.host.conversions.at(0).started, 0U);
        EXPECT_EQ(f.host.conversions.at(1).record.firstConversion, 0U);
        EXPECT_EQ(f.host.conversions.at(1).started, 1U);
        EXPECT_EQ(f.handle.convStarted, 1);
    }
}

TEST(LineEnd, AsksForTheReplacementWhenSet) {
    for (const ProducerRow &row : kProducers) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.handle.replaceUnconvertible = 1;
        char buffer[32];
        row.produce(&f.handle, buffer);
        EXPECT_EQ(f.host.conversions.at(0).record.replacement[0], 0x3FU);
        EXPECT_EQ(f.host.conversions.at(0).record.replacement[1], 0x3FU);
    }
}

TEST(LineEnd, LeavesThePadCountAndTheCharsetAlone) {
    for (const ProducerRow &row : kProducers) {
        SCOPED_TRACE(row.name);
        FilterFixture f;
        f.handle.base64PadCount = 2;
        std::strcpy(f.handle.charsetName, "EUC-JP");
        char buffer[32];
        EXPECT_EQ(row.produce(&f.handle, buffer), 1U);
        EXPECT_EQ(f.handle.base64PadCount, 2);
        EXPECT_STREQ(f.handle.charsetName, "EUC-JP");
    }
}

TEST(LineEnd, IsEmptyWhenTheConverterFails) {
    struct Row {
        const char *service;
        int released; // converters that had been set up
    };
    constexpr Row kRows[] = {{"cconvInitConvert", 0}, {"cconvChgCharset", 1}, {"cconvConvert", 1}};
    for (const ProducerRow &producer : kProducers) {
        for (const Row &row : kRows) {
            SCOPED_TRACE(std::string(producer.name) + " " + row.service);
            FilterFixture f;
            f.host.failCall(row.service, 1);
            char buffer[32];
            EXPECT_EQ(producer.produce(&f.handle, buffer), 0U);
            EXPECT_EQ(f.host.count("cconvTermConvert"), row.released);
            EXPECT_EQ(f.host.convertersOpen, 0);
            EXPECT_EQ(f.handle.convStarted, 1);
        }
    }
}

TEST(LineEnd, HasAtMost32Bytes) {
    FilterFixture f;
    char buffer[32];
    f.host.lineEnd = std::string(32, 'e');
    EXPECT_EQ(TransCRLF(&f.handle, buffer), 32U);
    EXPECT_EQ(std::string(buffer, 32), std::string(32, 'e'));
    f.host.lineEnd = std::string(33, 'e');
    EXPECT_EQ(TransCRLF(&f.handle, buffer), 0U);
}

TEST(OutputLineEnd, IsWritten) {
    FilterFixture f;
    f.host.lineEnd = "\r\n";
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), "\r\n");
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileWrite /out/text 2"}));
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(OutputLineEnd, OfTheLongestKindIsWritten) {
    FilterFixture f;
    f.host.lineEnd = std::string(32, 'e');
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), std::string(32, 'e'));
}

TEST(OutputLineEnd, GoesToTheStreamInStreamMode) {
    FilterFixture f;
    f.useStream();
    f.host.calls.clear();
    f.host.lineEnd = "\r\n";
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), "\r\n");
    EXPECT_EQ(f.host.calls, (Calls{"QOB_WriteStream 2"}));
}

TEST(OutputLineEnd, FollowsAZeroByteWhenAnOptionAsksForIt) {
    struct Row {
        uint32_t options;
        std::string written;
    };
    const Row rows[] = {{0, "\n"},
                        {0xF3FFFFFF, "\n"},
                        {0x04000000, std::string("\0\n", 2)},
                        {0x08000000, std::string("\0\n", 2)},
                        {0x0C000000, std::string("\0\n", 2)}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.options);
        FilterFixture f;
        f.params.options = row.options;
        EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
        EXPECT_EQ(f.output(), row.written);
    }
}

TEST(OutputLineEnd, ThatIsEmptyLeavesTheZeroByte) {
    FilterFixture f;
    f.params.options = 0x04000000;
    f.host.failCall("cconvConvert", 1);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), std::string(1, '\0'));
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(OutputLineEnd, ThatIsEmptyIsNotWritten) {
    FilterFixture f;
    f.host.failCall("cconvInitConvert", 1);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(OutputLineEnd, ObeysTheLimitWithoutReportingIt) {
    FilterFixture f;
    f.host.lineEnd = "\r\n";
    f.setLimit(3);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), "\r\n\r");
    EXPECT_EQ(f.handle.limitReached, 1U);
}

TEST(OutputLineEnd, CountsItsZeroByte) {
    FilterFixture f;
    f.params.options = 0x08000000;
    f.setLimit(1);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.output(), std::string(1, '\0'));
    EXPECT_EQ(f.handle.outputCount, 1U);
}

TEST(OutputLineEnd, OpensTheOutputWhenItIsNotOpen) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.calls.clear();
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.host.calls, (Calls{"QOB_FileOpen /out/text wb", "QOB_FileWrite /out/text 1"}));
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 1);
    EXPECT_EQ(f.output(), "\n\n");
}

TEST(OutputLineEnd, IsRefusedOnceTheOutputCouldNotBeOpened) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kOk);
    EXPECT_EQ(f.handle.outputOpenFailed, 1U);
    EXPECT_EQ(f.handle.textWritten, 0U);
    EXPECT_TRUE(f.host.conversions.empty());

    EXPECT_EQ(WriteCRLFToFile(&f.handle), kLost);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 1);
    EXPECT_EQ(f.output(), "");
}

TEST(OutputLineEnd, IsRefusedAlsoWhenTheOutputIsOpen) {
    FilterFixture f;
    f.handle.outputOpenFailed = 1;
    EXPECT_EQ(WriteCRLFToFile(&f.handle), kLost);
    EXPECT_TRUE(f.host.calls.empty());
    EXPECT_EQ(f.handle.textWritten, 0U);
}

// A temporary file that is open for the test's duration.
struct TmpFile {
    QobFile *file = QOB_FileOpen("/tmp/part", "wb");
    ~TmpFile() { QOB_FileClose(file); }
};

TEST(TemporaryLineEnd, IsLatin1WhateverTheOutputIs) {
    FilterFixture f;
    TmpFile tmp;
    f.host.lineEnd = "<out>";
    f.host.tmpLineEnd = "\r\n";
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, tmp.file), 0U);
    EXPECT_EQ(f.host.files["/tmp/part"], "\r\n");
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.handle.textWritten, 0U);
}

TEST(TemporaryLineEnd, GoesToTheFileInStreamModeToo) {
    FilterFixture f;
    f.useStream();
    TmpFile tmp;
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, tmp.file), 0U);
    EXPECT_EQ(f.host.files["/tmp/part"], "\n");
    EXPECT_EQ(f.output(), "");
}

TEST(TemporaryLineEnd, IgnoresTheOutputLimitAndTheZeroByteOptions) {
    FilterFixture f;
    TmpFile tmp;
    f.setLimit(0);
    f.params.options = 0x0C000000;
    f.handle.outputOpenFailed = 1;
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, tmp.file), 0U);
    EXPECT_EQ(f.host.files["/tmp/part"], "\n");
    EXPECT_EQ(f.handle.outputCount, 0U);
}

TEST(TemporaryLineEnd, NeedsAFile) {
    FilterFixture f;
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, nullptr), 0U);
    EXPECT_TRUE(f.host.conversions.empty());
}

TEST(TemporaryLineEnd, ThatIsEmptyIsNotWritten) {
    FilterFixture f;
    TmpFile tmp;
    f.host.calls.clear();
    f.host.failCall("cconvChgCharset", 1);
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, tmp.file), 0U);
    EXPECT_TRUE(f.host.calls.empty());
}

TEST(TemporaryLineEnd, IgnoresAFailedWrite) {
    FilterFixture f;
    TmpFile tmp;
    f.host.failWritesTo("/tmp/part", 1);
    EXPECT_EQ(WriteCRLFToFile_tmp(&f.handle, tmp.file), 0U);
    EXPECT_EQ(f.host.files["/tmp/part"], "");
}

} // namespace
