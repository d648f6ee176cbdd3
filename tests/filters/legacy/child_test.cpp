// SPDX-License-Identifier: MIT
// Running a program: what it is given, what comes back, how it can end.
#include "child.h"

#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "program_fixture.h"

namespace qob::tests {
namespace {

using filters::ChildEnd;
using filters::ChildRequest;
using filters::ChildResult;
using filters::runChild;

class Child : public ProgramTest {
protected:
    // Runs a script to its end and keeps its output.
    ChildResult runScript(std::string_view script) {
        return run(ChildRequest{addProgram("program", script), {}, {}});
    }

    ChildResult run(const ChildRequest &request) {
        output_.clear();
        return runChild(request, [this](std::string_view piece) {
            output_ += piece;
            return true;
        });
    }

    void expectNoChildren() {
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }

    std::string output_;
};

TEST_F(Child, OutputAndStatusComeBack) {
    const ChildResult good = runScript("echo text");
    EXPECT_EQ(good.end, ChildEnd::kExited);
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(output_, "text\n");
    const ChildResult bad = runScript("echo some; exit 3");
    EXPECT_EQ(bad.end, ChildEnd::kExited);
    EXPECT_EQ(bad.status, 3);
    EXPECT_EQ(output_, "some\n");
    expectNoChildren();
}

TEST_F(Child, LargeOutputComesInFull) {
    EXPECT_EQ(runScript("head -c 5000000 /dev/zero").end, ChildEnd::kExited);
    EXPECT_EQ(output_.size(), 5000000U);
}

TEST_F(Child, ArgumentsReachTheProgramAsTheyAre) {
    run(ChildRequest{"/bin/echo", {"$(id)", "; ls *", "-x", ""}, {}});
    EXPECT_EQ(output_, "$(id) ; ls * -x \n");
}

TEST_F(Child, InputIsAFileOrNothing) {
    run(ChildRequest{"/bin/cat", {}, {}});
    EXPECT_EQ(output_, "");
    std::ofstream(inputPath()) << "input";
    run(ChildRequest{"/bin/cat", {}, inputPath()});
    EXPECT_EQ(output_, "input");
    EXPECT_EQ(run(ChildRequest{"/bin/cat", {}, "/nonexistent"}).end, ChildEnd::kFailed);
}

TEST_F(Child, EnvironmentIsItsOwn) {
    setenv("QOB_TEST_SECRET", "1", 1);
    run(ChildRequest{"/usr/bin/env", {}, {}});
    unsetenv("QOB_TEST_SECRET");
    EXPECT_EQ(output_, "LANG=C.UTF-8\nPATH=/usr/bin:/bin\nHOME=/nonexistent\n");
}

TEST_F(Child, DescriptorsOfTheCallerAreClosed) {
    const int leaked = dup2(STDERR_FILENO, 777);
    ASSERT_EQ(leaked, 777);
    // 3 is the directory that is being listed.
    run(ChildRequest{"/bin/ls", {"/proc/self/fd"}, {}});
    close(leaked);
    EXPECT_EQ(output_, "0\n1\n2\n3\n");
}

TEST_F(Child, RunsWhereTheCallerHasNoStandardDescriptors) {
    const int input = dup(STDIN_FILENO);
    const int errors = dup(STDERR_FILENO);
    close(STDIN_FILENO);
    close(STDERR_FILENO);
    const ChildResult result = runScript("echo text; echo error >&2; cat");
    dup2(input, STDIN_FILENO);
    dup2(errors, STDERR_FILENO);
    close(input);
    close(errors);
    EXPECT_EQ(result.end, ChildEnd::kExited);
    EXPECT_EQ(output_, "text\n");
}

TEST_F(Child, ErrorOutputIsDropped) {
    testing::internal::CaptureStderr();
    runScript("echo noise >&2");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(output_, "");
}

TEST_F(Child, SignalsAreThoseOfANewProgram) {
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const ChildResult result = runScript("kill -PIPE $$; echo survived");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::signal(SIGPIPE, handler);
    EXPECT_EQ(result.end, ChildEnd::kCrashed);
    EXPECT_EQ(result.status, SIGPIPE);
    EXPECT_EQ(output_, "");
}

TEST_F(Child, CrashIsTold) {
    const ChildResult result = runScript("echo before; kill -SEGV $$");
    EXPECT_EQ(result.end, ChildEnd::kCrashed);
    EXPECT_EQ(result.status, SIGSEGV);
    EXPECT_EQ(output_, "before\n");
    EXPECT_EQ(filters::describe(result, "x"), "the program x was ended by signal 11");
}

TEST_F(Child, MissingProgramIsTold) {
    EXPECT_EQ(run(ChildRequest{"/nonexistent/program", {}, {}}).end, ChildEnd::kMissing);
    EXPECT_EQ(run(ChildRequest{"/etc/passwd", {}, {}}).end, ChildEnd::kMissing);
    EXPECT_EQ(filters::describe({ChildEnd::kMissing, ENOENT}, "x"),
              "the program x is missing or may not be run");
    expectNoChildren();
}

TEST_F(Child, WhatIsNoProgramCannotBeStarted) {
    const std::string path = addProgram("empty", "");
    std::ofstream(path) << "no program";
    EXPECT_EQ(run(ChildRequest{path, {}, {}}).end, ChildEnd::kFailed);
}

TEST_F(Child, ProgramsAreFoundInTheDirectoryThatIsNamedOnly) {
    const std::string path = addProgram("antiword", "");
    EXPECT_EQ(filters::findProgram("antiword"), path);
    EXPECT_EQ(filters::findProgram("cat"), "");
    unsetenv("QOB_HELPER_DIR");
    EXPECT_THAT(filters::findProgram("cat"), testing::AnyOf("/usr/bin/cat", "/bin/cat"));
    EXPECT_EQ(filters::findProgram("no-such-program"), "");
}

TEST_F(Child, CallerThatIgnoresItsChildrenGetsTheOutput) {
    const auto handler = std::signal(SIGCHLD, SIG_IGN);
    const ChildResult result = runScript("echo text");
    std::signal(SIGCHLD, handler);
    EXPECT_EQ(result.end, ChildEnd::kExited);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(output_, "text\n");
}

TEST_F(Child, ThreadsRunChildrenOfTheirOwn) {
    const std::string program = addProgram("program", "echo $1; exit $1");
    std::vector<std::thread> threads;
    for (int number = 1; number <= 4; ++number) {
        threads.emplace_back([&program, number] {
            for (int round = 0; round < 10; ++round) {
                std::string text;
                const ChildResult result =
                    runChild(ChildRequest{program, {std::to_string(number)}, {}},
                             [&text](std::string_view piece) {
                                 text += piece;
                                 return true;
                             });
                EXPECT_EQ(result.status, number);
                EXPECT_EQ(text, std::to_string(number) + "\n");
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    expectNoChildren();
}

} // namespace
} // namespace qob::tests
