// SPDX-License-Identifier: MIT
// The extraction handle: the one record that carries all state of one call, and the routines that
// set it up and release it.
//
// An entry point makes it, zero-filled, as an automatic object and passes it to every routine.
// Nothing in it outlives the call, so separate calls never share anything.
#ifndef QOB_EMLCOMM_HANDLE_H
#define QOB_EMLCOMM_HANDLE_H

#include <memory>

#include "emlcomm/limits.h"
#include "export.h"
#include "qob_host.h"
#include "qob_txeml.h"

// The options word, decoded: 1 or 0 each, newlineMode 1 to 5.
struct OptionsBlock {
    uint32_t optPlainFlag;
    uint32_t opt1000;
    uint32_t opt2000;
    uint32_t opt4000;
    uint32_t opt8000;
    uint32_t limitOutput;
    uint32_t unused6;
    uint32_t unused7;
    uint32_t opt8000000;
    uint32_t newlineMode;
};
static_assert(sizeof(OptionsBlock) == 40);

struct ExtractionHandle {
    SessionRecord *sessionRecord;
    QobFile *outputFile; // file mode; closed by the entry point
    QobFile *inputFile;
    int32_t fileSize; // bytes of input
    int32_t bigEndian;
    int32_t convStarted;          // 1 once the first conversion was begun
    uint32_t textWritten;         // 1 once body text or a line end was written
    int32_t replaceUnconvertible; // the converter writes '?' for what it cannot convert
    uint32_t outputOpenFailed;
    OptionsBlock options;
    uint32_t outputLimit; // bytes, in force when options.limitOutput is set
    const HostParams *hostParams;
    const char *outputPath; // file mode
    uint16_t callerWord;
    uint32_t outputCount;  // bytes of text written so far, counted while a limit is in force
    uint32_t limitReached; // 1 once text was cut or dropped
    QobLog *logFile;
    uint32_t logBorrowed; // non-zero: myFreeMem leaves the log open

    // Quoted-printable text of a logical line that is not complete yet. Bytes from qpBufferUsed
    // to qpBufferSize are zero.
    char *qpBuffer;
    uint32_t qpBufferUsed;
    uint32_t qpBufferSize;

    char *readBuffer;        // the current block; null after a failed reload
    char *lineBuffer;        // kLineBufferSize bytes and a NUL; zero from lineLength on
    char *convBuffer;        // kConvBufferSize bytes and a NUL
    uint32_t convBufferUsed; // the first bytes of it that may not be zero

    int32_t blockStart;    // file offset of readBuffer[0]
    int32_t blockPos;      // next unread byte of the block
    int32_t blockLength;   // bytes in the block; 0 or less: the block sets no limit
    int32_t lineStartMark; // never written
    int32_t lineStartPos;  // blockPos where the last line began
    int32_t lineLength;    // bytes of the line now in lineBuffer

    char boundary[kBoundarySize];
    int32_t contentType;
    char charset[kMessageCharsetSize];
    int32_t transferEncoding;

    char charsetName[kCharsetNameSize]; // the charset of the text being converted now
    CconvOutputRecord outputRecord;     // of the last conversion; its reserved bytes stay zero

    // The current body part: the outer set, and the set of a nested multipart that
    // inNestedPart selects.
    char partCharset[kPartCharsetSize];
    char partBoundary[kBoundarySize];
    int32_t partContentType;
    int32_t partTransferEncoding;
    int32_t inNestedPart;
    char nestedCharset[kPartCharsetSize];
    char nestedBoundary[kBoundarySize]; // not terminated when 80 bytes were copied
    int32_t nestedContentType;
    int32_t nestedTransferEncoding;

    int32_t base64PadCount;  // '=' pads of the current base64 data
    int32_t attachmentCount; // attachments and embedded messages met so far
    int32_t partHasName;     // the part header names a file
    char attachmentDigits[10];
    int32_t attachmentDigitsLength;

    int32_t htmlPending; // an HTML file of an earlier block waits for its hand-over
    int32_t lastBlock;   // readBuffer holds the last block of the file
    char htmlTempName[kPathSize];

    int32_t encodedWordFlag; // decoded text is part of a header value: no line end after it
    char defaultCharset[12];
    QobStream *outputStream;
    uint32_t streamMode; // 1: text goes to outputStream
    void *errCallback;
    uint32_t fileMode;     // 1: text goes to outputFile
    int32_t rereadPos;     // block position of a part-header line to be read again
    int32_t rereadPending; // 1: the next line is read from rereadPos
    uint32_t lineEndSeen;  // 1: MemEveryLineRead stopped at a line end
    char attachTmpName[kPathSize];
    int32_t result;   // a failed insertion's code that did not end the call
    char base64Carry; // analyzeBase64_aaaa: the character kept for the next line, or NUL
};

// Decodes the options word into `options`.
QOB_EXPORT void TransOption(OptionsBlock *options, uint32_t optionsWord);

// size + 1 bytes of host memory with a terminating zero; the rest is not cleared. Null on failure.
// The caller releases it with QOB_free.
QOB_EXPORT char *allocBuffer(uint32_t size);

// Releases every buffer of the handle and closes its log. Safe to call twice.
QOB_EXPORT void myFreeMem(ExtractionHandle *handle);

// The first byte in the low half, or in the high half when `swap` is not 0.
QOB_EXPORT uint16_t EMLGetWord(const uint8_t *bytes, int32_t swap);

// The value as stored, byte-reversed when `swap` is not 0.
QOB_EXPORT uint32_t EMLGetDWord(const uint32_t *value, int32_t swap);

// Always 0.
QOB_EXPORT int32_t IsCPUBigEndian_eml();
QOB_EXPORT int32_t analyzeContent();

namespace eml {

// Host memory that frees itself.
struct HostFree {
    void operator()(char *block) const { QOB_free(block); }
};
using Buffer = std::unique_ptr<char[], HostFree>;

// A buffer of allocBuffer(size), cleared; null on failure.
Buffer newBuffer(uint32_t size);

// Frees a buffer of the handle and forgets it; null is skipped.
void freeBuffer(char *&buffer);

// The file offset of the next unread byte. 64 bits: a position behind the end of a 2 GiB file must
// not wrap.
inline int64_t filePosition(const ExtractionHandle *handle) {
    return static_cast<int64_t>(handle->blockStart) + handle->blockPos;
}

// Moves the block's start on by `bytes`, stopping at the largest file offset.
void advanceBlockStart(ExtractionHandle *handle, int32_t bytes);

// Whether temporary names are bound to the session record, labels are wanted, and so on.
inline bool hasFlag(const ExtractionHandle *handle, uint32_t flag) {
    return (handle->hostParams->flags & flag) != 0;
}

// Copies text into a field of `capacity` bytes, cut to fit and always terminated. Null text is
// empty text.
void copyText(char *field, size_t capacity, const char *text);

} // namespace eml

#endif
