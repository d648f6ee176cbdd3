// SPDX-License-Identifier: MIT
// The messages of an mbox file: where each begins and ends. One piece of the file is in memory,
// however long messages and lines are.
//
// A message begins behind a line that starts with "From ", at the beginning of the file or after an
// empty line. It ends before the empty line before the next one, or before the one at the end of
// the file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace emltext {

class MboxReader {
public:
    struct Message {
        uint64_t index; // from 1
        uint64_t offset;
        uint64_t length;
    };

    explicit MboxReader(const std::string &path);
    ~MboxReader();
    MboxReader(const MboxReader &) = delete;
    MboxReader &operator=(const MboxReader &) = delete;

    // The next message; nothing at the end, or when error() tells why not.
    std::optional<Message> next();

    int error() const { return error_; } // errno, or 0

private:
    struct Line {
        uint64_t start;
        uint64_t end; // behind its line end
        bool isEmpty;
        bool isFrom;
    };

    std::optional<Line> readLine();
    bool fill();

    int descriptor_;
    int error_ = 0;
    std::vector<char> piece_;
    std::size_t at_ = 0;     // in the piece
    std::size_t filled_ = 0; // bytes in the piece
    uint64_t position_ = 0;  // in the file, of the byte at at_
    uint64_t index_ = 0;
    std::optional<uint64_t> start_; // of the next message
};

} // namespace emltext
