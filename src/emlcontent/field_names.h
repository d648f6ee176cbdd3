// SPDX-License-Identifier: MIT
// The header fields and parameters that the walkers look for. Field names are compared without
// case; parameter keys are exact unless the caller says otherwise.
#ifndef QOB_EMLCONTENT_FIELD_NAMES_H
#define QOB_EMLCONTENT_FIELD_NAMES_H

#include <string_view>

namespace eml {

inline constexpr std::string_view kTypeName = "Content-Type:";
inline constexpr std::string_view kEncodingName = "Content-Transfer-Encoding:";
inline constexpr std::string_view kDispositionName = "Content-Disposition:";
inline constexpr std::string_view kDescriptionName = "Content-description:";
inline constexpr std::string_view kCharsetKey = "charset=";
inline constexpr std::string_view kBoundaryKey = "boundary=";

} // namespace eml

#endif
