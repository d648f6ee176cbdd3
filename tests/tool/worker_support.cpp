// SPDX-License-Identifier: MIT
// Files, jobs and pools for the tests of workers.
#include "worker_support.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace tool_test {
namespace fs = std::filesystem;

using emltext::Finished;
using emltext::Job;
using emltext::WorkerPool;

void Workers::SetUp() {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    std::string pattern = (fs::path("/tmp") / "worker-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    fs::create_directory(temporary());
    setenv("TMPDIR", temporary().c_str(), 1);
    setenv("QOB_FILTER_DIR", HOSTILE_FILTERS, 1);
    options_.jobs = 2;
    options_.sandbox = emltext::Options::Sandbox::kOff;
}

void Workers::TearDown() {
    EXPECT_TRUE(fs::is_empty(temporary()));
    fs::remove_all(root_);
}

std::string Workers::file(const std::string &name, const std::string &content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

Job Workers::message(const std::string &content) {
    Job job;
    job.sequence = count_++;
    job.path = file("message" + std::to_string(job.sequence) + ".eml", content);
    return job;
}

std::vector<Finished> Workers::runAll(WorkerPool &pool, const std::vector<Job> &jobs) {
    std::vector<Finished> all;
    const auto collect = [&] {
        for (Finished &finished : pool.wait(std::chrono::milliseconds(200))) {
            all.push_back(std::move(finished));
        }
    };
    for (const Job &job : jobs) {
        while (!pool.hasRoom()) {
            collect();
        }
        pool.submit(job, path("text" + std::to_string(job.sequence)));
    }
    while (pool.running() > 0) {
        collect();
    }
    std::sort(all.begin(), all.end(), [](const Finished &one, const Finished &other) {
        return one.job.sequence < other.job.sequence;
    });
    return all;
}

std::vector<Finished> Workers::runMessages(const std::vector<std::string> &contents) {
    std::vector<Job> jobs;
    std::transform(contents.begin(), contents.end(), std::back_inserter(jobs),
                   [this](const std::string &content) { return message(content); });
    WorkerPool pool(options_);
    return runAll(pool, jobs);
}

std::string Workers::textOf(const Finished &finished) {
    std::ifstream text(finished.textPath, std::ios::binary);
    if (!text) {
        return "(none)";
    }
    return {std::istreambuf_iterator<char>(text), {}};
}

std::string reasonOf(const Finished &finished) {
    return finished.outcome.notes.empty() ? "(no note)" : finished.outcome.notes.back().reason;
}

// A process that is dead and not waited for by whoever inherited it is not alive.
bool isAlive(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
    std::string number;
    std::string name;
    std::string state;
    status >> number >> name >> state;
    return !state.empty() && state != "Z" && state != "X";
}

} // namespace tool_test
