// SPDX-License-Identifier: MIT
// The loop of a run: as many messages at work as there are workers, and every one that comes back
// written down, in order where the output wants it.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "console/options.h"
#include "console/progress.h"
#include "console/tally.h"
#include "input/message_source.h"
#include "output/message_output.h"
#include "output/name_table.h"
#include "output/ordered_emitter.h"
#include "output/resume_state.h"
#include "worker/worker_pool.h"

namespace emltext {

class MessageLoop {
public:
    // `state` is null without --resume. Everything must outlive the loop.
    MessageLoop(const Options &options, std::unique_ptr<WorkerPool> pool, MessageOutput &output,
                ResumeState *state);

    // Runs until everything is done, the output fails, or a signal asks for the end.
    void run();

    const Tally &tally() const { return tally_; }

    // Set when the output or the state file took no more.
    const std::optional<MessageOutput::Failure> &failure() const { return failure_; }

private:
    void beginMessages();
    bool hasRoom() const;
    void begin(SourceItem item);
    void refuse(Job job, int32_t code, int error);
    void finish(Finished finished);
    void writeDown(Finished finished);
    void remember(const Finished &finished);
    void report(const Finished &finished);
    void countAhead();
    void showProgress();
    void endAtOnce();

    const Options &options_;
    std::unique_ptr<WorkerPool> pool_;
    MessageOutput &output_;
    ResumeState *state_;
    MessageSource source_;
    std::optional<MessageSource> counter_; // runs ahead to know how many messages there are
    uint64_t counted_ = 0;
    bool sourceEnded_ = false;
    uint64_t nextSequence_ = 0;
    NameTable names_;
    OrderedEmitter emitter_;
    std::map<uint64_t, std::string> running_; // where their texts are being written
    std::optional<MessageOutput::Failure> failure_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    Tally tally_;
    Progress progress_; // the last member: its line is cleared first
};

} // namespace emltext
