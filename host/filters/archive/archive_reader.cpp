// SPDX-License-Identifier: MIT
// See archive_reader.h.
#include "archive_reader.h"

#include <algorithm>

namespace qob::archive {
namespace {

// What one step may pull out of a tar archive. The longest header that libarchive accepts, 32
// extensions of 1 MiB, fits; a map of holes that would fill the memory does not.
constexpr uint64_t kPullLimit = uint64_t{64} << 20;

bool supportFormat(::archive *reader, Packing packing) {
    switch (packing) {
    case Packing::kZip:
        return archive_read_support_format_zip(reader) == ARCHIVE_OK;
    case Packing::kSevenZip:
        return archive_read_support_format_7zip(reader) == ARCHIVE_OK;
    default:
        // A compressed file that is no tar archive is read as it is; an empty one has no members.
        return archive_read_support_format_tar(reader) == ARCHIVE_OK &&
               (!isCompressed(packing) ||
                (archive_read_support_format_raw(reader) == ARCHIVE_OK &&
                 archive_read_support_format_empty(reader) == ARCHIVE_OK));
    }
}

} // namespace

ArchiveReader::ArchiveReader(const char *path, Packing packing)
    : packing_(packing), reader_(newReader()) {
    if (packing != Packing::kZip && packing != Packing::kSevenZip) {
        stream_ = std::make_unique<UnpackedStream>(path, packing);
    }
    open(path);
}

void ArchiveReader::open(const char *path) {
    ::archive *reader = reader_.get();
    if (!supportFormat(reader, packing_)) {
        return;
    }
    headerBudget_ = kPullLimit;
    opened_ = stream_ != nullptr
                  ? archive_read_open(reader, this, nullptr, &pull, nullptr) == ARCHIVE_OK
                  : archive_read_open_filename(reader, path, kBlockSize) == ARCHIVE_OK;
}

la_ssize_t ArchiveReader::pull(::archive *reader, void *self, const void **block) {
    auto &owner = *static_cast<ArchiveReader *>(self);
    // To libarchive a damaged stream simply ends, so that what came before it is read to the last
    // byte; endedEarly() tells.
    const std::string_view bytes = owner.stream_->next();
    if (bytes.size() > owner.headerBudget_) {
        archive_set_error(reader, EINVAL, "the header is too long");
        return ARCHIVE_FATAL;
    }
    owner.headerBudget_ -= bytes.size();
    *block = bytes.data();
    return static_cast<la_ssize_t>(bytes.size());
}

Step ArchiveReader::failure(int result) const {
    if (result == ARCHIVE_EOF) {
        return Step::kEnd;
    }
    if (result != ARCHIVE_FATAL) {
        return Step::kDamaged;
    }
    // Only 7-Zip archives hide their list of members.
    const bool hidden =
        packing_ == Packing::kSevenZip && archive_read_has_encrypted_entries(reader_.get()) > 0;
    return hidden ? Step::kEncrypted : Step::kBroken;
}

Step ArchiveReader::nextEntry() {
    if (!opened_) {
        return Step::kBroken;
    }
    headerBudget_ = kPullLimit;
    position_ = 0;
    const int result = archive_read_next_header(reader_.get(), &entry_);
    // A warning is about the name or an attribute.
    return result == ARCHIVE_OK || result == ARCHIVE_WARN ? Step::kOk : failure(result);
}

std::string ArchiveReader::name() const {
    if (isBare()) {
        return stream_->storedName();
    }
    const char *name = archive_entry_pathname(entry_);
    return name != nullptr ? name : "";
}

bool ArchiveReader::isBare() const {
    return stream_ != nullptr && archive_format(reader_.get()) == ARCHIVE_FORMAT_RAW;
}

bool ArchiveReader::isRegularFile() const {
    // A hard link's file is in the archive under its other name.
    return archive_entry_filetype(entry_) == AE_IFREG && archive_entry_hardlink(entry_) == nullptr;
}

bool ArchiveReader::isEncrypted() const {
    return archive_entry_is_encrypted(entry_) != 0;
}

Step ArchiveReader::nextBytes(std::string_view &bytes, uint64_t &gap) {
    headerBudget_ = kPullLimit;
    const void *block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int result = archive_read_data_block(reader_.get(), &block, &size, &offset);
    if (result != ARCHIVE_OK) {
        return failure(result);
    }
    const uint64_t start =
        std::max(position_, static_cast<uint64_t>(std::max(offset, la_int64_t{0})));
    gap = start - position_;
    bytes = {static_cast<const char *>(block), size};
    position_ = start + size;
    contentBytes_ += size;
    return Step::kOk;
}

uint64_t ArchiveReader::takeOverhead() {
    if (!isCompressed(packing_)) {
        return 0;
    }
    const uint64_t given = stream_->given();
    const uint64_t known = contentBytes_ + countedOverhead_;
    const uint64_t overhead = given > known ? given - known : 0;
    countedOverhead_ += overhead;
    return overhead;
}

bool ArchiveReader::outOfMemory() const {
    return archive_errno(reader_.get()) == ENOMEM || (stream_ != nullptr && stream_->outOfMemory());
}

} // namespace qob::archive
