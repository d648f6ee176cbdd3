// SPDX-License-Identifier: MIT
// Carriage return, text, clear to the end of the line.
#include "console/progress.h"

#include <cstdio>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>

namespace emltext {
namespace {

using namespace std::chrono_literals;

constexpr auto kPause = 100ms;
constexpr std::size_t kUsualWidth = 80;

// Columns that can be written without the terminal going on to the next line.
std::size_t usableWidth() {
    struct winsize size {};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (known ? size.ws_col : kUsualWidth) - 1;
}

void print(const std::string &text) {
    static_cast<void>(std::fputs(text.c_str(), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace

Progress::Progress(bool enabled) : shown_(enabled && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    clear();
}

void Progress::update(const Tally &tally) {
    const auto now = std::chrono::steady_clock::now();
    const uint64_t known = tally.total.value_or(tally.messages + tally.messagesBefore);
    if (!shown_ || now < next_ || known < 2) {
        return;
    }
    print("\r" + progressLine(tally, usableWidth()) + "\x1B[K");
    drawn_ = true;
    next_ = now + kPause;
}

void Progress::clear() {
    if (drawn_) {
        print("\r\x1B[K");
        drawn_ = false;
    }
}

} // namespace emltext
