// SPDX-License-Identifier: MIT
// How an archive is packed, told by its first bytes alone. Everything else follows from it: which
// one decompressor and which one format of libarchive are let in.
#ifndef QOB_FILTERS_ARCHIVE_PACKING_H
#define QOB_FILTERS_ARCHIVE_PACKING_H

#include <string_view>

namespace qob::archive {

enum class Packing { kZip, kSevenZip, kGzip, kBzip2, kXz, kTar };

// Whatever has no signature of the others counts as tar, whose own header decides.
inline Packing packingOf(std::string_view head) {
    using std::string_view_literals::operator""sv;
    if (head.starts_with("PK\3\4"sv) || head.starts_with("PK\5\6"sv)) {
        return Packing::kZip;
    }
    if (head.starts_with("7z\xBC\xAF\x27\x1C"sv)) {
        return Packing::kSevenZip;
    }
    if (head.starts_with("\x1F\x8B"sv)) {
        return Packing::kGzip;
    }
    if (head.starts_with("BZh"sv)) {
        return Packing::kBzip2;
    }
    constexpr auto kXzSign = "\xFD"
                             "7zXZ\0"sv;
    return head.starts_with(kXzSign) ? Packing::kXz : Packing::kTar;
}

constexpr bool isCompressed(Packing packing) {
    return packing == Packing::kGzip || packing == Packing::kBzip2 || packing == Packing::kXz;
}

// The whole of a compressed file that unpacks to nothing, and not one that is cut off or damaged so
// early that libarchive takes it for empty too. `head` is the file, or its first bytes.
inline bool isEmptyWhenUnpacked(Packing packing, std::string_view head) {
    using std::string_view_literals::operator""sv;
    switch (packing) {
    case Packing::kGzip: // the checksum and the length are 0
        return head.size() >= 20 && head.ends_with("\0\0\0\0\0\0\0\0"sv);
    case Packing::kBzip2: // the end follows the header
        return head.size() >= 14 && head.substr(4).starts_with("\x17\x72\x45\x38\x50\x90"sv);
    case Packing::kXz: // liblzma looks at the rest itself
        return head.size() >= 32;
    default:
        return false;
    }
}

} // namespace qob::archive

#endif
