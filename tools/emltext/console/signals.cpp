// SPDX-License-Identifier: MIT
// The handler only counts; waiting calls are interrupted by it.
#include "console/signals.h"

#include <atomic>
#include <csignal>

namespace emltext {
namespace {

std::atomic<int> firstSignal{0};
std::atomic<bool> second{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void note(int number) {
    int none = 0;
    if (!firstSignal.compare_exchange_strong(none, number)) {
        second = true;
    }
}

} // namespace

void catchSignals() {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction present {};
        if (sigaction(number, nullptr, &present) == 0 && present.sa_handler != SIG_IGN) {
            struct sigaction action {};
            action.sa_handler = &note;
            sigemptyset(&action.sa_mask);
            sigaction(number, &action, nullptr);
        }
    }
}

int signalCaught() {
    return firstSignal;
}

bool mustEndAtOnce() {
    return second;
}

} // namespace emltext
