// SPDX-License-Identifier: MIT
// Options for the host, its text into a descriptor, its notices into notes. The text is collected
// in blocks: the host hands over a line at a time.
#include "worker/job_run.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include <unistd.h>

#include "worker/worker_protocol.h"

namespace emltext {
namespace {

constexpr std::size_t kBlock = 65536;

class TextWriter {
public:
    explicit TextWriter(int descriptor) : descriptor_(descriptor) { block_.reserve(kBlock); }

    QobSink sink() { return {&TextWriter::write, this}; }

    // Hands what is left to the system. False after any failure.
    bool flush() {
        std::string_view rest = block_;
        while (error_ == 0 && !rest.empty()) {
            const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
            if (count < 0 && errno != EINTR) {
                error_ = errno;
            }
            if (count > 0) {
                rest.remove_prefix(static_cast<std::size_t>(count));
            }
        }
        block_.clear();
        return error_ == 0;
    }

    int error() const { return error_; } // errno of the first failure, or 0

private:
    static int32_t write(void *context, const void *data, uint32_t length) {
        auto &writer = *static_cast<TextWriter *>(context);
        std::string_view rest(static_cast<const char *>(data), length);
        while (writer.error_ == 0 && !rest.empty()) {
            const std::size_t room = kBlock - writer.block_.size();
            writer.block_ += rest.substr(0, room);
            rest.remove_prefix(std::min(room, rest.size()));
            if (writer.block_.size() == kBlock) {
                writer.flush();
            }
        }
        return writer.error_ == 0 ? 1 : 0;
    }

    int descriptor_;
    std::string block_;
    int error_ = 0;
};

// Passes notices on as notes, up to the limit.
class NoticeCollector {
public:
    explicit NoticeCollector(NoteListener &listener) : listener_(listener) {}

    QobErrorCallback callback() { return {&NoticeCollector::report, this}; }

    void add(uint32_t attachment, int32_t code, const char *reason) {
        if (attachment == 0) {
            lastOwnCode_ = code;
        }
        ++count_;
        if (count_ <= kMaxNotes) {
            listener_.take({attachment, code, std::string(reason).substr(0, kMaxReason)});
        } else if (count_ == kMaxNotes + 1) {
            listener_.take({attachment, code, "more notes are left out"});
        }
    }

    // The code of the message itself, unless it was the last one to be told of it.
    void addOwn(int32_t code) {
        if (code != lastOwnCode_) {
            add(0, code, "");
        }
    }

private:
    static void report(void *context, const QobNotice *notice) {
        // The output's failure is told with its cause, when the extraction is over.
        if (notice->code == QOB_ERR_WRITE) {
            return;
        }
        try {
            static_cast<NoticeCollector *>(context)->add(notice->attachmentNumber, notice->code,
                                                         notice->reason != nullptr ? notice->reason
                                                                                   : "");
        } catch (const std::bad_alloc &) { // NOLINT(bugprone-empty-catch): one note less
        }
    }

    NoteListener &listener_;
    uint32_t count_ = 0;
    int32_t lastOwnCode_ = EML_OK;
};

QobExtractOptions hostOptions(const Options &options, const QobErrorCallback &callback,
                              const std::string &temporary) {
    QobExtractOptions host{};
    qob_extract_options_init(&host, sizeof host);
    host.type = QOB_TYPE_MESSAGE;
    host.charset = options.charset.c_str();
    host.language = options.language.c_str();
    host.tempDirectory = temporary.c_str();
    host.callback = &callback;
    host.maxOutput = options.maxOutput;
    host.newline = options.newline;
    host.depthLimit = options.depthLimit;
    host.labels = options.labels ? 1 : 0;
    host.attachments = options.attachments ? 1 : 0;
    host.log = options.log ? 1 : 0;
    host.maxUnpacked = options.maxUnpacked;
    host.maxParts = options.maxParts;
    host.maxRatio = options.maxRatio;
    host.maxSeconds = options.timeoutSeconds;
    return host;
}

} // namespace

Outcome extractJob(const std::string &path, int output, const Options &options,
                   const std::string &temporary, NoteListener &listener) {
    NoticeCollector notices(listener);
    const QobErrorCallback callback = notices.callback();
    const QobExtractOptions host = hostOptions(options, callback, temporary);
    TextWriter writer(output);
    const QobSink sink = writer.sink();
    QobExtractResult result{};
    Outcome outcome;
    outcome.code = qob_extract(path.c_str(), &sink, &host, &result);
    outcome.bytesOut = result.bytesWritten;
    if (!writer.flush()) {
        outcome.code = QOB_ERR_WRITE;
        notices.add(0, QOB_ERR_WRITE, std::strerror(writer.error()));
    } else if (outcome.code != EML_OK) {
        notices.addOwn(outcome.code);
    }
    outcome.truncated = outcome.code == EML_ERR_LIMIT;
    return outcome;
}

} // namespace emltext
