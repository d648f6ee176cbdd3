// SPDX-License-Identifier: MIT
// A libarchive reader that frees itself.
#ifndef QOB_FILTERS_ARCHIVE_HANDLE_H
#define QOB_FILTERS_ARCHIVE_HANDLE_H

#include <archive.h>

#include <cerrno>
#include <memory>
#include <new>

namespace qob::archive {

struct ReadCloser {
    void operator()(::archive *reader) const { archive_read_free(reader); }
};
using ReadHandle = std::unique_ptr<::archive, ReadCloser>;

// Throws std::bad_alloc.
inline ReadHandle newReader() {
    ReadHandle reader(archive_read_new());
    if (reader == nullptr) {
        throw std::bad_alloc();
    }
    return reader;
}

// Files are read, and blocks handed on, in pieces of this size.
constexpr std::size_t kBlockSize = 65536;

} // namespace qob::archive

#endif
