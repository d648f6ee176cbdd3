// SPDX-License-Identifier: MIT
// A file that is read from the start to the end in pieces, more than once if need be.
#ifndef QOB_FILTERS_INPUT_FILE_H
#define QOB_FILTERS_INPUT_FILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "qob_host.h"

namespace qob::filters {

class InputFile {
public:
    // What one read brings at most. Even, so that pieces of UTF-16 text hold whole code units.
    static constexpr std::size_t kPieceSize = 65536;

    explicit InputFile(const char *path) : file_(QOB_FileOpen(path, "rb")) {}
    ~InputFile() {
        if (file_ != nullptr) {
            QOB_FileClose(file_);
        }
    }
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    bool isOpen() const { return file_ != nullptr; }

    // Moves to `offset` bytes from the start. False when the file does not let itself be moved in.
    bool rewind(std::size_t offset) {
        return offset <= INT32_MAX && QOB_FileSeek(file_, static_cast<int32_t>(offset), 0) == 0;
    }

    // The next piece, good until the next call; empty at the end of the file.
    std::string_view read() {
        const int32_t count =
            QOB_FileRead(piece_.data(), 1, static_cast<int32_t>(piece_.size()), file_);
        return {piece_.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
    }

private:
    QobFile *file_;
    std::array<char, kPieceSize> piece_;
};

} // namespace qob::filters

#endif
