// SPDX-License-Identifier: MIT
// Puts a run together and sums it up.
#include "run.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "console/report.h"
#include "console/signals.h"
#include "input/input_kind.h"
#include "message_loop.h"
#include "output/message_output.h"
#include "output/resume_state.h"
#include "worker/sandbox.h"
#include "worker/worker_pool.h"

namespace emltext {
namespace {

// Its text needs not wait for others.
bool isOneMessageToStandardOutput(const Options &options) {
    return options.inputs.size() == 1 && !options.filesFrom && !options.outputPath &&
           !options.jsonLines && inputKind(options.inputs.front()) == InputKind::kMessage;
}

std::unique_ptr<ByteSink> openSink(const Options &options, const ResumeState *state) {
    if (!options.outputPath) {
        return standardOutput();
    }
    return state != nullptr ? growingFile(*options.outputPath, state->outputSize())
                            : replacingFile(*options.outputPath);
}

// Null with errno set when the output cannot be created.
std::unique_ptr<MessageOutput> openOutput(const Options &options, const ResumeState *state,
                                          const std::string &spoolDirectory) {
    if (options.outputIsDirectory) {
        std::error_code failure;
        std::filesystem::create_directories(*options.outputPath, failure);
        errno = failure.value();
        return failure ? nullptr : treeOutput(*options.outputPath);
    }
    if (isOneMessageToStandardOutput(options)) {
        return directOutput();
    }
    auto sink = openSink(options, state);
    if (sink == nullptr) {
        return nullptr;
    }
    return options.jsonLines ? jsonLinesOutput(std::move(sink), spoolDirectory,
                                               state != nullptr ? state->outputSize() : 0)
                             : textOutput(std::move(sink), options, spoolDirectory);
}

int tellWhyNotOpened(const Options &options, const ResumeState *state) {
    if (state != nullptr && errno == EINVAL) {
        tell("emltext: " + *options.outputPath + " is not the file that " + *options.resumePath +
             " tells of: it is too short; remove both to begin anew");
        return kWrongUsage;
    }
    tell(failureLine(*options.outputPath, 0, EML_ERR_OUTPUT, std::strerror(errno)));
    return kMessageFailed;
}

int sumUp(const Options &options, const MessageLoop &loop, bool written) {
    const Tally &tally = loop.tally();
    const int signal = signalCaught();
    if (!options.quiet && written && tally.messages + tally.messagesBefore > 1) {
        tell(summaryLine(tally, signal != 0));
    }
    if (signal != 0) {
        return kEndedBySignal + signal;
    }
    return written && tally.failed + tally.failedBefore == 0 ? kAllWell : kMessageFailed;
}

int runWith(const Options &options, ResumeState *state) {
    auto pool = std::make_unique<WorkerPool>(options);
    const auto output = openOutput(options, state, pool->spoolDirectory());
    if (output == nullptr) {
        return tellWhyNotOpened(options, state);
    }
    MessageLoop loop(options, std::move(pool), *output, state);
    loop.run();
    auto failure = loop.failure();
    if (!failure && !output->commit()) {
        failure = output->failure();
    }
    if (failure) {
        tell(failureLine(failure->name, 0, QOB_ERR_WRITE, failure->reason));
    }
    return sumUp(options, loop, !failure);
}

} // namespace

int runAll(const Options &options) {
    if (options.sandbox == Options::Sandbox::kRequired) {
        const std::string reason = whyNoSandbox();
        if (!reason.empty()) {
            tell("emltext: there is no sandbox on this system: " + reason +
                 "; leave --sandbox out to go without one");
            return kMessageFailed;
        }
    }
    catchSignals();
    if (!options.resumePath) {
        return runWith(options, nullptr);
    }
    ResumeState state;
    if (const auto problem = state.open(*options.resumePath, options)) {
        tell("emltext: " + problem->sentence);
        return problem->exitStatus;
    }
    return runWith(options, &state);
}

} // namespace emltext
