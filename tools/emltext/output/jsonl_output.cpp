// SPDX-License-Identifier: MIT
// One JSON object a line. A text may be far longer than what fits in memory: it is written piece by
// piece between the fields before it and the notes. Bytes that are no UTF-8 become U+FFFD.
#include "output/message_output.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

#include "console/report.h"
#include "output/spool_file.h"

namespace emltext {
namespace {

using Json = nlohmann::ordered_json;

std::string valid(const Json &value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// How many bytes at the end of the text are the beginning of a UTF-8 character.
std::size_t unfinished(std::string_view text) {
    constexpr std::size_t kLongestStart = 3;
    for (std::size_t back = 1; back <= std::min(kLongestStart, text.size()); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        const std::size_t length = byte >= 0xF0U ? 4 : byte >= 0xE0U ? 3 : byte >= 0xC0U ? 2 : 1;
        if (byte < 0x80U || byte >= 0xC0U) {
            return length > back ? back : 0;
        }
    }
    return 0;
}

class JsonLinesOutput : public MessageOutput {
public:
    JsonLinesOutput(std::unique_ptr<ByteSink> sink, std::string spoolDirectory, uint64_t size)
        : sink_(std::move(sink)), spoolDirectory_(std::move(spoolDirectory)), size_(size) {}

    bool isOrdered() const override { return true; }

    Place place(const Job &job) override {
        return {spoolDirectory_ + "/" + std::to_string(job.sequence), 0};
    }

    bool take(Finished &finished) override {
        std::string head = valid(fieldsBeforeText(finished));
        head.back() = ',';
        write(head + "\"text\":\"");
        const bool complete = emptySpoolFile(
            finished.textPath, [this](std::string_view text) { return writeText(text); });
        if (!complete) {
            // The code is written already; the notes tell what became of the text.
            failWith(finished.outcome, QOB_ERR_WRITE, errno);
        }
        writePiece(std::exchange(held_, {}));
        write("\",\"notes\":" + valid(notesOf(finished.outcome)) + "}\n");
        return sink_->flush();
    }

    bool commit() override { return sink_->commit(); }
    uint64_t size() const override { return size_; }
    Failure failure() const override { return {sink_->name(), std::strerror(sink_->error())}; }

private:
    static Json fieldsBeforeText(const Finished &finished) {
        const Outcome &outcome = finished.outcome;
        Json fields;
        fields["path"] = finished.job.path;
        if (finished.job.index != 0) {
            fields["index"] = finished.job.index;
        }
        fields["code"] = outcome.code;
        fields["code_name"] = codeName(outcome.code);
        fields["truncated"] = outcome.truncated;
        fields["bytes_in"] = outcome.bytesIn;
        fields["bytes_out"] = outcome.bytesOut;
        fields["milliseconds"] = outcome.milliseconds;
        return fields;
    }

    static Json notesOf(const Outcome &outcome) {
        Json notes = Json::array();
        for (const Note &note : outcome.notes) {
            notes.push_back({{"attachment", note.attachment},
                             {"code", note.code},
                             {"code_name", codeName(note.code)},
                             {"reason", note.reason}});
        }
        return notes;
    }

    // Holds back what may be the beginning of a character that goes on in the next piece.
    bool writeText(std::string_view text) {
        held_ += text;
        const std::size_t whole = held_.size() - unfinished(held_);
        const std::string rest = held_.substr(whole);
        held_.resize(whole);
        const bool written = writePiece(held_);
        held_ = rest;
        return written;
    }

    bool writePiece(const std::string &text) {
        const std::string quoted = valid(text);
        return write(std::string_view(quoted).substr(1, quoted.size() - 2));
    }

    bool write(std::string_view bytes) {
        size_ += bytes.size();
        return sink_->write(bytes);
    }

    std::unique_ptr<ByteSink> sink_;
    std::string spoolDirectory_;
    uint64_t size_;
    std::string held_;
};

} // namespace

std::unique_ptr<MessageOutput> jsonLinesOutput(std::unique_ptr<ByteSink> sink,
                                               std::string spoolDirectory, uint64_t size) {
    return std::make_unique<JsonLinesOutput>(std::move(sink), std::move(spoolDirectory), size);
}

} // namespace emltext
