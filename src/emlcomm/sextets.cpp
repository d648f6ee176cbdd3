// SPDX-License-Identifier: MIT
// Groups of base64 characters, by tables or eight groups at a time.
#include "emlcomm/sextets.h"

#include <array>
#include <cstdint>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

constexpr std::string_view kSextets = BASE64_SEXTETS;
static_assert(kSextets.size() == 64);

// What a character puts into the 24 bits of its group, by its place in it; kNone when it is no
// sextet.
struct GroupBits {
    static constexpr uint32_t kNone = 0x80000000U;

    constexpr GroupBits() {
        for (unsigned place = 0; place < 4; ++place) {
            for (uint32_t &bits : at[place]) {
                bits = kNone;
            }
            for (uint32_t value = 0; value < 64; ++value) {
                at[place][static_cast<unsigned char>(kSextets[value])] = value << (18 - 6 * place);
            }
        }
    }

    uint32_t at[4][256] = {};
};
constexpr GroupBits kGroupBits;

#if defined(__x86_64__)

constexpr size_t kGroupsAtOnce = 8;

// One byte for every value of half a character's code.
using ByHalf = std::array<int8_t, 16>;

// Each bit stands for some characters outside the alphabet: those with one of its low halves and
// one of its high halves. A character is outside when its two halves share a bit.
constexpr ByHalf kBadForLow = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                               0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};
constexpr ByHalf kBadForHigh = {0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
// What makes a character its value, by its high half; for '/' by one less, since '+' has the same.
constexpr ByHalf kToValue = {0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0};
// The bytes of each group, highest first, without its empty fourth.
constexpr ByHalf kThreeOfFour = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};

__attribute__((target("avx2"))) inline __m256i twice(const ByHalf &table) {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i *>(table.data())));
}

// Turns 32 characters into 24 bytes, and 8 more of no meaning. False, with nothing written, when
// one of them is outside the alphabet.
__attribute__((target("avx2"))) inline bool decodeBlock(const char *text, char *out) {
    const __m256i lowHalf = _mm256_set1_epi8(0x2F);
    const __m256i characters = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), lowHalf);
    const __m256i low = _mm256_and_si256(characters, lowHalf);
    if (_mm256_testz_si256(_mm256_shuffle_epi8(twice(kBadForLow), low),
                           _mm256_shuffle_epi8(twice(kBadForHigh), high)) == 0) {
        return false;
    }
    const __m256i isSlash = _mm256_cmpeq_epi8(characters, lowHalf);
    const __m256i values = _mm256_add_epi8(
        characters, _mm256_shuffle_epi8(twice(kToValue), _mm256_add_epi8(isSlash, high)));
    // Pairs of sextets become 12 bits, pairs of those 24.
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i bytes =
        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, twice(kThreeOfFour)),
                                    _mm256_setr_epi32(0, 1, 2, 4, 5, 6, -1, -1));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), bytes);
    return true;
}

// Decodes block by block, up to one that holds a character outside the alphabet. The last block of
// a line overlaps the one before it. The groups decoded.
__attribute__((target("avx2"))) size_t decodeBlocks(const char *text, size_t count, char *out) {
    size_t done = 0;
    while (count - done >= kGroupsAtOnce) {
        if (!decodeBlock(text + 4 * done, out + 3 * done)) {
            return done;
        }
        done += kGroupsAtOnce;
    }
    const size_t last = count - kGroupsAtOnce;
    return done > 0 && done < count && decodeBlock(text + 4 * last, out + 3 * last) ? count : done;
}

bool hasBlocks() {
    return __builtin_cpu_supports("avx2") != 0;
}

#else

size_t decodeBlocks(const char * /*text*/, size_t /*count*/, char * /*out*/) {
    return 0;
}

bool hasBlocks() {
    return false;
}

#endif

} // namespace

namespace eml {

size_t decodeSextets(const char *text, size_t count, char *out) {
    const size_t done = hasBlocks() ? decodeBlocks(text, count, out) : 0;
    return done + decodeSextetsByTable(text + 4 * done, count - done, out + 3 * done);
}

size_t decodeSextetsByTable(const char *text, size_t count, char *out) {
    const auto *in = reinterpret_cast<const unsigned char *>(text);
    size_t group = 0;
    for (; group < count; ++group, in += 4, out += 3) {
        const uint32_t bits = kGroupBits.at[0][in[0]] | kGroupBits.at[1][in[1]] |
                              kGroupBits.at[2][in[2]] | kGroupBits.at[3][in[3]];
        if ((bits & GroupBits::kNone) != 0) {
            break;
        }
        out[0] = static_cast<char>(bits >> 16U);
        out[1] = static_cast<char>(bits >> 8U);
        out[2] = static_cast<char>(bits);
    }
    return group;
}

} // namespace eml
