// SPDX-License-Identifier: MIT
// Watching a worker: its frames, its life, its time. Death shows as the end of its socket, or, when
// a child of it holds that open, by asking for the process.
#include "worker/worker_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <utility>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "worker/worker_main.h"

namespace emltext {
namespace {

using namespace std::chrono_literals;

// More frames than a job can have come from a worker that is out of control.
constexpr uint32_t kMaxFrames = kMaxNotes + 8;
constexpr int kFarewellMilliseconds = 2000;
constexpr uint64_t kBytesPerKilobyte = 1024;

// A host that keeps its time ends the extraction by itself, and the text so far is kept.
std::chrono::milliseconds patience(uint32_t seconds) {
    return std::chrono::seconds(seconds) + 1s + std::chrono::seconds(seconds) / 10;
}

} // namespace

std::unique_ptr<WorkerProcess> WorkerProcess::start(const Options &options, const RunDirectory &run,
                                                    const std::string &ownInput) {
    std::unique_ptr<WorkerProcess> worker(new WorkerProcess(options, run, !ownInput.empty()));
    if (!worker->launch(ownInput)) {
        const int error = errno;
        worker.reset();
        errno = error;
    }
    return worker;
}

bool WorkerProcess::launch(const std::string &ownInput) {
    directory_ = run_.path() + "/worker-XXXXXX";
    if (mkdtemp(directory_.data()) == nullptr) {
        directory_.clear();
        return false;
    }
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return false;
    }
    socket_ = ends[0];
    const WorkerSetup setup{&options_, ends[1], getpid(), directory_, ownInput};
    // A worker that reads the terminal must stay in its process group.
    const bool apart = ownInput.empty() || isatty(STDIN_FILENO) == 0;
    pid_ = fork();
    if (pid_ == 0) {
        if (apart) {
            setpgid(0, 0);
        }
        workerMain(setup);
    }
    const int error = errno;
    close(ends[1]);
    errno = error;
    if (pid_ < 0) {
        return false;
    }
    if (apart) {
        setpgid(pid_, pid_); // by whichever of the two comes first
        run_.noteWorker(pid_);
    }
    return true;
}

void WorkerProcess::dismiss() {
    dismissed_ = !isBusy() && shutdown(socket_, SHUT_WR) == 0;
}

WorkerProcess::~WorkerProcess() {
    if (dismissed_) {
        // Its end of the socket is closed when the process is gone.
        pollfd end{socket_, POLLIN, 0};
        static_cast<void>(poll(&end, 1, kFarewellMilliseconds));
    }
    uint64_t peak = 0;
    endProcess(peak);
    if (socket_ >= 0) {
        close(socket_);
    }
    if (task_ && !task_->finished.textPath.empty()) {
        unlink(task_->finished.textPath.c_str());
    }
    if (!directory_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
}

// The status that waitpid gives, or 0 when there is no process any more.
int WorkerProcess::endProcess(uint64_t &peak) {
    if (pid_ < 0) {
        return 0;
    }
    kill(-pid_, SIGKILL);
    kill(pid_, SIGKILL);
    int status = 0;
    rusage usage{};
    while (wait4(pid_, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    peak = static_cast<uint64_t>(usage.ru_maxrss) * kBytesPerKilobyte;
    run_.forgetWorker(pid_);
    pid_ = -1;
    return status;
}

bool WorkerProcess::give(const Job &job, const std::string &textPath, int output, int input,
                         uint64_t inputSize) {
    // A worker that speaks without being asked is not to be trusted.
    WorkerReport unasked;
    if (receiveReport(socket_, unasked) != Received::kNothing ||
        !sendJob(socket_, job, output, input)) {
        return false;
    }
    task_.emplace();
    task_->finished.job = job;
    task_->finished.textPath = textPath;
    task_->finished.outcome.bytesIn = inputSize;
    task_->peakBefore = peakMemory_;
    task_->begin = Clock::now();
    if (!waitsForInput_) {
        beginTime();
    }
    return true;
}

void WorkerProcess::beginTime() {
    task_->begin = Clock::now();
    if (options_.timeoutSeconds != 0) {
        task_->deadline = task_->begin + patience(options_.timeoutSeconds);
    }
}

std::optional<WorkerProcess::Clock::time_point> WorkerProcess::deadline() const {
    return task_ ? task_->deadline : std::nullopt;
}

std::optional<Finished> WorkerProcess::collect() {
    if (!task_) {
        return std::nullopt;
    }
    // Asked for before the frames are read, so that no last frame is missed.
    const bool died = hasDied();
    for (;;) {
        WorkerReport report;
        const Received received = receiveReport(socket_, report);
        if (received == Received::kNothing) {
            task_->timedOut = task_->deadline && Clock::now() >= *task_->deadline;
            return died || task_->timedOut ? std::optional<Finished>(lost()) : std::nullopt;
        }
        if (received == Received::kEnd || ++task_->frames > kMaxFrames) {
            return lost();
        }
        if (report.kind == WorkerReport::Kind::kResult) {
            return done(report);
        }
        take(std::move(report));
    }
}

bool WorkerProcess::hasDied() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid != 0;
}

void WorkerProcess::take(WorkerReport report) {
    if (report.kind == WorkerReport::Kind::kInputRead) {
        beginTime();
    } else if (report.kind == WorkerReport::Kind::kMemoryFailed) {
        task_->memoryFailed = true;
    } else {
        task_->finished.outcome.notes.push_back(std::move(report.note));
    }
}

Finished WorkerProcess::done(const WorkerReport &report) {
    Finished finished = std::move(task_->finished);
    task_.reset();
    std::vector<Note> notes = std::move(finished.outcome.notes);
    finished.outcome = report.outcome;
    finished.outcome.notes = std::move(notes);
    peakMemory_ = report.peakMemory;
    usable_ = !report.retire;
    return finished;
}

// The process is dead, or must be.
Finished WorkerProcess::lost() {
    uint64_t peak = 0;
    const int status = endProcess(peak);
    WorkerTask task = std::move(*task_);
    task_.reset();
    usable_ = false;
    Finished finished = std::move(task.finished);
    finished.outcome.notes.push_back(verdict(task, status, peak));
    finished.outcome.code = finished.outcome.notes.back().code;
    finished.outcome.milliseconds = static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - task.begin).count());
    if (!finished.textPath.empty()) {
        unlink(finished.textPath.c_str());
    }
    return finished;
}

Note WorkerProcess::verdict(const WorkerTask &task, int status, uint64_t peak) const {
    if (task.timedOut) {
        return {0, kWorkerTimeout,
                "it took longer than " + std::to_string(options_.timeoutSeconds) + " seconds"};
    }
    // A library that does not look at what malloc returns dies of a bad address.
    const uint64_t much = options_.memoryBytes / 4 * 3;
    const bool usedMuch = much != 0 && peak >= much && peak > task.peakBefore;
    if (task.memoryFailed || usedMuch) {
        return {0, kWorkerMemory,
                "it needed more than " + std::to_string(options_.memoryBytes) + " bytes of memory"};
    }
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        const char *const name = sigdescr_np(number);
        return {0, kWorkerCrashed,
                "it was ended by signal " + std::to_string(number) + " (" +
                    (name != nullptr ? name : "unknown") + ")"};
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kWorkerNotReady) {
        return {0, kWorkerLost, "the worker process could not be set up"};
    }
    return {0, kWorkerCrashed, "it ended by itself"};
}

} // namespace emltext
