// SPDX-License-Identifier: MIT
// Which worker gets which job. Inputs and text files are opened here, so that a worker in its
// sandbox needs no way to either.
#include "worker/worker_pool.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qob_extract.h"
#include "worker/run_directory.h"
#include "worker/strays.h"
#include "worker/worker_process.h"

namespace emltext {
namespace {

using namespace std::chrono_literals;
using Clock = WorkerProcess::Clock;

// A death that no socket tells is found in this time.
constexpr auto kTick = 100ms;
constexpr mode_t kNewFileMode = 0666; // less the umask

class Descriptor {
public:
    explicit Descriptor(int value = -1) : value_(value) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return value_; }
    void reset(int value = -1) {
        if (value_ >= 0) {
            close(value_);
        }
        value_ = value;
    }

private:
    int value_;
};

// A job's input as the command finds it.
struct Input {
    Descriptor file;   // to be passed on; none: the worker opens it
    bool own = false;  // it must be waited for, in a worker of its own
    uint64_t size = 0; // bytes
    std::string reason;
};

bool isWaitedFor(const std::string &path, const struct stat &status) {
    return path == "-" || !S_ISREG(status.st_mode);
}

void findInput(const Job &job, bool passFile, Input &input) {
    struct stat status {};
    if (job.path != "-" && stat(job.path.c_str(), &status) != 0) {
        input.reason = std::strerror(errno);
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        input.reason = "it is a directory";
        return;
    }
    if (job.index == 0 && isWaitedFor(job.path, status)) {
        input.own = true;
        return;
    }
    input.size = job.index > 0 ? job.length : static_cast<uint64_t>(status.st_size);
    if (passFile || job.index > 0) {
        // The flag matters only when something else took the file's place since.
        input.file.reset(open(job.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
        if (input.file.get() < 0) {
            input.reason = std::strerror(errno);
        }
    }
}

Finished failed(Job job, std::string textPath, int32_t code, const std::string &reason) {
    Finished finished{std::move(job), {}, std::move(textPath)};
    finished.outcome.code = code;
    finished.outcome.notes.push_back({0, code, reason});
    return finished;
}

} // namespace

class WorkerPool::Workers {
public:
    explicit Workers(const Options &options)
        : options_(options), spoolDirectory_(run_.path() + "/spool") {
        std::filesystem::create_directory(spoolDirectory_);
        std::filesystem::permissions(spoolDirectory_, std::filesystem::perms::owner_all);
    }
    ~Workers() {
        for (const auto &process : processes_) {
            process->dismiss();
        }
        processes_.clear();
        endStrays();
    }
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    const std::string &spoolDirectory() const { return spoolDirectory_; }

    std::size_t busy() const {
        return static_cast<std::size_t>(
            std::count_if(processes_.begin(), processes_.end(),
                          [](const auto &process) { return process->isBusy(); }));
    }
    bool hasRoom() const { return busy() < std::max<std::size_t>(options_.jobs, 1); }
    std::size_t running() const { return busy() + ready_.size(); }

    void submit(Job job, std::string textPath) {
        Input input;
        findInput(job, options_.sandbox != Options::Sandbox::kOff, input);
        if (!input.reason.empty()) {
            ready_.push_back(
                failed(std::move(job), std::move(textPath), EML_ERR_INPUT, input.reason));
            return;
        }
        Descriptor text;
        if (!textPath.empty()) {
            text.reset(open(textPath.c_str(),
                            O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY,
                            kNewFileMode));
            if (text.get() < 0) {
                const std::string reason = std::strerror(errno);
                ready_.push_back(
                    failed(std::move(job), std::move(textPath), EML_ERR_OUTPUT, reason));
                return;
            }
        }
        const int output = textPath.empty() ? STDOUT_FILENO : text.get();
        if (const int error = handOver(job, textPath, output, input); error != 0) {
            loseJob(std::move(job), std::move(textPath), error);
        }
    }

    std::vector<Finished> wait(std::chrono::milliseconds timeout) {
        const Clock::time_point end = Clock::now() + timeout;
        collect();
        while (ready_.empty() && busy() > 0 && Clock::now() < end && waitForFrames(end)) {
            collect();
        }
        return std::exchange(ready_, {});
    }

private:
    // 0, or the errno of what kept a worker from being started.
    int handOver(const Job &job, const std::string &textPath, int output, const Input &input) {
        const auto give = [&](WorkerProcess &process) {
            return process.give(job, textPath, output, input.file.get(), input.size);
        };
        const std::string ownInput = input.own ? job.path : std::string();
        // A worker that died while it was idle is no fault of this job.
        for (WorkerProcess *idle = idleWorker(); !input.own && idle != nullptr;
             idle = idleWorker()) {
            if (give(*idle)) {
                return 0;
            }
            remove(*idle);
        }
        makeRoom();
        std::unique_ptr<WorkerProcess> process = WorkerProcess::start(options_, run_, ownInput);
        if (process == nullptr) {
            return errno;
        }
        if (!give(*process)) {
            return ECHILD;
        }
        processes_.push_back(std::move(process));
        return 0;
    }

    void loseJob(Job job, std::string textPath, int error) {
        if (!textPath.empty()) {
            unlink(textPath.c_str());
        }
        ready_.push_back(failed(std::move(job), std::move(textPath), kWorkerLost,
                                std::string("no process can be started: ") + std::strerror(error)));
    }

    WorkerProcess *idleWorker() {
        const auto found = std::find_if(processes_.begin(), processes_.end(),
                                        [](const auto &process) { return !process->isBusy(); });
        return found == processes_.end() ? nullptr : found->get();
    }

    // No more processes than were asked for.
    void makeRoom() {
        while (processes_.size() >= std::max<std::size_t>(options_.jobs, 1)) {
            WorkerProcess *const idle = idleWorker();
            if (idle == nullptr) {
                return;
            }
            remove(*idle);
        }
    }

    void remove(const WorkerProcess &gone) {
        std::erase_if(processes_, [&](const auto &process) { return process.get() == &gone; });
        endStrays();
    }

    void endStrays() const {
        std::vector<pid_t> known{run_.janitor()};
        for (const auto &process : processes_) {
            known.push_back(process->pid());
        }
        strays_.end(known);
    }

    void collect() {
        for (const auto &process : processes_) {
            if (std::optional<Finished> finished = process->collect()) {
                ready_.push_back(std::move(*finished));
            }
        }
        if (std::erase_if(processes_, [](const auto &process) { return !process->isUsable(); }) >
            0) {
            endStrays();
        }
    }

    // Until a frame is there, a job's time is over, or it is time to look at the processes. False
    // after a signal.
    bool waitForFrames(Clock::time_point end) const {
        std::vector<pollfd> sockets;
        Clock::time_point next = std::min(end, Clock::now() + kTick);
        for (const auto &process : processes_) {
            if (process->isBusy()) {
                sockets.push_back({process->socket(), POLLIN, 0});
                next = std::min(next, process->deadline().value_or(next));
            }
        }
        const auto time = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
        return poll(sockets.data(), sockets.size(), std::max(static_cast<int>(time), 0)) >= 0;
    }

    const Options &options_;
    Strays strays_;
    RunDirectory run_;
    std::string spoolDirectory_;
    std::vector<std::unique_ptr<WorkerProcess>> processes_;
    std::vector<Finished> ready_;
};

WorkerPool::WorkerPool(const Options &options) : workers_(std::make_unique<Workers>(options)) {}

WorkerPool::~WorkerPool() = default;

const std::string &WorkerPool::spoolDirectory() const {
    return workers_->spoolDirectory();
}

bool WorkerPool::hasRoom() const {
    return workers_->hasRoom();
}

std::size_t WorkerPool::running() const {
    return workers_->running();
}

void WorkerPool::submit(Job job, std::string textPath) {
    workers_->submit(std::move(job), std::move(textPath));
}

std::vector<Finished> WorkerPool::wait(std::chrono::milliseconds timeout) {
    return workers_->wait(timeout);
}

} // namespace emltext
