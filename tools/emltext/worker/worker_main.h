// SPDX-License-Identifier: MIT
// The life of a worker process, from the fork to its end.
#pragma once

#include <string>

#include <sys/types.h>

#include "console/options.h"

namespace emltext {

// Exit statuses of a worker beside 0, for the command to tell what happened.
enum WorkerExit {
    kWorkerExitedInside = 120, // a library called exit()
    kWorkerNotReady = 121      // it could not be set up as the options ask
};

struct WorkerSetup {
    const Options *options;
    int socket;            // to the command
    pid_t command;         // its number
    std::string directory; // for temporary files, exists
    std::string ownInput;  // of the only job: an input that it must wait for; "-" is standard
                           // input. Empty: jobs bring their inputs
};

// Serves jobs until the command ends the connection.
[[noreturn]] void workerMain(const WorkerSetup &setup);

} // namespace emltext
