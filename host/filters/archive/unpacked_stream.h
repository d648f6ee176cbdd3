// SPDX-License-Identifier: MIT
// The bytes of a file through at most one decompressor: what a tar archive is read from, and what a
// bare compressed file consists of.
//
// Exactly one layer is taken off. libarchive would take off up to 25 by itself, each of them free
// to grow a thousandfold with nobody counting; a compressed file in a compressed file is therefore
// a member, whose depth and bytes the host counts.
#ifndef QOB_FILTERS_ARCHIVE_UNPACKED_STREAM_H
#define QOB_FILTERS_ARCHIVE_UNPACKED_STREAM_H

#include <cstdint>
#include <string>
#include <string_view>

#include "archive_handle.h"
#include "input_file.h"
#include "packing.h"

namespace qob::archive {

class UnpackedStream {
public:
    // Throws std::bad_alloc. A file that cannot be read is an empty stream that failed.
    UnpackedStream(const char *path, Packing packing);
    UnpackedStream(const UnpackedStream &) = delete;
    UnpackedStream &operator=(const UnpackedStream &) = delete;

    // The next bytes, good until the next call; empty at the end, and where nothing more can be
    // unpacked.
    std::string_view next();

    // All bytes that next() has given.
    uint64_t given() const { return given_; }

    // The stream ended because the file is damaged, or reading it failed.
    bool failed() const { return failed_; }
    bool outOfMemory() const { return outOfMemory_; }

    // The name in the gzip header, in whatever charset; empty without one.
    const std::string &storedName() const { return storedName_; }

private:
    void open(Packing packing);
    void fail();
    static la_ssize_t pull(::archive *reader, void *self, const void **block);

    filters::InputFile file_;
    uint64_t packedLeft_; // bytes of the file that belong to the stream and were not read yet
    ReadHandle reader_;
    std::string storedName_;
    uint64_t given_ = 0;
    bool ended_ = false;
    bool failed_ = false;
    bool outOfMemory_ = false;
};

} // namespace qob::archive

#endif
