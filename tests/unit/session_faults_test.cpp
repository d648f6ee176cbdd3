// SPDX-License-Identifier: MIT
// Whole calls with a host that fails: each call of each service once, and from each call on. No
// fault may crash, hang, leave a file, a log, a converter or memory behind, or be reported under a
// code that is not the filter's or the host's own.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "support/filter_fixture.h"

namespace {

struct Message {
    const char *name;
    std::string text;
    // A failed quoted-printable decoding of a text body leaves the text's file to the host.
    bool mayLeaveText = false;
};

void PrintTo(const Message &message, std::ostream *out) {
    *out << message.name;
}

const std::string kPart = "From: =?UTF-8?B?YWJj?= <a@b>\r\nTo: c@d,\r\n e@f\r\nSubject: s\r\n";

const Message kMessages[] = {
    {"Plain", kPart + "\r\nHello\r\n\r\nyou\r\n"},
    {"PlainOfManyBlocks", kPart + "\r\n" + std::string(40000, 'x') + "\r\n"},
    {"QuotedPrintable",
     kPart + "Content-Type: text/plain; charset=UTF-8\r\n"
             "Content-Transfer-Encoding: quoted-printable\r\n\r\n"
             "a=3Db=\r\nc\r\n\r\nd\r\n",
     true},
    {"Base64", kPart + "Content-Type: text/plain; charset=UTF-8\r\n"
                       "Content-Transfer-Encoding: base64\r\n\r\nSGVsbG8=\r\n"},
    {"Html", kPart + "Content-Type: text/html; charset=UTF-8\r\n\r\n<p>Hello</p>\r\n"},
    {"HtmlOfManyBlocks",
     kPart + "Content-Type: text/html\r\n\r\n<p>" + std::string(40000, 'x') + "</p>\r\n"},
    {"Mixed", kPart + "Content-Type: multipart/mixed; boundary=\"B\"\r\n\r\n"
                      "--B\r\nContent-Type: text/plain; charset=UTF-8\r\n\r\nHello\r\n"
                      "--B\r\nContent-Type: application/pdf; name=\"x.pdf\"\r\n"
                      "Content-Transfer-Encoding: base64\r\n\r\nUERG\r\n--B--\r\n"},
};

class SessionFaults : public testing::TestWithParam<Message> {};

struct Outcome {
    int32_t code;
    bool failed; // the planned failure was reached
    std::string text;
};

// One call of the file or stream entry point with the n-th call of the service failing.
Outcome callWithFault(const Message &message, bool toStream, const std::string &service, int n,
                      ScriptedHost::Failure failure) {
    ScriptedHost host;
    host.logging = true;
    host.failCall(service, n, failure);
    HostParams params = defaultParams();
    params.flags &= ~EML_FLAG_KEEP_GOING;
    const Extraction e = toStream ? extractToStream(host, params, message.text)
                                  : extractToFile(host, params, message.text);
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    EXPECT_EQ(host.logsOpen, 0);
    EXPECT_EQ(host.convertersOpen, 0);
    if (service != "QOB_ASC_remove") {
        if (!message.mayLeaveText || e.code == EML_OK) {
            EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>{});
        }
        if (!toStream) {
            EXPECT_EQ(e.outputKept, e.code == EML_OK);
        }
    }
    return {e.code, host.count(service) >= n, e.text};
}

struct Service {
    const char *name;
    std::set<int32_t> codes; // that its failure may end a call with
};

constexpr int32_t kHostError = 4242; // of the scripted host's insert services

const Service kServices[] = {
    {"QOB_malloc", {0, 12, 3000}},
    {"QOB_realloc", {0, 3000}},
    {"QOB_FileOpen", {0, 22, 23, 3000}},
    {"QOB_FileRead", {0, 3002}},  // a header of zero bytes has no field
    {"QOB_FileWrite", {0, 3000}}, // an HTML file lost in one block is missed in the next
    {"QOB_FileSeek", {0, 3002}},
    {"QOB_FileTell", {0, 12, 22, 3000}},
    {"QOB_FileTellSize", {0, 12, 3000}},
    {"QOB_FileClose", {0}},
    {"QOB_FindFile", {0}},
    {"QOB_ASC_tmpnam", {0, 22, 3000}},
    {"QOB_ASC_tmpnam1", {0}},
    {"QOB_ASC_remove", {0}},
    {"qob_logfopen", {0}},
    {"cconvInitConvert", {0}},
    {"cconvChgCharset", {0}},
    {"cconvConvert", {0}},
    {"QOB_WriteStream", {0}},
    {"insert", {0, kHostError}},
};

TEST_P(SessionFaults, EndWithACodeAndNothingLeft) {
    for (const bool toStream : {false, true}) {
        for (const Service &service : kServices) {
            for (const auto failure :
                 {ScriptedHost::Failure::kOnce, ScriptedHost::Failure::kFromThere}) {
                bool failed = true;
                for (int n = 1; failed; ++n) {
                    ASSERT_LT(n, 2000);
                    SCOPED_TRACE(std::string(toStream ? "stream, " : "file, ") + service.name +
                                 " " + std::to_string(n) +
                                 (failure == ScriptedHost::Failure::kOnce ? "" : " and later"));
                    const Outcome outcome =
                        callWithFault(GetParam(), toStream, service.name, n, failure);
                    failed = outcome.failed;
                    EXPECT_EQ(service.codes.count(failed ? outcome.code : 0), 1U) << outcome.code;
                    EXPECT_TRUE(failed || outcome.code == EML_OK);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Messages, SessionFaults, testing::ValuesIn(kMessages),
                         [](const auto &row) { return row.param.name; });

// The driver's own five buffers and the blocks of the body are never done without.
TEST(SessionMemory, EveryBufferOfTheDriverIsNeeded) {
    for (const bool toStream : {false, true}) {
        int failures = 0;
        Outcome outcome = {};
        outcome.failed = true;
        for (int n = 1; outcome.failed; ++n) {
            outcome = callWithFault(kMessages[0], toStream, "QOB_malloc", n,
                                    ScriptedHost::Failure::kFromThere);
            failures += outcome.code == EML_ERR_MEMORY ? 1 : 0;
        }
        EXPECT_GE(failures, 5);
    }
}

} // namespace
