// SPDX-License-Identifier: MIT
// Charset names and conversion: the names found in messages become the host converter's names, and
// runs of bytes are converted into the output charset, or UTF-8, without control codes.
//
// A converter is set up and released for every run; nothing is cached here. A charset that the
// converter does not know makes a run convert to nothing, silently.
#ifndef QOB_EMLCOMM_CHARSET_H
#define QOB_EMLCOMM_CHARSET_H

#include "emlcomm/handle.h"

// Normalises a charset name in place. `name` is a buffer of kCharsetNameSize bytes that holds a
// NUL-terminated name of at most 31 characters. Always 0.
QOB_EXPORT int32_t TranType(ExtractionHandle *handle, char *name);

// Writes the converter name of a registered charset name or alias to `out` (20 bytes are enough);
// `out` is left alone when the alias is not known.
QOB_EXPORT void TransCharset(const char *alias, char *out);

// Converts `length` bytes from charsetName into the output charset and clears base64PadCount.
// `dst` has 4 x length + 1 bytes. The bytes written; 0 on any failure.
QOB_EXPORT uint32_t TransChar(ExtractionHandle *handle, const char *src, char *dst,
                              uint32_t length);

// The same into UTF-8, from charsetName when useCharset is not 0, else from ISO-8859-1.
QOB_EXPORT uint32_t TransCharutf8(ExtractionHandle *handle, const char *src, char *dst,
                                  uint32_t length, int32_t useCharset);

namespace eml {

enum class ConversionKind { kText, kLineEnd };

// The record for the next conversion of this call, valid until the one after it; marks the call's
// first conversion as begun.
const CconvOutputRecord *nextOutputRecord(ExtractionHandle *handle, ConversionKind kind);

// Converts `length` bytes. The bytes produced; 0 on failure.
uint32_t runConversion(CconvContext *context, const void *src, uint32_t length, void *dst,
                       uint32_t capacity);

// A buffer for `length` bytes converted, of at least `least` bytes; not cleared, since no more of
// it is read than the converter produced. Null when it cannot be had or its size does not fit 32
// bits.
Buffer newConversionBuffer(uint32_t length, uint32_t least);

// The charset to convert from now on.
void setCharsetName(ExtractionHandle *handle, const char *name);

// Takes over the whole charset field of the message or of the current part, bytes behind its
// terminator included, and normalises it. The result of TranType.
int32_t useMessageCharset(ExtractionHandle *handle);
int32_t usePartCharset(ExtractionHandle *handle);

} // namespace eml

#endif
