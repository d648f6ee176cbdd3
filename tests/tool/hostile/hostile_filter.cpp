// SPDX-License-Identifier: MIT
// A message filter that does to its process what a broken or taken-over one might do. Each line of
// the message is an order; a line that is none is text and is written with a LF.
//
//   crash, abort          ends with SIGSEGV, SIGABRT
//   exit STATUS           calls exit()
//   hang                  never returns
//   sleep MS              returns later
//   exhaust               allocates until that fails, and returns EML_ERR_MEMORY
//   exhaust-unchecked     allocates until it writes to what it did not get
//   flood BYTES           writes so much text
//   note CODE             reports the code through the callback, for attachment 0
//   notes COUNT           reports so many damaged attachments
//   fail CODE             returns the code
//   stay, stay-apart      leaves a child process, in the process group or far from it
//   thread                leaves a thread
//   litter                leaves a file in $TMPDIR
//   pid                   writes the number of the process
//   garble, hang-up       sends the command what is no frame, closes the connection to it
//   speak-later           sends something when the message is done
//   socket, read PATH, write PATH, signal PID, load LIBRARY, run PROGRAM
//                         tries that, and writes what came of it
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qob_host.h"
#include "qob_host_export.h"
#include "qob_notice.h"

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20U;

struct Run {
    QobStream *stream;
    const QobErrorCallback *callback;
    int32_t result = EML_OK;

    void say(const std::string &text) const {
        const std::string line = text + "\n";
        QOB_WriteStream(stream, static_cast<uint32_t>(line.size()), line.data());
    }
    void sayResult(const std::string &what, bool well) const {
        say(what + ": " + (well ? "done" : std::strerror(errno)));
    }
    void report(uint32_t attachment, int32_t code) const {
        const QobNotice notice{"hostile", attachment, code, "as ordered"};
        callback->report(callback->context, &notice);
    }
};

// A way to an invalid address that no compiler sees through.
volatile char *volatile gNowhere = nullptr;

[[noreturn]] void waitForever() {
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

void exhaust(Run &run) {
    std::vector<std::unique_ptr<char[]>> blocks;
    try {
        for (;;) {
            blocks.emplace_back(new char[kPiece]);
        }
    } catch (const std::bad_alloc &) {
        run.result = EML_ERR_MEMORY;
    }
}

[[noreturn]] void exhaustUnchecked() {
    for (;;) {
        auto *block = static_cast<volatile char *>(std::malloc(kPiece));
        for (std::size_t at = 0; at < kPiece; at += 4096) {
            block[at] = 1;
        }
    }
}

void flood(const Run &run, std::size_t bytes) {
    const std::string piece(4096, 'x');
    for (; bytes > 0; bytes -= std::min(bytes, piece.size())) {
        QOB_WriteStream(run.stream, static_cast<uint32_t>(std::min(bytes, piece.size())),
                        piece.data());
    }
}

// The child's number is written, and the child stays.
void leaveChild(const Run &run, bool apart) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return;
    }
    const pid_t child = fork();
    if (child == 0) {
        if (apart) {
            setsid();
            if (fork() != 0) {
                _exit(0);
            }
        }
        const pid_t self = getpid();
        const bool told = write(ends[1], &self, sizeof self) == sizeof self;
        close(ends[1]);
        if (told) {
            waitForever();
        }
        _exit(1);
    }
    pid_t stayed = -1;
    const bool known = read(ends[0], &stayed, sizeof stayed) == sizeof stayed;
    close(ends[0]);
    close(ends[1]);
    run.say("child=" + std::to_string(known ? stayed : -1));
}

void litter() {
    const char *directory = std::getenv("TMPDIR");
    std::ofstream(std::string(directory != nullptr ? directory : "/tmp") + "/litter") << "x";
}

void openSocket(const Run &run) {
    const int opened = socket(AF_INET, SOCK_STREAM, 0);
    run.sayResult("socket", opened >= 0);
    if (opened >= 0) {
        close(opened);
    }
}

void openFile(const Run &run, const char *what, const std::string &path, int flags) {
    const int opened = open(path.c_str(), flags, 0600);
    run.sayResult(what, opened >= 0);
    if (opened >= 0) {
        close(opened);
    }
}

void runProgram(const Run &run, const std::string &command) {
    std::FILE *output = popen(command.c_str(), "r");
    std::array<char, 256> line{};
    const bool printed =
        output != nullptr && std::fgets(line.data(), static_cast<int>(line.size()), output);
    const int status = output != nullptr ? pclose(output) : -1;
    run.say("run: " + std::string(printed ? line.data() : "") + "=" + std::to_string(status));
}

// The connection to the command.
constexpr int kConnection = 3;

void sendGarbage() {
    static_cast<void>(send(kConnection, "x", 1, MSG_NOSIGNAL));
}

using Order = std::function<void(Run &, const std::string &)>;

const std::map<std::string, Order> &orders() {
    using S = const std::string &;
    static const std::map<std::string, Order> kOrders = {
        {"crash", [](Run &, S) { *gNowhere = 1; }},
        {"abort", [](Run &, S) { std::abort(); }},
        {"exit", [](Run &, S status) { std::exit(std::stoi(status)); }},
        {"hang", [](Run &, S) { waitForever(); }},
        {"sleep",
         [](Run &, S ms) {
             std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(ms)));
         }},
        {"exhaust", [](Run &run, S) { exhaust(run); }},
        {"exhaust-unchecked", [](Run &, S) { exhaustUnchecked(); }},
        {"flood", [](Run &run, S bytes) { flood(run, std::stoull(bytes)); }},
        {"note", [](Run &run, S code) { run.report(0, std::stoi(code)); }},
        {"notes",
         [](Run &run, S count) {
             for (uint32_t i = 1; i <= std::stoul(count); ++i) {
                 run.report(i, QOB_ERR_DAMAGED);
             }
         }},
        {"fail", [](Run &run, S code) { run.result = std::stoi(code); }},
        {"stay", [](Run &run, S) { leaveChild(run, false); }},
        {"stay-apart", [](Run &run, S) { leaveChild(run, true); }},
        {"thread", [](Run &, S) { std::thread(&waitForever).detach(); }},
        {"litter", [](Run &, S) { litter(); }},
        {"garble", [](Run &, S) { sendGarbage(); }},
        {"hang-up",
         [](Run &, S) {
             close(kConnection);
             waitForever();
         }},
        {"speak-later",
         [](Run &, S) {
             std::thread([] {
                 std::this_thread::sleep_for(std::chrono::milliseconds(50));
                 sendGarbage();
             }).detach();
         }},
        {"pid", [](Run &run, S) { run.say(std::to_string(getpid())); }},
        {"socket", [](Run &run, S) { openSocket(run); }},
        {"read", [](Run &run, S path) { openFile(run, "read", path, O_RDONLY); }},
        {"write", [](Run &run, S path) { openFile(run, "write", path, O_WRONLY | O_CREAT); }},
        {"chmod", [](Run &run, S path) { run.sayResult("chmod", chmod(path.c_str(), 0777) == 0); }},
        {"signal",
         [](Run &run, S pid) { run.sayResult("signal", kill(std::stoi(pid), SIGUSR1) == 0); }},
        {"load",
         [](Run &run, S library) {
             void *loaded = dlopen(library.c_str(), RTLD_NOW);
             run.say(std::string("load: ") + (loaded != nullptr ? "done" : dlerror()));
         }},
        {"run", [](Run &run, S command) { runProgram(run, command); }},
    };
    return kOrders;
}

void obey(Run &run, const std::string &line) {
    const std::string name = line.substr(0, line.find(' '));
    const auto order = orders().find(name);
    if (order == orders().end()) {
        run.say(line);
        return;
    }
    order->second(run, name.size() < line.size() ? line.substr(name.size() + 1) : std::string());
}

} // namespace

QOB_HOST_EXPORT int32_t GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream,
                                                     const HostParams * /*params*/,
                                                     const void * /*callerRecord*/,
                                                     void *callback) {
    std::ifstream input(inputPath);
    if (!input) {
        return EML_ERR_INPUT;
    }
    Run run{stream, static_cast<const QobErrorCallback *>(callback)};
    std::string line;
    while (run.result == EML_OK && std::getline(input, line)) {
        obey(run, line);
    }
    return run.result;
}
