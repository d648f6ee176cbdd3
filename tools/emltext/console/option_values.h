// SPDX-License-Identifier: MIT
// Values of options that are numbers, as a person writes them.
#pragma once

#include <cstdint>
#include <string>

namespace emltext {

// Each rewrites `text` in plain decimal and returns what is wrong with it, or nothing. Leading
// zeros mean nothing: they would be taken for the sign of an octal number later on.

// A number of bytes; K, M and G behind it stand for powers of 1024.
std::string readBytes(std::string &text);

// A number from `least` to `most`.
std::string readNumber(std::string &text, uint64_t least, uint64_t most);

} // namespace emltext
