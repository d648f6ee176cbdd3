// SPDX-License-Identifier: MIT
// Archives for the tests, written by libarchive into memory.
#ifndef QOB_TESTS_ARCHIVE_WRITER_H
#define QOB_TESTS_ARCHIVE_WRITER_H

#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qob::tests {

struct Entry {
    std::string name; // UTF-8, or whatever bytes with ArchiveStyle::rawNames
    std::string content;
    unsigned type = AE_IFREG;
    std::string linkTarget = {};
};

struct ArchiveStyle {
    int format = ARCHIVE_FORMAT_ZIP;
    int filter = ARCHIVE_FILTER_NONE;
    const char *options = nullptr;  // as archive_write_set_options takes them
    const char *password = nullptr; // with an option that encrypts
    bool rawNames = false;          // names are written byte for byte and not marked as UTF-8
};

constexpr ArchiveStyle kZip{};
constexpr ArchiveStyle kTar{ARCHIVE_FORMAT_TAR_PAX_RESTRICTED};
constexpr ArchiveStyle kSevenZip{ARCHIVE_FORMAT_7ZIP};

// Throws std::runtime_error with libarchive's reason.
std::string archiveOf(const std::vector<Entry> &entries, const ArchiveStyle &style = kZip);

// The bytes through one compression (ARCHIVE_FILTER_*), without an archive around them.
std::string compressed(std::string_view bytes, int filter);

// `mebibytes` MiB of the byte, compressed piece by piece.
std::string compressedRun(char byte, std::size_t mebibytes, int filter);

} // namespace qob::tests

#endif
