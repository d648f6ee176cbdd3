// SPDX-License-Identifier: MIT
// See unpacked_stream.h.
#include "unpacked_stream.h"

#include <archive_entry.h>

#include <cstring>

namespace qob::archive {
namespace {

// What libarchive's raw format calls a file whose name is not stored.
constexpr char kNoName[] = "data";

// A decompressor that libarchive was built without would be run as a program: ARCHIVE_WARN tells.
bool addFilter(::archive *reader, Packing packing) {
    switch (packing) {
    case Packing::kGzip:
        return archive_read_append_filter(reader, ARCHIVE_FILTER_GZIP) == ARCHIVE_OK;
    case Packing::kBzip2:
        return archive_read_append_filter(reader, ARCHIVE_FILTER_BZIP2) == ARCHIVE_OK;
    case Packing::kXz:
        return archive_read_append_filter(reader, ARCHIVE_FILTER_XZ) == ARCHIVE_OK;
    default:
        return true;
    }
}

// The file's length without stray bytes behind it, such as an e-mail's line ends and base64 pads
// leave. gzip and bzip2 pass over them, liblzma takes them for damage of all that came before.
uint64_t lengthOf(filters::InputFile &file, Packing packing) {
    constexpr uint64_t kTailSize = 32;
    const uint64_t size = file.size();
    if (packing != Packing::kXz || size < kTailSize || !file.rewind(size - kTailSize)) {
        return UINT64_MAX;
    }
    const std::size_t footer = file.read().rfind("YZ");
    return footer != std::string_view::npos ? size - kTailSize + footer + 2 : UINT64_MAX;
}

} // namespace

UnpackedStream::UnpackedStream(const char *path, Packing packing)
    : file_(path), packedLeft_(UINT64_MAX), reader_(newReader()) {
    if (!file_.isOpen()) {
        failed_ = ended_ = true;
        return;
    }
    packedLeft_ = lengthOf(file_, packing);
    failed_ = ended_ = !file_.rewind(0);
    if (!failed_) {
        open(packing);
    }
}

la_ssize_t UnpackedStream::pull(::archive * /*reader*/, void *self, const void **block) {
    auto &owner = *static_cast<UnpackedStream *>(self);
    const std::string_view piece = owner.file_.read().substr(0, owner.packedLeft_);
    owner.packedLeft_ -= piece.size();
    *block = piece.data();
    return static_cast<la_ssize_t>(piece.size());
}

void UnpackedStream::open(Packing packing) {
    ::archive *reader = reader_.get();
    if (archive_read_support_format_raw(reader) != ARCHIVE_OK ||
        archive_read_support_format_empty(reader) != ARCHIVE_OK || !addFilter(reader, packing) ||
        archive_read_open(reader, this, nullptr, &pull, nullptr) != ARCHIVE_OK) {
        fail();
        return;
    }
    // A file whose first bytes cannot be unpacked opens as an empty one, but leaves its error.
    failed_ = archive_errno(reader) != 0;
    archive_entry *entry = nullptr;
    const int result = archive_read_next_header(reader, &entry);
    if (result < ARCHIVE_WARN) {
        fail();
    } else if (result == ARCHIVE_EOF) {
        ended_ = true;
    } else if (const char *name = archive_entry_pathname(entry);
               name != nullptr && std::strcmp(name, kNoName) != 0) {
        storedName_ = name;
    }
}

void UnpackedStream::fail() {
    outOfMemory_ = archive_errno(reader_.get()) == ENOMEM;
    failed_ = true;
    ended_ = true;
}

std::string_view UnpackedStream::next() {
    while (!ended_) {
        const void *block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(reader_.get(), &block, &size, &offset);
        if (result == ARCHIVE_EOF) {
            ended_ = true;
        } else if (result != ARCHIVE_OK) {
            fail();
        } else if (size > 0) {
            given_ += size;
            return {static_cast<const char *>(block), size};
        }
    }
    return {};
}

} // namespace qob::archive
