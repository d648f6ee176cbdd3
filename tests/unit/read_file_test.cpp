// SPDX-License-Identifier: MIT
// The driver: blocks, buffers, the content label, and that it always comes to an end.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "emlcomm/driver.h"
#include "support/filter_fixture.h"

namespace {

constexpr const char *kHeader = "From: a@b\r\n\r\n"; // 13 bytes
constexpr const char *kHeaderText = "From: a@b\n\n\nContent: \n";

// A handle as the entry points leave it to the driver: the input measured, no buffers.
class Driver : public FilterFixture {
public:
    explicit Driver(const std::string &message) {
        load(message);
        myFreeMem(&handle);
        handle.lastBlock = 0;
        host.logging = true;
        handle.logFile = qob_logfopen(0, "log");
    }
    int32_t run() { return ReadFile(&handle); }
};

// Text of `size` bytes in lines of 64 bytes, line end included.
std::string textOf(size_t size) {
    std::string text;
    while (text.size() < size) {
        text += std::string(62, 'x') + "\r\n";
    }
    return text.substr(0, size);
}

TEST(Driver, WritesTheContentLabelBetweenTwoLineEnds) {
    Driver d(kHeader);
    EXPECT_EQ(d.run(), 0);
    EXPECT_EQ(d.output(), kHeaderText);
}

TEST(Driver, WritesTheContentLabelForAnEmptyInput) {
    Driver d("");
    EXPECT_EQ(d.run(), 0);
    // The line end of the header, and the label between two more.
    EXPECT_EQ(d.output(), "\n\nContent: \n");
}

TEST(Driver, ConvertsTheContentLabelFromLatin1) {
    Driver d(kHeader);
    d.run();
    const auto label =
        std::find_if(d.host.conversions.begin(), d.host.conversions.end(),
                     [](const ConversionCall &call) { return call.input == "Content: "; });
    ASSERT_NE(label, d.host.conversions.end());
    EXPECT_EQ(label->source, "ISO-8859-1");
    EXPECT_STREQ(d.handle.charsetName, "ISO-8859-1");
}

TEST(Driver, ReadsHeaderAndBody) {
    Driver d(std::string(kHeader) + "Hello\r\n");
    EXPECT_EQ(d.run(), 0);
    EXPECT_EQ(d.output(), std::string(kHeaderText) + "Hello");
    EXPECT_EQ(d.handle.blockStart, d.handle.fileSize);
}

TEST(Driver, GivesTheBodyReaderAClearedConversionBuffer) {
    Driver d(kHeader);
    d.run();
    EXPECT_TRUE(std::all_of(d.handle.convBuffer, d.handle.convBuffer + 8193,
                            [](char c) { return c == '\0'; }));
}

TEST(Driver, GivesTheBodyReaderANewAccumulationBuffer) {
    Driver d(kHeader);
    d.handle.qpBuffer = allocBuffer(10);
    d.handle.qpBufferUsed = 5;
    d.handle.qpBufferSize = 10;
    EXPECT_EQ(d.run(), 0);
    EXPECT_EQ(d.handle.qpBufferUsed, 0U);
    EXPECT_EQ(d.handle.qpBufferSize, 2048U);
    EXPECT_EQ(d.host.allocationSizes[d.handle.qpBuffer], 2049U);
    EXPECT_EQ(std::string(d.handle.qpBuffer, 2049), std::string(2049, '\0'));
    myFreeMem(&d.handle);
    EXPECT_EQ(d.host.liveAllocations(), 0U);
}

TEST(Driver, AllocatesLineAndConversionBuffersOfTheirSizes) {
    Driver d(kHeader);
    d.run();
    EXPECT_EQ(d.host.allocationSizes[d.handle.lineBuffer], 2049U);
    EXPECT_EQ(d.host.allocationSizes[d.handle.convBuffer], 8193U);
}

// ---- the first block ----

struct FirstBlockRow {
    int32_t fileSize;
    int32_t blockLength;
    bool whole;
};

TEST(FirstBlock, IsTheWholeInputUpTo16384Bytes) {
    const FirstBlockRow rows[] = {
        {0, 1, true},         {1, 2, true},          {16383, 16384, true},
        {16384, 16385, true}, {16385, 16384, false}, {40000, 16384, false},
    };
    for (const FirstBlockRow &row : rows) {
        SCOPED_TRACE(row.fileSize);
        const std::string input(static_cast<size_t>(row.fileSize), 'x');
        Driver d(input);
        d.host.failCall("QOB_malloc", 2); // the line buffer: stop right behind the block
        EXPECT_EQ(d.run(), EML_ERR_MEMORY);
        EXPECT_EQ(d.handle.blockLength, row.blockLength);
        EXPECT_EQ(d.handle.blockStart, 0);
        EXPECT_EQ(d.handle.lastBlock, 0);
        EXPECT_EQ(d.host.allocationSizes[d.handle.readBuffer],
                  static_cast<size_t>(row.blockLength) + 1);
        std::string block = input.substr(0, 16384);
        block.resize(static_cast<size_t>(row.blockLength) + 1, '\0');
        EXPECT_EQ(std::string(d.handle.readBuffer, block.size()), block);
    }
}

TEST(FirstBlock, IsLoggedWithTheFileSizeWhenItIsTheWholeInput) {
    const std::string memory = "Memory allocate for lpHobj->buff: 0 bytes; 0.\r\n";
    struct Row {
        size_t fileSize;
        std::vector<std::string> lines;
    };
    const Row rows[] = {
        {0, {"Fileread 0bytes\r\n", memory}},
        {16384, {"Fileread 16384bytes\r\n", memory}},
        {16385, {memory}},
    };
    for (const Row &row : rows) {
        Driver d(std::string(row.fileSize, 'x'));
        d.run();
        EXPECT_EQ(d.host.logLines, row.lines) << row.fileSize;
    }
}

TEST(FirstBlock, StartsAtTheBeginningOfTheInput) {
    Driver d(kHeader);
    QOB_FileSeek(d.handle.inputFile, 0, 2);
    EXPECT_EQ(d.run(), 0);
    EXPECT_EQ(d.output(), kHeaderText);
}

// ---- the body's blocks ----

TEST(BodyBlocks, MarkTheLastBlockOnlyWhenItIsShort) {
    struct Row {
        size_t bodySize;
        int32_t lastBlock;
    };
    for (const Row row : {Row{16384, 0}, Row{16383, 1}, Row{1, 1}, Row{0, 0}}) {
        Driver d(kHeader + textOf(row.bodySize));
        EXPECT_EQ(d.run(), 0);
        EXPECT_EQ(d.handle.lastBlock, row.lastBlock) << row.bodySize;
    }
}

TEST(BodyBlocks, FollowEachOtherUntilTheInputIsUsedUp) {
    for (const size_t size : {16384U, 16385U, 32768U, 50000U, 100000U}) {
        const std::string body = textOf(size);
        Driver d(kHeader + body);
        EXPECT_EQ(d.run(), 0);
        std::string joined; // plain lines of a message without parts are joined
        std::copy_if(body.begin(), body.end(), std::back_inserter(joined),
                     [](char c) { return c == 'x'; });
        EXPECT_EQ(d.output(), kHeaderText + joined) << size;
        EXPECT_EQ(d.handle.blockStart, d.handle.fileSize);
    }
}

TEST(BodyBlocks, HoldOneBlockAtATime) {
    Driver d(kHeader + textOf(100000));
    EXPECT_EQ(d.run(), 0);
    EXPECT_LE(d.host.allocationSizes[d.handle.readBuffer], 16385U);
}

// ---- errors ----

TEST(Driver, StopsAtTheLimitWithoutAnErrorAndReadsToTheEnd) {
    Driver d("From: a@b\r\nContent-Type: text/plain\r\n\r\nHello\r\n");
    d.setLimit(3);
    EXPECT_EQ(d.run(), 0);
    EXPECT_EQ(d.output(), "Fro");
    EXPECT_EQ(d.handle.limitReached, 1U);
    EXPECT_EQ(d.handle.blockStart, d.handle.fileSize);
}

TEST(Driver, ReturnsTheHeaderReadersError) {
    Driver d("\r\nFrom: a@b\r\n");
    EXPECT_EQ(d.run(), EML_ERR_FORMAT);
    EXPECT_EQ(d.output(), "");
    EXPECT_EQ(d.handle.qpBuffer, nullptr);
}

TEST(Driver, ReturnsTheBodyReadersErrorAfterMovingOn) {
    Driver d("From: a@b\r\nContent-Type: text/html\r\n\r\n<p>x</p>\r\n");
    d.params.flags = EML_FLAG_ATTACHMENTS;
    d.host.insertResult = 77;
    EXPECT_EQ(d.run(), 77);
    EXPECT_EQ(d.handle.blockStart, d.handle.fileSize);
    EXPECT_EQ(d.host.filesBut({kInputName, kOutputName}), std::vector<std::string>{});
}

TEST(Driver, ReportsEachBufferThatCannotBeAllocated) {
    // Block, line buffer, conversion buffer.
    for (const int n : {1, 2, 3}) {
        Driver d(std::string(kHeader) + "Hello\r\n");
        d.host.failCall("QOB_malloc", n);
        EXPECT_EQ(d.run(), EML_ERR_MEMORY);
        EXPECT_EQ(d.output(), "");
        myFreeMem(&d.handle);
        EXPECT_EQ(d.host.liveAllocations(), 0U);
    }
}

TEST(Driver, ReportsTheBodysBuffersThatCannotBeAllocated) {
    // Found by what is there when the call fails: with the header written, first the accumulation
    // buffer fails (no label yet), later the body's block (label written, nothing of the body).
    bool accumulation = false;
    bool block = false;
    for (int n = 4; n < 100; ++n) {
        Driver d(std::string(kHeader) + "Hello\r\n");
        d.host.failCall("QOB_malloc", n);
        const int32_t code = d.run();
        if (d.host.count("QOB_malloc") < n) {
            break;
        }
        accumulation = accumulation || (code == EML_ERR_MEMORY && d.output() == "From: a@b\n" &&
                                        d.handle.qpBuffer == nullptr && d.handle.qpBufferSize == 0);
        block = block || (code == EML_ERR_MEMORY && d.output() == kHeaderText &&
                          d.handle.readBuffer == nullptr);
    }
    EXPECT_TRUE(accumulation);
    EXPECT_TRUE(block);
}

// ---- progress ----

// No message keeps the driver going forever: not by its type, not by its parameters, not by its
// length.
TEST(Progress, EveryContentTypeComesToAnEnd) {
    const char *types[] = {
        "text/plain",
        "text/html",
        "text/calendar",
        "image/png",
        "application/pdf",
        "message/rfc822",
        "multipart/mixed",
        "multipart/alternative",
        "multipart/related",
        "multipart/digest",
        "multipart/report",
        "multipart/signed",
        "message/delivery-status",
        "unknown/type",
        "",
    };
    const char *boundaries[] = {"", "; boundary=B", "; boundary=\""};
    const std::string bodies[] = {
        "",
        "\r",
        "x",
        ".",
        std::string(16500, '\0'),
        std::string(16500, '-'),
        std::string(16500, ' '),
        std::string(16500, '\n'),
        "--B\r\n" + std::string(33000, 'x'),
        "--B\r\nContent-Type: text/plain\r\n" + std::string(16500, '\n'),
        std::string(16384, 'x') + "\r\n--B\r\n--B--\r\n.\r\n",
    };
    for (const char *type : types) {
        for (const char *boundary : boundaries) {
            for (const std::string &body : bodies) {
                Driver d("From: a@b\r\nContent-Type: " + std::string(type) + boundary + "\r\n\r\n" +
                         body);
                EXPECT_EQ(d.run(), 0) << type << boundary << " " << body.substr(0, 10);
                EXPECT_EQ(d.host.filesBut({kInputName, kOutputName}), std::vector<std::string>{});
            }
        }
    }
}

TEST(Progress, HostileHeadersComeToAnEnd) {
    for (const size_t length : {2046U, 2047U, 2048U, 4000U, 16383U, 16384U, 16385U, 40000U}) {
        for (const char fill : {'x', '\0', ' ', ',', '\r', '\n'}) {
            Driver d("From: a@b\r\nTo: " + std::string(length, fill) + "\r\n\r\nbody\r\n");
            EXPECT_EQ(d.run(), 0) << length;
        }
    }
}

} // namespace
