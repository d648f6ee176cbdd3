// SPDX-License-Identifier: MIT
// Names of members as UTF-8. They are printed, never used as a path.
#ifndef QOB_FILTERS_ARCHIVE_MEMBER_NAME_H
#define QOB_FILTERS_ARCHIVE_MEMBER_NAME_H

#include <clocale>
#include <locale.h>

#include <string>
#include <string_view>

#include "packing.h"

namespace qob::archive {

// While it lives, libarchive gives names as UTF-8 on this thread, whatever the program's locale is;
// other threads are not touched.
class Utf8Names {
public:
    Utf8Names();
    ~Utf8Names();
    Utf8Names(const Utf8Names &) = delete;
    Utf8Names &operator=(const Utf8Names &) = delete;

private:
    locale_t locale_;
    locale_t outer_;
};

// The stored name as UTF-8. One that is no UTF-8 is read, in a ZIP archive, in the multi-byte
// charset of `language` (as HostParams.language has it) when it is valid in it, else in code page
// 437; in a gzip header in windows-1252; elsewhere bad bytes become U+FFFD.
std::string memberName(std::string_view stored, Packing packing, std::string_view language);

// What a compressed file is called without the ending of its compression: "notes.txt" for
// "/mail/notes.txt.gz", "backup.tar" for "backup.tgz". `path` is the filter's input; empty for one
// without such an ending, and for a file out of another one, whose name was printed with it.
std::string nameWithoutPacking(const char *path);

} // namespace qob::archive

#endif
