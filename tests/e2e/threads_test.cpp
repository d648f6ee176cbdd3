// SPDX-License-Identifier: MIT
// Ten threads that extract at once through the real libraries get what one thread gets.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "real_extraction.h"

namespace {

constexpr int kThreads = 10;
constexpr int kRounds = 3;

// All messages with their text as one thread alone gets it.
struct Expected {
    std::vector<MessageFile> messages;
    std::vector<RealExtraction> extractions;
};

Expected extractAlone() {
    Expected expected;
    for (const auto &path : messagesBelow(QOB_MESSAGES)) {
        expected.messages.push_back(messageFile(path));
        expected.extractions.push_back(extractReally(path, expected.messages.back()));
    }
    return expected;
}

// Extracts every message, beginning with another one in each thread. Counts what differs.
void extractAll(const Expected &expected, size_t first, std::atomic<int> &runs,
                std::atomic<int> &different) {
    const size_t count = expected.messages.size();
    for (size_t i = 0; i < kRounds * count; ++i) {
        const size_t at = (first + i) % count;
        const MessageFile &message = expected.messages[at];
        different += extractReally(message.path, message) == expected.extractions[at] ? 0 : 1;
        ++runs;
    }
}

TEST(Threads, ThatExtractAtOnceAgreeWithOne) {
    const Expected expected = extractAlone();
    ASSERT_GE(expected.messages.size(), 50U);
    for (size_t i = 0; i < expected.messages.size(); ++i) {
        EXPECT_EQ(expected.extractions[i].text, expected.messages[i].text)
            << expected.messages[i].path;
    }
    std::atomic<int> runs = 0;
    std::atomic<int> different = 0;
    std::vector<std::thread> threads;
    for (size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back(
            [&expected, t, &runs, &different] { extractAll(expected, t * 7, runs, different); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(different, 0);
    EXPECT_EQ(runs, kThreads * kRounds * static_cast<int>(expected.messages.size()));
}

// Half of the threads on messages in messages, the deepest use of what a thread keeps for itself.
TEST(Threads, ThatNestExtractionsDoNotMixThemUp) {
    std::vector<MessageFile> nesting;
    for (const char *name : {"mixed/message_in_message_in_message", "digest/two_entries"}) {
        nesting.push_back(messageFile(std::string(QOB_MESSAGES) + "/" + name + ".eml"));
    }
    std::atomic<int> different = 0;
    std::vector<std::thread> threads;
    for (size_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&message = nesting[t % 2], &different] {
            for (int i = 0; i < 30; ++i) {
                different += extractReally(message.path, message).text == message.text ? 0 : 1;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(different, 0);
}

} // namespace
