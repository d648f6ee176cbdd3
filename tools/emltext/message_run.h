// SPDX-License-Identifier: MIT
// Extracting one message the way the command line asks for.
#pragma once

#include <cstdint>
#include <string>

#include "options.h"
#include "output.h"

namespace emltext {

// Writes the text of `message` ("-": standard input) to the output and tells standard error what
// failed. Returns the result code.
int32_t runMessage(const std::string &message, const Options &options, Output &output);

} // namespace emltext
