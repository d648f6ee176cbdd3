// SPDX-License-Identifier: MIT
// The private directory of a run, for everything that must be gone when the run is over. A janitor
// process makes it and waits for the command's end: should that be killed, the janitor ends the
// workers that are left and removes the directory.
#pragma once

#include <string>

#include <sys/types.h>

namespace emltext {

class RunDirectory {
public:
    // Below $TMPDIR, or /tmp. Throws std::system_error when it cannot be made.
    RunDirectory();
    // Removes the directory and ends the janitor.
    ~RunDirectory();
    RunDirectory(const RunDirectory &) = delete;
    RunDirectory &operator=(const RunDirectory &) = delete;

    const std::string &path() const { return path_; }
    pid_t janitor() const { return janitor_; }

    // The process groups that must not outlive the command.
    void noteWorker(pid_t group) const;
    void forgetWorker(pid_t group) const;

private:
    int make(); // 0 or an errno
    void release() const;
    void tellJanitor(pid_t message) const;

    std::string path_;
    int pipe_ = -1;      // to the janitor
    pid_t janitor_ = -1; // -1: there is none, and a killed run leaves its files
};

} // namespace emltext
