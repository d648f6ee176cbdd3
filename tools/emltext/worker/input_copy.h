// SPDX-License-Identifier: MIT
// Private copies of messages that cannot be read where they are: from a pipe, out of an mbox file,
// or by a process that may not open files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltext {

struct InputCopy {
    std::string reason; // why there is none, for a person; empty: all went well
    uint64_t bytes = 0;
};

// Copies what the descriptor gives up to its end, at most 2^31 - 1 bytes, to a new file `path`.
InputCopy copyInput(int from, const std::string &path);

// The same for `length` bytes from `offset` on, a message of an mbox file: each line that begins
// with one or more '>' and "From " loses one '>'.
InputCopy copyMboxMessage(int from, uint64_t offset, uint64_t length, const std::string &path);

// Takes the quoting of an mbox file off, piece by piece.
class FromUnquoter {
public:
    // The text that is certain so far; good until the next call. end() gives the rest.
    std::string_view feed(std::string_view piece);
    std::string_view end();

private:
    void feedLineStart(char byte);
    void release();

    bool atLineStart_ = true;
    bool holdsMark_ = false; // a '>' that goes when "From " follows; those behind it were passed on
    std::size_t matched_ = 0; // of "From "
    std::string text_;
};

} // namespace emltext
