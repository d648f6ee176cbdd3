// SPDX-License-Identifier: MIT
// libytnef unpacks, but trusts its input: it reads up to two bytes behind it, believes the length
// that it announces, prints what it does not like and leaks its buffers then. So it is only called
// with input that cannot take it there: the announced length is cut to what the input can give, and
// enough zero bytes follow, which unpack to themselves, that it never comes to the end of the input
// before the end of the output.
#include "compressed_rtf.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

extern "C" {
#include <ytnef.h>
}

namespace qob::tnef {
namespace {

constexpr std::size_t kHeaderSize = 16;
constexpr uint32_t kStored = 0x414C454D;
constexpr uint32_t kPacked = 0x75465A4C;

// A byte of flags and eight references of two bytes give 17 bytes each.
constexpr std::size_t kMostFromGroup = std::size_t{8} * 17;
constexpr std::size_t kGroupSize = 17;

struct Free {
    void operator()(void *block) const { std::free(block); }
};

uint32_t word(std::string_view bytes, std::size_t offset) {
    uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value << 8U | static_cast<unsigned char>(bytes[offset + i]);
    }
    return value;
}

void putWord(std::string &bytes, std::size_t offset, std::size_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[offset + i] = static_cast<char>(value >> (8 * i));
    }
}

std::string unpack(std::string_view packed, std::size_t announced) {
    const std::size_t payload = packed.size() - kHeaderSize;
    const std::size_t most = (payload / kGroupSize + 1) * kMostFromGroup;
    const std::size_t length = std::min({announced, most, kLongestRtf});
    if (length == 0) {
        return {};
    }
    std::string input(packed);
    input.resize(packed.size() + length + length / 8 + 8, '\0');
    putWord(input, 0, input.size() - 4);
    putWord(input, 4, length);
    variableLength value{reinterpret_cast<BYTE *>(input.data()), static_cast<int>(input.size())};
    int size = 0;
    const std::unique_ptr<BYTE, Free> text(DecompressRTF(&value, &size));
    if (text == nullptr) {
        return {};
    }
    return {reinterpret_cast<const char *>(text.get()), length};
}

} // namespace

std::string unpackRtf(std::string_view packed) {
    packed = packed.substr(0, kLongestRtf);
    if (packed.size() <= kHeaderSize) {
        return {};
    }
    const uint32_t length = word(packed, 4);
    std::string text;
    if (word(packed, 8) == kStored) {
        text = packed.substr(kHeaderSize, length);
    } else if (word(packed, 8) == kPacked) {
        text = unpack(packed, length);
    }
    text.resize(text.find_last_not_of('\0') + 1); // what stands for text that is not there
    return text;
}

} // namespace qob::tnef
