// SPDX-License-Identifier: MIT
// The line readers again, slow and obvious: no block is loaded, every byte is taken from the whole
// file, and the block is nothing but two numbers.
#ifndef QOB_FUZZ_PLAIN_READER_H
#define QOB_FUZZ_PLAIN_READER_H

#include <cstdint>
#include <string>
#include <string_view>

struct PlainReader {
    std::string_view file;
    int64_t start = 0;  // of the block in the file
    int64_t length = 0; // of the block
    int64_t at = 0;     // the next unread byte of the block
    bool lineEndSeen = false;
    bool failed = false; // a block was asked for behind the end

    std::string everyLine(int64_t limit);
    std::string textLine(int64_t limit);
    std::string lineWithEnd(int64_t limit);
    std::string lineWithFirstEndByte(int64_t limit);
    std::string lineAt(int64_t maxLength, int64_t position);
    bool moreText() const;
    void loadAgain();
    // False when the file is used up.
    bool refill();

private:
    bool readable(int64_t limit) const;
    char byteAt(int64_t position) const; // of the block, also behind its end
    bool lineEndAt(int64_t position) const;
    std::string copy(int64_t limit);
    void skipLineEnds(int64_t limit);
    void load();
    void consumeLineEnd();
    int64_t lineEndLength() const;
};

#endif
