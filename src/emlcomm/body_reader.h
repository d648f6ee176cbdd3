// SPDX-License-Identifier: MIT
// The body reader: chooses how a message's body is read, and dispatches the parts of a multipart
// body to the part walkers.
#ifndef QOB_EMLCOMM_BODY_READER_H
#define QOB_EMLCOMM_BODY_READER_H

#include "emlcomm/handle.h"

// Reads on in the body from the current block and returns when the block is used up, leaving the
// read position behind what it consumed; the driver calls it once per block. What must survive
// from one call to the next lives in the handle. EML_OK, or the code of what failed.
QOB_EXPORT int32_t EMLReadContent(ExtractionHandle *handle);

namespace eml {

// The loop guard of every body loop: whether the block and the file hold another line.
bool blockHasMore(const ExtractionHandle *handle);

// The two readers for bodies that are not walked part by part.
int32_t readSinglePart(ExtractionHandle *handle);
int32_t readTextWithBoundary(ExtractionHandle *handle);

} // namespace eml

#endif
