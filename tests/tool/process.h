// SPDX-License-Identifier: MIT
// Running emltext as a process and collecting what it prints.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

namespace tool_test {

struct Finished {
    int status; // exit status, or -1 when a signal ended the process
    std::string out;
    std::string err;
};

// Redirections of a run. Empty paths: standard input is empty, the outputs are collected.
struct Wiring {
    std::string input{};         // what standard input gives
    std::string outputPath{};    // a file or device instead of the collected standard output
    bool closeOutput = false;    // standard output is closed
    int terminal = -1;           // standard error is this terminal
    std::string directory{};     // the working directory
    std::string temporary{};     // TMPDIR instead of the usual one
    unsigned long fileLimit = 0; // bytes that a file can grow to; 0: none
};

// A directory of the test's own with the subdirectories files and temporary; TMPDIR of the runs is
// the second, which must be empty at the end of the test.
class Tool : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Finished run(const std::vector<std::string> &arguments, const Wiring &wiring = {}) const;

    // The same in two steps; a process that is to be killed is none of a finished run's.
    pid_t start(const std::vector<std::string> &arguments, const Wiring &wiring = {}) const;
    Finished finish(pid_t process) const;
    void kill9(pid_t process);

    // Where standard error is collected.
    std::string errorOutput() const { return root_ + "/err"; }

    std::string path(const std::string &name) const { return root_ + "/files/" + name; }

    // Writes a file, and makes the directories that its name asks for.
    std::string file(const std::string &name, const std::string &content) const;
    std::vector<std::string> files() const;

    // The directory of the filters; empty: the real ones.
    std::string filters_ = SCRIPTED_FILTERS;

private:
    [[noreturn]] void become(const std::vector<std::string> &arguments, const Wiring &wiring) const;

    std::string root_;
    bool killed_ = false;
};

std::string contentOf(const std::string &path);

// Names of the regular files below a directory, hidden ones too, with their contents, in byte
// order: "name: content\n" each.
std::string treeOf(const std::string &directory);

// Whether there is something in the file, or comes within ten seconds.
bool waitForContent(const std::string &path);

} // namespace tool_test
