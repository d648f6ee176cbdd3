// SPDX-License-Identifier: MIT
// Every message below tests/messages gives the text that stands beside it: through the command, and
// through each entry point of the library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "message_files.h"
#include "qob_conf_language.h"
#include "qob_extract.h"
#include "tool/process.h"

namespace fs = std::filesystem;

namespace {

using tool_test::Finished;
using tool_test::Tool;

std::string testName(const testing::TestParamInfo<fs::path> &info) {
    std::string name = fs::relative(info.param, QOB_MESSAGES).replace_extension("").string();
    for (char &c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

// Parameters that ask for what the command's arguments ask for.
HostParams paramsFor(const MessageFile &message) {
    HostParams params = {};
    std::strcpy(params.outputName, "UTF-8");
    params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;
    const std::vector<std::string> &arguments = message.arguments;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string value = i + 1 < arguments.size() ? arguments[i + 1] : "";
        if (arguments[i] == "--language") {
            std::strcpy(params.language, value.c_str());
        } else if (arguments[i] == "--charset") {
            std::strcpy(params.outputName, value.c_str());
        } else if (arguments[i] == "--newline") {
            params.options |= value == "crlf" ? EML_OPT_NEWLINE_2 : EML_OPT_NEWLINE_1;
        } else if (arguments[i] == "--max-output") {
            params.options |= EML_OPT_LIMIT_OUTPUT;
            params.outputLimit = std::stoull(value);
        } else if (arguments[i] == "--no-labels") {
            params.flags |= EML_FLAG_NO_LABELS;
        } else if (arguments[i] == "--no-attachments") {
            params.flags |= EML_FLAG_NO_HANDOVER;
        }
    }
    return params;
}

class Message : public Tool, public testing::WithParamInterface<fs::path> {
protected:
    Message() { filters_.clear(); }
    ~Message() override { qob_conf_set_language(nullptr); }

    // A mismatch is saved in the build folder, so that it can be looked at beside the message.
    void expectText(const std::string &text, const char *way) const {
        if (text != message_.text) {
            const fs::path saved =
                fs::path(QOB_SCRATCH) / (message_.path.stem().string() + "." + way);
            std::ofstream(saved, std::ios::binary) << text;
            ADD_FAILURE() << "the text is saved in " << saved;
        }
        EXPECT_EQ(text, message_.text);
    }

    const MessageFile message_ = messageFile(GetParam());
};

TEST_P(Message, GivesItsText) {
    std::vector<std::string> arguments = message_.arguments;
    arguments.push_back(message_.path.string());
    const Finished result = run(arguments);
    EXPECT_EQ(result.status, message_.status) << result.err;
    expectText(result.out, "stdout");
}

TEST_P(Message, GivesTheSameTextThroughTheFileEntryPoint) {
    const HostParams params = paramsFor(message_);
    qob_conf_set_language(params.language); // as the host's own call does
    const std::string output = path("text");
    const int32_t code =
        GetTextWithErrCallback(message_.path.c_str(), output.c_str(), &params, nullptr, nullptr);
    EXPECT_EQ(code == EML_OK, message_.status == 0) << "code " << code;
    if (code == EML_OK || code == EML_ERR_LIMIT) {
        expectText(tool_test::contentOf(output), "file");
    } else {
        EXPECT_FALSE(fs::exists(output)) << "a failed extraction leaves no file";
    }
}

TEST_P(Message, GivesTheSameTextThroughTheStreamEntryPoint) {
    const HostParams params = paramsFor(message_);
    qob_conf_set_language(params.language);
    std::string text;
    const QobSink sink = {[](void *context, const void *data, uint32_t length) {
                              static_cast<std::string *>(context)->append(
                                  static_cast<const char *>(data), length);
                              return int32_t{1};
                          },
                          &text};
    QobStream *stream = qob_stream_open(&sink, &params);
    ASSERT_NE(stream, nullptr);
    const int32_t code =
        GetTextStreamWithErrCallback(message_.path.c_str(), stream, &params, nullptr, nullptr);
    qob_stream_close(stream);
    // The stream entry point does not report that the limit was reached.
    const bool limited = (params.options & EML_OPT_LIMIT_OUTPUT) != 0;
    EXPECT_EQ(code == EML_OK, message_.status == 0 || limited) << "code " << code;
    expectText(text, "stream");
}

INSTANTIATE_TEST_SUITE_P(, Message, testing::ValuesIn(messagesBelow(QOB_MESSAGES)), testName);

TEST(Messages, AreThere) {
    EXPECT_GE(messagesBelow(QOB_MESSAGES).size(), 50U);
}

} // namespace
