// SPDX-License-Identifier: MIT
// The quoted-printable decoder, one input line at a time, and the writer of decoded body text.
//
// Soft line breaks are joined across calls in handle->qpBuffer, so a soft-broken line at the very
// end of a part is decoded together with the next line given here.
#ifndef QOB_EMLCOMM_QUOTED_PRINTABLE_H
#define QOB_EMLCOMM_QUOTED_PRINTABLE_H

#include "emlcomm/handle.h"

// Takes one line of `length` bytes. Once the logical line is complete it is decoded and written:
// convert 0, unconverted into `target` (null in stream mode: nothing is written); convert 1,
// converted from charsetName into the output. A line end follows unless the text brought its own
// or encodedWordFlag is set. EML_OK, EML_ERR_MEMORY, or a failed myfwrite.
QOB_EXPORT int32_t analyzeQF(ExtractionHandle *handle, const char *line, uint32_t length,
                             QobFile *target, uint32_t convert);

// Decodes one line whose escapes are two decimal digits into convBuffer, cut to fit and
// terminated. Always 0.
QOB_EXPORT int32_t analyzeQF_Con(ExtractionHandle *handle, const char *line, uint32_t length);

// The byte that '=' and these two characters stand for; a character that is no hexadecimal digit
// counts with its own code.
QOB_EXPORT uint8_t atoi_my(const char *digits);

// Converts a whole buffer from charsetName and writes it to the output. The converted length; 0
// on any failure.
QOB_EXPORT uint32_t WriteStrToFile(ExtractionHandle *handle, const char *buffer, uint32_t length);

#endif
