// SPDX-License-Identifier: MIT
// A pool of workers with the hostile filter, and messages for it.
#pragma once

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "worker/worker_pool.h"

namespace tool_test {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// A directory of the test's own; TMPDIR of its pools is a directory in it that must be empty at the
// end of the test.
class Workers : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::string path(const std::string &name) const { return root_ + "/" + name; }
    std::string temporary() const { return root_ + "/temporary"; }
    // Writes a file and returns its path.
    std::string file(const std::string &name, const std::string &content) const;
    // A job for a message with this content.
    emltext::Job message(const std::string &content);

    // Runs the jobs through a pool, at most options_.jobs at a time; outcomes in the order of jobs.
    std::vector<emltext::Finished> runAll(emltext::WorkerPool &pool,
                                          const std::vector<emltext::Job> &jobs);
    // The same through a pool of its own, for messages with these contents.
    std::vector<emltext::Finished> runMessages(const std::vector<std::string> &contents);

    // The text of a finished job; "(none)" when its file is not there.
    static std::string textOf(const emltext::Finished &finished);

    emltext::Options options_;

private:
    std::string root_;
    uint64_t count_ = 0;
};

// The reason of the last note.
std::string reasonOf(const emltext::Finished &finished);

bool isAlive(int pid);

// Whether that comes true within a few seconds.
template <typename Condition> bool soon(Condition condition) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace tool_test
