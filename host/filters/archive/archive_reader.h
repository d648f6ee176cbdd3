// SPDX-License-Identifier: MIT
// The members of an archive, one after the other, through libarchive with nothing enabled but the
// one format that the file's signature names: no other format bids, no program is ever run, and
// nothing is written anywhere.
//
// The file is untrusted. What libarchive unpacks beside the members' bytes is counted (overhead),
// and reading one member's header takes a bounded number of bytes.
#ifndef QOB_FILTERS_ARCHIVE_READER_H
#define QOB_FILTERS_ARCHIVE_READER_H

#include <archive_entry.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "archive_handle.h"
#include "packing.h"
#include "unpacked_stream.h"

namespace qob::archive {

enum class Step {
    kOk,
    kEnd,      // no more members, or no more bytes of this one
    kDamaged,  // this one is damaged; the next may not be
    kBroken,   // nothing more can be read
    kEncrypted // nothing more can be read without a password
};

class ArchiveReader {
public:
    // Throws std::bad_alloc. A file that is no such archive gives kBroken at the first step.
    ArchiveReader(const char *path, Packing packing);
    ArchiveReader(const ArchiveReader &) = delete;
    ArchiveReader &operator=(const ArchiveReader &) = delete;

    // Moves to the next entry.
    Step nextEntry();

    // Of the current entry. The name is as it is stored, and empty when there is none.
    std::string name() const;
    // The archive is a compressed file that is no tar archive: its only entry.
    bool isBare() const;
    bool isRegularFile() const;
    bool isEncrypted() const;

    // The entry's next bytes, good until the next call, behind `gap` zero bytes that are not
    // stored.
    Step nextBytes(std::string_view &bytes, uint64_t &gap);

    // Bytes unpacked since the last call that belong to no entry's content.
    uint64_t takeOverhead();

    // The end that was met is none: the file stops early, or its compression is damaged.
    bool endedEarly() const { return stream_ != nullptr && stream_->failed(); }
    // A compressed file out of which nothing came.
    bool gaveNothing() const { return isCompressed(packing_) && stream_->given() == 0; }
    bool outOfMemory() const;

private:
    void open(const char *path);
    Step failure(int result) const;
    static la_ssize_t pull(::archive *reader, void *self, const void **block);

    Packing packing_;
    std::unique_ptr<UnpackedStream> stream_; // what a tar archive is read from
    ReadHandle reader_;
    archive_entry *entry_ = nullptr; // the reader's
    uint64_t position_ = 0;          // in the entry
    uint64_t contentBytes_ = 0;      // of all entries
    uint64_t countedOverhead_ = 0;
    uint64_t headerBudget_ = 0; // bytes that may still be pulled until the next call
    bool opened_ = false;
};

} // namespace qob::archive

#endif
