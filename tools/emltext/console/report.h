// SPDX-License-Identifier: MIT
// What emltext tells a person, on standard error: one line for each failure, with the file, the
// result code's name and its meaning.
#pragma once

#include <cstdint>
#include <string>

#include "job.h"

namespace emltext {

// The name of a result code and what it means, also for those of the command itself.
std::string codeName(int32_t code);
std::string codeMeaning(int32_t code);

// How a message is called in front of people: its path, and its index in an mbox.
std::string displayName(const Job &job);

// One line without its line end. `reason` may be empty; it is left out when it only repeats the
// code's meaning. An attachment number of 0 speaks of the message itself.
std::string failureLine(const std::string &file, uint32_t attachmentNumber, int32_t code,
                        const std::string &reason);

// One line about a message, whatever became of it.
std::string messageLine(const Job &job, const Outcome &outcome);

// Which notes a person wants to hear of.
enum class Detail {
    kMessages,  // only what is about messages themselves
    kDamage,    // also about attachments, but not about those that have no text by nature
    kEverything // also about those
};

bool isWorthTelling(const Note &note, Detail detail);

// A file name that cannot disturb a terminal: control characters are shown as "?".
std::string printable(const std::string &text);

// Prints a line to standard error. What cannot be told there cannot be told at all.
void tell(const std::string &line);

// Prints text to standard output. False when that did not take it, which is told.
bool printed(const std::string &text);

} // namespace emltext
