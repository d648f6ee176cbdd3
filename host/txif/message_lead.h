// SPDX-License-Identifier: MIT
// What stands before the header of a message that comes out of another one. An entry of a digest
// arrives with the header of its part in front, which is often nothing but an empty line; the
// e-mail filter would take that for the end of the message's header.
#pragma once

#include <string_view>

namespace qob {

// How many leading bytes of the file that begins with `head` are a part header (empty, or Content-
// fields only) with a message behind it. 0 when the file is something else.
std::size_t messageLead(std::string_view head);

} // namespace qob
