// SPDX-License-Identifier: MIT
// A run of the command: messages to workers, what they make of them to the output, what went wrong
// to a person.
#pragma once

#include "console/options.h"

namespace emltext {

// Returns the exit status. Throws std::exception where there is no place for temporary files.
int runAll(const Options &options);

} // namespace emltext
