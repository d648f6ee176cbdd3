// SPDX-License-Identifier: MIT
// The line readers against the plain reader, in any order, on blocks of any size.
//
//  1. Every reader gives the bytes that the plain reader gives, and leaves the read position and
//     the block where it leaves them.
//  2. A line is terminated and has at most 2047 bytes; behind it the buffer is zero.
//  3. No byte behind the block or the file is read (address checker).
//  4. Read one line after the other, a file comes out whole, and each call moves on.
//
// The first byte is the number of calls, one byte for each call follows, then where the first
// block begins and how long it is; the rest, folded, is the file.
#include "emlcomm/line_reader.h"

#include <algorithm>
#include <memory>

#include "plain_reader.h"
#include "routine_handle.h"

namespace {

class Readers {
public:
    Readers(RoutineHandle &routine, PlainReader &plain) : routine_(routine), plain_(plain) {}

    void call(uint8_t choice) {
        const int32_t limit = limitOf(choice);
        switch (choice % 8) {
        case 0:
        case 1:
            compare(MemEveryLineRead(handle(), line(), limit), plain_.everyLine(limit));
            require(handle()->lineEndSeen == (plain_.lineEndSeen ? 1U : 0U),
                    "a line end is told from the end of the data");
            break;
        case 2:
            compare(MemLineRead(handle(), line(), limit), plain_.textLine(limit));
            break;
        case 3:
            compare(MemLineRead_EndCrlf(handle(), line(), limit), plain_.lineWithEnd(limit));
            break;
        case 4:
            compare(MemLineRead_tmp(handle(), line(), limit), plain_.lineWithFirstEndByte(limit));
            break;
        case 5:
            lookAhead(choice);
            break;
        case 6:
            require(EnterRead(handle(), limit) == (plain_.moreText() ? 1 : 0),
                    "what follows is told");
            break;
        default:
            refill();
            break;
        }
        comparePosition();
    }

private:
    ExtractionHandle *handle() { return &routine_.handle; }
    // A line buffer of exactly its size, in its last state.
    char *line() { return line_.get(); }

    int32_t limitOf(uint8_t choice) {
        const int32_t few = choice / 8 % 8;
        switch (choice / 64) {
        case 0:
            return handle()->blockLength;
        case 1:
            return kBlockSize;
        case 2:
            return handle()->blockPos + few;
        default:
            return handle()->blockLength - few;
        }
    }

    void lookAhead(uint8_t choice) {
        constexpr int32_t kLengths[] = {255, 290, 2047, 1, 0, 4000, 77, 3};
        const int32_t maxLength = kLengths[choice / 8 % 8];
        const int32_t position =
            choice >= 128 ? handle()->blockPos : handle()->blockLength - choice;
        compare(LineReadFromSeek(handle(), line(), maxLength, position),
                plain_.lineAt(maxLength, position), std::min(maxLength + 1, kLineBufferSize));
    }

    void refill() {
        const eml::Refill refilled = eml::refillBlock(handle());
        require(refilled != eml::Refill::kNoMemory, "memory is there");
        require((refilled == eml::Refill::kReady) == plain_.refill(), "the file's end is told");
    }

    void compare(int32_t length, const std::string &expected, int32_t cleared = kLineBufferSize) {
        require(length == static_cast<int32_t>(expected.size()) && length <= kMaxLineLength,
                "a line has the plain reader's length");
        require(std::equal(expected.begin(), expected.end(), line_.get()),
                "a line has the plain reader's bytes");
        require(std::all_of(line_.get() + length, line_.get() + cleared,
                            [](char c) { return c == '\0'; }),
                "the buffer behind a line is zero");
    }

    void comparePosition() {
        require(handle()->blockStart == plain_.start && handle()->blockPos == plain_.at &&
                    handle()->blockLength == plain_.length,
                "block and read position are the plain reader's");
    }

    RoutineHandle &routine_;
    PlainReader &plain_;
    std::unique_ptr<char[]> line_ = std::make_unique<char[]>(kLineBufferSize);
};

// A block at `start` as the driver or a reload makes it, or, at the file's end, a shorter one. A
// whole small file may be followed by a zero byte that counts as part of the block.
void loadBoth(RoutineHandle &routine, PlainReader &plain, const std::string &file, int32_t start,
              uint8_t shortBy) {
    constexpr uint8_t kOneLonger = 0xFF;
    routine.load(file, start);
    ExtractionHandle &handle = routine.handle;
    const bool oneLonger = shortBy == kOneLonger && start == 0;
    const int32_t size = handle.blockLength - (oneLonger ? -1 : shortBy);
    if (handle.blockLength < kBlockSize && size > 0) {
        QOB_FileSeek(handle.inputFile, start, 0);
        eml::loadBlock(&handle, size);
    }
    plain = {file, start, handle.blockLength};
}

// From the beginning to the end, block by block as the driver goes.
void readWhole(RoutineHandle &routine, const std::string &file) {
    ExtractionHandle *handle = &routine.handle;
    routine.load(file, 0);
    std::string text;
    int64_t before = -1;
    while (eml::refillBlock(handle) == eml::Refill::kReady) {
        require(eml::filePosition(handle) > before, "each call moves on");
        before = eml::filePosition(handle);
        const int32_t length = MemLineRead_EndCrlf(handle, handle->lineBuffer, handle->blockLength);
        text.append(handle->lineBuffer, static_cast<size_t>(length));
    }
    require(text == file, "a file comes out whole");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char *>(data), size);
    const uint8_t wanted = takeByte(bytes);
    const size_t count = std::min<size_t>(wanted, bytes.size());
    const std::string_view calls = bytes.substr(0, count);
    bytes.remove_prefix(count);
    const uint32_t high = takeByte(bytes);
    const uint32_t place = 256 * high + takeByte(bytes);
    const uint8_t shortBy = takeByte(bytes);
    const std::string file = foldIntoMail(bytes);
    if (file.empty()) {
        return 0; // the driver loads no block of an empty file
    }
    MemoryHost host({});
    RoutineHandle routine(host, {});
    PlainReader plain{file};
    loadBoth(routine, plain, file, static_cast<int32_t>(place % file.size()), shortBy);
    Readers readers(routine, plain);
    for (const char choice : calls) {
        readers.call(static_cast<uint8_t>(choice));
        if (plain.failed) {
            break; // callers read no further behind the end
        }
    }
    readWhole(routine, file);
    return 0;
}
