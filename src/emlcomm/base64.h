// SPDX-License-Identifier: MIT
// The base64 decoder, one input line at a time.
//
// Lines are decoded independently: a group split across two lines is not rejoined. Invalid
// characters, missing padding and lines of odd length are no errors; the only failure is memory.
// base64PadCount counts the pads of the current data across lines; the walkers clear it at each
// part, and every conversion does.
#ifndef QOB_EMLCOMM_BASE64_H
#define QOB_EMLCOMM_BASE64_H

#include "emlcomm/handle.h"

// The alphabet, '=' at position 64, and a NUL. Exported and writable: the decoders use it as it
// stands when they are called.
extern "C" __attribute__((visibility("default"))) char Base64Alphatbet[66];

// Map one character to its value; one that has none, and '.' in the first, leaves *value alone. The
// first knows '=' as 64 and NUL as 65, the second counts '=' as a pad. Always 0.
QOB_EXPORT int32_t convertAlphatbet(ExtractionHandle *handle, char character, uint8_t *value);
QOB_EXPORT int32_t convertAlphatbet64(ExtractionHandle *handle, char character, uint8_t *value);

// Decode one group of 4 values to 3 bytes; the second leaves out as many as were padded.
QOB_EXPORT void DoBase64(ExtractionHandle *handle, const uint8_t *values, uint8_t *out);
QOB_EXPORT void DoBase64_end(ExtractionHandle *handle, const uint8_t *values, uint8_t *out);

// Decodes a line of `count` values. `values` is readable, and `out` writable, up to the end of the
// last group that begins before `count`, and of at least one group.
QOB_EXPORT void conver64toNormal(ExtractionHandle *handle, const uint8_t *values, uint8_t *out,
                                 uint32_t count);

// Decodes one body line of at most kMaxLineLength bytes into `target`. A line that ends in '=' is
// the end of the data only when the next line is empty. EML_OK or EML_ERR_MEMORY.
QOB_EXPORT int32_t analyzeBase64_tmpfile(ExtractionHandle *handle, const char *line,
                                         uint32_t length, QobFile *target);

// Decodes one encoded word of at most kMaxLineLength characters, converts it from charsetName
// through convBuffer and writes it to the output. The result of myfwrite, or EML_ERR_MEMORY.
QOB_EXPORT int32_t analyzeBase64(ExtractionHandle *handle, const char *text, uint32_t length);

// As analyzeBase64_tmpfile, but the last character of a line whose length, with what was kept
// before, is no multiple of 4 is kept for the next line, and the text is converted and written to
// the output.
QOB_EXPORT int32_t analyzeBase64_aaaa(ExtractionHandle *handle, const char *line, uint32_t length,
                                      QobFile *target);

// As analyzeBase64_tmpfile, but the values themselves are written, `length` bytes.
QOB_EXPORT int32_t analyzeBase64_tmpfileutf8(ExtractionHandle *handle, const char *line,
                                             uint32_t length, QobFile *target);

#endif
