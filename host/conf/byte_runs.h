// SPDX-License-Identifier: MIT
// How far a text goes on without a byte that needs a look, found eight bytes at a time.
#ifndef QOB_CONF_BYTE_RUNS_H
#define QOB_CONF_BYTE_RUNS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace qob {

constexpr std::uint64_t kEachByte = 0x0101010101010101U;

// The top bit of each byte that is below 0x20 or 0x7F, whatever the bytes beside it are.
constexpr std::uint64_t controlBits(std::uint64_t word) {
    const std::uint64_t low = word & (0x7F * kEachByte);
    const std::uint64_t isText = low + 0x60 * kEachByte; // top bit: low bits are 0x20 or more
    const std::uint64_t isDelete = low + kEachByte;
    return (~isText | isDelete) & ~word & (0x80 * kEachByte);
}

// The same, and of each byte outside ASCII.
constexpr std::uint64_t unprintableBits(std::uint64_t word) {
    return controlBits(word) | (word & (0x80 * kEachByte));
}

template <std::uint64_t (*marks)(std::uint64_t)> std::size_t lengthWithout(std::string_view text) {
    std::size_t at = 0;
    for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
        std::memcpy(&word, text.data() + at, sizeof word);
        const std::uint64_t marked = marks(word);
        if (marked != 0) {
            const bool little = std::endian::native == std::endian::little;
            const int before = little ? std::countr_zero(marked) : std::countl_zero(marked);
            return at + static_cast<std::size_t>(before / 8);
        }
    }
    while (at < text.size() && (marks(static_cast<unsigned char>(text[at])) & 0xFFU) == 0) {
        ++at;
    }
    return at;
}

// How many bytes there are before the first control code, TAB, CR and LF among them.
inline std::size_t lengthWithoutControls(std::string_view text) {
    return lengthWithout<controlBits>(text);
}

// How many bytes from 0x20 to 0x7E the text begins with.
inline std::size_t printableLength(std::string_view text) {
    return lengthWithout<unprintableBits>(text);
}

} // namespace qob

#endif
