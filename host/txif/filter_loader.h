// SPDX-License-Identifier: MIT
// Format filters: shared libraries with the two entry points of qob_txeml.h, loaded on first use
// and kept for the life of the process. Any thread may ask for a filter at any time.
#pragma once

#include <cstdint>
#include <string>

#include "qob_txeml.h"

namespace qob {

using StreamEntryPoint = decltype(&GetTextStreamWithErrCallback);

struct Filter {
    StreamEntryPoint extract = nullptr; // null: the library cannot be used
    std::string reason;                 // why, for a person
    uint32_t files = 0;                 // its qob_filter_files, 0 when it has none
};

// The filter in the library with this soname. It is looked up in $QOB_FILTER_DIR, beside this
// library, and where the dynamic linker looks, in this order; a library that is there but cannot be
// loaded is a failure, not a reason to look further. The answer, good or bad, is kept.
const Filter &filterOf(const char *library);

// The file that a loaded filter came from; empty when that cannot be told.
std::string filterPath(const Filter &filter);

} // namespace qob
