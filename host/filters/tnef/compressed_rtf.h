// SPDX-License-Identifier: MIT
// The RTF of a message, out of the form in which MAPI keeps it.
#ifndef QOB_FILTERS_TNEF_COMPRESSED_RTF_H
#define QOB_FILTERS_TNEF_COMPRESSED_RTF_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qob::tnef {

// What unpackRtf takes and gives at most; a longer text is cut.
constexpr std::size_t kLongestRtf = std::size_t{32} << 20U;

// The RTF text. Of damaged input, what comes before the damage; empty when it is none at all.
std::string unpackRtf(std::string_view packed);

} // namespace qob::tnef

#endif
