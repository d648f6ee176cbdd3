// SPDX-License-Identifier: MIT
// A filter that does what its input says, one command a line; every other line is text and is
// written with a LF. It counts, cuts and shares its count as the e-mail filter does.
//
//   library          writes the filter's name
//   path-length      writes the length of the input's base name
//   on-disk          writes 1 when the input can be opened by its path, else 0
//   options, flags   write these fields of the parameters in hexadecimal
//   language         writes the language of the converter
//   insert PATH      hands the file over as an attachment
//   insert-body PATH hands the file over as an HTML body
//   bare TEXT        writes the text without a LF
//   wait MS          moves the clock of the test program
//   time             ends with the code that the time limit gives, if any
//   unpack N OF M    counts N bytes unpacked out of M, and ends with the code that the limits give
//   left             writes how many milliseconds are left
//   litter           leaves a file in the temporary directory and an open handle
//   report CODE      calls the error callback
//   fail CODE        returns the code
//
// The first insertion that returns a code ends the run with it, unless EML_FLAG_KEEP_GOING is set.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include <unistd.h>

#include "fake_clock.h"
#include "qob_conf_language.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "qob_limits.h"
#include "qob_notice.h"

namespace {

class ScriptRun {
public:
    ScriptRun(const char *path, QobStream *stream, const HostParams &params, void *callback)
        : path_(path), stream_(stream), params_(params), callback_(callback),
          session_(new SessionRecord()) {}
    ~ScriptRun() { delete session_; }
    ScriptRun(const ScriptRun &) = delete;
    ScriptRun &operator=(const ScriptRun &) = delete;

    int32_t run() {
        QobFile *file = QOB_FileOpen(path_, "rb");
        if (file == nullptr) {
            return EML_ERR_INPUT;
        }
        std::istringstream input(contentOf(file));
        QOB_FileClose(file);
        std::string line;
        while (!ended_ && std::getline(input, line)) {
            obey(line);
        }
        return result_;
    }

private:
    static std::string contentOf(QobFile *file) {
        std::string content;
        std::array<char, 4096> piece{};
        int32_t count = 0;
        while ((count = QOB_FileRead(piece.data(), 1, piece.size(), file)) > 0) {
            content.append(piece.data(), static_cast<std::size_t>(count));
        }
        return content;
    }

    void obey(const std::string &line) {
        const std::string command = line.substr(0, line.find(' '));
        const std::string argument =
            command.size() < line.size() ? line.substr(command.size() + 1) : std::string();
        if (command == "insert") {
            insert(argument, &params_);
        } else if (command == "insert-body") {
            HostParams copy = params_;
            copy.flags = 10;
            insert(argument, &copy);
        } else if (command == "bare") {
            say(argument);
        } else if (command == "wait") {
            advanceClockOfProgram(std::stoll(argument));
        } else if (command == "time") {
            askLimit(qob_limits_time());
        } else if (command == "unpack") {
            const uint64_t packed = std::stoull(argument.substr(argument.rfind(' ')));
            askLimit(qob_limits_unpacked(std::stoull(argument), packed));
        } else if (command == "litter") {
            litter();
        } else if (command == "report") {
            report(std::stoi(argument));
        } else if (command == "fail") {
            end(std::stoi(argument));
        } else {
            say(answer(line) + "\n");
        }
    }

    std::string answer(const std::string &line) const {
        std::array<char, 32> hex{};
        if (line == "options" || line == "flags") {
            std::snprintf(hex.data(), hex.size(), "%s=%x", line.c_str(),
                          line == "flags" ? params_.flags : params_.options);
            return hex.data();
        }
        if (line == "left") {
            return "left=" + std::to_string(qob_limits_milliseconds_left());
        }
        if (line == "library") {
            return "library=" FILTER_NAME;
        }
        if (line == "on-disk") {
            return std::string("on-disk=") + (access(path_, F_OK) == 0 ? "1" : "0");
        }
        if (line == "language") {
            return std::string("language=") + qob_conf_language();
        }
        if (line == "path-length") {
            const std::string name = std::string(path_).substr(std::string(path_).rfind('/') + 1);
            return "path-length=" + std::to_string(name.size());
        }
        return line;
    }

    void say(const std::string &text) {
        const auto length = static_cast<uint32_t>(text.size());
        if ((params_.options & EML_OPT_LIMIT_OUTPUT) == 0) {
            QOB_WriteStream(stream_, length, text.data());
            return;
        }
        const auto limit = static_cast<uint32_t>(params_.outputLimit);
        if (limitReached_ || count_ >= limit) {
            limitReached_ = true;
            return;
        }
        const uint32_t fitting = CutStr(text.data(), length, limit - count_, &params_);
        limitReached_ = fitting < length;
        QOB_WriteStream(stream_, fitting, text.data());
        count_ += fitting;
    }

    void insert(const std::string &path, const HostParams *params) {
        session_->attachmentNumber = insertions_++;
        session_->savedOutputCount = count_;
        const int32_t code = QOB_GetInsertFileTextStreamWithErrCallback(
            path.c_str(), stream_, params, session_, callback_);
        count_ = static_cast<uint32_t>(session_->savedOutputCount);
        if (code != 0) {
            result_ = code;
            ended_ = (params_.flags & EML_FLAG_KEEP_GOING) == 0;
        }
    }

    void askLimit(int32_t code) {
        if (code != EML_OK) {
            end(code);
        }
    }

    static void litter() {
        std::array<char, 4096> name{};
        QOB_ASC_tmpnam(name.data());
        QobFile *file = QOB_FileOpen(name.data(), "wb");
        QOB_FileWrite("x", 1, 1, file);
    }

    void report(int32_t code) const {
        const auto *target = static_cast<const QobErrorCallback *>(callback_);
        if (target != nullptr) {
            const QobNotice notice{path_, 0, code, "as the script says"};
            target->report(target->context, &notice);
        }
    }

    void end(int32_t code) {
        result_ = code;
        ended_ = true;
    }

    const char *path_;
    QobStream *stream_;
    const HostParams &params_;
    void *callback_;
    SessionRecord *session_;
    uint32_t count_ = 0;
    uint32_t insertions_ = 0;
    bool limitReached_ = false;
    bool ended_ = false;
    int32_t result_ = EML_OK;
};

} // namespace

QOB_HOST_EXPORT int32_t GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream,
                                                     const HostParams *params,
                                                     const void * /*callerRecord*/,
                                                     void *callback) {
    return ScriptRun(inputPath, stream, *params, callback).run();
}
