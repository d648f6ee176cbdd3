// SPDX-License-Identifier: MIT
// Every fixed size of the filter, named once. docs/limits.md tells what reaching each one does.
#ifndef QOB_EMLCOMM_LIMITS_H
#define QOB_EMLCOMM_LIMITS_H

#include <cstddef>
#include <cstdint>

// Bytes of input held at a time.
inline constexpr int32_t kBlockSize = 16384;
// A walker moves the block on when no more than this many bytes are left, so that an ordinary
// line of 76 characters and its line end never straddles a block end.
inline constexpr int32_t kBlockMargin = 77;
// Line buffers, and the longest line that they take; a longer line is read in pieces.
inline constexpr int32_t kLineBufferSize = 2048;
inline constexpr int32_t kMaxLineLength = kLineBufferSize - 1;
// Converted text before it is written: the longest line, converted, fits.
inline constexpr uint32_t kConvBufferSize = 8192;
static_assert(4 * kMaxLineLength + 1 <= static_cast<int32_t>(kConvBufferSize));
// File names and paths, terminator included.
inline constexpr size_t kPathSize = 4096;
// The first capacity of the quoted-printable accumulation buffer.
inline constexpr uint32_t kQpBufferSize = 2048;
// Display names of attachments, terminator included.
inline constexpr uint32_t kAttachNameSize = 2048;
// Handle fields, terminator included.
inline constexpr size_t kBoundarySize = 80;
inline constexpr size_t kMessageCharsetSize = 20;
inline constexpr size_t kPartCharsetSize = 32;
// charsetName receives whole copies of partCharset, and TranType may look two bytes past a
// terminator in it.
inline constexpr size_t kCharsetNameSize = 64;

#endif
