// SPDX-License-Identifier: MIT
// Between fork and exec only async-signal-safe calls are made, for other threads may hold any lock
// at the moment of the fork; all memory that the child needs is laid out before. What keeps the
// program from running comes back through a pipe that a successful exec closes.
#include "child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace qob::filters {
namespace {

constexpr rlim_t kMaxFileSize = rlim_t{64} << 20; // of a temporary file of the program
constexpr int kErrorFd = 3;                       // of the error pipe in the child
constexpr int kFirstUnusedFd = 4;
constexpr int kMaxDescriptors = 65536; // closed one by one where the system has no close_range

// The program's whole environment. A home directory that does not exist keeps settings of the user
// from changing the text.
char gLanguage[] = "LANG=C.UTF-8";
char gPath[] = "PATH=/usr/bin:/bin";
char gHome[] = "HOME=/nonexistent";
char *const kEnvironment[] = {gLanguage, gPath, gHome, nullptr};

// Everything the child uses before exec.
struct Plan {
    const char *program;
    char *const *arguments;
    int input;
    int output;
    int errorPipe;
    int null;
    rlim_t memory;
    rlim_t processorSeconds;
    pid_t parent;
};

bool makePipe(Descriptor &readingEnd, Descriptor &writingEnd) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    readingEnd.reset(ends[0]);
    writingEnd.reset(ends[1]);
    return true;
}

// Descriptors 0 to 3 are given to the child in an order that must not overwrite one of them.
bool moveAway(Descriptor &descriptor) {
    if (descriptor.get() >= kFirstUnusedFd) {
        return true;
    }
    const int moved = fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kFirstUnusedFd);
    if (moved < 0) {
        return false;
    }
    descriptor.reset(moved);
    return true;
}

bool limitTo(__rlimit_resource_t resource, rlim_t wanted) {
    rlimit limit{};
    if (getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, wanted);
    limit.rlim_cur = limit.rlim_max;
    return setrlimit(resource, &limit) == 0;
}

void closeOthers() {
    if (close_range(kFirstUnusedFd, ~0U, 0) == 0) {
        return;
    }
    rlimit limit{};
    int end = kMaxDescriptors;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < kMaxDescriptors) {
        end = static_cast<int>(limit.rlim_cur);
    }
    for (int fd = kFirstUnusedFd; fd < end; ++fd) {
        close(fd);
    }
}

// Signals as a new program expects them, whatever the caller ignores or blocks.
void resetSignals() {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) {
        sigaction(number, &action, nullptr);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void giveUp(int errorPipe) {
    const int code = errno != 0 ? errno : ECHILD;
    const ssize_t ignored = write(errorPipe, &code, sizeof code);
    (void)ignored;
    _exit(127);
}

// The child's way from fork to exec.
[[noreturn]] void becomeProgram(const Plan &plan) {
    setpgid(0, 0);
    // The child does not outlive the worker that waits for it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != plan.parent) {
        errno = ECHILD;
        giveUp(plan.errorPipe);
    }
    resetSignals();
    if (dup2(plan.input, STDIN_FILENO) < 0 || dup2(plan.output, STDOUT_FILENO) < 0 ||
        dup2(plan.null, STDERR_FILENO) < 0 || dup3(plan.errorPipe, kErrorFd, O_CLOEXEC) < 0) {
        giveUp(plan.errorPipe);
    }
    closeOthers();
    if (limitTo(RLIMIT_CORE, 0) && limitTo(RLIMIT_FSIZE, kMaxFileSize) &&
        limitTo(RLIMIT_AS, plan.memory) && limitTo(RLIMIT_CPU, plan.processorSeconds) &&
        chdir("/") == 0) {
        execve(plan.program, plan.arguments, kEnvironment);
    }
    giveUp(kErrorFd);
}

// The errno that the child wrote before it gave up; 0 when exec closed the pipe.
int readStartError(int fd) {
    int code = 0;
    ssize_t count = 0;
    do {
        count = read(fd, &code, sizeof code);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof code) ? code : 0;
}

std::vector<char *> argumentPointers(const ChildRequest &request) {
    std::vector<char *> pointers;
    pointers.push_back(const_cast<char *>(request.program.c_str()));
    for (const std::string &argument : request.arguments) {
        pointers.push_back(const_cast<char *>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

ChildResult resultOf(const siginfo_t &info) {
    return {info.si_code == CLD_EXITED ? ChildEnd::kExited : ChildEnd::kCrashed, info.si_status};
}

} // namespace

ChildProcess::ChildProcess(const ChildRequest &request) {
    try {
        start(request);
    } catch (...) {
        killAndReap();
        throw;
    }
}

void ChildProcess::start(const ChildRequest &request) {
    const std::vector<char *> arguments = argumentPointers(request);
    const char *inputPath = request.inputPath.empty() ? "/dev/null" : request.inputPath.c_str();
    Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    Descriptor input(open(inputPath, O_RDONLY | O_CLOEXEC));
    if (!input.isOpen()) {
        startError_ = EIO; // the program itself may well be there
        return;
    }
    Descriptor outputEnd;
    Descriptor errorPipe;
    Descriptor errorEnd;
    if (!null.isOpen() || !makePipe(output_, outputEnd) || !makePipe(errorPipe, errorEnd) ||
        !moveAway(null) || !moveAway(input) || !moveAway(outputEnd) || !moveAway(errorEnd) ||
        fcntl(output_.get(), F_SETFL, O_NONBLOCK) != 0) {
        startError_ = errno;
        return;
    }
    const Plan plan{request.program.c_str(),
                    arguments.data(),
                    input.get(),
                    outputEnd.get(),
                    errorEnd.get(),
                    null.get(),
                    request.maxMemory,
                    request.maxMilliseconds / 1000 + 1,
                    getpid()};
    pid_ = fork();
    if (pid_ == 0) {
        becomeProgram(plan);
    }
    if (pid_ < 0) {
        startError_ = errno;
        return;
    }
    setpgid(pid_, pid_); // by whichever of the two comes first
    errorEnd.reset();
    outputEnd.reset();
    startError_ = readStartError(errorPipe.get());
}

std::optional<ChildResult> ChildProcess::ended() {
    if (pid_ < 0) {
        return result_;
    }
    siginfo_t info{};
    const int code = waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
    if (code != 0 && errno == ECHILD) {
        // The embedding program ignores SIGCHLD or waits for all children; the number may belong
        // to another process by now and must not be used any more.
        pid_ = -1;
        result_ = ChildResult{ChildEnd::kExited, -1};
        return result_;
    }
    if (code != 0 || info.si_pid == 0) {
        return std::nullopt;
    }
    result_ = resultOf(info);
    killAndReap();
    return result_;
}

void ChildProcess::killAndReap() {
    if (pid_ < 0) {
        return;
    }
    // The process is not reaped yet, so that its number, and its group's, is still its own.
    kill(-pid_, SIGKILL);
    kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
}

} // namespace qob::filters
