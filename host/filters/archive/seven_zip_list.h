// SPDX-License-Identifier: MIT
// The list of files that a 7-Zip archive ends in, looked at before libarchive reads it.
//
// libarchive keeps some 90 bytes for each file of the list at once, and a bit is enough to name
// one: a list of 12 MB, or of 2 KB when it is compressed, makes it fill 8 GB in a single call. So
// the list may not be longer than what the files that an extraction takes from one archive need.
#ifndef QOB_FILTERS_ARCHIVE_SEVEN_ZIP_LIST_H
#define QOB_FILTERS_ARCHIVE_SEVEN_ZIP_LIST_H

#include <cstdint>

#include "input_file.h"

namespace qob::archive {

// Bytes of the list, unpacked: about 10,000 files with names of 30 to 40 characters.
constexpr uint64_t kLongestList = uint64_t{1} << 20U;

enum class ListLength { kFine, kTooLong, kUnknown };

// kUnknown: the archive is damaged, or has no list where it should be.
ListLength listLength(filters::InputFile &archive);

} // namespace qob::archive

#endif
