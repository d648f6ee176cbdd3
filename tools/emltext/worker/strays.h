// SPDX-License-Identifier: MIT
// Processes that a dead worker left behind. They become children of the command, which ends them.
#pragma once

#include <vector>

#include <sys/types.h>

namespace emltext {

class Strays {
public:
    // Takes charge of all descendants, unless this process has children already: those could not be
    // told from strays.
    Strays();
    ~Strays();
    Strays(const Strays &) = delete;
    Strays &operator=(const Strays &) = delete;

    // Ends all children but the known ones, and theirs.
    void end(const std::vector<pid_t> &known) const;

private:
    bool inCharge_;
};

} // namespace emltext
