// SPDX-License-Identifier: MIT
// Display names of attachments, as part headers give them.
#ifndef QOB_EMLCONTENT_ATTACHMENT_NAME_H
#define QOB_EMLCONTENT_ATTACHMENT_NAME_H

#include <string_view>

#include "emlcomm/handle.h"

namespace eml {

// Whether the line holds "filename=" or "FileName=".
bool namesFile(std::string_view line);

// Copies the name for a part that gives none: "attachment", with ".eml" for a message. `name` has
// kAttachNameSize bytes, here and below.
void copyUnnamed(char *name, bool isMessage);

// Copies the last quoted text of the line. When no quote is closed on it the name goes on, or
// begins, on the line at the read position, which is not consumed.
void copyFileName(ExtractionHandle *handle, std::string_view line, char *name);

// Makes lineBuffer a "filename=" line of the first name parameter with a quote in the block,
// whatever it belongs to. False, and nothing done, when there is none before the read position.
bool replaceLineByName(ExtractionHandle *handle);

} // namespace eml

#endif
