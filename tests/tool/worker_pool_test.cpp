// SPDX-License-Identifier: MIT
// Workers and well-behaved messages: outcomes, texts, inputs of every kind, reuse.
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "qob_extract.h"
#include "worker_support.h"

namespace {

using namespace tool_test;
using emltext::Finished;
using emltext::Job;
using emltext::WorkerPool;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

std::size_t openDescriptors() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

bool hasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

TEST_F(Workers, GiveTheTextAndItsFigures) {
    const auto all = runMessages({"one\n", "twice\n"});
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(textOf(all[0]), "one\n");
    EXPECT_EQ(textOf(all[1]), "twice\n");
    EXPECT_EQ(all[1].outcome.code, EML_OK);
    EXPECT_EQ(all[1].outcome.bytesIn, 6U);
    EXPECT_EQ(all[1].outcome.bytesOut, 6U);
    EXPECT_FALSE(all[1].outcome.truncated);
    EXPECT_THAT(all[1].outcome.notes, IsEmpty());
}

TEST_F(Workers, AreReused) {
    const auto all = runMessages(std::vector<std::string>(20, "pid\n"));
    std::set<std::string> processes;
    for (const Finished &finished : all) {
        processes.insert(textOf(finished));
    }
    EXPECT_THAT(processes, SizeIs(::testing::Le(2U)));
    EXPECT_EQ(processes.count(std::to_string(getpid()) + "\n"), 0U);
}

TEST_F(Workers, WorkAtTheSameTime) {
    options_.jobs = 4;
    const auto begin = std::chrono::steady_clock::now();
    const auto all = runMessages(std::vector<std::string>(4, "sleep 500\ntext\n"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1600));
    EXPECT_EQ(textOf(all[3]), "text\n");
}

TEST_F(Workers, TellOfAMissingInput) {
    WorkerPool pool(options_);
    Job job;
    job.path = path("none.eml");
    const auto all = runAll(pool, {job});
    EXPECT_EQ(all[0].outcome.code, EML_ERR_INPUT);
    ASSERT_THAT(all[0].outcome.notes, SizeIs(1));
    EXPECT_EQ(all[0].outcome.notes[0].code, EML_ERR_INPUT);
    EXPECT_EQ(reasonOf(all[0]), "No such file or directory");
    EXPECT_EQ(textOf(all[0]), "(none)");
}

TEST_F(Workers, TellOfADirectoryInThePlaceOfAMessage) {
    WorkerPool pool(options_);
    Job job;
    job.path = temporary();
    const auto all = runAll(pool, {job});
    EXPECT_EQ(all[0].outcome.code, EML_ERR_INPUT);
    EXPECT_EQ(reasonOf(all[0]), "it is a directory");
}

TEST_F(Workers, TellOfATextFileThatCannotBeCreated) {
    WorkerPool pool(options_);
    pool.submit(message("text\n"), path("none/text"));
    const auto all = pool.wait(std::chrono::seconds(1));
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].outcome.code, EML_ERR_OUTPUT);
    EXPECT_EQ(reasonOf(all[0]), "No such file or directory");
}

TEST_F(Workers, DoNotWriteThroughASymbolicLink) {
    fs::create_symlink(file("target", "old"), path("link"));
    WorkerPool pool(options_);
    pool.submit(message("text\n"), path("link"));
    const auto all = pool.wait(std::chrono::seconds(1));
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].outcome.code, EML_ERR_OUTPUT);
    EXPECT_EQ(fs::file_size(path("target")), 3U);
}

TEST_F(Workers, TellWhyTheTextCouldNotBeWritten) {
    WorkerPool pool(options_);
    pool.submit(message("text\n"), "/dev/full");
    std::vector<Finished> all;
    while (all.empty()) {
        all = pool.wait(std::chrono::seconds(1));
    }
    EXPECT_EQ(all[0].outcome.code, QOB_ERR_WRITE);
    ASSERT_THAT(all[0].outcome.notes, SizeIs(1));
    EXPECT_EQ(reasonOf(all[0]), "No space left on device");
}

TEST_F(Workers, PassNotesOn) {
    const auto all = runMessages({"note 4004\ntext\n"});
    EXPECT_EQ(all[0].outcome.code, EML_OK);
    ASSERT_THAT(all[0].outcome.notes, SizeIs(1));
    EXPECT_EQ(all[0].outcome.notes[0].code, QOB_ERR_DAMAGED);
    EXPECT_EQ(all[0].outcome.notes[0].attachment, 0U);
    EXPECT_EQ(reasonOf(all[0]), "as ordered");
}

TEST_F(Workers, TellTheCodeOfAFailedMessageOnce) {
    const auto all = runMessages({"text\nfail 4004\n", "note 4004\nfail 4004\n"});
    for (const Finished &finished : all) {
        EXPECT_EQ(finished.outcome.code, QOB_ERR_DAMAGED);
        ASSERT_THAT(finished.outcome.notes, SizeIs(1));
        EXPECT_EQ(finished.outcome.notes[0].code, QOB_ERR_DAMAGED);
    }
    EXPECT_EQ(textOf(all[0]), "text\n");
}

TEST_F(Workers, KeepTheFirstThousandNotes) {
    const auto all = runMessages({"notes 1000\n", "notes 1001\n", "notes 100000\ntext\n"});
    EXPECT_THAT(all[0].outcome.notes, SizeIs(1000));
    EXPECT_EQ(reasonOf(all[0]), "as ordered");
    EXPECT_THAT(all[1].outcome.notes, SizeIs(1001));
    EXPECT_THAT(all[2].outcome.notes, SizeIs(1001));
    EXPECT_EQ(reasonOf(all[2]), "more notes are left out");
    EXPECT_EQ(textOf(all[2]), "text\n");
}

TEST_F(Workers, StopAtTheOutputLimit) {
    options_.maxOutput = 100000;
    const auto all = runMessages({"flood 100000\n", "flood 100000000\n"});
    EXPECT_EQ(all[0].outcome.code, EML_OK);
    EXPECT_FALSE(all[0].outcome.truncated);
    EXPECT_EQ(all[1].outcome.code, EML_ERR_LIMIT);
    EXPECT_TRUE(all[1].outcome.truncated);
    EXPECT_EQ(all[1].outcome.bytesOut, 100000U);
    EXPECT_EQ(textOf(all[1]), std::string(100000, 'x'));
}

TEST_F(Workers, ReadAMessageOfAnMboxWithoutItsQuoting) {
    Job job;
    job.path = file("mail", "From a\nfirst\n\nFrom b\n>From here\n>>From there\n\nFrom c\nlast\n");
    job.index = 2;
    job.offset = 21;
    job.length = 24;
    WorkerPool pool(options_);
    const auto all = runAll(pool, {job});
    EXPECT_EQ(textOf(all[0]), "From here\n>From there\n");
    EXPECT_EQ(all[0].outcome.bytesIn, 22U);
}

TEST_F(Workers, TellOfAnMboxThatBecameShorter) {
    Job job;
    job.path = file("mail", "From a\nfirst\n");
    job.index = 1;
    job.offset = 7;
    job.length = 1000;
    WorkerPool pool(options_);
    const auto all = runAll(pool, {job});
    EXPECT_EQ(all[0].outcome.code, EML_ERR_INPUT);
    EXPECT_EQ(reasonOf(all[0]), "the file became shorter while it was read");
}

TEST_F(Workers, WaitForANamedPipeAsLongAsItTakes) {
    options_.timeoutSeconds = 1;
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    Job job;
    job.path = path("pipe");
    const pid_t writer = fork();
    if (writer == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        const int pipe = open(path("pipe").c_str(), O_WRONLY);
        _exit(write(pipe, "text\n", 5) == 5 ? 0 : 1);
    }
    WorkerPool pool(options_);
    const auto all = runAll(pool, {job});
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(all[0].outcome.code, EML_OK);
    EXPECT_EQ(textOf(all[0]), "text\n");
    EXPECT_EQ(all[0].outcome.bytesIn, 5U);
    EXPECT_LT(all[0].outcome.milliseconds, 10000U);
}

TEST_F(Workers, ReadStandardInput) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(write(ends[1], "text\n", 5), 5);
    close(ends[1]);
    const int kept = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    Job job;
    job.path = "-";
    {
        WorkerPool pool(options_);
        const auto all = runAll(pool, {job});
        EXPECT_EQ(all[0].outcome.code, EML_OK);
        EXPECT_EQ(textOf(all[0]), "text\n");
    }
    dup2(kept, STDIN_FILENO);
    close(kept);
}

TEST_F(Workers, ReadATerminal) {
    int terminal = -1;
    const pid_t command = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (command == 0) {
        Job job;
        job.path = "-";
        auto pool = std::make_unique<WorkerPool>(options_);
        const int32_t code = runAll(*pool, {job})[0].outcome.code;
        pool.reset();
        _exit(code == EML_OK ? 0 : 1);
    }
    constexpr std::string_view kTyped = "typed\n\x04";
    ASSERT_EQ(write(terminal, kTyped.data(), kTyped.size()), static_cast<ssize_t>(kTyped.size()));
    int status = -1;
    EXPECT_EQ(waitpid(command, &status, 0), command);
    close(terminal);
    EXPECT_EQ(status, 0);
    std::ifstream text(path("text0"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(text), {}), "typed\n");
}

TEST_F(Workers, TellWhenNoProcessCanBeStarted) {
    WorkerPool pool(options_);
    const Job job = message("text\n");
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    pool.submit(job, "");
    setrlimit(RLIMIT_NOFILE, &limit);
    const auto all = pool.wait(std::chrono::seconds(1));
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].outcome.code, emltext::kWorkerLost);
    EXPECT_EQ(reasonOf(all[0]), "no process can be started: Too many open files");
}

TEST_F(Workers, DieIdleWithoutHarmToTheNextMessage) {
    options_.jobs = 1;
    WorkerPool pool(options_);
    const auto first = runAll(pool, {message("pid\n")});
    const int worker = std::stoi(textOf(first[0]));
    kill(worker, SIGKILL);
    EXPECT_TRUE(soon([&] {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(worker), &info, WEXITED | WNOWAIT) == 0;
    }));
    const auto second = runAll(pool, {message("text\n")});
    EXPECT_EQ(second[0].outcome.code, EML_OK);
    EXPECT_EQ(textOf(second[0]), "text\n");
}

TEST_F(Workers, FindNothingOfTheMessageBefore) {
    options_.jobs = 1;
    const auto all = runMessages({"litter\nrun ls $TMPDIR\n", "run ls $TMPDIR | grep litter\n"});
    EXPECT_THAT(textOf(all[0]), HasSubstr("litter"));
    EXPECT_EQ(textOf(all[1]), "run: =256\n");
}

TEST_F(Workers, LeaveNoDescriptorAndNoProcessAfterAThousandJobs) {
    const std::size_t before = openDescriptors();
    std::size_t during = 0;
    {
        WorkerPool pool(options_);
        runAll(pool, {message("text\n"), message("text\n")});
        during = openDescriptors();
        std::vector<Job> jobs;
        for (int i = 0; i < 1000; ++i) {
            jobs.push_back(message(i % 50 == 49 ? "exit 1\n" : "text\n"));
        }
        const auto all = runAll(pool, jobs);
        EXPECT_EQ(all[998].outcome.code, EML_OK);
        EXPECT_EQ(all[999].outcome.code, emltext::kWorkerCrashed);
        EXPECT_LE(openDescriptors(), during);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(hasChildren());
}

TEST_F(Workers, AreGoneWithThePoolInTheMiddleOfAJob) {
    options_.jobs = 1;
    {
        WorkerPool pool(options_);
        pool.submit(message("flood 200000\nhang\n"), path("text"));
        EXPECT_TRUE(soon([&] { return fs::file_size(path("text")) > 0; }));
    }
    EXPECT_FALSE(fs::exists(path("text")));
    EXPECT_FALSE(hasChildren());
}

TEST_F(Workers, AreGoneSoonAfterTheirCommandIsKilled) {
    const Job job = message("pid\nflood 100000\nhang\n");
    const pid_t command = fork();
    if (command == 0) {
        WorkerPool pool(options_);
        pool.submit(job, path("text"));
        for (;;) {
            static_cast<void>(pool.wait(std::chrono::seconds(1)));
        }
    }
    EXPECT_TRUE(soon([&] { return fs::exists(path("text")) && fs::file_size(path("text")) > 0; }));
    std::ifstream text(path("text"));
    int worker = 0;
    text >> worker;
    ASSERT_GT(worker, 0);
    EXPECT_FALSE(fs::is_empty(temporary()));
    kill(command, SIGKILL);
    waitpid(command, nullptr, 0);
    EXPECT_TRUE(soon([&] { return !isAlive(worker); }));
    EXPECT_TRUE(soon([&] { return fs::is_empty(temporary()); }));
}

TEST_F(Workers, NeedAPlaceForTemporaryFiles) {
    setenv("TMPDIR", path("none").c_str(), 1);
    EXPECT_THROW(WorkerPool pool(options_), std::system_error);
}

} // namespace
