// SPDX-License-Identifier: MIT
// Running a program that does not behave: each of them ends, with everything that it started.
#include "child.h"

#include <gmock/gmock.h>

#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "program_fixture.h"

namespace qob::tests {
namespace {

using filters::ChildEnd;
using filters::ChildRequest;
using filters::ChildResult;
using filters::runChild;

class ChildLimits : public ProgramTest {
protected:
    ChildResult runScript(std::string_view script, uint32_t milliseconds) {
        ChildRequest request{addProgram("program", script), {}, {}};
        request.maxMilliseconds = milliseconds;
        const auto start = std::chrono::steady_clock::now();
        const ChildResult result = runChild(request, [this](std::string_view piece) {
            output_ += piece;
            return true;
        });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        return result;
    }

    // The number that a script wrote is that of no process any more.
    void expectGone(const std::string &number) {
        const pid_t process = std::stoi(number);
        for (int i = 0; i < 100 && kill(process, 0) == 0; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        EXPECT_EQ(kill(process, 0), -1) << number;
    }

    void expectNoChildren() { EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); }

    std::string output_;
};

TEST_F(ChildLimits, HangingProgramIsKilled) {
    const ChildResult result = runScript("trap '' TERM INT; echo $$; sleep 1000; sleep 1000", 300);
    EXPECT_EQ(result.end, ChildEnd::kTimedOut);
    expectGone(output_);
    expectNoChildren();
    EXPECT_EQ(filters::describe(result, "x"), "the program x took too long and was stopped");
}

TEST_F(ChildLimits, ProgramThatClosesItsOutputAndHangsIsKilled) {
    EXPECT_EQ(runScript("echo $$; exec >&-; sleep 1000", 300).end, ChildEnd::kTimedOut);
    expectGone(output_);
}

TEST_F(ChildLimits, ProgramThatNeverStopsWritingIsKilled) {
    EXPECT_EQ(runScript("while :; do echo text; done", 300).end, ChildEnd::kTimedOut);
    EXPECT_THAT(output_, testing::StartsWith("text\n"));
}

TEST_F(ChildLimits, WhatTheProgramLeavesRunningIsKilled) {
    const ChildResult result = runScript("sleep 1000 & echo $!", 10000);
    EXPECT_EQ(result.end, ChildEnd::kExited);
    EXPECT_EQ(result.status, 0);
    expectGone(output_);
}

TEST_F(ChildLimits, OutputThatIsNotWantedStopsTheProgram) {
    std::size_t taken = 0;
    const ChildResult result =
        runChild(ChildRequest{addProgram("program", "while :; do echo text; done"), {}, {}},
                 [&taken](std::string_view piece) {
                     taken += piece.size();
                     return taken < 200000;
                 });
    EXPECT_EQ(result.end, ChildEnd::kStopped);
    EXPECT_LT(taken, 200000U + 65536U);
    expectNoChildren();
}

TEST_F(ChildLimits, ThrowingTakerLeavesNoChild) {
    const ChildRequest request{addProgram("program", "echo text; sleep 1000"), {}, {}};
    EXPECT_THROW(
        runChild(request, [](std::string_view) -> bool { throw std::runtime_error("full"); }),
        std::runtime_error);
    expectNoChildren();
}

TEST_F(ChildLimits, MemoryProcessorFilesAndCoresAreLimited) {
    runScript("ulimit -v; ulimit -t; ulimit -f; ulimit -c", 5000);
    EXPECT_EQ(output_, "524288\n6\n131072\n0\n"); // KiB, seconds, blocks of 512 bytes
}

TEST_F(ChildLimits, MemoryBeyondTheLimitIsNotToBeHad) {
    ChildRequest request{"/bin/sh", {"-c", "head -c 200000000 /dev/zero | tail; echo $?"}, {}};
    request.maxMemory = uint64_t{100} << 20;
    std::string text;
    runChild(request, [&text](std::string_view piece) {
        text += piece;
        return true;
    });
    EXPECT_EQ(text, "1\n");
}

} // namespace
} // namespace qob::tests
