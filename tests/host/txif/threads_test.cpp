// SPDX-License-Identifier: MIT
// Threads extract at once and share nothing.
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace txif_test;

struct Job {
    std::string path;
    std::string language;
    std::string text; // expected
};

class Threads : public ScriptedFilters {
protected:
    // A message with a message that leaves a file behind, inserts a text file, and fails.
    Job job(const std::string &number) const {
        const std::string leaf = file("leaf" + number, "leaf " + number + "\nlanguage\n");
        const std::string inner =
            message("inner" + number + ".eml", "litter\ninsert " + leaf + "\nfail 3000\n");
        const std::string header = kHeaderText;
        return {message("m" + number + ".eml", "insert " + inner + "\nafter\n"), number,
                header + header + "leaf " + number + "\nlanguage=" + number + "\nafter\n"};
    }

    bool comesOutRight(const Job &job) const {
        QobExtractOptions options = defaultOptions();
        options.language = job.language.c_str();
        const Outcome outcome = extract(job.path, options);
        return outcome.code == EML_OK && outcome.text == job.text &&
               outcome.noticeSummary() == std::vector<std::string>{"3000@1"};
    }
};

TEST_F(Threads, EachGetTheTextOfTheirOwnMessage) {
    constexpr std::size_t kThreads = 8;
    constexpr int kRounds = 25;
    std::vector<Job> jobs;
    for (std::size_t i = 0; i < kThreads; ++i) {
        jobs.push_back(job(std::to_string(i)));
    }
    std::vector<int> right(kThreads, 0);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([this, &one = jobs[i], &count = right[i]] {
            for (int round = 0; round < kRounds; ++round) {
                count += comesOutRight(one) ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, std::vector<int>(kThreads, kRounds));
}

} // namespace
