// SPDX-License-Identifier: MIT
// The header reader: refusals, failing services, and lines that nobody would write.
#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "support/failure_sweep.h"
#include "support/header_reading.h"

namespace {

constexpr const char *kHeader = "From: \"N\" <a@b>\r\nTo: t\r\nCc: c\r\nBcc: b\r\nSubject: "
                                "=?utf-8?B?QUJD?= =?utf-8?Q?d=40?=\r\n"
                                "Date: d\r\n\r\n";

TEST(HeaderFailures, OutputThatCannotBeOpened) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.load("From: a\r\n\r\n");
    f.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_ERR_OUTPUT);
    EXPECT_EQ(f.handle.blockPos, 0);
    EXPECT_EQ(f.output(), "");
}

TEST(HeaderFailures, OutputIsOpenedWhenItIsNotYet) {
    FilterFixture f;
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.load("From: a\r\n\r\n");
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_TRUE(f.host.called(std::string("QOB_FileOpen ") + kOutputName + " wb"));
    EXPECT_EQ(f.output(), "From: a\n\n");
}

TEST(HeaderFailures, NoLineBuffer) {
    FilterFixture f;
    f.load("From: a\r\n\r\n");
    char *buffer = std::exchange(f.handle.lineBuffer, nullptr);
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_ERR_FORMAT);
    f.handle.lineBuffer = buffer;
}

TEST(HeaderFailures, EmptyLineBeforeAnyOfTheFiveFields) {
    for (const char *header :
         {"\r\nFrom: a\r\n\r\n", "\r\n", "X: y\r\n\r\nFrom: a\r\n", "Date: d\r\n\r\n",
          "Content-Type: text/plain\r\nContent-Transfer-Encoding: 8bit\r\n\r\n"}) {
        const HeaderRun run(header);
        EXPECT_EQ(run.code, EML_ERR_FORMAT) << header;
        EXPECT_EQ(run.text, "") << header;
    }
}

TEST(HeaderFailures, LabelWithoutMemory) {
    for (const char *header :
         {"From: a\r\n", "To: a\r\n", "Cc: a\r\n", "Bcc: a\r\n", "Subject: a\r\n"}) {
        FilterFixture f;
        f.load(header);
        f.host.failCall("QOB_malloc", 1);
        EXPECT_EQ(EMLReadHeader(&f.handle), EML_ERR_MEMORY) << header;
        EXPECT_EQ(f.output(), "") << header;
    }
}

TEST(HeaderFailures, ValueWithoutMemoryLosesTheValueOnly) {
    FilterFixture f;
    f.load("From: a\r\nSubject: s\r\n\r\n");
    f.host.failCall("QOB_malloc", 3); // behind the label's two
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "From: \nSubject: s\n\n");
}

// How many allocations a header takes; the Date line's buffer is the last but one.
int allocationsFor(const std::string &header) {
    FilterFixture f;
    f.load(header);
    EMLReadHeader(&f.handle);
    return f.host.count("QOB_malloc");
}

TEST(HeaderFailures, DateLineWithoutMemory) {
    const std::string fields = "From: f\r\nTo: t\r\nCc: c\r\nBcc: b\r\nSubject: s\r\n";
    for (const std::string &header :
         {fields + "Date: d\r\n\r\n", std::string("From: f\r\nDate: d\r\n\r\n"),
          std::string("From: f\r\n\r\n")}) {
        FilterFixture f;
        f.load(header);
        f.host.failCall("QOB_malloc", allocationsFor(header) - 1);
        EXPECT_EQ(EMLReadHeader(&f.handle), EML_ERR_MEMORY) << header;
        EXPECT_EQ(f.output().find("Date"), std::string::npos) << header;
    }
}

TEST(HeaderFailures, BlockThatCannotBeReloaded) {
    // The line end of the first line is the block's last byte, so that the next block is loaded.
    FilterFixture f;
    std::string header = "From: a\r\n";
    header += "X: " + std::string(2000, 'x') + "\r\n";
    while (header.size() + 2000 < static_cast<size_t>(kBlockSize)) {
        header += std::string(1900, 'x') + "\r\n";
    }
    header += std::string(kBlockSize - 1 - header.size(), 'x') + "\r\nSubject: s\r\n\r\n";
    ASSERT_EQ(header[kBlockSize - 1], '\r');
    f.load(header);
    f.host.failCall("QOB_malloc", 6); // behind label (2), value (3)
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
    EXPECT_EQ(f.output(), "From: a");
}

TEST(HeaderFailures, GoesOnInTheNextBlock) {
    std::string header = "From: a\r\n";
    while (header.size() + 2000 < static_cast<size_t>(kBlockSize)) {
        header += std::string(1900, 'x') + "\r\n";
    }
    header += std::string(kBlockSize - 1 - header.size(), 'x') + "\r\nSubject: s\r\n\r\n";
    expectHeader({"the reload", header.c_str(), "From: a\nSubject: s\n\n"});
}

TEST(HeaderFailures, ReachedLimitIsNoError) {
    const std::string whole = HeaderRun(kHeader).text;
    for (uint32_t limit = 0; limit <= whole.size(); ++limit) {
        FilterFixture f;
        f.setLimit(limit);
        f.load(kHeader);
        EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK) << limit;
        EXPECT_EQ(f.output(), whole.substr(0, limit)) << limit;
    }
}

TEST(HeaderFailures, UnconvertibleTextIsLeftOut) {
    FilterFixture f;
    std::strcpy(f.handle.defaultCharset, "ChineseGBK");
    f.host.unknownCharsets = {"ChineseGBK"};
    f.load("From: a\r\nSubject: s\r\nDate: d\r\n\r\n");
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "From: \nSubject: \nDate: d\n");
}

TEST(HeaderFailures, EveryServiceInTurn) {
    const auto read = [](FilterFixture &f) { return EMLReadHeader(&f.handle); };
    sweepAllServices({.prepare = [](FilterFixture &f) { f.load(kHeader); },
                      .work = read,
                      .codes = {EML_OK, EML_ERR_MEMORY}});
    sweepAllServices({.prepare =
                          [](FilterFixture &f) {
                              QOB_FileClose(f.handle.outputFile);
                              f.handle.outputFile = nullptr;
                              f.load(kHeader);
                          },
                      .work = read,
                      .codes = {EML_OK, EML_ERR_MEMORY, EML_ERR_OUTPUT}});
    sweepAllServices({.prepare =
                          [](FilterFixture &f) {
                              f.useStream();
                              f.load(kHeader);
                          },
                      .work = read,
                      .codes = {EML_OK, EML_ERR_MEMORY}});
}

TEST(HeaderFailures, LongLinesOfEveryField) {
    for (const std::string name :
         {"From:", "To:", "Cc:", "Bcc:", "Subject:", "Date:", "Content-Type:",
          "Content-Transfer-Encoding:", "X-MimeOLE:", "X:", "--", " ", "\t"}) {
        for (const size_t length : {2047U, 2048U, 4095U}) {
            for (const char filler : {'x', ' ', ',', '<', '=', '\0', '\xFF'}) {
                const std::string line = name + std::string(length - name.size(), filler);
                const HeaderRun run("From: a\r\n" + line + "\r\n" + line + "\r\n\r\n");
                EXPECT_EQ(run.code, EML_OK) << name << length << filler;
            }
        }
    }
}

TEST(HeaderFailures, ParametersOfAnyLength) {
    for (const size_t length : {18U, 19U, 20U, 78U, 79U, 80U, 200U, 1900U}) {
        const std::string value(length, 'v');
        for (const std::string &line :
             {"boundary=\"" + value + "\"", "boundary=\"" + value, "charset=" + value,
              "charset=" + value + ";", "charset=\"" + value + "\"", "charset=\"" + value}) {
            HeaderRun run("From: a\r\nContent-Type: text/plain; " + line + "\r\n\r\n");
            EXPECT_EQ(run.code, EML_OK);
            EXPECT_LT(strnlen(run.f.handle.boundary, kBoundarySize), kBoundarySize);
            EXPECT_LT(strnlen(run.f.handle.charset, kMessageCharsetSize), kMessageCharsetSize);
        }
    }
}

TEST(HeaderFailures, NulBytesAnywhere) {
    using namespace std::string_view_literals;
    EXPECT_EQ(HeaderRun("From: a\0b\r\n\r\n"sv).text, "From: a\n\n");
    EXPECT_EQ(HeaderRun("From:\0\r\n\r\n"sv).text, "From: \n\n");
    // A line is empty by its length, not by its first byte.
    EXPECT_EQ(HeaderRun("From: a\r\n\0\r\nSubject: s\r\n\r\n"sv).text, "From: a\nSubject: s\n\n");
    // Nothing behind a NUL is searched for.
    HeaderRun run("From: a\r\nContent-Type: text/plain\0; charset=big5\r\n\r\n"sv);
    EXPECT_STREQ(run.f.handle.charset, "");
    // The Date line keeps its bytes; the host's control-code stripping drops the NUL.
    EXPECT_EQ(HeaderRun("From: a\r\nDate: d\0e\r\n\r\n"sv).text, "From: a\nDate: de\n");
}

} // namespace
