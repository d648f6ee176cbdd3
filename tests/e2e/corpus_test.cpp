// SPDX-License-Identifier: MIT
// Real messages, where somebody has them: QOB_CORPUS names a folder. What they should give is not
// recorded; each must end with a result code and leave nothing behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "message_files.h"
#include "tool/process.h"

namespace {

class Corpus : public tool_test::Tool {
protected:
    Corpus() { filters_.clear(); }
};

TEST_F(Corpus, EveryMessageEndsWithAResultAndLeavesNothingBehind) {
    const char *folder = std::getenv("QOB_CORPUS");
    if (folder == nullptr || !std::filesystem::is_directory(folder)) {
        GTEST_SKIP() << "QOB_CORPUS names no folder of messages";
    }
    const auto messages = messagesBelow(folder);
    ASSERT_FALSE(messages.empty());
    for (const auto &message : messages) {
        const tool_test::Finished result = run({message.string()});
        EXPECT_THAT(result.status, testing::AnyOf(0, 1)) << message << '\n' << result.err;
        EXPECT_THAT(result.err, testing::Not(testing::HasSubstr("Sanitizer"))) << message;
    }
}

} // namespace
