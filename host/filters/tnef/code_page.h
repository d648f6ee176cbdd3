// SPDX-License-Identifier: MIT
// Charsets by the numbers that MAPI gives them.
#ifndef QOB_FILTERS_TNEF_CODE_PAGE_H
#define QOB_FILTERS_TNEF_CODE_PAGE_H

#include <cstdint>
#include <string>

namespace qob::tnef {

// The converter name of a code page; empty for 0 and for one that nobody knows.
std::string charsetOfCodePage(uint32_t codePage);

} // namespace qob::tnef

#endif
