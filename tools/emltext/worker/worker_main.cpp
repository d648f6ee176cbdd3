// SPDX-License-Identifier: MIT
// A worker is a fork of the command. It lets go of everything that is the command's: files,
// signals, the terminal; then it shuts itself in and serves one job after the other.
#include "worker/worker_main.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "worker/input_copy.h"
#include "worker/job_run.h"
#include "worker/process_limits.h"
#include "worker/sandbox.h"
#include "worker/worker_protocol.h"

namespace emltext {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSocket = 3;   // where a worker keeps its connection
constexpr int kOwnInput = 4; // and the input that it opened itself

// For the handler of failed allocations, which gets no argument.
bool gMemoryFailed = false; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

// Called by operator new. The command learns of it while the worker still can tell; then the
// allocation fails as it would have.
void noteMemoryFailure() {
    if (!gMemoryFailed) {
        gMemoryFailed = true;
        WorkerReport report;
        report.kind = WorkerReport::Kind::kMemoryFailed;
        sendReport(kSocket, report);
    }
    std::set_new_handler(nullptr);
}

void leaveFromInside() {
    _exit(kWorkerExitedInside);
}

// What a person does at the terminal is for the command; a worker ends with its job.
void letGoOfSignals() {
    for (const int number :
         {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGTTIN, SIGTTOU, SIGPIPE}) {
        static_cast<void>(std::signal(number, SIG_IGN));
    }
    for (const int number : {SIGCHLD, SIGALRM, SIGUSR1, SIGUSR2, SIGWINCH}) {
        static_cast<void>(std::signal(number, SIG_DFL));
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Empty, or the reason why the input cannot be opened. Waits for the other end of a named pipe.
std::string openOwnInput(const std::string &path, int &input) {
    input = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                        : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    return input < 0 ? std::strerror(errno) : std::string();
}

// Afterwards the socket is kSocket and the own input, if there is one, kOwnInput; nothing else is
// open but the standard descriptors, which lead nowhere.
bool letGoOfFiles(int socket, int &input, bool keepsErrors) {
    constexpr int kBeyond = 16;
    const int null = fcntl(open("/dev/null", O_RDWR | O_CLOEXEC), F_DUPFD_CLOEXEC, kBeyond);
    const int heldSocket = fcntl(socket, F_DUPFD_CLOEXEC, kBeyond);
    const int heldInput = input < 0 ? -1 : fcntl(input, F_DUPFD_CLOEXEC, kBeyond);
    if (null < 0 || heldSocket < 0 || dup2(null, STDIN_FILENO) < 0 ||
        dup2(null, STDOUT_FILENO) < 0 || (!keepsErrors && dup2(null, STDERR_FILENO) < 0) ||
        dup3(heldSocket, kSocket, O_CLOEXEC) < 0) {
        return false;
    }
    if (heldInput < 0) {
        return close_range(kSocket + 1, ~0U, 0) == 0;
    }
    input = dup3(heldInput, kOwnInput, O_CLOEXEC);
    return input == kOwnInput && close_range(kOwnInput + 1, ~0U, 0) == 0;
}

void closeIfOpen(int &descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

class NoteSender : public NoteListener {
public:
    void take(const Note &note) override {
        WorkerReport report;
        report.kind = WorkerReport::Kind::kNote;
        report.note = note;
        sendReport(kSocket, report);
    }
};

class Worker {
public:
    Worker(const WorkerSetup &setup, int ownInput, std::string inputFailure)
        : setup_(setup), options_(*setup.options), copyPath_(setup.directory + "/input.eml"),
          ownInput_(ownInput), inputFailure_(std::move(inputFailure)),
          memory_(setup.options->memoryBytes),
          threads_(open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          threadsAtStart_(threads()) {}

    void serve() {
        ReceivedJob received;
        while (receiveJob(kSocket, received)) {
            if (!setup_.ownInput.empty()) {
                received.input = ownInput_;
            }
            run(received);
            received = {};
        }
    }

private:
    void run(ReceivedJob &received) {
        memory_.beginJob();
        gMemoryFailed = false;
        std::set_new_handler(&noteMemoryFailure);
        WorkerReport report;
        report.kind = WorkerReport::Kind::kResult;
        const auto begin = Clock::now();
        try {
            report.outcome = outcomeOf(received);
        } catch (const std::bad_alloc &) {
            report.outcome.code = EML_ERR_MEMORY;
            notes_.take({0, EML_ERR_MEMORY, {}});
        }
        std::set_new_handler(nullptr);
        report.outcome.milliseconds = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count());
        closeIfOpen(received.output);
        closeIfOpen(received.input);
        clearDirectory();
        report.retire = isSpent();
        report.peakMemory = peakMemory();
        sendReport(kSocket, report);
    }

    Outcome outcomeOf(const ReceivedJob &received) {
        if (!inputFailure_.empty()) {
            return inputFailed(inputFailure_);
        }
        if (received.input < 0) {
            Outcome outcome = extract(received.job.path, received.output);
            outcome.bytesIn = sizeOf(received.job.path);
            return outcome;
        }
        const Job &job = received.job;
        const InputCopy copy =
            job.index > 0 ? copyMboxMessage(received.input, job.offset, job.length, copyPath_)
                          : copyInput(received.input, copyPath_);
        if (!setup_.ownInput.empty()) {
            WorkerReport read;
            read.kind = WorkerReport::Kind::kInputRead;
            sendReport(kSocket, read);
        }
        Outcome outcome =
            copy.reason.empty() ? extract(copyPath_, received.output) : inputFailed(copy.reason);
        outcome.bytesIn = copy.bytes;
        return outcome;
    }

    Outcome extract(const std::string &path, int output) {
        return extractJob(path, output, options_, setup_.directory, notes_);
    }

    Outcome inputFailed(const std::string &reason) {
        notes_.take({0, EML_ERR_INPUT, reason});
        Outcome outcome;
        outcome.code = EML_ERR_INPUT;
        return outcome;
    }

    static uint64_t sizeOf(const std::string &path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
    }

    // Nothing of one message may be there for the next.
    void clearDirectory() const {
        std::error_code failure;
        std::filesystem::directory_iterator entry(setup_.directory, failure);
        while (!failure && entry != std::filesystem::directory_iterator()) {
            std::error_code ignored;
            std::filesystem::remove_all(entry->path(), ignored);
            entry.increment(failure);
        }
    }

    // A process in which something of an earlier message goes on is not used again.
    bool isSpent() const {
        return !setup_.ownInput.empty() || memory_.isWorn() || hasChildren() ||
               threads() > threadsAtStart_;
    }

    static bool hasChildren() {
        pid_t ended = -1;
        do {
            ended = waitpid(-1, nullptr, WNOHANG);
        } while (ended > 0);
        return ended == 0;
    }

    // Each has a directory below /proc/self/task.
    nlink_t threads() const {
        struct stat status {};
        return fstat(threads_, &status) == 0 ? status.st_nlink : 0;
    }

    const WorkerSetup &setup_;
    const Options &options_;
    std::string copyPath_;
    int ownInput_;
    std::string inputFailure_;
    MemoryLimit memory_;
    int threads_;
    nlink_t threadsAtStart_;
    NoteSender notes_;
};

bool becomeWorker(const WorkerSetup &setup, int &ownInput, std::string &inputFailure) {
    letGoOfSignals();
    // The janitor would end the worker too, only later.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != setup.command ||
        prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        return false;
    }
    if (!setup.ownInput.empty()) {
        inputFailure = openOwnInput(setup.ownInput, ownInput);
    }
    forbidDumps();
    return letGoOfFiles(setup.socket, ownInput, setup.options->verbose) &&
           setenv("TMPDIR", setup.directory.c_str(), 1) == 0 && // NOLINT(concurrency-mt-unsafe)
           std::atexit(&leaveFromInside) == 0;
}

} // namespace

void workerMain(const WorkerSetup &setup) {
    int ownInput = -1;
    std::string inputFailure;
    try {
        if (!becomeWorker(setup, ownInput, inputFailure)) {
            _exit(kWorkerNotReady);
        }
        Worker worker(setup, ownInput, std::move(inputFailure));
        const Options::Sandbox wanted = setup.options->sandbox;
        if (wanted != Options::Sandbox::kOff && !enterSandbox(setup.directory).empty() &&
            wanted == Options::Sandbox::kRequired) {
            _exit(kWorkerNotReady);
        }
        worker.serve();
    } catch (const std::exception &) {
        _exit(kWorkerNotReady);
    }
    _exit(0);
}

} // namespace emltext
