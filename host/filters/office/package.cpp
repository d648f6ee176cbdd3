// SPDX-License-Identifier: MIT
// See package.h. The file's own directory is used when it is there, so that members can be passed
// over without unpacking them; else the members are met one after the other.
#include "package.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "qob_limits.h"

namespace qob::filters::office {
namespace {

// A document has some thousand members at most; a directory made to exhaust memory has more.
constexpr std::size_t kMaxMembers = 200000;

// What is kept in memory, of one member and of all; each member counts for its bookkeeping too.
constexpr std::size_t kMaxKept = std::size_t{2} << 20;
constexpr std::size_t kMaxKeptTotal = std::size_t{32} << 20;
constexpr std::size_t kKeptOverhead = 256;

constexpr std::size_t kBlockSize = 65536;
constexpr std::size_t kMaxPiece = std::size_t{1} << 20;

} // namespace

std::string memberKey(std::string_view name) {
    std::string key;
    key.reserve(name.size());
    for (const char c : name) {
        const char slashed = c == '\\' ? '/' : c;
        if (slashed != '/' || !key.empty()) {
            key += slashed >= 'A' && slashed <= 'Z' ? static_cast<char>(slashed + 32) : slashed;
        }
    }
    return key;
}

void Package::ArchiveCloser::operator()(archive *handle) const {
    archive_read_free(handle);
}

Package::Package(const char *path, Wanted wanted) : path_(path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    packedSize_ = error ? 0 : size;
    survey(wanted);
    if (keys_.empty() && limit_ == EML_OK) {
        byDirectory_ = false;
        survey(wanted);
        damaged_ = true;
    }
}

bool Package::open(bool byDirectory) {
    nextPosition_ = 0;
    archive_.reset(archive_read_new());
    if (archive_ == nullptr) {
        throw std::bad_alloc();
    }
    const int supported = byDirectory ? archive_read_support_format_zip_seekable(archive_.get())
                                      : archive_read_support_format_zip_streamable(archive_.get());
    return supported == ARCHIVE_OK &&
           archive_read_open_filename(archive_.get(), path_, kBlockSize) == ARCHIVE_OK;
}

void Package::survey(Wanted wanted) {
    if (!open(byDirectory_)) {
        damaged_ = true;
        return;
    }
    while (archive_entry *entry = next()) {
        if (keys_.size() == kMaxMembers) {
            damaged_ = true;
            return;
        }
        addMember(entry, wanted);
    }
}

void Package::addMember(archive_entry *entry, Wanted wanted) {
    const char *utf8 = archive_entry_pathname_utf8(entry);
    const char *name = utf8 != nullptr ? utf8 : archive_entry_pathname(entry);
    if (name == nullptr || archive_entry_filetype(entry) != AE_IFREG) {
        return;
    }
    const std::size_t position = nextPosition_ - 1;
    const bool locked = archive_entry_is_data_encrypted(entry) != 0;
    encrypted_ = encrypted_ || locked;
    const auto [place, isNew] = members_.try_emplace(memberKey(name), Member{position, name, {}});
    if (!isNew) {
        return;
    }
    keys_.push_back(place->first);
    if (!locked && wanted(place->first)) {
        place->second.kept = keep();
    }
}

// The bytes of the entry that has just been met, or null when there is no room for them.
std::unique_ptr<std::string> Package::keep() {
    auto bytes = std::make_unique<std::string>();
    bool fits = true;
    readEntry(Counting::kHere, [&](std::string_view piece) {
        fits = bytes->size() + piece.size() <= kMaxKept &&
               keptBytes_ + bytes->size() + piece.size() + kKeptOverhead <= kMaxKeptTotal;
        if (fits) {
            bytes->append(piece);
        }
        return fits;
    });
    if (!fits) {
        return nullptr;
    }
    keptBytes_ += bytes->size() + kKeptOverhead;
    return bytes;
}

// The next entry's header, or null at the end, behind damage, and when the time is over.
archive_entry *Package::next() {
    if (limit_ == EML_OK) {
        limit_ = qob_limits_time();
    }
    if (!byDirectory_ && nextPosition_ > 0) {
        // The library would pass over the rest by itself, however much it unpacks to.
        readEntry(Counting::kHere, [](std::string_view) { return true; });
    }
    if (limit_ != EML_OK) {
        return nullptr;
    }
    archive_entry *entry = nullptr;
    const int result = archive_read_next_header(archive_.get(), &entry);
    if (result == ARCHIVE_OK || result == ARCHIVE_WARN) {
        ++nextPosition_;
        return entry;
    }
    damaged_ = damaged_ || result != ARCHIVE_EOF;
    return nullptr;
}

// Goes to the entry at `position`; from the file's start when it lies behind.
bool Package::seek(std::size_t position) {
    if (nextPosition_ > position && !open(byDirectory_)) {
        damaged_ = true;
        return false;
    }
    while (nextPosition_ <= position) {
        if (next() == nullptr) {
            return false;
        }
    }
    return true;
}

bool Package::counted(std::size_t bytes) {
    limit_ = bytes == 0 ? EML_OK : qob_limits_unpacked(bytes, packedSize_);
    if (limit_ == EML_OK) {
        limit_ = qob_limits_time();
    }
    return limit_ == EML_OK;
}

void Package::readEntry(Counting counting, const Taker &take) {
    for (;;) {
        const void *data = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(archive_.get(), &data, &size, &offset);
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
            damaged_ = damaged_ || result != ARCHIVE_EOF;
            return;
        }
        std::string_view block(static_cast<const char *>(data), data == nullptr ? 0 : size);
        while (!block.empty()) {
            const std::string_view piece = block.substr(0, kMaxPiece);
            block.remove_prefix(piece.size());
            if (!counted(counting == Counting::kHere ? piece.size() : 0) || !take(piece)) {
                return;
            }
        }
    }
}

const Package::Member *Package::find(std::string_view name) const {
    const auto place = members_.find(memberKey(name));
    return place == members_.end() ? nullptr : &place->second;
}

bool Package::has(std::string_view name) const {
    return find(name) != nullptr;
}

std::string_view Package::nameOf(std::string_view key) const {
    const Member *member = find(key);
    return member == nullptr ? std::string_view{} : std::string_view(member->name);
}

void Package::read(std::string_view name, Counting counting, const Taker &take) {
    const Member *member = find(name);
    if (member == nullptr) {
        return;
    }
    if (member->kept != nullptr) {
        take(*member->kept);
    } else if (limit_ == EML_OK && seek(member->position)) {
        readEntry(counting, take);
    }
}

} // namespace qob::filters::office
