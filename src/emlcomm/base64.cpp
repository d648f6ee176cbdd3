// SPDX-License-Identifier: MIT
// The base64 decoder.
#include "emlcomm/base64.h"

#include <array>
#include <cstring>
#include <limits>
#include <string_view>

#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"

#define BASE64_ALPHABET "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="

char Base64Alphatbet[66] = BASE64_ALPHABET;

namespace {

constexpr uint8_t kNoValue = 0xFF;
constexpr uint8_t kPadValue = 64;

// The position of every byte in the alphabet and its terminator, kNoValue for the others.
constexpr std::array<uint8_t, 256> makePositions() {
    std::array<uint8_t, 256> positions{};
    positions.fill(kNoValue);
    constexpr std::string_view kAlphabet(BASE64_ALPHABET, sizeof(BASE64_ALPHABET));
    for (size_t i = 0; i < kAlphabet.size(); ++i) {
        positions[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
    }
    return positions;
}
constexpr std::array<uint8_t, 256> kPositions = makePositions();
static_assert(kPositions['A'] == 0 && kPositions['/'] == 63 && kPositions['='] == kPadValue);

using Mapper = int32_t (*)(ExtractionHandle *, char, uint8_t *);

void mapCharacters(ExtractionHandle *handle, const char *text, uint32_t length, Mapper mapper,
                   char *values) {
    auto *out = reinterpret_cast<uint8_t *>(values);
    for (uint32_t i = 0; i < length; ++i) {
        mapper(handle, text[i], out + i);
    }
}

// Pads are counted only in the line that ends the data. A padded line that more text follows
// directly, or that is the last of the file, is mapped like any other.
Mapper mapperForLine(ExtractionHandle *handle, const char *line, uint32_t length) {
    const bool padded = length > 0 && line[length - 1] == '=';
    return padded && EnterRead(handle, handle->blockLength) == 0 ? convertAlphatbet64
                                                                 : convertAlphatbet;
}

// The bytes that a line of `length` characters stands for. Negative when a line of pads counts
// more of them than it holds.
int32_t decodedLength(const ExtractionHandle *handle, uint32_t length) {
    return static_cast<int32_t>(length / 4 * 3) - handle->base64PadCount;
}

// The values of a line and its decoded bytes, each with room for the last group.
struct Base64Buffers {
    explicit Base64Buffers(uint32_t length) {
        if (length <= std::numeric_limits<uint32_t>::max() - 4) {
            values = eml::newBuffer(length + 4);
            decoded = values == nullptr ? nullptr : eml::newBuffer(length + 4);
        }
    }
    bool ok() const { return decoded != nullptr; }

    eml::Buffer values;
    eml::Buffer decoded;
};

void decodeLine(ExtractionHandle *handle, const char *text, uint32_t length, Mapper mapper,
                const Base64Buffers &buffers) {
    mapCharacters(handle, text, length, mapper, buffers.values.get());
    conver64toNormal(handle, reinterpret_cast<const uint8_t *>(buffers.values.get()),
                     reinterpret_cast<uint8_t *>(buffers.decoded.get()), length);
}

} // namespace

QOB_EXPORT int32_t convertAlphatbet(ExtractionHandle * /*handle*/, char character, uint8_t *value) {
    const uint8_t position = kPositions[static_cast<unsigned char>(character)];
    if (position != kNoValue) {
        *value = position;
    }
    return 0;
}

QOB_EXPORT int32_t convertAlphatbet64(ExtractionHandle *handle, char character, uint8_t *value) {
    const uint8_t position = kPositions[static_cast<unsigned char>(character)];
    if (position < kPadValue) {
        *value = position;
    } else if (position == kPadValue) {
        ++handle->base64PadCount;
    }
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
    const size_t fullGroups = count > 4 ? (count - 5) / 4 + 1 : 0;
    for (size_t group = 0; group < fullGroups; ++group) {
        DoBase64(handle, values + 4 * group, out + 3 * group);
    }
    DoBase64_end(handle, values + 4 * fullGroups, out + 3 * fullGroups);
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
    decodeLine(handle, line, length, mapperForLine(handle, line, length), buffers);
    QOB_FileWrite(buffers.decoded.get(), 1, decodedLength(handle, length), target);
    return EML_OK;
}

QOB_EXPORT int32_t analyzeBase64(ExtractionHandle *handle, const char *text, uint32_t length) {
    const Base64Buffers buffers(length);
    if (!buffers.ok()) {
        return EML_ERR_MEMORY;
    }
    decodeLine(handle, text, length, convertAlphatbet64, buffers);
    std::memset(handle->convBuffer, 0, kConvBufferSize);
    // More pads than text wrap to a length that no conversion takes.
    const uint32_t produced = TransChar(handle, buffers.decoded.get(), handle->convBuffer,
                                        static_cast<uint32_t>(decodedLength(handle, length)));
    const uint32_t code = myfwrite(handle, handle->convBuffer, 1, produced, handle->outputFile);
    std::memset(handle->convBuffer, 0, kConvBufferSize);
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
    decodeLine(handle, joined.get(), joinedLength, convertAlphatbet, buffers);
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
    mapCharacters(handle, line, length, mapperForLine(handle, line, length), values.get());
    QOB_FileWrite(values.get(), 1, static_cast<int32_t>(length), target);
    return EML_OK;
}
