// SPDX-License-Identifier: MIT
// The part walkers. Each reads on from the current read position, moves the input block itself,
// leaves the position behind the last line it consumed, and returns EML_OK or an error code.
//
// Before a walker returns an error it closes and removes its temporary files and frees its
// buffers; what a rule leaves behind on purpose is told where it happens.
#ifndef QOB_EMLCONTENT_PART_WALKERS_H
#define QOB_EMLCONTENT_PART_WALKERS_H

#include "emlcomm/handle.h"

// A text part of a mixed message, up to the next message boundary.
QOB_EXPORT int32_t Mix_Content_OnePart(ExtractionHandle *handle);

// A multipart/alternative or related part inside another multipart. Entered with its Content-Type
// line in lineBuffer, already analysed.
QOB_EXPORT int32_t Mix_Content_alter(ExtractionHandle *handle);

// The text alternatives of a message that is itself multipart/alternative or related. Entered with
// a part's Content-Type line in lineBuffer, already analysed.
QOB_EXPORT int32_t Mix_Content_Only(ExtractionHandle *handle);

// One entry of a digest, a whole message; attachmentCount counts it already. Returns 1 after a
// completed entry and leaves the delimiter line that ended it to be read again.
QOB_EXPORT int32_t Mix_attach_list(ExtractionHandle *handle);

// One attachment or embedded message. Entered with the part's Content-Type line read and analysed,
// and with rereadPending set when a line that names the file stood before it.
QOB_EXPORT int32_t Mix_attach(ExtractionHandle *handle);

#endif
