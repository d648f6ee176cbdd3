// SPDX-License-Identifier: MIT
// One thread; workers are waited for in short turns, so that signals and the progress bar have
// theirs.
#include "message_loop.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "console/report.h"
#include "console/signals.h"

namespace emltext {
namespace {

using namespace std::chrono_literals;

constexpr auto kTurn = 100ms;
constexpr auto kCountingTurn = 2ms;

bool isRegularFile(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Standard output on the terminal would be torn by a bar.
bool wantsProgress(const Options &options) {
    return !options.quiet && (options.outputPath || isatty(STDOUT_FILENO) != 1);
}

// Whether the inputs can be gone through a second time.
bool canCount(const Options &options) {
    return !options.filesFrom || (options.filesFrom != "-" && isRegularFile(*options.filesFrom));
}

Detail detailOf(const Options &options) {
    if (options.quiet) {
        return Detail::kMessages;
    }
    return options.verbose ? Detail::kEverything : Detail::kDamage;
}

// Failures of this machine at this moment; another run may do better.
bool isWorthAnotherTry(int32_t code) {
    return code == EML_ERR_OUTPUT || code == QOB_ERR_WRITE || code == QOB_ERR_TEMP ||
           code == kWorkerLost;
}

} // namespace

MessageLoop::MessageLoop(const Options &options, std::unique_ptr<WorkerPool> pool,
                         MessageOutput &output, ResumeState *state)
    : options_(options), pool_(std::move(pool)), output_(output), state_(state), source_(options),
      progress_(wantsProgress(options)) {
    if (progress_.isShown() && canCount(options)) {
        counter_.emplace(options);
    }
    if (state_ != nullptr) {
        state_->reserveNames(names_);
    }
}

void MessageLoop::run() {
    while (!failure_ && !mustEndAtOnce()) {
        beginMessages();
        if (pool_->running() == 0) {
            break;
        }
        for (Finished &finished : pool_->wait(counter_ ? 0ms : kTurn)) {
            running_.erase(finished.job.sequence);
            finish(std::move(finished));
        }
        countAhead();
        showProgress();
    }
    endAtOnce();
    tally_.elapsed = std::chrono::steady_clock::now() - start_;
    progress_.clear();
}

void MessageLoop::beginMessages() {
    while (!sourceEnded_ && !failure_ && signalCaught() == 0 && hasRoom()) {
        auto item = source_.next();
        if (!item) {
            sourceEnded_ = true;
            return;
        }
        const auto code = state_ != nullptr ? state_->takeFinished(item->job) : std::nullopt;
        if (code) {
            ++tally_.messagesBefore;
            tally_.failedBefore += *code != EML_OK ? 1 : 0;
        } else {
            begin(std::move(*item));
        }
        showProgress();
    }
}

// Messages that failed before a worker had them count as running until they are waited for.
bool MessageLoop::hasRoom() const {
    return pool_->hasRoom() && pool_->running() < options_.jobs && emitter_.hasRoom();
}

void MessageLoop::begin(SourceItem item) {
    Job job = std::move(item.job);
    job.sequence = nextSequence_++;
    if (item.error != 0) {
        refuse(std::move(job), EML_ERR_INPUT, item.error);
        return;
    }
    if (options_.outputIsDirectory) {
        job.name = names_.claim(job.name);
    }
    MessageOutput::Place place = output_.place(job);
    if (place.error != 0) {
        refuse(std::move(job), EML_ERR_OUTPUT, place.error);
        return;
    }
    running_.emplace(job.sequence, place.path);
    pool_->submit(std::move(job), std::move(place.path));
}

void MessageLoop::refuse(Job job, int32_t code, int error) {
    Finished finished{std::move(job), {}, ""};
    failWith(finished.outcome, code, error);
    finish(std::move(finished));
}

void MessageLoop::finish(Finished finished) {
    if (!output_.isOrdered()) {
        writeDown(std::move(finished));
        return;
    }
    emitter_.add(std::move(finished));
    while (!failure_) {
        auto next = emitter_.next();
        if (!next) {
            return;
        }
        writeDown(std::move(*next));
    }
}

void MessageLoop::writeDown(Finished finished) {
    if (!output_.take(finished)) {
        failure_ = output_.failure();
        return;
    }
    ++tally_.messages;
    tally_.failed += finished.outcome.code != EML_OK ? 1 : 0;
    tally_.bytesIn += finished.outcome.bytesIn;
    tally_.bytesOut += finished.outcome.bytesOut;
    report(finished);
    remember(finished);
}

void MessageLoop::remember(const Finished &finished) {
    const int32_t code = finished.outcome.code;
    const bool again = options_.outputIsDirectory && isWorthAnotherTry(code);
    if (state_ != nullptr && !again && !state_->append(finished.job, code, output_.size())) {
        failure_ = {*options_.resumePath, std::strerror(errno)};
    }
}

void MessageLoop::report(const Finished &finished) {
    const std::string name = displayName(finished.job);
    const Detail detail = detailOf(options_);
    for (const Note &note : finished.outcome.notes) {
        if (isWorthTelling(note, detail)) {
            progress_.clear();
            tell(failureLine(name, note.attachment, note.code, note.reason));
        }
    }
    if (options_.verbose) {
        progress_.clear();
        tell(messageLine(finished.job, finished.outcome));
    }
}

void MessageLoop::countAhead() {
    const auto end = std::chrono::steady_clock::now() + kCountingTurn;
    while (counter_ && std::chrono::steady_clock::now() < end) {
        if (counter_->next()) {
            ++counted_;
        } else {
            counter_.reset();
            tally_.total = counted_;
        }
    }
}

void MessageLoop::showProgress() {
    if (progress_.isShown()) {
        tally_.elapsed = std::chrono::steady_clock::now() - start_;
        progress_.update(tally_);
    }
}

// What is still running is ended, and leaves nothing behind.
void MessageLoop::endAtOnce() {
    pool_.reset();
    for (const auto &[sequence, path] : running_) {
        if (!path.empty()) {
            unlink(path.c_str());
        }
    }
}

} // namespace emltext
