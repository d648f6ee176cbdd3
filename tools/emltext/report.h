// SPDX-License-Identifier: MIT
// What emltext tells a person, on standard error: one line for each failure, with the file, the
// result code's name and its meaning.
#pragma once

#include <cstdint>
#include <string>

#include "qob_notice.h"

namespace emltext {

// One line without its line end. `reason` may be null or empty; it is left out when it only repeats
// the code's meaning. attachmentNumber 0 speaks of the message itself.
std::string failureLine(const std::string &file, uint32_t attachmentNumber, int32_t code,
                        const char *reason);

// Prints a line to standard error. What cannot be told there cannot be told at all.
void tell(const std::string &line);

// Prints text to standard output. False when that did not take it, which is told.
bool printed(const std::string &text);

// Prints a failureLine to standard error.
void printFailure(const std::string &file, uint32_t attachmentNumber, int32_t code,
                  const char *reason);

// Whether a person wants to hear of it: not of attachments that have no text by nature, and not of
// the output, which is reported once for all messages.
bool isWorthTelling(const QobNotice &notice);

} // namespace emltext
