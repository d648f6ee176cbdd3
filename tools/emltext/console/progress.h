// SPDX-License-Identifier: MIT
// A progress bar in the last line of a terminal, at most ten times a second. It makes place for
// lines that are to stay.
#pragma once

#include <chrono>

#include "console/tally.h"

namespace emltext {

class Progress {
public:
    // Not enabled, or standard error is no terminal: shows nothing.
    explicit Progress(bool enabled);
    // Clears the line.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    bool isShown() const { return shown_; }
    void update(const Tally &tally);
    void clear();

private:
    bool shown_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_{};
};

} // namespace emltext
