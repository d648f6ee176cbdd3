// SPDX-License-Identifier: MIT
// What a worker in the sandbox can reach, and what it still can do.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include <gmock/gmock.h>

#include "qob_extract.h"
#include "worker/sandbox.h"
#include "worker_support.h"

namespace {

using namespace tool_test;
using emltext::Job;
using emltext::Options;
using emltext::WorkerPool;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

class SandboxedWorkers : public Workers {
protected:
    void SetUp() override {
        Workers::SetUp();
        options_.sandbox = Options::Sandbox::kRequired;
        if (const std::string reason = emltext::whyNoSandbox(); !reason.empty()) {
            GTEST_SKIP() << "no sandbox here: " << reason;
        }
    }

    std::string textAfter(const std::string &order) {
        const auto all = runMessages({order + "\n"});
        EXPECT_EQ(all[0].outcome.code, EML_OK) << reasonOf(all[0]);
        return textOf(all[0]);
    }
};

TEST_F(SandboxedWorkers, ReadTheirMessage) {
    EXPECT_EQ(textAfter("text"), "text\n");
}

TEST_F(SandboxedWorkers, ReadAMessageOfAnMbox) {
    Job job;
    job.path = file("mail", "From a\n>From x\n");
    job.index = 1;
    job.offset = 7;
    job.length = 8;
    WorkerPool pool(options_);
    EXPECT_EQ(textOf(runAll(pool, {job})[0]), "From x\n");
}

TEST_F(SandboxedWorkers, CannotOpenASocket) {
    EXPECT_EQ(textAfter("socket"), "socket: Permission denied\n");
}

TEST_F(SandboxedWorkers, CannotReadOtherFiles) {
    const std::string secret = file("secret", "secret");
    EXPECT_EQ(textAfter("read " + secret), "read: Permission denied\n");
    EXPECT_EQ(textAfter("read /etc/passwd"), "read: Permission denied\n");
}

TEST_F(SandboxedWorkers, CannotReadTheirMessageByItsPath) {
    const std::string own = file("own.eml", "");
    Job job;
    job.path = file("own.eml", "read " + own + "\n");
    WorkerPool pool(options_);
    EXPECT_EQ(textOf(runAll(pool, {job})[0]), "read: Permission denied\n");
}

TEST_F(SandboxedWorkers, CannotWriteElsewhere) {
    EXPECT_EQ(textAfter("write " + path("new")), "write: Permission denied\n");
    EXPECT_FALSE(fs::exists(path("new")));
    EXPECT_EQ(textAfter("write " + file("old", "old")), "write: Permission denied\n");
    EXPECT_EQ(textAfter("write /dev/shm/emltext-test"), "write: Permission denied\n");
}

TEST_F(SandboxedWorkers, CannotChangePermissionsElsewhere) {
    EXPECT_EQ(textAfter("chmod " + file("old", "old")), "chmod: Operation not permitted\n");
}

TEST_F(SandboxedWorkers, CannotReachThePoolsOtherFiles) {
    options_.jobs = 1;
    WorkerPool pool(options_);
    const std::string spooled = pool.spoolDirectory() + "/other";
    std::ofstream(spooled) << "text";
    const auto all = runAll(pool, {message("read " + spooled + "\n")});
    EXPECT_EQ(textOf(all[0]), "read: Permission denied\n");
}

TEST_F(SandboxedWorkers, WriteTemporaryFiles) {
    EXPECT_EQ(textAfter("litter\nrun ls $TMPDIR | grep litter"), "run: litter\n=0\n");
}

TEST_F(SandboxedWorkers, LoadLibraries) {
    EXPECT_EQ(textAfter("load libxml2.so.2"), "load: done\n");
}

TEST_F(SandboxedWorkers, RunPrograms) {
    EXPECT_EQ(textAfter("run echo hello"), "run: hello\n=0\n");
}

TEST_F(SandboxedWorkers, KeepTheirProgramsInside) {
    const std::string secret = file("secret", "secret");
    EXPECT_THAT(textAfter("run cat " + secret + " 2>&1"), HasSubstr("Permission denied"));
}

TEST_F(SandboxedWorkers, CannotSignalTheCommand) {
    const auto ignored = std::signal(SIGUSR1, SIG_IGN);
    const std::string text = textAfter("signal " + std::to_string(getpid()));
    static_cast<void>(std::signal(SIGUSR1, ignored));
    // Kernels before 6.12 cannot keep it from that.
    EXPECT_THAT(text, ::testing::AnyOf("signal: Operation not permitted\n", "signal: done\n"));
    EXPECT_EQ(textAfter("signal -1"), "signal: Operation not permitted\n");
}

TEST_F(SandboxedWorkers, AreReplacedInsideTheSandbox) {
    const auto all = runMessages({"exit 1\n", "socket\n", "socket\n"});
    EXPECT_EQ(textOf(all[1]), "socket: Permission denied\n");
    EXPECT_EQ(textOf(all[2]), "socket: Permission denied\n");
}

TEST_F(Workers, OutsideTheSandboxCanDoAllThat) {
    const auto all = runMessages({"socket\n", "read " + file("secret", "x") + "\n"});
    EXPECT_EQ(textOf(all[0]), "socket: done\n");
    EXPECT_EQ(textOf(all[1]), "read: done\n");
}

} // namespace
