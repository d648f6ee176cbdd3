// SPDX-License-Identifier: MIT
// The directory and its janitor. The janitor learns of the command's end by the end of a pipe, of
// which nobody else holds the writing end.
#include "worker/run_directory.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace emltext {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 5ms; // between two looks at what is going away
constexpr int kTries = 400;

constexpr std::string_view kTemplate = "emltext-XXXXXX";
constexpr std::size_t kRandomPart = 6;

// What the janitor tells of the directory it made: 0 and the end of its name, or an errno.
struct Made {
    int error = 0;
    std::array<char, kRandomPart> end{};
};

std::string temporaryRoot() {
    const char *configured = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    return configured != nullptr && *configured != '\0' ? configured : "/tmp";
}

Made makeDirectory(std::string &path) {
    Made made;
    if (mkdtemp(path.data()) == nullptr) {
        made.error = errno;
    }
    path.copy(made.end.data(), made.end.size(), path.size() - made.end.size());
    return made;
}

void keepOnly(int descriptor) {
    const auto kept = static_cast<unsigned>(descriptor);
    const int null = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (standard != descriptor) {
            dup2(null, standard);
        }
    }
    if (kept > 3) {
        close_range(3, kept - 1, 0);
    }
    close_range(kept + 1, ~0U, 0);
}

// The groups that were noted and not forgotten, once the command is gone.
std::set<pid_t> groupsAtTheEnd(int pipe) {
    std::set<pid_t> groups;
    pid_t message = 0;
    for (;;) {
        const ssize_t count = read(pipe, &message, sizeof message);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count != static_cast<ssize_t>(sizeof message)) {
            return groups;
        }
        if (message > 0) {
            groups.insert(message);
        } else {
            groups.erase(-message);
        }
    }
}

// Nobody can put a file into a directory that is gone, so that there is no need to wait for the end
// of those that were killed.
void clearAway(const std::set<pid_t> &groups, const std::string &directory) {
    for (int tries = 0; tries < kTries; ++tries) {
        for (const pid_t group : groups) {
            kill(-group, SIGKILL);
        }
        std::error_code failure;
        std::filesystem::remove_all(directory, failure);
        if (!failure) {
            return;
        }
        std::this_thread::sleep_for(kPatience);
    }
}

// Signals that end the command, such as those of a terminal, must not end its janitor, nor must its
// end before it has read the answer.
[[noreturn]] void clearUpAfter(int pipe, int answer, std::string path) {
    setsid();
    prctl(PR_SET_NAME, "emltext-janitor");
    for (const int number :
         {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGPIPE}) {
        static_cast<void>(std::signal(number, SIG_IGN));
    }
    const Made made = makeDirectory(path);
    const bool told = write(answer, &made, sizeof made) == static_cast<ssize_t>(sizeof made);
    keepOnly(pipe);
    const std::set<pid_t> groups = told ? groupsAtTheEnd(pipe) : std::set<pid_t>();
    if (made.error == 0) {
        clearAway(groups, path);
    }
    _exit(0);
}

// The answer; EIO when the janitor ended without one.
Made readAnswer(int answer) {
    Made made;
    ssize_t count = -1;
    do {
        count = read(answer, &made, sizeof made);
    } while (count < 0 && errno == EINTR);
    if (count != static_cast<ssize_t>(sizeof made)) {
        made.error = EIO;
    }
    return made;
}

} // namespace

RunDirectory::RunDirectory() {
    const std::string root = temporaryRoot();
    std::error_code failure;
    path_ = std::filesystem::absolute(root, failure).string() + "/" + std::string(kTemplate);
    if (const int error = make(); error != 0) {
        throw std::system_error(error, std::generic_category(),
                                "no directory for temporary files can be made in " + root +
                                    " (TMPDIR names another place)");
    }
}

// The janitor makes the directory, so that there is no moment in which nobody would remove it.
int RunDirectory::make() {
    std::array<int, 2> ends{};
    std::array<int, 2> answer{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return makeDirectory(path_).error;
    }
    if (pipe2(answer.data(), O_CLOEXEC) != 0) {
        close(ends[0]);
        close(ends[1]);
        return makeDirectory(path_).error;
    }
    janitor_ = fork();
    if (janitor_ == 0) {
        clearUpAfter(ends[0], answer[1], path_);
    }
    close(ends[0]);
    close(answer[1]);
    pipe_ = ends[1];
    const Made made = janitor_ > 0 ? readAnswer(answer[0]) : makeDirectory(path_);
    close(answer[0]);
    path_.replace(path_.size() - made.end.size(), made.end.size(), made.end.data(),
                  made.end.size());
    if (made.error != 0) {
        release();
    }
    return made.error;
}

void RunDirectory::release() const {
    if (pipe_ >= 0) {
        close(pipe_);
    }
    if (janitor_ > 0) {
        while (waitpid(janitor_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

RunDirectory::~RunDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
    release();
}

void RunDirectory::noteWorker(pid_t group) const {
    tellJanitor(group);
}

void RunDirectory::forgetWorker(pid_t group) const {
    tellJanitor(-group);
}

void RunDirectory::tellJanitor(pid_t message) const {
    if (pipe_ >= 0) {
        ssize_t count = -1;
        do {
            count = write(pipe_, &message, sizeof message);
        } while (count < 0 && errno == EINTR);
    }
}

} // namespace emltext
