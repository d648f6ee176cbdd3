// SPDX-License-Identifier: MIT
// The version that libqob_txeml.so.5 carries in its file. The library exports nothing but its
// interface, so that the text is read where `strings` would find it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace emltext {

// The text between the marker "@(#)" before "qob_txeml " and the next NUL, or nothing.
std::optional<std::string> versionIn(std::string_view library);

// The same for the library that this process reads messages with.
std::optional<std::string> libraryVersion();

} // namespace emltext
