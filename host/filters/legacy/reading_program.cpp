// SPDX-License-Identifier: MIT
// See reading_program.h.
#include "reading_program.h"

#include <chrono>
#include <filesystem>
#include <thread>

#include "child.h"
#include "decoder.h"
#include "document_lines.h"
#include "qob_limits.h"
#include "qob_notice.h"

namespace qob::filters {
namespace {

struct Attempt {
    int32_t code = EML_OK; // QOB_ERR_HELPER: see reason
    bool wroteText = false;
    std::string reason;
};

uint64_t sizeOf(const char *path) {
    std::error_code failed;
    const auto size = std::filesystem::file_size(path, failed);
    return failed ? 0 : size;
}

std::string absolutePath(const char *path) {
    std::error_code failed;
    const auto absolute = std::filesystem::absolute(path, failed);
    return failed ? std::string(path) : absolute.string();
}

// The child's output into the document's text, as long as every limit allows.
class ProgramText {
public:
    explicit ProgramText(Extraction &extraction)
        : extraction_(extraction), fileSize_(sizeOf(extraction.inputPath)), decoder_("UTF-8"),
          lines_(extraction.output) {}

    bool take(std::string_view piece) {
        code_ = qob_limits_unpacked(piece.size(), fileSize_);
        if (code_ == EML_OK) {
            write(piece, false);
        }
        return code_ == EML_OK && extraction_.output.isOpen();
    }

    void finish() {
        write({}, true);
        lines_.finish();
    }

    int32_t code() const { return code_; }
    bool wroteText() const { return wroteText_; }

private:
    void write(std::string_view piece, bool last) {
        utf8_.clear();
        decoder_.decode(piece, last, utf8_);
        wroteText_ = wroteText_ || utf8_.find_first_not_of(" \t\r\n\f") != std::string::npos;
        lines_.text(utf8_);
    }

    Extraction &extraction_;
    uint64_t fileSize_;
    Decoder decoder_;
    DocumentLines lines_;
    std::string utf8_;
    int32_t code_ = EML_OK;
    bool wroteText_ = false;
};

bool succeeded(const ChildResult &result) {
    return result.end == ChildEnd::kExited && result.status <= 0;
}

// The extraction's own time may be what ended the program; the child's clock can be a little ahead.
int32_t limitThatEnded(const ChildResult &result) {
    constexpr uint64_t kClockStep = 2; // milliseconds
    if (result.end == ChildEnd::kTimedOut && qob_limits_milliseconds_left() <= kClockStep) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2 * kClockStep));
    }
    return qob_limits_time();
}

Attempt run(Extraction &extraction, const ReadingProgram &program) {
    Attempt attempt;
    ChildRequest request;
    request.program = findProgram(program.name);
    if (request.program.empty()) {
        attempt.code = QOB_ERR_HELPER;
        attempt.reason = std::string("the program ") + program.name +
                         " is missing; install the Debian package " + program.package;
        return attempt;
    }
    request.arguments = program.arguments;
    request.arguments.push_back(absolutePath(extraction.inputPath));
    ProgramText text(extraction);
    const ChildResult result =
        runChild(request, [&text](std::string_view piece) { return text.take(piece); });
    text.finish();
    attempt.wroteText = text.wroteText();
    if (result.end == ChildEnd::kStopped) {
        attempt.code = text.code();
        return attempt;
    }
    if (!succeeded(result)) {
        attempt.code = limitThatEnded(result);
        attempt.code = attempt.code == EML_OK ? int32_t{QOB_ERR_HELPER} : attempt.code;
        attempt.reason = describe(result, program.name);
    }
    return attempt;
}

} // namespace

int32_t runReadingPrograms(Extraction &extraction, const std::vector<ReadingProgram> &programs) {
    Attempt told;
    for (const ReadingProgram &program : programs) {
        Attempt attempt = run(extraction, program);
        if (attempt.code != QOB_ERR_HELPER) {
            return attempt.code;
        }
        const bool wroteText = attempt.wroteText;
        // What the first one met is told, for it is the one to install or to look at.
        if (told.code == EML_OK) {
            told = std::move(attempt);
        }
        if (wroteText) {
            break;
        }
    }
    if (told.code != EML_OK) {
        report(extraction, told.code, told.reason.c_str());
    }
    return told.code;
}

} // namespace qob::filters
