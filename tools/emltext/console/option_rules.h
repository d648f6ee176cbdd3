// SPDX-License-Identifier: MIT
// Which options go together, and what follows from them.
#pragma once

#include <string>

#include "console/options.h"

namespace emltext {

// Fills in what follows from other options and from the inputs: whether the output is a directory,
// unlimited unpacking. Returns what makes the command line wrong, in a sentence without a full
// stop, or nothing.
std::string settle(Options &options);

} // namespace emltext
