// SPDX-License-Identifier: MIT
// Writing, with every failure noted.
#include "output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace emltext {
namespace {

constexpr std::size_t kLongestLineEnd = 8; // CR LF in UTF-32

} // namespace

Output::Output(const std::string *path)
    : toStandardOutput_(path == nullptr), name_(path == nullptr ? "standard output" : *path) {
    if (path != nullptr) {
        file_ = qob_output_open(path->c_str());
        if (file_ == nullptr) {
            noteError();
        }
    }
}

Output::~Output() {
    if (file_ != nullptr) {
        qob_output_close(file_, 0);
    }
}

QobSink Output::sink() {
    return {&Output::write, this};
}

int32_t Output::write(void *context, const void *data, uint32_t length) {
    auto &output = *static_cast<Output *>(context);
    if (output.error_ != 0) {
        return 0;
    }
    errno = 0;
    const bool taken = output.toStandardOutput_ ? std::fwrite(data, 1, length, stdout) == length
                                                : qob_output_write(output.file_, data, length) != 0;
    if (!taken) {
        output.noteError();
        return 0;
    }
    output.noteTail({static_cast<const char *>(data), length});
    return 1;
}

void Output::noteTail(std::string_view text) {
    tail_ += text.substr(text.size() - std::min(text.size(), kLongestLineEnd));
    tail_.erase(0, tail_.size() - std::min(tail_.size(), kLongestLineEnd));
}

void Output::beginLine(const std::string &lineEnd) {
    if (!tail_.empty() && !tail_.ends_with(lineEnd)) {
        write(this, lineEnd.data(), static_cast<uint32_t>(lineEnd.size()));
    }
}

bool Output::flush() {
    if (toStandardOutput_ && error_ == 0 && std::fflush(stdout) != 0) {
        noteError();
    }
    return error_ == 0;
}

bool Output::commit() {
    if (!flush() || toStandardOutput_) {
        return error_ == 0;
    }
    const bool done = qob_output_close(file_, 1) == 0;
    if (!done) {
        noteError();
    }
    file_ = nullptr;
    return done;
}

void Output::noteError() {
    if (error_ == 0) {
        error_ = errno != 0 ? errno : EIO;
    }
}

} // namespace emltext
