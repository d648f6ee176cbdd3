// SPDX-License-Identifier: MIT
// Texts of messages that wait in files for their turn.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace emltext {

// Gives the file to `take` piece by piece, until it returns false, and removes the file. False when
// the file could not be read to its end; a file that is not there is empty.
bool emptySpoolFile(const std::string &path, const std::function<bool(std::string_view)> &take);

} // namespace emltext
