// SPDX-License-Identifier: MIT
// Ctrl-C and its relatives.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace std::chrono_literals;
using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::Not;

class Interrupt : public Tool {
protected:
    Interrupt() { filters_ = HOSTILE_FILTERS; }

    // Each takes 20 ms.
    void makeMail(int count) const {
        for (int i = 0; i < count; ++i) {
            file("mail/" + std::to_string(1000 + i) + ".eml",
                 "sleep 20\ntext " + std::to_string(i) + "\n");
        }
    }

    // Interrupts a run in its middle: once something was written to `watched`.
    Finished interrupted(const std::vector<std::string> &arguments, const std::string &watched,
                         int number = SIGINT) {
        const pid_t process = start(arguments);
        EXPECT_TRUE(waitForContent(watched));
        kill(process, number);
        return finish(process);
    }
};

TEST_F(Interrupt, FinishesWhatIsRunningAndBeginsNothingNew) {
    makeMail(200);
    const Finished result =
        interrupted({"-j", "2", "-o", path("out"), path("mail")}, path("out/1000.txt"));
    EXPECT_EQ(result.status, 130);
    EXPECT_THAT(result.err, HasSubstr("emltext: interrupted after "));
    const std::string tree = treeOf(path("out"));
    EXPECT_THAT(tree, Not(HasSubstr("~")));
    EXPECT_THAT(tree, HasSubstr("1000.txt: text 0\n"));
    EXPECT_THAT(tree, Not(HasSubstr("1199.txt")));
}

TEST_F(Interrupt, LeavesAStateThatIsResumed) {
    makeMail(100);
    const std::vector<std::string> arguments = {"--jsonl",     "-o", path("out"), "--resume",
                                                path("state"), "-j", "2",         path("mail")};
    EXPECT_EQ(interrupted(arguments, path("out")).status, 130);
    const std::string before = contentOf(path("out"));
    EXPECT_TRUE(before.ends_with("}\n"));
    EXPECT_EQ(run(arguments).status, 0);
    const std::string after = contentOf(path("out"));
    EXPECT_TRUE(after.starts_with(before));
    EXPECT_EQ(std::count(after.begin(), after.end(), '\n'), 100);
}

TEST_F(Interrupt, CompletesTheOutputFileWithWhatIsThere) {
    makeMail(100);
    const Finished result =
        interrupted({"-v", "--jsonl", "-j", "2", "-o", path("out"), path("mail")}, errorOutput());
    EXPECT_EQ(result.status, 130);
    const std::string out = contentOf(path("out"));
    EXPECT_TRUE(out.ends_with("}\n"));
    EXPECT_LT(std::count(out.begin(), out.end(), '\n'), 100);
}

TEST_F(Interrupt, OfTheOtherSignalsHasTheirStatus) {
    makeMail(100);
    EXPECT_EQ(interrupted({"-o", path("a"), path("mail")}, path("a/1000.txt"), SIGTERM).status,
              143);
    EXPECT_EQ(interrupted({"-o", path("b"), path("mail")}, path("b/1000.txt"), SIGHUP).status, 129);
}

TEST_F(Interrupt, ForTheSecondTimeEndsAtOnce) {
    file("mail/1.eml", "text\n");
    file("mail/2.eml", "hang\n");
    const pid_t process = start({"-j", "2", "-o", path("out"), path("mail")});
    ASSERT_TRUE(waitForContent(path("out/1.txt")));
    kill(process, SIGINT);
    std::this_thread::sleep_for(200ms);
    const auto begin = std::chrono::steady_clock::now();
    kill(process, SIGINT);
    EXPECT_EQ(finish(process).status, 130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s); // and not after the usual 60
    EXPECT_EQ(treeOf(path("out")), "1.txt: text\n\n");
}

TEST_F(Interrupt, WaitsForTheRunningMessage) {
    file("mail/1.eml", "text\n");
    file("mail/2.eml", "sleep 500\nslow\n");
    EXPECT_EQ(interrupted({"-j", "1", "-o", path("out"), path("mail")}, path("out/1.txt")).status,
              130);
    EXPECT_EQ(treeOf(path("out")), "1.txt: text\n\n2.txt: slow\n\n");
}

} // namespace
