// SPDX-License-Identifier: MIT
// fork, exec, wait; outputs go through files, so that no pipe can fill up.
#include "process.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool_test {
namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

std::vector<std::string> namesIn(const std::string &directory) {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void redirect(int descriptor, const std::string &path, int flags) {
    const int opened = open(path.c_str(), flags, 0600);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        _exit(126);
    }
    close(opened);
}

void limitFiles(unsigned long bytes) {
    const struct rlimit limit { bytes, bytes };
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        _exit(126);
    }
}

} // namespace

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string treeOf(const std::string &directory) {
    std::map<std::string, std::string> contents;
    // What is being removed meanwhile ends the walk.
    std::error_code gone;
    for (fs::recursive_directory_iterator entry(directory, gone), end; !gone && entry != end;
         entry.increment(gone)) {
        if (entry->is_regular_file(gone)) {
            const std::string path = entry->path().string();
            contents[path.substr(directory.size() + 1)] = contentOf(path);
        }
    }
    std::string all;
    for (const auto &[name, content] : contents) {
        all.append(name).append(": ").append(content).append("\n");
    }
    return all;
}

bool waitForContent(const std::string &path) {
    for (int tries = 0; tries < 1000; ++tries) {
        std::error_code missing;
        if (fs::file_size(path, missing) > 0 && !missing) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

void Tool::SetUp() {
    std::string pattern = (fs::temp_directory_path() / "tool-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    fs::create_directory(root_ + "/files");
    fs::create_directory(root_ + "/temporary");
}

// After a kill, the command's janitor needs a moment.
void Tool::TearDown() {
    const std::string temporary = root_ + "/temporary";
    for (int tries = 0; killed_ && tries < 500 && !namesIn(temporary).empty(); ++tries) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(namesIn(temporary), std::vector<std::string>{});
    fs::remove_all(root_);
}

std::string Tool::file(const std::string &name, const std::string &content) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

std::vector<std::string> Tool::files() const {
    return namesIn(root_ + "/files");
}

void Tool::become(const std::vector<std::string> &arguments, const Wiring &wiring) const {
    redirect(STDIN_FILENO, root_ + "/in", O_RDONLY);
    if (wiring.terminal >= 0) {
        dup2(wiring.terminal, STDERR_FILENO);
    } else {
        redirect(STDERR_FILENO, root_ + "/err", O_WRONLY | O_CREAT | O_TRUNC);
    }
    redirect(STDOUT_FILENO, wiring.outputPath.empty() ? root_ + "/out" : wiring.outputPath,
             O_WRONLY | O_CREAT | O_TRUNC);
    if (wiring.closeOutput) {
        close(STDOUT_FILENO);
    }
    if (wiring.fileLimit != 0) {
        limitFiles(wiring.fileLimit);
    }
    if (!wiring.directory.empty() && chdir(wiring.directory.c_str()) != 0) {
        _exit(126);
    }
    const std::string temporary = root_ + "/temporary";
    setenv("TMPDIR", (wiring.temporary.empty() ? temporary : wiring.temporary).c_str(), 1);
    if (filters_.empty()) {
        unsetenv("QOB_FILTER_DIR");
    } else {
        setenv("QOB_FILTER_DIR", filters_.c_str(), 1);
    }
    std::string program = EMLTEXT;
    std::vector<std::string> texts = arguments;
    std::vector<char *> argv{program.data()};
    for (std::string &text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    execv(EMLTEXT, argv.data());
    _exit(127);
}

pid_t Tool::start(const std::vector<std::string> &arguments, const Wiring &wiring) const {
    std::ofstream(root_ + "/in", std::ios::binary) << wiring.input;
    std::ofstream(root_ + "/err", std::ios::trunc).flush();
    const pid_t child = fork();
    if (child == 0) {
        become(arguments, wiring);
    }
    return child;
}

Finished Tool::finish(pid_t process) const {
    int status = 0;
    waitpid(process, &status, 0);
    Finished result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(root_ + "/out"),
                    contentOf(root_ + "/err")};
    fs::remove(root_ + "/out");
    return result;
}

void Tool::kill9(pid_t process) {
    killed_ = true;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

Finished Tool::run(const std::vector<std::string> &arguments, const Wiring &wiring) const {
    return finish(start(arguments, wiring));
}

} // namespace tool_test
