// SPDX-License-Identifier: MIT
// Running emltext as a process and collecting what it prints.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tool_test {

struct Finished {
    int status; // exit status, or -1 when a signal ended the process
    std::string out;
    std::string err;
};

// Redirections of a run. Empty paths: standard input is empty, the outputs are collected.
struct Wiring {
    std::string input{};      // what standard input gives
    std::string outputPath{}; // a file or device instead of the collected standard output
    bool closeOutput = false; // standard output is closed
};

// A directory of the test's own with the subdirectories files and temporary; TMPDIR of the runs is
// the second, which must be empty at the end of the test.
class Tool : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Finished run(const std::vector<std::string> &arguments, const Wiring &wiring = {}) const;

    std::string path(const std::string &name) const { return root_ + "/files/" + name; }
    std::string file(const std::string &name, const std::string &content) const;
    std::vector<std::string> files() const;

    // The directory of the filters; empty: the real ones.
    std::string filters_ = SCRIPTED_FILTERS;

private:
    [[noreturn]] void become(const std::vector<std::string> &arguments, const Wiring &wiring) const;

    std::string root_;
};

std::string contentOf(const std::string &path);

} // namespace tool_test
