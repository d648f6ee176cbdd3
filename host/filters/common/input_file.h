// SPDX-License-Identifier: MIT
// A file that is read from the start to the end in pieces, more than once if need be.
#ifndef QOB_FILTERS_INPUT_FILE_H
#define QOB_FILTERS_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>

#include "qob_host.h"

namespace qob::filters {

class InputFile {
public:
    // What one read brings at most. Even, so that pieces of UTF-16 text hold whole code units.
    static constexpr std::size_t kPieceSize = 65536;

    explicit InputFile(const char *path)
        : file_(QOB_FileOpen(path, "rb")), piece_(new (std::nothrow) char[kPieceSize]) {}
    ~InputFile() {
        if (file_ != nullptr) {
            QOB_FileClose(file_);
        }
    }
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    bool isOpen() const { return file_ != nullptr && piece_ != nullptr; }

    // Bytes of the file, 0 when that cannot be told.
    uint64_t size() const {
        const uint32_t size = QOB_FileTellSize(file_);
        return size != UINT32_MAX ? size : 0;
    }

    // Moves to `offset` bytes from the start. False when the file does not let itself be moved in.
    bool rewind(std::size_t offset) {
        return offset <= INT32_MAX && QOB_FileSeek(file_, static_cast<int32_t>(offset), 0) == 0;
    }

    // The next piece, good until the next call; empty at the end of the file.
    std::string_view read() {
        const int32_t count =
            QOB_FileRead(piece_.get(), 1, static_cast<int32_t>(kPieceSize), file_);
        return {piece_.get(), count > 0 ? static_cast<std::size_t>(count) : 0};
    }

private:
    QobFile *file_;
    std::unique_ptr<char[]> piece_; // not on the stack: files in files run one inside the other
};

} // namespace qob::filters

#endif
