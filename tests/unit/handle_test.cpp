// SPDX-License-Identifier: MIT
// The handle's utilities, and the layout of the records that the host shares.
#include "emlcomm/handle.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string>

#include "support/filter_fixture.h"

namespace {

OptionsBlock decoded(uint32_t word) {
    OptionsBlock options;
    std::memset(&options, 0xA5, sizeof(options)); // every field must be set
    TransOption(&options, word);
    return options;
}

// The block as ten words: plain, 1000, 2000, 4000, 8000, limit, 0, 0, 8000000, line-end mode.
using Words = std::array<uint32_t, 10>;
Words words(uint32_t optionsWord) {
    const OptionsBlock options = decoded(optionsWord);
    Words result;
    static_assert(sizeof(result) == sizeof(options));
    std::memcpy(result.data(), &options, sizeof(options));
    return result;
}

TEST(TransOption, DecodesEachBit) {
    struct Row {
        uint32_t word;
        Words block;
    };
    const Row rows[] = {
        {0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},         {0x2, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {0x1000, {0, 1, 0, 0, 0, 0, 0, 0, 0, 1}},    {0x2000, {0, 0, 1, 0, 0, 0, 0, 0, 0, 1}},
        {0x3000, {0, 1, 0, 0, 0, 0, 0, 0, 0, 1}}, // 0x1000 takes 0x2000 away
        {0x4000, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}, // and 0x4000 and 0x8000 need it
        {0x5000, {0, 1, 0, 1, 0, 0, 0, 0, 0, 1}},    {0x8000, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {0x9000, {0, 1, 0, 0, 1, 0, 0, 0, 0, 1}},    {0xE000, {0, 0, 1, 0, 0, 0, 0, 0, 0, 1}},
        {0xF000, {0, 1, 0, 1, 1, 0, 0, 0, 0, 1}},    {0x400000, {0, 0, 0, 0, 0, 1, 0, 0, 0, 1}},
        {0x8000000, {0, 0, 0, 0, 0, 0, 0, 0, 1, 1}}, {0x1, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {0x4000000, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}, {0xFFFFFFFF, {1, 1, 0, 1, 1, 1, 0, 0, 1, 1}},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(words(row.word), row.block) << std::hex << row.word;
    }
}

TEST(TransOption, TakesTheLineEndModeOfTheLowestBit) {
    struct Row {
        uint32_t word;
        uint32_t mode;
    };
    const Row rows[] = {
        {0, 1},    {0x8, 1},   {0x10, 2},        {0x20, 3},        {0x40, 4}, {0x80, 5},
        {0x60, 3}, {0x88, 1},  {0x40 | 0x80, 4}, {0x10 | 0x80, 2}, {0xF0, 2}, {0xF8, 1},
        {0x4, 1},  {0x100, 1}, {0xFFFFFF07, 1},  {0xFFFFFF87, 5},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(decoded(row.word).newlineMode, row.mode) << std::hex << row.word;
    }
}

TEST(AllocBuffer, EndsWithAZeroByteBehindItsSize) {
    for (const uint32_t size : {0U, 1U, 2048U, 16384U}) {
        ScriptedHost host;
        char *buffer = allocBuffer(size);
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(host.allocationSizes[buffer], size + 1);
        EXPECT_EQ(buffer[size], '\0');
        QOB_free(buffer);
    }
}

TEST(AllocBuffer, IsNullWhenTheHostHasNoMemory) {
    ScriptedHost host;
    host.failCall("QOB_malloc", 1);
    EXPECT_EQ(allocBuffer(10), nullptr);
}

TEST(NewBuffer, IsCleared) {
    ScriptedHost host;
    const eml::Buffer buffer = eml::newBuffer(100);
    EXPECT_EQ(std::string(buffer.get(), 101), std::string(101, '\0'));
}

TEST(NewBuffer, IsNullWhenTheHostHasNoMemory) {
    ScriptedHost host;
    host.failCall("QOB_malloc", 1);
    EXPECT_EQ(eml::newBuffer(100), nullptr);
}

// ---- myFreeMem ----

struct HandleWithLog {
    HandleWithLog() {
        host.logging = true;
        handle.hostParams = &params;
        handle.logFile = qob_logfopen(0, "log");
    }
    ScriptedHost host;
    HostParams params = defaultParams();
    ExtractionHandle handle = {};
};

TEST(MyFreeMem, ReleasesEveryBufferAndClosesTheLog) {
    HandleWithLog h;
    h.handle.readBuffer = allocBuffer(10);
    h.handle.qpBuffer = allocBuffer(10);
    h.handle.convBuffer = allocBuffer(10);
    h.handle.lineBuffer = allocBuffer(10);
    h.handle.qpBufferUsed = 3;
    h.handle.qpBufferSize = 10;

    myFreeMem(&h.handle);
    EXPECT_EQ(h.host.liveAllocations(), 0U);
    EXPECT_EQ(h.handle.readBuffer, nullptr);
    EXPECT_EQ(h.handle.qpBuffer, nullptr);
    EXPECT_EQ(h.handle.convBuffer, nullptr);
    EXPECT_EQ(h.handle.lineBuffer, nullptr);
    EXPECT_EQ(h.handle.qpBufferUsed, 0U);
    EXPECT_EQ(h.handle.qpBufferSize, 0U);
    EXPECT_EQ(h.handle.logFile, nullptr);
    EXPECT_EQ(h.host.logsOpen, 0);
}

TEST(MyFreeMem, DoesNothingTheSecondTime) {
    HandleWithLog h;
    h.handle.readBuffer = allocBuffer(10);
    myFreeMem(&h.handle);
    const std::vector<std::string> calls = h.host.calls;
    myFreeMem(&h.handle);
    EXPECT_EQ(h.host.calls, calls);
    EXPECT_EQ(h.host.count("QOB_free"), 1);
}

TEST(MyFreeMem, OnlyClosesTheLogWhenThereIsNoBuffer) {
    HandleWithLog h;
    myFreeMem(&h.handle);
    EXPECT_EQ(h.host.count("QOB_free"), 0);
    EXPECT_EQ(h.host.calls, std::vector<std::string>{"qob_logfclose"});
    EXPECT_EQ(h.host.logsOpen, 0);
}

TEST(MyFreeMem, LeavesABorrowedLogOpen) {
    HandleWithLog h;
    h.handle.logBorrowed = 1;
    myFreeMem(&h.handle);
    EXPECT_EQ(h.host.logsOpen, 1);
    EXPECT_NE(h.handle.logFile, nullptr);
}

TEST(MyFreeMem, ClosesNoLogWhenNoneIsOpen) {
    ScriptedHost host;
    ExtractionHandle handle = {};
    myFreeMem(&handle);
    EXPECT_TRUE(host.calls.empty());
}

// ---- small utilities ----

TEST(EMLGetWord, TakesTheLowByteFirstUnlessSwapped) {
    const uint8_t bytes[] = {0x12, 0x34};
    EXPECT_EQ(EMLGetWord(bytes, 0), 0x3412);
    EXPECT_EQ(EMLGetWord(bytes, 1), 0x1234);
    EXPECT_EQ(EMLGetWord(bytes, -7), 0x1234);
    const uint8_t high[] = {0xFF, 0x80};
    EXPECT_EQ(EMLGetWord(high, 0), 0x80FF);
    EXPECT_EQ(EMLGetWord(high, 1), 0xFF80);
}

TEST(EMLGetDWord, ReversesTheBytesWhenSwapped) {
    const uint32_t value = 0x12345678;
    EXPECT_EQ(EMLGetDWord(&value, 0), 0x12345678U);
    EXPECT_EQ(EMLGetDWord(&value, 1), 0x78563412U);
    EXPECT_EQ(EMLGetDWord(&value, -7), 0x78563412U);
}

TEST(Constants, AreAlwaysZero) {
    EXPECT_EQ(IsCPUBigEndian_eml(), 0);
    EXPECT_EQ(analyzeContent(), 0);
}

TEST(CopyText, CutsToTheFieldAndTerminates) {
    struct Row {
        const char *text;
        const char *field;
    };
    for (const Row row : {Row{"abc", "abc"}, Row{"abcd", "abcd"}, Row{"abcdefgh", "abcd"},
                          Row{"", ""}, Row{nullptr, ""}}) {
        char field[5] = {'#', '#', '#', '#', '#'};
        eml::copyText(field, sizeof(field), row.text);
        EXPECT_STREQ(field, row.field);
    }
}

TEST(AdvanceBlockStart, StopsAtTheLargestFileOffset) {
    ExtractionHandle handle = {};
    handle.blockStart = INT32_MAX - 10;
    eml::advanceBlockStart(&handle, 10);
    EXPECT_EQ(handle.blockStart, INT32_MAX);
    eml::advanceBlockStart(&handle, 16384);
    EXPECT_EQ(handle.blockStart, INT32_MAX);
}

// ---- layouts ----

TEST(HostParamsLayout, IsTheHosts) {
    EXPECT_EQ(sizeof(HostParams), 544U);
    EXPECT_EQ(sizeof(HostParams::outputName), 256U);
    EXPECT_EQ(offsetof(HostParams, language), 256U);
    EXPECT_EQ(sizeof(HostParams::language), 256U);
    EXPECT_EQ(offsetof(HostParams, outputCode), 512U);
    EXPECT_EQ(offsetof(HostParams, options), 516U);
    EXPECT_EQ(offsetof(HostParams, flags), 520U);
    EXPECT_EQ(offsetof(HostParams, outputLimit), 528U);
    EXPECT_EQ(sizeof(HostParams::outputLimit), 8U);
}

TEST(SessionRecordLayout, IsTheHosts) {
    EXPECT_EQ(sizeof(SessionRecord), 4184U);
    EXPECT_EQ(sizeof(SessionRecord::path), 4096U);
    EXPECT_EQ(offsetof(SessionRecord, name), 4096U);
    EXPECT_EQ(sizeof(SessionRecord::name), 52U);
    EXPECT_EQ(offsetof(SessionRecord, attachmentNumber), 4148U);
    EXPECT_EQ(offsetof(SessionRecord, savedOutputCount), 4160U);
    EXPECT_EQ(sizeof(SessionRecord::savedOutputCount), 8U);
    EXPECT_EQ(offsetof(SessionRecord, logFile), 4168U);
}

TEST(HandleFields, HaveTheirCapacities) {
    EXPECT_EQ(sizeof(ExtractionHandle::boundary), 80U);
    EXPECT_EQ(sizeof(ExtractionHandle::charset), 20U);
    EXPECT_EQ(sizeof(ExtractionHandle::charsetName), 64U);
    EXPECT_EQ(sizeof(ExtractionHandle::partCharset), 32U);
    EXPECT_EQ(sizeof(ExtractionHandle::partBoundary), 80U);
    EXPECT_EQ(sizeof(ExtractionHandle::nestedCharset), 32U);
    EXPECT_EQ(sizeof(ExtractionHandle::nestedBoundary), 80U);
    EXPECT_EQ(sizeof(ExtractionHandle::attachmentDigits), 10U);
    EXPECT_EQ(sizeof(ExtractionHandle::htmlTempName), 4096U);
    EXPECT_EQ(sizeof(ExtractionHandle::defaultCharset), 12U);
    EXPECT_EQ(sizeof(ExtractionHandle::attachTmpName), 4096U);
}

} // namespace
