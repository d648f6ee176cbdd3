// SPDX-License-Identifier: MIT
// The stream entry point, where it differs from the file entry point.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/filter_fixture.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

constexpr const char *kMessage = "From: a@b\r\n\r\n";
constexpr const char *kText = "From: a@b\n\n\nContent: \n";
constexpr const char *kHtmlMessage = "From: a@b\r\nContent-Type: text/html\r\n\r\n<p>x</p>\r\n";
constexpr const char *kAttachmentMessage =
    "From: a@b\r\nContent-Type: multipart/mixed; boundary=\"B\"\r\n\r\n"
    "--B\r\nContent-Type: application/pdf; name=\"x.pdf\"\r\n\r\nPDF\r\n--B--\r\n";

const std::string kOpenInput = "QOB_FileOpen /mail/in.eml rb";
const std::string kCloseInput = "QOB_FileClose /mail/in.eml";
const std::string kCloseLog = "qob_logfclose";

void expectNothingLeft(const ScriptedHost &host) {
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    EXPECT_EQ(host.logsOpen, 0);
    EXPECT_EQ(host.convertersOpen, 0);
    EXPECT_EQ(host.filesBut({kInputName}), std::vector<std::string>{});
}

std::vector<std::string> callsButWrites(const ScriptedHost &host) {
    std::vector<std::string> calls;
    for (const std::string &call : host.calls) {
        if (call.rfind("QOB_WriteStream", 0) != 0) {
            calls.push_back(call);
        }
    }
    return calls;
}

TEST(StreamEntry, WritesTheTextToTheStreamAndCreatesNoFile) {
    ScriptedHost host;
    host.logging = true;
    const Extraction e = extractToStream(host, defaultParams(), kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, kText);
    EXPECT_THAT(callsButWrites(host), ElementsAre(kOpenInput, kCloseInput, kCloseLog, kCloseLog));
    EXPECT_EQ(host.nullLogCloses, 1);
    expectNothingLeft(host);
}

TEST(StreamEntry, GivesTheSameTextAsTheFileEntry) {
    for (const char *message :
         {kMessage, kAttachmentMessage, "", "Subject: x\r\n\r\nHello\r\n\r\nyou"}) {
        ScriptedHost host;
        const Extraction file = extractToFile(host, defaultParams(), message);
        const Extraction stream = extractToStream(host, defaultParams(), message);
        EXPECT_EQ(stream.code, file.code);
        EXPECT_EQ(stream.text, file.text);
    }
}

TEST(StreamEntry, GivesTheHostTheInputPathAsSessionPath) {
    ScriptedHost host;
    host.logging = true;
    int callback = 0;
    EXPECT_EQ(extractToStream(host, defaultParams(), kHtmlMessage, &callback).code, EML_OK);
    ASSERT_EQ(host.inserts.size(), 1U);
    const InsertCall &insert = host.inserts[0];
    EXPECT_STREQ(insert.session.path, kInputName);
    EXPECT_STREQ(insert.session.name, "Attach");
    EXPECT_NE(insert.session.logFile, nullptr);
    EXPECT_EQ(insert.callback, &callback);
    EXPECT_TRUE(insert.toStream);
    expectNothingLeft(host);
}

TEST(StreamEntry, TakesAFreeTemporaryNameWhateverTheFlags) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.flags |= EML_FLAG_BOUND_TMPNAM;
    extractToStream(host, params, kMessage);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam"), 1);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam1"), 0);
}

TEST(StreamEntry, PutsAttachmentsBesideTheTemporaryName) {
    ScriptedHost host;
    host.tmpDirectory = "/scratch/d/";
    extractToStream(host, defaultParams(), kAttachmentMessage);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_THAT(host.inserts[0].name, StartsWith("/scratch/d/in.emlin.eml"));
}

TEST(StreamEntry, NamesTheLogAfterTheInput) {
    ScriptedHost host;
    extractToStream(host, defaultParams(), kMessage);
    EXPECT_THAT(host.logNamesAsked,
                ElementsAre(std::make_pair(std::string(kInputName), std::string("eml"))));
    EXPECT_EQ(host.logName, "/mail/in.eml.eml.log");
}

TEST(StreamEntry, LogsItsProgress) {
    ScriptedHost host;
    host.logging = true;
    extractToStream(host, defaultParams(), kMessage);
    EXPECT_THAT(host.logLines, ElementsAre("qob_txeml gettext().\r\n", "check file finish 0.\r\n",
                                           "Fileread 13bytes\r\n",
                                           "Memory allocate for lpHobj->buff: 0 bytes; 0.\r\n"));
}

// ---- the ways out ----

struct WayOut {
    const char *name;
    const char *message;
    const char *failingService; // null: none
    int failingCall;
    int32_t code;
    std::vector<std::string> calls; // with a log
};

void PrintTo(const WayOut &row, std::ostream *out) {
    *out << row.name;
}

class StreamEntryFailure : public testing::TestWithParam<WayOut> {};

TEST_P(StreamEntryFailure, LeavesNothingBehindAndWritesNothing) {
    const WayOut &row = GetParam();
    for (const bool logging : {true, false}) {
        ScriptedHost host;
        host.logging = logging;
        if (row.failingService != nullptr) {
            host.failCall(row.failingService, row.failingCall);
        }
        const Extraction e = extractToStream(host, defaultParams(), row.message);
        EXPECT_EQ(e.code, row.code);
        EXPECT_EQ(e.text, "");
        EXPECT_TRUE(host.removed.empty());
        EXPECT_EQ(host.nullLogCloses, logging ? 0 : 1);
        if (logging) {
            EXPECT_EQ(callsButWrites(host), row.calls);
        }
        expectNothingLeft(host);
    }
}

const WayOut kWaysOut[] = {
    {"InputCannotBeOpened", kMessage, "QOB_FileOpen", 1, 22, {kOpenInput, kCloseLog}},
    // No buffer exists yet, so the log is closed once only.
    {"InputSizeCannotBeTold",
     kMessage,
     "QOB_FileTell",
     1,
     22,
     {kOpenInput, kCloseInput, kCloseLog}},
    {"NoMemoryForTheBlock",
     kMessage,
     "QOB_malloc",
     1,
     3000,
     {kOpenInput, kCloseInput, kCloseLog, kCloseLog}},
    {"HeaderReaderFails",
     "\r\nFrom: a@b\r\n",
     nullptr,
     0,
     3002,
     {kOpenInput, kCloseInput, kCloseLog, kCloseLog}},
};

INSTANTIATE_TEST_SUITE_P(Rows, StreamEntryFailure, testing::ValuesIn(kWaysOut),
                         [](const auto &row) { return row.param.name; });

TEST(StreamEntry, ReturnsTheBodyReadersError) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.flags &= ~EML_FLAG_KEEP_GOING;
    host.insertResult = 77;
    EXPECT_EQ(extractToStream(host, params, kHtmlMessage).code, 77);
    expectNothingLeft(host);
}

TEST(StreamEntry, ReturnsAStoredResult) {
    ScriptedHost host;
    host.insertResult = 77;
    const Extraction e = extractToStream(host, defaultParams(), kHtmlMessage);
    EXPECT_EQ(e.code, 77);
    EXPECT_EQ(e.text, kText);
    expectNothingLeft(host);
}

TEST(StreamEntry, StopsAtTheLimitWithoutReportingIt) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 10;
    const Extraction e = extractToStream(host, params, kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, std::string(kText).substr(0, 10));
}

TEST(StreamEntry, DoesNotStopWhenTheStreamTakesNothing) {
    ScriptedHost host;
    host.writeStreamFails = true;
    const Extraction e = extractToStream(host, defaultParams(), kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, "");
    expectNothingLeft(host);
}

} // namespace
