// SPDX-License-Identifier: MIT
// Orphaned descendants come to the nearest ancestor that asked for them (a "subreaper").
#include "worker/strays.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace emltext {
namespace {

// Children of ended strays come next; one that multiplies faster is left to the system.
constexpr int kRounds = 100;

bool hasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::vector<pid_t> children() {
    const std::string self = std::to_string(getpid());
    std::ifstream file("/proc/self/task/" + self + "/children");
    std::vector<pid_t> found;
    for (pid_t child = 0; file >> child;) {
        found.push_back(child);
    }
    return found;
}

} // namespace

Strays::Strays() : inCharge_(!hasChildren() && prctl(PR_SET_CHILD_SUBREAPER, 1) == 0) {}

Strays::~Strays() {
    if (inCharge_) {
        prctl(PR_SET_CHILD_SUBREAPER, 0);
    }
}

void Strays::end(const std::vector<pid_t> &known) const {
    for (int round = 0; inCharge_ && round < kRounds; ++round) {
        bool any = false;
        for (const pid_t child : children()) {
            if (std::find(known.begin(), known.end(), child) == known.end()) {
                any = true;
                kill(child, SIGKILL);
                while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
                }
            }
        }
        if (!any) {
            return;
        }
    }
}

} // namespace emltext
