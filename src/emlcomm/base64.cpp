// SPDX-License-Identifier: MIT
// The base64 decoder.
#include "emlcomm/base64.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string_view>

#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/sextets.h"

#define BASE64_ALPHABET BASE64_SEXTETS "="

char Base64Alphatbet[66] = BASE64_ALPHABET;

namespace {

using Alphabet = char[66];

constexpr Alphabet kStandardAlphabet = BASE64_ALPHABET;
constexpr uint8_t kNoPosition = 0xFF;
constexpr uint8_t kPadPosition = 64;

// The first position of every byte in an alphabet, kNoPosition for those that are not in it. Bytes
// from 0x80 on never are, whatever the alphabet holds.
struct Positions {
    explicit constexpr Positions(const Alphabet &alphabet) {
        of.fill(kNoPosition);
        for (size_t i = sizeof(Alphabet); i-- > 0;) {
            of[static_cast<unsigned char>(alphabet[i])] = static_cast<uint8_t>(i);
        }
        std::fill(of.begin() + 0x80, of.end(), kNoPosition);
    }
    constexpr uint8_t operator[](char c) const { return of[static_cast<unsigned char>(c)]; }

    std::array<uint8_t, 256> of = {};
};
constexpr Positions kStandardPositions(kStandardAlphabet);
static_assert(kStandardPositions['A'] == 0 && kStandardPositions['/'] == 63);
static_assert(kStandardPositions['='] == kPadPosition && kStandardPositions['\0'] == 65);

bool isStandardAlphabet() {
    return std::memcmp(Base64Alphatbet, kStandardAlphabet, sizeof(Alphabet)) == 0;
}

// How the characters of a line are mapped: as convertAlphatbet does, or with pads counted.
enum class Mapping { kStreaming, kLast };

void mapCharacter(ExtractionHandle *handle, const Positions &positions, Mapping mapping,
                  char character, uint8_t *value) {
    const uint8_t position = positions[character];
    if (mapping == Mapping::kStreaming) {
        if (position != kNoPosition && character != '.') {
            *value = position;
        }
    } else if (position < kPadPosition) {
        *value = position;
    } else if (character == '=') {
        ++handle->base64PadCount;
    }
}

void mapCharactersBy(const Positions &positions, ExtractionHandle *handle, std::string_view text,
                     Mapping mapping, char *values) {
    auto *value = reinterpret_cast<uint8_t *>(values);
    for (const char character : text) {
        mapCharacter(handle, positions, mapping, character, value++);
    }
}

void mapCharacters(ExtractionHandle *handle, std::string_view text, Mapping mapping, char *values) {
    if (isStandardAlphabet()) {
        mapCharactersBy(kStandardPositions, handle, text, mapping, values);
    } else {
        mapCharactersBy(Positions(Base64Alphatbet), handle, text, mapping, values);
    }
}

// Pads are counted only in the line that ends the data. A padded line that more text follows
// directly, or that is the last of the file, is mapped like any other.
Mapping mappingOfLine(ExtractionHandle *handle, const char *line, uint32_t length) {
    const bool padded = length > 0 && line[length - 1] == '=';
    return padded && EnterRead(handle, handle->blockLength) == 0 ? Mapping::kLast
                                                                 : Mapping::kStreaming;
}

// The groups of a line before its last one, which may be padded or cut short.
constexpr size_t groupsBeforeLast(uint32_t count) {
    return count > 4 ? (count - 5) / 4 + 1 : 0;
}

// The bytes that a line of `length` characters stands for. Negative when a line of pads counts
// more of them than it holds.
int32_t decodedLength(const ExtractionHandle *handle, uint32_t length) {
    return static_cast<int32_t>(length / 4 * 3) - handle->base64PadCount;
}

// The values of a line and its decoded bytes, each with room for the last group. Only what is used
// of them is cleared, when it is.
struct Base64Buffers {
    explicit Base64Buffers(uint32_t length) {
        if (length <= std::numeric_limits<uint32_t>::max() - 4) {
            values = eml::Buffer(allocBuffer(length + 4));
            decoded = values == nullptr ? nullptr : eml::Buffer(allocBuffer(length + 4));
        }
    }
    bool ok() const { return decoded != nullptr; }

    eml::Buffer values;
    eml::Buffer decoded;
};

// Decodes what a line begins with at once; from the first group that is not plain sextets on,
// through their values. Bytes that pads leave out of the last group are zero.
void decodeLine(ExtractionHandle *handle, const char *text, uint32_t length, Mapping mapping,
                const Base64Buffers &buffers) {
    char *values = buffers.values.get();
    char *decoded = buffers.decoded.get();
    const bool standard = isStandardAlphabet();
    const size_t done = standard ? eml::decodeSextets(text, length / 4, decoded) : 0;
    if (4 * done == length && length > 0 && handle->base64PadCount == 0) {
        return;
    }
    // The last group is cut short by the pads counted, and so are its sextets.
    const size_t groups = groupsBeforeLast(length);
    const size_t kept = std::min(done, groups);
    const size_t rest = length - 4 * kept;
    std::memset(values, 0, rest + 4);
    std::memset(decoded + 3 * kept, 0, 3 * (groups - kept + 1));
    mapCharacters(handle, {text + 4 * kept, rest}, mapping, values);
    conver64toNormal(handle, reinterpret_cast<const uint8_t *>(values),
                     reinterpret_cast<uint8_t *>(decoded + 3 * kept), static_cast<uint32_t>(rest));
}

} // namespace

QOB_EXPORT int32_t convertAlphatbet(ExtractionHandle *handle, char character, uint8_t *value) {
    mapCharacter(handle, Positions(Base64Alphatbet), Mapping::kStreaming, character, value);
    return 0;
}

QOB_EXPORT int32_t convertAlphatbet64(ExtractionHandle *handle, char character, uint8_t *value) {
    mapCharacter(handle, Positions(Base64Alphatbet), Mapping::kLast, character, value);
    return 0;
}

QOB_EXPORT void DoBase64(ExtractionHandle * /*handle*/, const uint8_t *values, uint8_t *out) {
    // A pad in the middle of the data, value 64, leaks into the neighbouring byte unmasked.
    out[0] = static_cast<uint8_t>(values[0] << 2U | values[1] >> 4U);
    out[1] = static_cast<uint8_t>(values[1] << 4U | values[2] >> 2U);
    out[2] = static_cast<uint8_t>(values[2] << 6U | values[3]);
}

QOB_EXPORT void DoBase64_end(ExtractionHandle *handle, const uint8_t *values, uint8_t *out) {
    uint8_t group[3];
    DoBase64(handle, values, group);
    out[0] = group[0];
    if (handle->base64PadCount == 2) {
        return;
    }
    out[1] = group[1];
    if (handle->base64PadCount == 1) {
        return;
    }
    out[2] = group[2];
}

QOB_EXPORT void conver64toNormal(ExtractionHandle *handle, const uint8_t *values, uint8_t *out,
                                 uint32_t count) {
    const size_t groups = groupsBeforeLast(count);
    for (size_t group = 0; group < groups; ++group) {
        DoBase64(handle, values + 4 * group, out + 3 * group);
    }
    DoBase64_end(handle, values + 4 * groups, out + 3 * groups);
}

QOB_EXPORT int32_t analyzeBase64_tmpfile(ExtractionHandle *handle, const char *line,
                                         uint32_t length, QobFile *target) {
    if (target == nullptr) {
        return EML_OK;
    }
    const Base64Buffers buffers(length);
    if (!buffers.ok()) {
        return EML_ERR_MEMORY;
    }
    decodeLine(handle, line, length, mappingOfLine(handle, line, length), buffers);
    QOB_FileWrite(buffers.decoded.get(), 1, decodedLength(handle, length), target);
    return EML_OK;
}

QOB_EXPORT int32_t analyzeBase64(ExtractionHandle *handle, const char *text, uint32_t length) {
    const Base64Buffers buffers(length);
    if (!buffers.ok()) {
        return EML_ERR_MEMORY;
    }
    decodeLine(handle, text, length, Mapping::kLast, buffers);
    // More pads than text wrap to a length that no conversion takes.
    const uint32_t code = eml::writeInCharset(handle, buffers.decoded.get(),
                                              static_cast<uint32_t>(decodedLength(handle, length)));
    eml::clearConvBuffer(handle);
    return static_cast<int32_t>(code);
}

QOB_EXPORT int32_t analyzeBase64_aaaa(ExtractionHandle *handle, const char *line, uint32_t length,
                                      QobFile *target) {
    if (target == nullptr) {
        return EML_OK;
    }
    const uint32_t carried = handle->base64Carry != '\0' ? 1 : 0;
    const eml::Buffer joined = eml::newBuffer(length + carried);
    const Base64Buffers buffers(length + carried);
    const eml::Buffer converted = eml::newConversionBuffer(length + carried, 0);
    if (joined == nullptr || !buffers.ok() || converted == nullptr) {
        return EML_ERR_MEMORY;
    }
    joined[0] = handle->base64Carry;
    std::memcpy(joined.get() + carried, line, length);
    uint32_t joinedLength = length + carried;
    handle->base64Carry = '\0';
    if (joinedLength % 4 != 0) {
        handle->base64Carry = joined[--joinedLength];
    }
    decodeLine(handle, joined.get(), joinedLength, Mapping::kStreaming, buffers);
    const uint32_t produced = TransChar(handle, buffers.decoded.get(), converted.get(),
                                        static_cast<uint32_t>(decodedLength(handle, joinedLength)));
    return static_cast<int32_t>(myfwrite(handle, converted.get(), 1, produced, handle->outputFile));
}

QOB_EXPORT int32_t analyzeBase64_tmpfileutf8(ExtractionHandle *handle, const char *line,
                                             uint32_t length, QobFile *target) {
    if (target == nullptr) {
        return EML_OK;
    }
    const eml::Buffer values(static_cast<char *>(QOB_malloc(static_cast<size_t>(length) + 4)));
    if (values == nullptr) {
        return EML_ERR_MEMORY;
    }
    std::memset(values.get(), 0, static_cast<size_t>(length) + 4);
    mapCharacters(handle, {line, length}, mappingOfLine(handle, line, length), values.get());
    QOB_FileWrite(values.get(), 1, static_cast<int32_t>(length), target);
    return EML_OK;
}
