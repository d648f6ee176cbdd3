// SPDX-License-Identifier: MIT
// The reader of the message's own header.
#ifndef QOB_EMLCOMM_HEADER_READER_H
#define QOB_EMLCOMM_HEADER_READER_H

#include "emlcomm/handle.h"

// Reads the lines before the first empty line out of the current block, writes From, To, Cc, Bcc
// and Subject under their labels in the order of the file and the Date line last (or in place when
// all five came before it), and records content type, boundary, charset and transfer encoding.
//
// EML_OK; EML_ERR_OUTPUT when the output file cannot be opened; EML_ERR_FORMAT when an empty line
// comes before any of the five fields; EML_ERR_MEMORY; or a failed write of a label.
QOB_EXPORT int32_t EMLReadHeader(ExtractionHandle *handle);

#endif
