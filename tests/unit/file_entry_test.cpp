// SPDX-License-Identifier: MIT
// The file entry point: what it sets up, what it leaves behind on each way out.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "emlcomm/driver.h"
#include "support/filter_fixture.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

constexpr const char *kMessage = "From: a@b\r\n\r\n"; // no body: its text is fixed by the header
constexpr const char *kText = "From: a@b\n\n\nContent: \n";
constexpr const char *kHtmlMessage =
    "From: a@b\r\nContent-Type: text/html\r\n\r\n<p>x</p>\r\n"; // handed over to the host
constexpr const char *kAttachmentMessage =
    "From: a@b\r\nContent-Type: multipart/mixed; boundary=\"B\"\r\n\r\n"
    "--B\r\nContent-Type: application/pdf; name=\"x.pdf\"\r\n\r\nPDF\r\n--B--\r\n";

void expectNothingLeft(const ScriptedHost &host) {
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    EXPECT_EQ(host.logsOpen, 0);
    EXPECT_EQ(host.convertersOpen, 0);
    EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>{});
}

// The calls without the writes between.
std::vector<std::string> callsButWrites(const ScriptedHost &host) {
    std::vector<std::string> calls;
    for (const std::string &call : host.calls) {
        if (call.rfind("QOB_FileWrite", 0) != 0) {
            calls.push_back(call);
        }
    }
    return calls;
}

const std::string kOpenInput = "QOB_FileOpen /mail/in.eml rb";
const std::string kOpenOutput = "QOB_FileOpen /out/text wb";
const std::string kCloseInput = "QOB_FileClose /mail/in.eml";
const std::string kCloseOutput = "QOB_FileClose /out/text";
const std::string kCloseLog = "qob_logfclose";
const std::string kRemoveOutput = "QOB_ASC_remove /out/text";

TEST(FileEntry, WritesTheTextAndCleansUp) {
    for (const bool logging : {false, true}) {
        ScriptedHost host;
        host.logging = logging;
        const Extraction e = extractToFile(host, defaultParams(), kMessage);
        EXPECT_EQ(e.code, EML_OK);
        EXPECT_EQ(e.text, kText);
        expectNothingLeft(host);
        std::vector<std::string> calls = {kOpenInput, kOpenOutput, kCloseInput, kCloseOutput,
                                          kCloseLog};
        if (logging) {
            calls.push_back(kCloseLog);
        }
        EXPECT_EQ(callsButWrites(host), calls);
        EXPECT_EQ(host.nullLogCloses, 1); // the explicit close finds the log closed and forgotten
    }
}

TEST(FileEntry, TruncatesAnEarlierOutput) {
    ScriptedHost host;
    host.files[kOutputName] = std::string(1000, 'z');
    EXPECT_EQ(extractToFile(host, defaultParams(), kMessage).text, kText);
}

TEST(FileEntry, SharesNothingBetweenCalls) {
    ScriptedHost host;
    const Extraction first = extractToFile(host, defaultParams(), kAttachmentMessage);
    const Extraction second = extractToFile(host, defaultParams(), kAttachmentMessage);
    EXPECT_EQ(first.code, EML_OK);
    EXPECT_EQ(second.code, EML_OK);
    EXPECT_EQ(first.text, second.text);
}

// ---- what the call sets up ----

TEST(FileEntry, GivesTheHostItsSessionRecordAndCallback) {
    ScriptedHost host;
    host.logging = true;
    int callback = 0;
    EXPECT_EQ(extractToFile(host, defaultParams(), kHtmlMessage, &callback).code, EML_OK);
    ASSERT_EQ(host.inserts.size(), 1U);
    const InsertCall &insert = host.inserts[0];
    EXPECT_STREQ(insert.session.path, kOutputName);
    EXPECT_STREQ(insert.session.name, "Attach");
    EXPECT_NE(insert.session.logFile, nullptr);
    EXPECT_EQ(insert.callback, &callback);
    EXPECT_FALSE(insert.toStream);
}

TEST(FileEntry, GivesTheHostNoLogWhenItOpenedNone) {
    ScriptedHost host;
    extractToFile(host, defaultParams(), kHtmlMessage);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_EQ(host.inserts[0].session.logFile, nullptr);
}

TEST(FileEntry, CutsASessionPathThatIsTooLong) {
    ScriptedHost host;
    const HostParams params = defaultParams();
    host.files[kInputName] = kHtmlMessage;
    const std::string path(5000, 'p');
    EXPECT_EQ(GetTextWithErrCallback(kInputName, path.c_str(), &params, nullptr, nullptr), EML_OK);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_EQ(std::string(host.inserts[0].session.path), std::string(4095, 'p'));
}

TEST(BeginCall, KeepsTheCallersWordAndTheLowHalfOfTheLimit) {
    HostParams params = defaultParams();
    params.options = EML_OPT_LIMIT_OUTPUT | EML_OPT_NEWLINE_4;
    params.outputLimit = 0x700000009ULL;
    const uint8_t callerRecord[6] = {1, 2, 3, 4, 0x34, 0x12};
    int callback = 0;
    SessionRecord session = {};
    ExtractionHandle handle = {};
    eml::beginCall(&handle, &session, {kInputName, &params, callerRecord, &callback}, "/out/x");
    EXPECT_EQ(handle.callerWord, 0x1234);
    EXPECT_EQ(handle.outputLimit, 9U);
    EXPECT_EQ(handle.options.limitOutput, 1U);
    EXPECT_EQ(handle.options.newlineMode, 4U);
    EXPECT_EQ(handle.errCallback, &callback);
    EXPECT_EQ(handle.hostParams, &params);
    EXPECT_EQ(handle.sessionRecord, &session);
    EXPECT_EQ(handle.result, 0);
    EXPECT_STREQ(session.path, "/out/x");
}

TEST(BeginCall, AcceptsANullCallerRecord) {
    const HostParams params = defaultParams();
    SessionRecord session = {};
    ExtractionHandle handle = {};
    eml::beginCall(&handle, &session, {kInputName, &params, nullptr, nullptr}, "/out/x");
    EXPECT_EQ(handle.callerWord, 0);
}

TEST(MeasureInput, RefusesASizeOf2GiBAndMore) {
    FilterFixture f;
    f.load("abc");
    EXPECT_TRUE(eml::measureInput(&f.handle));
    EXPECT_EQ(f.handle.fileSize, 3);
    QOB_FileSeek(f.handle.inputFile, INT32_MAX, 0);
    QOB_FileSeek(f.handle.inputFile, INT32_MAX, 1);
    f.host.failCall("QOB_FileSeek", f.host.count("QOB_FileSeek") + 1); // the position stays
    EXPECT_FALSE(eml::measureInput(&f.handle));
    EXPECT_EQ(f.handle.fileSize, -2);
}

TEST(FileEntry, TakesAFreeTemporaryName) {
    ScriptedHost host;
    extractToFile(host, defaultParams(), kMessage);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam"), 1);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam1"), 0);
}

TEST(FileEntry, BindsTheTemporaryNameToTheSessionPathWhenAsked) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.flags |= EML_FLAG_BOUND_TMPNAM;
    extractToFile(host, params, kMessage);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam"), 0);
    EXPECT_EQ(host.count("QOB_ASC_tmpnam1"), 1);
    EXPECT_TRUE(host.called("QOB_ASC_tmpnam1 /out/text"));
}

TEST(FileEntry, PutsAttachmentsBesideTheTemporaryName) {
    ScriptedHost host;
    host.tmpDirectory = "/scratch/d/";
    extractToFile(host, defaultParams(), kAttachmentMessage);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_THAT(host.inserts[0].name, StartsWith("/scratch/d/in.emlin.eml"));
}

TEST(FileEntry, PutsAttachmentsIntoTheCurrentDirectoryWithoutATemporaryName) {
    ScriptedHost host;
    host.failCall("QOB_ASC_tmpnam", 1);
    extractToFile(host, defaultParams(), kAttachmentMessage);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_THAT(host.inserts[0].name, StartsWith("./in.emlin.eml"));
}

TEST(FileEntry, ChoosesTheDefaultCharsetOfTheHostsLanguage) {
    ScriptedHost host;
    HostParams params = defaultParams();
    std::strcpy(params.language, "ko");
    extractToFile(host, params, "From: a\xB0\xA1\r\n\r\n");
    const bool korean = std::any_of(
        host.conversions.begin(), host.conversions.end(), [](const ConversionCall &call) {
            return call.source == "KoreanKSC" && call.input == "a\xB0\xA1";
        });
    EXPECT_TRUE(korean);
}

// ---- the log ----

TEST(FileEntry, NamesTheLogAfterTheOutput) {
    ScriptedHost host;
    extractToFile(host, defaultParams(), kMessage);
    EXPECT_THAT(host.logNamesAsked,
                ElementsAre(std::make_pair(std::string(kOutputName), std::string("eml"))));
    EXPECT_EQ(host.logName, "/out/text.eml.log");
}

TEST(FileEntry, LogsItsProgress) {
    ScriptedHost host;
    host.logging = true;
    extractToFile(host, defaultParams(), kMessage);
    EXPECT_THAT(host.logLines, ElementsAre("qob_txeml gettext().\r\n", "check file finish 0.\r\n",
                                           "Fileread 13bytes\r\n",
                                           "Memory allocate for lpHobj->buff: 0 bytes; 0.\r\n"));
}

TEST(FileEntry, LogsNothingWithoutALog) {
    ScriptedHost host;
    extractToFile(host, defaultParams(), kMessage);
    EXPECT_TRUE(host.logLines.empty()); // the scripted host refuses a null log besides
}

// ---- the ways out ----

struct WayOut {
    const char *name;
    const char *message;
    const char *failingService; // null: none
    int failingCall;
    int32_t code;
    std::vector<std::string> calls; // with a log, the writes left out
    int nullLogCloses;
    std::vector<std::string> logLines; // the first ones
};

void PrintTo(const WayOut &row, std::ostream *out) {
    *out << row.name;
}

class FileEntryFailure : public testing::TestWithParam<WayOut> {};

TEST_P(FileEntryFailure, LeavesNothingBehind) {
    const WayOut &row = GetParam();
    ScriptedHost host;
    host.logging = true;
    if (row.failingService != nullptr) {
        host.failCall(row.failingService, row.failingCall);
    }
    const Extraction e = extractToFile(host, defaultParams(), row.message);
    EXPECT_EQ(e.code, row.code);
    EXPECT_FALSE(e.outputKept);
    EXPECT_EQ(callsButWrites(host), row.calls);
    EXPECT_EQ(host.nullLogCloses, row.nullLogCloses);
    EXPECT_EQ(host.logLines, row.logLines);
    expectNothingLeft(host);
}

const std::vector<std::string> kNotLogged = {};
const std::vector<std::string> kLoggedOpen = {"qob_txeml gettext().\r\n"};
const std::vector<std::string> kLoggedCheck = {"qob_txeml gettext().\r\n",
                                               "check file finish 0.\r\n"};
const std::vector<std::string> kLoggedRead = {"qob_txeml gettext().\r\n",
                                              "check file finish 0.\r\n", "Fileread 13bytes\r\n",
                                              "Memory allocate for lpHobj->buff: 0 bytes; 0.\r\n"};
// The log is closed before the output, and once more with the buffers.
const std::vector<std::string> kReadFileFailed = {kOpenInput, kOpenOutput,  kCloseInput,  kCloseLog,
                                                  kCloseLog,  kCloseOutput, kRemoveOutput};

const WayOut kWaysOut[] = {
    {"InputCannotBeOpened",
     kMessage,
     "QOB_FileOpen",
     1,
     22,
     {kOpenInput, kCloseLog},
     0,
     kNotLogged},
    {"OutputCannotBeCreated",
     kMessage,
     "QOB_FileOpen",
     2,
     23,
     {kOpenInput, kOpenOutput, kCloseLog, kCloseInput, kCloseLog},
     0,
     kLoggedOpen},
    {"InputSizeCannotBeTold",
     kMessage,
     "QOB_FileTell",
     1,
     22,
     {kOpenInput, kOpenOutput, kCloseOutput, kCloseInput, kCloseLog, kCloseLog, kRemoveOutput},
     1,
     kLoggedOpen},
    {"NoMemoryForTheBlock", kMessage, "QOB_malloc", 1, 3000, kReadFileFailed, 0, kLoggedCheck},
    {"NoMemoryForTheLine", kMessage, "QOB_malloc", 2, 3000, kReadFileFailed, 0, kLoggedRead},
    {"HeaderReaderFails", "\r\nFrom: a@b\r\n", nullptr, 0, 3002, kReadFileFailed, 0, kLoggedRead},
    {"HeaderWithoutAnyField", "X: yyy\r\n\r\nz\r\n", nullptr, 0, 3002, kReadFileFailed, 0,
     kLoggedRead},
};

INSTANTIATE_TEST_SUITE_P(Rows, FileEntryFailure, testing::ValuesIn(kWaysOut),
                         [](const auto &row) { return row.param.name; });

TEST(FileEntry, LeavesNothingBehindWithoutALogEither) {
    for (const WayOut &row : kWaysOut) {
        SCOPED_TRACE(row.name);
        ScriptedHost host;
        if (row.failingService != nullptr) {
            host.failCall(row.failingService, row.failingCall);
        }
        EXPECT_EQ(extractToFile(host, defaultParams(), row.message).code, row.code);
        EXPECT_EQ(host.nullLogCloses, 1); // closed in so many words, whether open or not
        expectNothingLeft(host);
    }
}

TEST(FileEntry, DoesNotRemoveAnEarlierOutputThatItCannotOpen) {
    ScriptedHost host;
    host.files[kOutputName] = "earlier";
    host.failCall("QOB_FileOpen", 2);
    EXPECT_EQ(extractToFile(host, defaultParams(), kMessage).code, EML_ERR_OUTPUT);
    EXPECT_EQ(host.files[kOutputName], "earlier");
    EXPECT_TRUE(host.removed.empty());
}

TEST(FileEntry, ReturnsTheBodyReadersErrorAndDeletesTheOutput) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.flags &= ~EML_FLAG_KEEP_GOING;
    host.insertResult = 77;
    const Extraction e = extractToFile(host, params, kHtmlMessage);
    EXPECT_EQ(e.code, 77);
    EXPECT_FALSE(e.outputKept);
    expectNothingLeft(host);
}

TEST(FileEntry, ReturnsAStoredResultAndKeepsTheOutput) {
    ScriptedHost host;
    host.insertResult = 77;
    const Extraction e = extractToFile(host, defaultParams(), kHtmlMessage);
    EXPECT_EQ(e.code, 77);
    EXPECT_TRUE(e.outputKept);
    EXPECT_EQ(e.text, kText);
    expectNothingLeft(host);
}

// ---- the output limit ----

struct LimitRow {
    const char *what;
    uint64_t limit;
    uint32_t options;
    int32_t code;
    size_t kept; // bytes of kText
};

TEST(FileEntry, KeepsTheTextUpToTheLimitAndReportsIt) {
    const size_t all = std::string(kText).size();
    const LimitRow rows[] = {
        {"inside", 10, EML_OPT_LIMIT_OUTPUT, 3005, 10},
        {"nothing at all", 0, EML_OPT_LIMIT_OUTPUT, 3005, 0},
        {"one byte short", all - 1, EML_OPT_LIMIT_OUTPUT, 3005, all - 1},
        {"just enough", all, EML_OPT_LIMIT_OUTPUT, 0, all},
        {"plenty", 1000, EML_OPT_LIMIT_OUTPUT, 0, all},
        {"high half ignored", 0x70000000AULL, EML_OPT_LIMIT_OUTPUT, 3005, 10},
        {"not in force", 10, 0, 0, all},
    };
    for (const LimitRow &row : rows) {
        SCOPED_TRACE(row.what);
        ScriptedHost host;
        HostParams params = defaultParams();
        params.options = row.options;
        params.outputLimit = row.limit;
        const Extraction e = extractToFile(host, params, kMessage);
        EXPECT_EQ(e.code, row.code);
        EXPECT_TRUE(e.outputKept);
        EXPECT_EQ(e.text, std::string(kText).substr(0, row.kept));
        EXPECT_TRUE(host.removed.empty());
        expectNothingLeft(host);
    }
}

TEST(FileEntry, DoesNotReportACutShortOfTheLimit) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 4; // cuts into "From: "
    host.cutShortBy = 1;
    const Extraction e = extractToFile(host, params, kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, "Fro");
}

TEST(FileEntry, ReturnsAnErrorRatherThanTheLimit) {
    ScriptedHost host;
    HostParams params = defaultParams();
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 4;
    params.flags = EML_FLAG_ATTACHMENTS;
    host.insertResult = 77;
    const Extraction e = extractToFile(host, params, kHtmlMessage);
    EXPECT_EQ(e.code, 77);
    EXPECT_FALSE(e.outputKept);
}

} // namespace
