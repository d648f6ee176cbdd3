// SPDX-License-Identifier: MIT
// Writing to a descriptor until everything is taken.
#pragma once

#include <string_view>

namespace emltext {

// False with errno set when not all of the bytes could be written.
bool writeWhole(int descriptor, std::string_view bytes);

} // namespace emltext
