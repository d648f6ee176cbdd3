// SPDX-License-Identifier: MIT
// Every message of the project, written anew with LF, CR LF and CR, and behind a longer header,
// gives its text through the real libraries.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "real_extraction.h"

namespace fs = std::filesystem;

namespace {

std::string replaceAll(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// The message's bytes with LF.
std::string withLf(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    return replaceAll(replaceAll(bytes, "\r\n", "\n"), "\r", "\n");
}

// Extracts `bytes` as the message would be.
std::string textOf(const std::string &bytes, const MessageFile &message) {
    // Both tests may run at once.
    const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    const fs::path path = fs::path(QOB_SCRATCH) / (test + ".eml");
    std::ofstream(path, std::ios::binary) << bytes;
    std::string text = extractReally(path, message).text;
    fs::remove(path);
    return text;
}

TEST(MessageShape, LineEndsDoNotShowInTheText) {
    for (const fs::path &path : messagesBelow(QOB_MESSAGES)) {
        const MessageFile message = messageFile(path);
        const std::string bytes = withLf(path);
        for (const char *lineEnd : {"\n", "\r\n", "\r"}) {
            EXPECT_EQ(textOf(replaceAll(bytes, "\n", lineEnd), message), message.text)
                << path << ' ' << testing::PrintToString(lineEnd);
        }
    }
}

TEST(MessageShape, ALongerHeaderDoesNotShowInTheText) {
    for (const fs::path &path : messagesBelow(QOB_MESSAGES)) {
        const MessageFile message = messageFile(path);
        const std::string bytes = withLf(path);
        for (const size_t length : {0U, 1U, 61U, 200U}) {
            EXPECT_EQ(textOf("X-Pad:" + std::string(length, 'p') + "\n" + bytes, message),
                      message.text)
                << path << ", " << length << " bytes";
        }
    }
}

} // namespace
