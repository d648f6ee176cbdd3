// SPDX-License-Identifier: MIT
// fork, exec, wait; outputs go through files, so that no pipe can fill up.
#include "process.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool_test {
namespace fs = std::filesystem;

namespace {

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

} // namespace

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Tool::SetUp() {
    std::string pattern = (fs::temp_directory_path() / "tool-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    fs::create_directory(root_ + "/files");
    fs::create_directory(root_ + "/temporary");
}

void Tool::TearDown() {
    EXPECT_EQ(namesIn(root_ + "/temporary"), std::vector<std::string>{});
    fs::remove_all(root_);
}

std::string Tool::file(const std::string &name, const std::string &content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

std::vector<std::string> Tool::files() const {
    return namesIn(root_ + "/files");
}

void Tool::become(const std::vector<std::string> &arguments, const Wiring &wiring) const {
    redirect(STDIN_FILENO, root_ + "/in", O_RDONLY);
    redirect(STDERR_FILENO, root_ + "/err", O_WRONLY | O_CREAT | O_TRUNC);
    redirect(STDOUT_FILENO, wiring.outputPath.empty() ? root_ + "/out" : wiring.outputPath,
             O_WRONLY | O_CREAT | O_TRUNC);
    if (wiring.closeOutput) {
        close(STDOUT_FILENO);
    }
    setenv("TMPDIR", (root_ + "/temporary").c_str(), 1);
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

Finished Tool::run(const std::vector<std::string> &arguments, const Wiring &wiring) const {
    std::ofstream(root_ + "/in", std::ios::binary) << wiring.input;
    const pid_t child = fork();
    if (child == 0) {
        become(arguments, wiring);
    }
    int status = 0;
    waitpid(child, &status, 0);
    Finished result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(root_ + "/out"),
                    contentOf(root_ + "/err")};
    fs::remove(root_ + "/out");
    return result;
}

} // namespace tool_test
