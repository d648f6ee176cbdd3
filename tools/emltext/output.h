// SPDX-License-Identifier: MIT
// Where emltext's text goes: standard output, or a file that is replaced when the text is complete.
#pragma once

#include <string>
#include <string_view>

#include "qob_extract.h"

namespace emltext {

class Output {
public:
    // Null: standard output.
    explicit Output(const std::string *path);
    // Discards what was not committed.
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    // False when the file could not be created; error() tells why.
    bool isOpen() const { return file_ != nullptr || toStandardOutput_; }

    QobSink sink();

    // Writes the line end unless the text so far is empty or ends with it.
    void beginLine(const std::string &lineEnd);

    // Hands everything so far to the system. False after any failure; nothing is taken after one.
    bool flush();

    // Makes the text final; false when that failed. Without it a file is left as it was.
    bool commit();

    int error() const { return error_; } // errno of the first failure, or 0
    const std::string &name() const { return name_; }

private:
    static int32_t write(void *context, const void *data, uint32_t length);
    void noteError();
    void noteTail(std::string_view text);

    bool toStandardOutput_;
    std::string name_; // for people
    QobOutputFile *file_ = nullptr;
    std::string tail_; // the last bytes taken
    int error_ = 0;
};

} // namespace emltext
