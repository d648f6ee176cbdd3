// SPDX-License-Identifier: MIT
// The beginning of the 7z format: a header that tells where the list is; the list itself, or, when
// it is packed, the sizes of it. Whatever is not exactly as libarchive expects it is refused, so
// that nothing is let through that libarchive reads in another way.
#include "seven_zip_list.h"

#include <string_view>

namespace qob::archive {
namespace {

constexpr uint64_t kStartSize = 32;

enum Mark : uint64_t {
    kEnd = 0x00,
    kPlainList = 0x01,
    kPackInfo = 0x06,
    kUnpackInfo = 0x07,
    kSizes = 0x09,
    kDigests = 0x0A,
    kFolders = 0x0B,
    kUnpackSizes = 0x0C,
    kPackedList = 0x17
};

// Reads numbers; once something is missing it has failed and gives zeros.
class Numbers {
public:
    explicit Numbers(std::string_view bytes) : bytes_(bytes) {}

    bool ok() const { return ok_; }
    void refuse() { ok_ = false; }
    void expect(uint64_t value) { ok_ = ok_ && byte() == value; }

    uint64_t byte() {
        ok_ = ok_ && !bytes_.empty();
        if (!ok_) {
            return 0;
        }
        const auto value = static_cast<unsigned char>(bytes_.front());
        bytes_.remove_prefix(1);
        return value;
    }

    void skip(uint64_t count) {
        ok_ = ok_ && count <= bytes_.size();
        bytes_.remove_prefix(ok_ ? count : 0);
    }

    uint64_t fixed(unsigned size) {
        uint64_t value = 0;
        for (unsigned i = 0; i < size; ++i) {
            value |= byte() << (8 * i);
        }
        return value;
    }

    // The leading ones of the first byte tell how many bytes follow; its other bits come on top.
    uint64_t packed() {
        const uint64_t first = byte();
        unsigned more = 0;
        while (more < 8 && (first & (0x80U >> more)) != 0) {
            ++more;
        }
        const uint64_t low = fixed(more);
        return more < 7 ? low | (first & (0x7FU >> more)) << (8 * more) : low;
    }

private:
    std::string_view bytes_;
    bool ok_ = true;
};

void skipPackInfo(Numbers &numbers) {
    numbers.packed(); // where the stream is
    if (numbers.packed() != 1) {
        numbers.refuse();
    }
    numbers.expect(kSizes);
    numbers.packed();
    uint64_t mark = numbers.byte();
    if (mark == kDigests) {
        numbers.expect(1); // it is there
        numbers.skip(4);
        mark = numbers.byte();
    }
    if (mark != kEnd) {
        numbers.refuse();
    }
}

// Lists are packed, and encrypted, by coders with one stream in and one out.
void skipCoder(Numbers &numbers) {
    constexpr uint64_t kIdSize = 0x0F;
    constexpr uint64_t kProperties = 0x20;
    const uint64_t flags = numbers.byte();
    if ((flags & ~(kIdSize | kProperties)) != 0) {
        numbers.refuse();
    }
    numbers.skip(flags & kIdSize);
    if ((flags & kProperties) != 0) {
        numbers.skip(numbers.packed());
    }
}

// The size of the list, unpacked.
uint64_t sizeOfPackedList(Numbers &numbers) {
    numbers.expect(kPackInfo);
    skipPackInfo(numbers);
    numbers.expect(kUnpackInfo);
    numbers.expect(kFolders);
    numbers.expect(1);
    numbers.expect(0); // described here
    const uint64_t coders = numbers.byte();
    for (uint64_t i = 0; i < coders && numbers.ok(); ++i) {
        skipCoder(numbers);
    }
    for (uint64_t i = 1; i < coders && numbers.ok(); ++i) {
        numbers.packed(); // which coder's output is
        numbers.packed(); // which one's input
    }
    numbers.expect(kUnpackSizes);
    uint64_t longest = 0;
    for (uint64_t i = 0; i < coders && numbers.ok(); ++i) {
        const uint64_t size = numbers.packed();
        longest = size > longest ? size : longest;
    }
    return longest;
}

} // namespace

ListLength listLength(filters::InputFile &archive) {
    if (!archive.rewind(0)) {
        return ListLength::kUnknown;
    }
    Numbers start(archive.read().substr(0, kStartSize));
    start.skip(12);
    const uint64_t offset = start.fixed(8);
    const uint64_t size = start.fixed(8);
    if (!start.ok() || offset > INT32_MAX) {
        return ListLength::kUnknown;
    }
    if (size == 0) {
        return ListLength::kFine; // no files
    }
    if (size > kLongestList) {
        return ListLength::kTooLong;
    }
    if (!archive.rewind(kStartSize + offset)) {
        return ListLength::kUnknown;
    }
    Numbers list(archive.read().substr(0, size));
    const uint64_t kind = list.byte();
    if (list.ok() && kind == kPlainList) {
        return ListLength::kFine;
    }
    const uint64_t unpacked = kind == kPackedList ? sizeOfPackedList(list) : 0;
    if (!list.ok() || kind != kPackedList) {
        return ListLength::kUnknown;
    }
    return unpacked <= kLongestList ? ListLength::kFine : ListLength::kTooLong;
}

} // namespace qob::archive
