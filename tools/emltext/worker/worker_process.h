// SPDX-License-Identifier: MIT
// One worker process as the command sees it: started, given jobs, watched, ended. What it leaves
// behind when it dies is cleared away here.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

#include "console/options.h"
#include "job.h"
#include "worker/run_directory.h"
#include "worker/worker_pool.h"
#include "worker/worker_protocol.h"

namespace emltext {

// A job that a worker is at.
struct WorkerTask {
    using Clock = std::chrono::steady_clock;

    Finished finished;
    Clock::time_point begin;
    std::optional<Clock::time_point> deadline;
    uint64_t peakBefore = 0; // bytes of memory
    uint32_t frames = 0;
    bool memoryFailed = false;
    bool timedOut = false;
};

class WorkerProcess {
public:
    using Clock = WorkerTask::Clock;

    // Starts a worker with a directory of its own; `ownInput` as in WorkerSetup. Null with errno
    // set when the system has no process or no descriptors left.
    static std::unique_ptr<WorkerProcess> start(const Options &options, const RunDirectory &run,
                                                const std::string &ownInput);
    // Ends the process and its process group at once. The text file of a job that it was at is
    // removed.
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess &) = delete;
    WorkerProcess &operator=(const WorkerProcess &) = delete;

    pid_t pid() const { return pid_; }
    int socket() const { return socket_; }
    bool isBusy() const { return task_.has_value(); }
    // Whether it may be given more jobs.
    bool isUsable() const { return usable_; }

    // Lets an idle worker end in good order; the destructor waits for that, if not for long.
    void dismiss();

    // Hands over a job; the descriptors stay the caller's. False, and nothing done, when the
    // process is not there any more or not to be trusted.
    bool give(const Job &job, const std::string &textPath, int output, int input,
              uint64_t inputSize);

    // The job when it is done with, be it by the death of the worker.
    std::optional<Finished> collect();

    // When the job's time is over.
    std::optional<Clock::time_point> deadline() const;

private:
    WorkerProcess(const Options &options, const RunDirectory &run, bool waitsForInput)
        : options_(options), run_(run), waitsForInput_(waitsForInput) {}

    bool launch(const std::string &ownInput);
    void beginTime();
    bool hasDied() const;
    void take(WorkerReport report);
    Finished done(const WorkerReport &report);
    Finished lost();
    Note verdict(const WorkerTask &task, int status, uint64_t peak) const;
    int endProcess(uint64_t &peak);

    const Options &options_;
    const RunDirectory &run_;
    bool waitsForInput_;
    std::string directory_;
    pid_t pid_ = -1;
    int socket_ = -1;
    bool usable_ = true;
    bool dismissed_ = false;
    uint64_t peakMemory_ = 0;
    std::optional<WorkerTask> task_;
};

} // namespace emltext
