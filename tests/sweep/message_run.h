// SPDX-License-Identifier: MIT
// One whole call of an entry point on the sweep's host, and what it came to.
#ifndef QOB_TESTS_MESSAGE_RUN_H
#define QOB_TESTS_MESSAGE_RUN_H

#include <optional>
#include <string>
#include <vector>

#include "sweep_host.h"
#include "swept_messages.h"

enum class Mode { kFile, kStream };

inline const char *nameOf(Mode mode) {
    return mode == Mode::kFile ? "File" : "Stream";
}

// What stood in the output file before the call.
inline const std::string kOldOutput = "what was there before";

// What is left when a call, or a walker, has returned.
struct Remains {
    std::vector<std::string> files; // beside the input and the output
    int openFiles = 0;
    int openLogs = 0;
    int openConverters = 0;
    size_t blocks = 0;
    int failedRemovals = 0;
    std::vector<std::string> misuse;
};

struct MessageRun {
    int32_t code = -1;
    std::optional<std::string> output; // the output file, or the stream's text
    Remains remains;
    std::vector<std::string> created; // files, in order
    std::array<int, kServiceCount> calls = {};
    int allCalls = 0;
    std::optional<FaultSite> site; // where the fault was reached
};

HostParams paramsOf(const SweptMessage &message);

MessageRun runMessage(const SweptMessage &message, Mode mode,
                      const std::optional<Fault> &fault = std::nullopt);

// Every fault of a sweep: each call of each service, alone and together with all later ones, reads
// and writes also in part. `calls` are those of a run without a fault.
std::vector<Fault> faultsOf(const std::array<int, kServiceCount> &calls);

std::string toldOf(const Fault &fault);

// What the host holds beside files of the names given.
Remains remainsOf(const SweepHost &host, const std::vector<std::string> &known);

#endif
