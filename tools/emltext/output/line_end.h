// SPDX-License-Identifier: MIT
// The line end of the output, as the host's converter writes it.
#pragma once

#include <cstdint>
#include <string>

namespace emltext {

// QOB_NEWLINE_* in the charset; empty for a charset that is not known.
std::string lineEnd(const std::string &charset, uint32_t newline);

} // namespace emltext
