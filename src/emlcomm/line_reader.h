// SPDX-License-Identifier: MIT
// The line reader: the only code that takes text out of the input.
//
// It cuts lines out of handle->readBuffer, moves blockPos, and loads the next block where a rule
// says so. A line is the run of bytes up to a CR LF, CR or LF; a longer one than 2047 bytes comes
// in pieces. Every routine writes into a line buffer of kLineBufferSize bytes, which it first
// clears and always terminates, and reads no byte at or beyond block position `limit`.
//
// A routine that returns a length returns EML_ERR_MEMORY instead when a block could not be loaded;
// no line is that long. From then on readBuffer is null and every reader answers the same.
#ifndef QOB_EMLCOMM_LINE_READER_H
#define QOB_EMLCOMM_LINE_READER_H

#include <string_view>

#include "emlcomm/handle.h"

// The next line, empty ones included. lineEndSeen tells an empty line (1) from the end of the data
// and from a line that the block or the buffer cut (0).
QOB_EXPORT int32_t MemEveryLineRead(ExtractionHandle *handle, char *line, int32_t limit);

// The next line that is not empty; 0 means the limit or the end of the data.
QOB_EXPORT int32_t MemLineRead(ExtractionHandle *handle, char *line, int32_t limit);

// The line at block position `position`, at most maxLength bytes, without consuming it. `line` has
// maxLength + 1 bytes (kLineBufferSize is enough for any maxLength). When the line runs out of the
// block, the block at the read position is loaded and read from its start instead.
QOB_EXPORT int32_t LineReadFromSeek(ExtractionHandle *handle, char *line, int32_t maxLength,
                                    int32_t position);

// 1 when the byte at the read position, or beyond the block in the file, begins more text; 0 when
// it is a line end. The end of the file counts as text.
QOB_EXPORT int32_t EnterRead(ExtractionHandle *handle, int32_t limit);

// Loads the block at the read position. 0, or EML_ERR_MEMORY at the end of the input as well as for
// a failed allocation.
QOB_EXPORT int32_t EmlReadAgain(ExtractionHandle *handle);

// As MemEveryLineRead with the line end kept in the line and counted. A line end that does not fit
// the buffer beside its line is left for the next call.
QOB_EXPORT int32_t MemLineRead_EndCrlf(ExtractionHandle *handle, char *line, int32_t limit);

// As MemLineRead, never loading a block, with the first byte of the line end kept in the line.
QOB_EXPORT int32_t MemLineRead_tmp(ExtractionHandle *handle, char *line, int32_t limit);

namespace eml {

// What refillBlock found.
enum class Refill { kReady, kInputUsedUp, kNoMemory };

// Called by the walkers before every line: moves the block to the read position when it is used up
// or nearly so. Never touches lastBlock.
Refill refillBlock(ExtractionHandle *handle);

// Whether a reader's result stands for a failed reload.
inline bool readFailed(int32_t length) {
    return length == EML_ERR_MEMORY;
}

// Read the next line into lineBuffer and its length into lineLength: as MemEveryLineRead (up to the
// block's end where no limit is given), and as MemLineRead. EML_OK or EML_ERR_MEMORY.
int32_t readLine(ExtractionHandle *handle, int32_t limit);
int32_t readLine(ExtractionHandle *handle);
int32_t readLineWithText(ExtractionHandle *handle, int32_t limit);

// What reading a walker's next line came to; a failure is always EML_ERR_MEMORY.
enum class NextLine { kRead, kInputUsedUp, kFailed };

// Refills the block and reads the next line, for the walkers.
NextLine readNextLine(ExtractionHandle *handle);

// Gives line after line to `takeLine` until it ends the walk by walk.ending or fails, or the input
// is used up. EML_OK, or the code of what failed.
template <typename Walk> int32_t takeLines(Walk &walk, int32_t (*takeLine)(Walk &)) {
    using Ending = decltype(walk.ending);
    int32_t code = EML_OK;
    while (code == EML_OK && walk.ending == Ending::kNone) {
        const NextLine next = readNextLine(walk.handle);
        if (next == NextLine::kRead) {
            code = takeLine(walk);
        } else if (next == NextLine::kInputUsedUp) {
            walk.ending = Ending::kInputUsedUp;
        } else {
            code = EML_ERR_MEMORY;
        }
    }
    return code;
}

// Reads the line at rereadPos again into lineBuffer, without moving on. EML_OK or EML_ERR_MEMORY.
int32_t rereadLine(ExtractionHandle *handle);

// The line now in lineBuffer.
inline std::string_view currentLine(const ExtractionHandle *handle) {
    return {handle->lineBuffer, static_cast<size_t>(handle->lineLength)};
}

// Replaces readBuffer by `size` cleared bytes filled from the input at blockStart, and sets
// blockLength. EML_ERR_MEMORY leaves the buffer null.
int32_t loadBlock(ExtractionHandle *handle, int32_t size);

} // namespace eml

#endif
