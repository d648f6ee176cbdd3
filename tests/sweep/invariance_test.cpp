// SPDX-License-Identifier: MIT
// One message in many shapes gives one text: with LF, CR LF or CR, behind a longer header, at any
// place in a block, through either entry point. Where the rules say otherwise the table says which
// rule, and a row that is not needed any more fails.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "message_run.h"
#include "shifted_message.h"

namespace {

namespace fs = std::filesystem;

std::string replaceAll(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// A message file of the project as one of these messages, with LF.
SweptMessage messageFromFile(const fs::path &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    std::string name = fs::relative(path, QOB_MESSAGES).replace_extension("").string();
    for (char &c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return {.name = "File_" + name,
            .text = replaceAll(replaceAll(text.str(), "\r\n", "\n"), "\r", "\n")};
}

std::vector<SweptMessage> allMessages() {
    std::vector<SweptMessage> messages = sweptMessages();
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(QOB_MESSAGES)) {
        if (entry.path().extension() == ".eml") {
            messages.push_back(messageFromFile(entry.path()));
        }
    }
    return messages;
}

struct Exception {
    const char *message;
    const char *reason;
};

const Exception *exceptionFor(const SweptMessage &message, const std::vector<Exception> &table) {
    for (const Exception &row : table) {
        if (message.name == row.message) {
            return &row;
        }
    }
    return nullptr;
}

class Invariance : public testing::TestWithParam<SweptMessage> {
protected:
    static MessageRun extracted(SweptMessage message, const std::string &text,
                                Mode mode = Mode::kFile) {
        message.text = text;
        return runMessage(message, mode);
    }
};

const char *const kHeaderReason =
    "a header that does not end within the first block ends there: what is left is body, and "
    "begins at another place when bytes are added";

// ---- line ends ----

const char *const kLongLineReason =
    "a walker keeps lines of up to 77 bytes whole at a block end; a longer one is cut there and "
    "comes as two lines, at another place when line ends are longer";

const std::vector<Exception> kLineEndExceptions = {
    {"AttachmentOfTwoBlocks", kLongLineReason},
    {"DigestOfTwoBlocks", kLongLineReason},
    {"MixedOfTwoBlocks", kLongLineReason},
    {"HeaderLongerThanABlock", kHeaderReason},
};

TEST_P(Invariance, LineEndsOfTheMessageDoNotShowInTheText) {
    const SweptMessage &message = GetParam();
    const Exception *exception = exceptionFor(message, kLineEndExceptions);
    const MessageRun expected = runMessage(message, Mode::kFile);
    bool differs = false;
    for (const char *lineEnd : {"\r\n", "\r"}) {
        const MessageRun run = extracted(message, replaceAll(message.text, "\n", lineEnd));
        differs = differs || run.code != expected.code || run.output != expected.output;
        if (exception == nullptr) {
            EXPECT_EQ(run.code, expected.code);
            EXPECT_EQ(run.output, expected.output) << testing::PrintToString(lineEnd);
        }
    }
    EXPECT_EQ(differs, exception != nullptr);
}

// ---- a longer header ----

const std::vector<Exception> kLongHeaderExceptions = {
    {"HeaderLongerThanABlock", kHeaderReason},
};

TEST_P(Invariance, AHeaderFieldInFrontChangesNothing) {
    const SweptMessage &message = GetParam();
    const Exception *exception = exceptionFor(message, kLongHeaderExceptions);
    const MessageRun expected = runMessage(message, Mode::kFile);
    bool differs = false;
    for (size_t bytes = 0; bytes <= 200; ++bytes) {
        const MessageRun run =
            extracted(message, "X-Pad:" + std::string(bytes, 'p') + "\n" + message.text);
        differs = differs || run.code != expected.code || run.output != expected.output;
        if (exception == nullptr) {
            ASSERT_EQ(run.output, expected.output) << bytes << " bytes";
            ASSERT_EQ(run.code, expected.code) << bytes << " bytes";
        }
    }
    EXPECT_EQ(differs, exception != nullptr);
}

// ---- both entry points ----

struct ModeException {
    Exception exception;
    bool sameText;
    int32_t fileCode;
    int32_t streamCode;
};

const char *const kLimitReason = "only the file entry point reports that the limit was reached";
const char *const kDeletedReason = "a failed call deletes the output file; a stream keeps its text";
const char *const kUntypedReason =
    "an encoded body of no known type is decoded into the output file, which a stream has not got";

const ModeException kModeExceptions[] = {
    {{"LimitInTheHeader", kLimitReason}, true, EML_ERR_LIMIT, EML_OK},
    {{"LimitInTheBody", kLimitReason}, true, EML_ERR_LIMIT, EML_OK},
    {{"AttachmentsOverTheLimit", kLimitReason}, true, EML_ERR_LIMIT, EML_OK},
    {{"NoKnownField", kDeletedReason}, false, EML_ERR_FORMAT, EML_ERR_FORMAT},
    {{"File_headers_no_known_field", kDeletedReason}, false, EML_ERR_FORMAT, EML_ERR_FORMAT},
    {{"UntypedBase64", kUntypedReason}, false, EML_OK, EML_OK},
    {{"UntypedQuotedPrintable", kUntypedReason}, false, EML_OK, EML_OK},
};

TEST_P(Invariance, BothEntryPointsGiveTheSameText) {
    const SweptMessage &message = GetParam();
    const MessageRun file = runMessage(message, Mode::kFile);
    const MessageRun stream = runMessage(message, Mode::kStream);
    ModeException expected = {{}, true, file.code, file.code};
    for (const ModeException &row : kModeExceptions) {
        if (message.name == row.exception.message) {
            expected = row;
        }
    }
    EXPECT_EQ(file.code, expected.fileCode);
    EXPECT_EQ(stream.code, expected.streamCode);
    EXPECT_EQ(file.output == stream.output, expected.sameText)
        << file.output.value_or("(none)") << "\n----\n"
        << stream.output.value_or("(none)");
}

INSTANTIATE_TEST_SUITE_P(, Invariance, testing::ValuesIn(allMessages()),
                         [](const auto &row) { return row.param.name; });

} // namespace
