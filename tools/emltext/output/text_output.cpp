// SPDX-License-Identifier: MIT
// Texts in one stream. Also what a failed message gave before it failed.
#include "output/message_output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "output/line_end.h"
#include "output/spool_file.h"

namespace emltext {
namespace {

class TextOutput : public MessageOutput {
public:
    TextOutput(std::unique_ptr<ByteSink> sink, const Options &options, std::string spoolDirectory)
        : sink_(std::move(sink)), lineEnd_(lineEnd(options.charset, options.newline)),
          spoolDirectory_(std::move(spoolDirectory)) {}

    bool isOrdered() const override { return true; }

    Place place(const Job &job) override {
        return {spoolDirectory_ + "/" + std::to_string(job.sequence), 0};
    }

    bool take(Finished &finished) override {
        beginLine();
        const bool complete = emptySpoolFile(
            finished.textPath, [this](std::string_view text) { return append(text); });
        if (!complete) {
            failWith(finished.outcome, QOB_ERR_WRITE, errno);
        }
        anyText_ = anyText_ || gaveText(finished.outcome.code);
        return sink_->flush();
    }

    bool commit() override { return !anyText_ || sink_->commit(); }

    Failure failure() const override { return {sink_->name(), std::strerror(sink_->error())}; }

private:
    void beginLine() {
        if (!tail_.empty() && !tail_.ends_with(lineEnd_)) {
            append(lineEnd_);
        }
    }

    bool append(std::string_view text) {
        tail_ += text.substr(text.size() - std::min(text.size(), lineEnd_.size()));
        tail_.erase(0, tail_.size() - std::min(tail_.size(), lineEnd_.size()));
        return sink_->write(text);
    }

    std::unique_ptr<ByteSink> sink_;
    std::string lineEnd_;
    std::string spoolDirectory_;
    std::string tail_;     // the last bytes written
    bool anyText_ = false; // a message was extracted
};

class DirectOutput : public MessageOutput {
public:
    bool isOrdered() const override { return true; }
    Place place(const Job & /*job*/) override { return {}; }

    bool take(Finished &finished) override {
        for (const Note &note : finished.outcome.notes) {
            if (note.code == QOB_ERR_WRITE) {
                reason_ = note.reason;
            }
        }
        return finished.outcome.code != QOB_ERR_WRITE;
    }

    bool commit() override { return true; }
    Failure failure() const override { return {"standard output", reason_}; }

private:
    std::string reason_;
};

} // namespace

bool gaveText(int32_t code) {
    return code == EML_OK || code == EML_ERR_LIMIT;
}

void failWith(Outcome &outcome, int32_t code, int error) {
    outcome.code = code;
    outcome.notes.push_back({0, code, std::strerror(error)});
}

std::unique_ptr<MessageOutput> textOutput(std::unique_ptr<ByteSink> sink, const Options &options,
                                          std::string spoolDirectory) {
    return std::make_unique<TextOutput>(std::move(sink), options, std::move(spoolDirectory));
}

std::unique_ptr<MessageOutput> directOutput() {
    return std::make_unique<DirectOutput>();
}

} // namespace emltext
