// SPDX-License-Identifier: MIT
// The programs that read a kind of document, and running the first of them that can.
#ifndef QOB_FILTERS_LEGACY_READING_PROGRAM_H
#define QOB_FILTERS_LEGACY_READING_PROGRAM_H

#include <string>
#include <vector>

#include "entry.h"

namespace qob::filters {

struct ReadingProgram {
    const char *name;
    const char *package;                // that it comes with in Debian
    std::vector<std::string> arguments; // in front of the document's path; its output is UTF-8
};

// Writes what the programs' first says about the document; the next one is asked when one is
// missing or fails without a text. EML_OK; a limit's code; or QOB_ERR_HELPER, reported, when the
// text is missing or not complete.
int32_t runReadingPrograms(Extraction &extraction, const std::vector<ReadingProgram> &programs);

} // namespace qob::filters

#endif
