// SPDX-License-Identifier: MIT
// The line reader: lines out of the current block, and the blocks themselves.
#include "emlcomm/line_reader.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "emlcomm/chars.h"

namespace {

// How far the current block may be read: up to the limit, the block's end and the file's end.
int32_t readableEnd(const ExtractionHandle *handle, int32_t limit) {
    int64_t end =
        std::min<int64_t>(limit, static_cast<int64_t>(handle->fileSize) - handle->blockStart);
    if (handle->blockLength > 0) {
        end = std::min<int64_t>(end, handle->blockLength);
    }
    return static_cast<int32_t>(std::max<int64_t>(end, 0));
}

bool isLineEnd(char c) {
    return c == '\r' || c == '\n';
}

#if defined(__SSE2__)

// Moves `from` on over whole groups of 16 bytes without a line end; true when it stopped at one.
bool skipToLineEnd(const char *&from, const char *stop) {
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i lf = _mm_set1_epi8('\n');
    for (; stop - from >= 16; from += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
        const int ends =
            _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, cr), _mm_cmpeq_epi8(bytes, lf)));
        if (ends != 0) {
            from += __builtin_ctz(static_cast<unsigned>(ends));
            return true;
        }
    }
    return false;
}

#else

bool skipToLineEnd(const char *& /*from*/, const char * /*stop*/) {
    return false;
}

#endif

// The first line end of [from, stop), or stop.
const char *findLineEnd(const char *from, const char *stop) {
    return skipToLineEnd(from, stop) ? from : std::find_if(from, stop, isLineEnd);
}

// Copies the rest of the line, at most kMaxLineLength bytes, and returns its length. blockPos is
// left at the byte that ended it, which `atLineEnd` says is a CR or LF.
int32_t copyLine(ExtractionHandle *handle, char *line, int32_t limit, bool &atLineEnd) {
    const int32_t end = readableEnd(handle, limit);
    atLineEnd = false;
    if (handle->blockPos >= end) {
        return 0;
    }
    const char *from = handle->readBuffer + handle->blockPos;
    const char *stop = from + std::min(end - handle->blockPos, kMaxLineLength);
    const char *lineEnd = findLineEnd(from, stop);
    const auto length = static_cast<int32_t>(lineEnd - from);

    std::memcpy(line, from, static_cast<size_t>(length));
    handle->blockPos += length;
    atLineEnd = handle->blockPos < end && isLineEnd(*lineEnd);
    return length;
}

bool isLastOfBlock(const ExtractionHandle *handle) {
    return handle->blockPos + 1 >= handle->blockLength;
}

// Makes the byte at blockPos the first of a new block. Never touches lastBlock.
int32_t reloadAtReadPosition(ExtractionHandle *handle) {
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    eml::advanceBlockStart(handle, handle->blockPos);
    handle->blockPos = 0;
    QOB_FileSeek(handle->inputFile, handle->blockStart, 0);
    const int32_t remaining = handle->fileSize - handle->blockStart;
    if (remaining < kBlockSize) {
        return eml::loadBlock(handle, remaining);
    }
    // A full block follows only a full block, whose buffer is large enough.
    std::memset(handle->readBuffer, 0, kBlockSize);
    QOB_FileRead(handle->readBuffer, 1, kBlockSize, handle->inputFile);
    handle->blockLength = kBlockSize;
    return EML_OK;
}

// Whether a CR LF pair stands at the read position.
bool atCrLf(const ExtractionHandle *handle) {
    const char *bytes = handle->readBuffer + handle->blockPos;
    const bool pairInBlock = handle->blockLength <= 0 || handle->blockPos + 1 < handle->blockLength;
    return bytes[0] == '\r' && pairInBlock && bytes[1] == '\n';
}

// Consumes the line end at blockPos. When it is the block's last byte the next block is loaded
// first, so that a CR LF pair split across two blocks is seen whole.
int32_t consumeLineEnd(ExtractionHandle *handle) {
    if (isLastOfBlock(handle)) {
        if (const int32_t code = reloadAtReadPosition(handle); code != EML_OK) {
            return code;
        }
    }
    handle->blockPos += atCrLf(handle) ? 2 : 1;
    return EML_OK;
}

// Skips the run of CR and LF at the read position, but not the byte at limit - 1.
void skipLineEnds(ExtractionHandle *handle, int32_t limit) {
    const int32_t end = readableEnd(handle, limit);
    while (handle->blockPos < end && handle->blockPos < limit - 1 &&
           isLineEnd(handle->readBuffer[handle->blockPos])) {
        ++handle->blockPos;
    }
}

// MemEveryLineRead; nothing behind the line is cleared.
int32_t readEveryLine(ExtractionHandle *handle, char *line, int32_t limit) {
    handle->lineEndSeen = 0;
    handle->lineStartPos = handle->blockPos;
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    bool atLineEnd = false;
    const int32_t length = copyLine(handle, line, limit, atLineEnd);
    if (atLineEnd) {
        if (const int32_t code = consumeLineEnd(handle); code != EML_OK) {
            return code;
        }
        handle->lineEndSeen = 1;
    }
    return length;
}

// MemLineRead; nothing behind the line is cleared.
int32_t readTextLine(ExtractionHandle *handle, char *line, int32_t limit) {
    handle->lineStartPos = handle->lineStartMark;
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    skipLineEnds(handle, limit);
    bool atLineEnd = false;
    const int32_t length = copyLine(handle, line, limit, atLineEnd);
    if (atLineEnd) {
        if (const int32_t code = consumeLineEnd(handle); code != EML_OK) {
            return code;
        }
    }
    return length;
}

// Takes over what a reader put over the line in lineBuffer. Only what that line had more is
// cleared; after a failed reload, when part of a line was put there, all.
int32_t takeLineLength(ExtractionHandle *handle, int32_t length) {
    if (eml::readFailed(length)) {
        std::memset(handle->lineBuffer, 0, kLineBufferSize);
        handle->lineLength = 0;
        return EML_ERR_MEMORY;
    }
    if (length < handle->lineLength) {
        std::memset(handle->lineBuffer + length, 0,
                    static_cast<size_t>(handle->lineLength - length));
    }
    handle->lineLength = length;
    return EML_OK;
}

} // namespace

QOB_EXPORT int32_t MemEveryLineRead(ExtractionHandle *handle, char *line, int32_t limit) {
    std::memset(line, 0, kLineBufferSize);
    return readEveryLine(handle, line, limit);
}

QOB_EXPORT int32_t MemLineRead(ExtractionHandle *handle, char *line, int32_t limit) {
    std::memset(line, 0, kLineBufferSize);
    return readTextLine(handle, line, limit);
}

QOB_EXPORT int32_t LineReadFromSeek(ExtractionHandle *handle, char *line, int32_t maxLength,
                                    int32_t position) {
    const int32_t capacity = std::clamp(maxLength, 0, kMaxLineLength);
    std::memset(line, 0, static_cast<size_t>(capacity) + 1);
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    if (maxLength < 1 || position < 0 ||
        static_cast<int64_t>(handle->blockStart) + position >= handle->fileSize) {
        return 0;
    }
    int32_t length = 0;
    int32_t at = position;
    while (length < capacity && static_cast<int64_t>(handle->blockStart) + at < handle->fileSize) {
        if (handle->blockLength > 0 && at >= handle->blockLength) {
            if (EmlReadAgain(handle) != EML_OK) {
                break;
            }
            std::memset(line, 0, static_cast<size_t>(capacity) + 1);
            length = 0;
            at = 0;
        }
        const char c = handle->readBuffer[at];
        if (isLineEnd(c)) {
            break;
        }
        line[length] = c;
        ++length;
        ++at;
    }
    return length;
}

QOB_EXPORT int32_t EnterRead(ExtractionHandle *handle, int32_t limit) {
    char next = '\0';
    const bool inBlock = handle->blockLength <= 0 || handle->blockPos < handle->blockLength;
    if (handle->readBuffer != nullptr && handle->blockPos < limit && inBlock) {
        next = handle->readBuffer[handle->blockPos];
    } else if (eml::filePosition(handle) < handle->fileSize) {
        QOB_FileSeek(handle->inputFile, handle->blockStart + handle->blockPos, 0);
        QOB_FileRead(&next, 1, 1, handle->inputFile);
        QOB_FileSeek(handle->inputFile, handle->blockStart, 0);
    }
    return isLineEnd(next) ? 0 : 1;
}

QOB_EXPORT int32_t EmlReadAgain(ExtractionHandle *handle) {
    eml::advanceBlockStart(handle, handle->blockPos);
    if (handle->blockStart >= handle->fileSize) {
        return EML_ERR_MEMORY;
    }
    handle->blockPos = 0;
    QOB_FileSeek(handle->inputFile, handle->blockStart, 0);
    const int32_t remaining = handle->fileSize - handle->blockStart;
    if (remaining < kBlockSize) {
        handle->lastBlock = 1;
    }
    return eml::loadBlock(handle, std::min(remaining, kBlockSize));
}

QOB_EXPORT int32_t MemLineRead_EndCrlf(ExtractionHandle *handle, char *line, int32_t limit) {
    std::memset(line, 0, kLineBufferSize);
    handle->lineStartPos = handle->lineStartMark;
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    bool atLineEnd = false;
    int32_t length = copyLine(handle, line, limit, atLineEnd);
    if (!atLineEnd) {
        return length;
    }
    if (isLastOfBlock(handle)) {
        if (const int32_t code = reloadAtReadPosition(handle); code != EML_OK) {
            return code;
        }
    }
    const int32_t lineEndLength = atCrLf(handle) ? 2 : 1;
    if (length + lineEndLength <= kMaxLineLength) {
        std::memcpy(line + length, handle->readBuffer + handle->blockPos,
                    static_cast<size_t>(lineEndLength));
        handle->blockPos += lineEndLength;
        length += lineEndLength;
    }
    return length;
}

QOB_EXPORT int32_t MemLineRead_tmp(ExtractionHandle *handle, char *line, int32_t limit) {
    std::memset(line, 0, kLineBufferSize);
    handle->lineStartPos = handle->lineStartMark;
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    skipLineEnds(handle, limit);
    bool atLineEnd = false;
    int32_t length = copyLine(handle, line, limit, atLineEnd);
    if (atLineEnd && length < kMaxLineLength) {
        line[length] = handle->readBuffer[handle->blockPos];
        ++handle->blockPos;
        ++length;
    }
    return length;
}

namespace eml {

int32_t loadBlock(ExtractionHandle *handle, int32_t size) {
    freeBuffer(handle->readBuffer);
    handle->readBuffer = allocBuffer(static_cast<uint32_t>(size));
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    std::memset(handle->readBuffer, 0, static_cast<size_t>(size));
    QOB_FileRead(handle->readBuffer, 1, size, handle->inputFile);
    handle->blockLength = size;
    return EML_OK;
}

Refill refillBlock(ExtractionHandle *handle) {
    if (filePosition(handle) >= handle->fileSize) {
        return Refill::kInputUsedUp;
    }
    if (handle->readBuffer == nullptr) {
        return Refill::kNoMemory;
    }
    if (handle->blockLength - handle->blockPos > kBlockMargin) {
        return Refill::kReady;
    }
    return reloadAtReadPosition(handle) == EML_OK ? Refill::kReady : Refill::kNoMemory;
}

int32_t readLine(ExtractionHandle *handle, int32_t limit) {
    return takeLineLength(handle, readEveryLine(handle, handle->lineBuffer, limit));
}

int32_t readLine(ExtractionHandle *handle) {
    return readLine(handle, handle->blockLength);
}

int32_t readLineWithText(ExtractionHandle *handle, int32_t limit) {
    return takeLineLength(handle, readTextLine(handle, handle->lineBuffer, limit));
}

NextLine readNextLine(ExtractionHandle *handle) {
    switch (refillBlock(handle)) {
    case Refill::kInputUsedUp:
        return NextLine::kInputUsedUp;
    case Refill::kReady:
        return readLine(handle) == EML_OK ? NextLine::kRead : NextLine::kFailed;
    default:
        return NextLine::kFailed;
    }
}

int32_t rereadLine(ExtractionHandle *handle) {
    return takeLineLength(
        handle, LineReadFromSeek(handle, handle->lineBuffer, kMaxLineLength, handle->rereadPos));
}

} // namespace eml
