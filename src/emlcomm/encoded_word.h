// SPDX-License-Identifier: MIT
// Header values: plain text, quoted strings, addresses in angle brackets and encoded words
// (RFC 2047), written piece by piece, each converted from the charset that applies to it.
#ifndef QOB_EMLCOMM_ENCODED_WORD_H
#define QOB_EMLCOMM_ENCODED_WORD_H

#include "emlcomm/handle.h"

// The header reader's entry: analyzeSpecialName with its result left out. Always 0.
QOB_EXPORT int32_t analyzeAddress(ExtractionHandle *handle, const char *text);

// Writes one header value of at most kMaxLineLength characters (what is longer is left out).
// `mode` is not consulted. Sets encodedWordFlag, which the caller clears.
// EML_OK; EML_ERR_LIMIT when a decoder reached the output limit; EML_ERR_MEMORY.
QOB_EXPORT int32_t analyzeSpecialName(ExtractionHandle *handle, const char *text, int32_t mode);

#endif
