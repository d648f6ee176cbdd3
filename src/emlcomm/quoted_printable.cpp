// SPDX-License-Identifier: MIT
// The quoted-printable decoder.
#include "emlcomm/quoted_printable.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "emlcomm/charset.h"
#include "emlcomm/output.h"

namespace {

// What each byte counts as in an escape: a hexadecimal digit its value, any other its own code.
constexpr std::array<uint8_t, 256> makeDigitValues() {
    std::array<uint8_t, 256> values{};
    for (size_t c = 0; c < values.size(); ++c) {
        values[c] = static_cast<uint8_t>(c);
    }
    for (uint8_t value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
    }
    return values;
}
constexpr std::array<uint8_t, 256> kDigitValues = makeDigitValues();

uint8_t escapedByte(char first, char second) {
    return static_cast<uint8_t>(kDigitValues[static_cast<unsigned char>(first)] * 16 +
                                kDigitValues[static_cast<unsigned char>(second)]);
}

// Grows qpBuffer by `growth` bytes, or by as much more as `appended` bytes need, with zeros.
int32_t growQpBuffer(ExtractionHandle *handle, uint32_t growth, uint32_t appended) {
    const uint64_t size = std::max(static_cast<uint64_t>(handle->qpBufferSize) + growth,
                                   static_cast<uint64_t>(handle->qpBufferUsed) + appended);
    if (size == 0) {
        return EML_OK;
    }
    if (size > std::numeric_limits<uint32_t>::max()) {
        return EML_ERR_MEMORY;
    }
    auto *grown = static_cast<char *>(QOB_realloc(handle->qpBuffer, static_cast<size_t>(size)));
    if (grown == nullptr) {
        return EML_ERR_MEMORY;
    }
    handle->qpBuffer = grown;
    handle->qpBufferSize = static_cast<uint32_t>(size);
    std::memset(grown + handle->qpBufferUsed, 0, handle->qpBufferSize - handle->qpBufferUsed);
    return EML_OK;
}

void append(ExtractionHandle *handle, const char *text, uint32_t length) {
    if (length > 0) {
        std::memcpy(handle->qpBuffer + handle->qpBufferUsed, text, length);
        handle->qpBufferUsed += length;
    }
}

// The '=' of a soft break ends the line as it was read, which is the whole input line also when an
// encoded word is only a part of it.
bool endsInSoftBreak(const ExtractionHandle *handle, const char *line, uint32_t length) {
    const auto last = static_cast<int64_t>(handle->lineLength) - 1;
    return last >= 0 && last < static_cast<int64_t>(length) && line[last] == '=';
}

int32_t keepSoftBroken(ExtractionHandle *handle, const char *line, uint32_t length) {
    // A line that was cut at the buffer's end keeps its '=': it is no line end.
    const uint32_t kept = handle->lineEndSeen == 1 ? length - 1 : length;
    if (handle->qpBufferSize < static_cast<uint64_t>(handle->qpBufferUsed) + length) {
        if (growQpBuffer(handle, length - 1, kept) != EML_OK) {
            return EML_ERR_MEMORY;
        }
    }
    append(handle, line, kept);
    return EML_OK;
}

int32_t keepFinal(ExtractionHandle *handle, const char *line, uint32_t length) {
    if (handle->qpBufferSize <= static_cast<uint64_t>(handle->qpBufferUsed) + length) {
        if (growQpBuffer(handle, length, length) != EML_OK) {
            return EML_ERR_MEMORY;
        }
    }
    append(handle, line, length);
    return EML_OK;
}

// Decodes `length` bytes; what an escape reads behind them is zero. The bytes written. Text between
// escapes is mostly long, so that it is copied in one piece.
uint32_t decode(const char *text, uint32_t length, char *decoded) {
    const char *const end = text + length;
    char *out = decoded;
    while (text < end) {
        const auto *found =
            static_cast<const char *>(std::memchr(text, '=', static_cast<size_t>(end - text)));
        const auto plain = static_cast<size_t>((found == nullptr ? end : found) - text);
        std::memcpy(out, text, plain);
        out += plain;
        if (found == nullptr) {
            break;
        }
        if (end - found < 3) {
            *out++ = static_cast<char>(escapedByte(found + 1 < end ? found[1] : '\0', '\0'));
            break;
        }
        *out++ = static_cast<char>(escapedByte(found[1], found[2]));
        text = found + 3;
    }
    return static_cast<uint32_t>(out - decoded);
}

// Writes one decoded logical line, and a line end where it brought none of its own.
uint32_t writeDecoded(ExtractionHandle *handle, const char *decoded, uint32_t length,
                      char *converted, QobFile *target, uint32_t convert) {
    const bool ownLineEnd =
        length > 0 && (decoded[length - 1] == '\r' || decoded[length - 1] == '\n');
    const bool addLineEnd = !ownLineEnd && handle->encodedWordFlag == 0;
    if (convert == 0) {
        if (target != nullptr) {
            QOB_FileWrite(decoded, 1, static_cast<int32_t>(length), target);
        }
        if (addLineEnd) {
            WriteCRLFToFile_tmp(handle, target);
        }
        return EML_OK;
    }
    const uint32_t produced = TransChar(handle, decoded, converted, length);
    const uint32_t code = myfwrite(handle, converted, 1, produced, target);
    if (eml::writeFailed(code)) {
        return code;
    }
    if (addLineEnd) {
        WriteCRLFToFile(handle);
    }
    return EML_OK;
}

// Decodes and writes the accumulated logical line, and empties the accumulation. Without memory
// for it the line is lost.
int32_t flushLogicalLine(ExtractionHandle *handle, QobFile *target, uint32_t convert) {
    const uint32_t total = handle->qpBufferUsed;
    const bool countable = total <= std::numeric_limits<uint32_t>::max() / 4;
    // No byte of these is read before it was written, so that they need no clearing.
    const eml::Buffer encoded(countable ? allocBuffer(total) : nullptr);
    const eml::Buffer decoded(encoded == nullptr ? nullptr : allocBuffer(total));
    const eml::Buffer converted(decoded == nullptr ? nullptr : allocBuffer(4 * total));
    handle->qpBufferUsed = 0;
    if (total > 0) {
        if (converted != nullptr) {
            std::memcpy(encoded.get(), handle->qpBuffer, total);
        }
        // All bytes behind these are zero already.
        std::memset(handle->qpBuffer, 0, total);
    }
    if (converted == nullptr) {
        return EML_ERR_MEMORY;
    }
    const uint32_t length = decode(encoded.get(), total, decoded.get());
    return static_cast<int32_t>(
        writeDecoded(handle, decoded.get(), length, converted.get(), target, convert));
}

} // namespace

QOB_EXPORT int32_t analyzeQF(ExtractionHandle *handle, const char *line, uint32_t length,
                             QobFile *target, uint32_t convert) {
    if (target == nullptr && handle->streamMode != 1) {
        return EML_OK;
    }
    if (endsInSoftBreak(handle, line, length)) {
        return keepSoftBroken(handle, line, length);
    }
    if (keepFinal(handle, line, length) != EML_OK) {
        return EML_ERR_MEMORY;
    }
    if (handle->lineEndSeen == 0) {
        return EML_OK; // the logical line goes on in the next read
    }
    return flushLogicalLine(handle, target, convert);
}

QOB_EXPORT int32_t analyzeQF_Con(ExtractionHandle *handle, const char *line, uint32_t length) {
    const auto digitAt = [line, length](uint64_t i) {
        return i < length && line[i] >= '0' && line[i] <= '9' ? line[i] - '0' : 0;
    };
    uint32_t count = 0;
    for (uint64_t i = 0; i < length && count < kConvBufferSize; ++count) {
        if (line[i] == '=') {
            handle->convBuffer[count] = static_cast<char>(10 * digitAt(i + 1) + digitAt(i + 2));
            i += 3;
        } else {
            handle->convBuffer[count] = line[i++];
        }
    }
    handle->convBuffer[count] = '\0';
    handle->convBufferUsed = std::max(handle->convBufferUsed, count);
    return 0;
}

QOB_EXPORT uint8_t atoi_my(const char *digits) {
    return escapedByte(digits[0], digits[1]);
}

QOB_EXPORT uint32_t WriteStrToFile(ExtractionHandle *handle, const char *buffer, uint32_t length) {
    const eml::Buffer converted = eml::newConversionBuffer(length, 0);
    if (converted == nullptr) {
        return 0;
    }
    const uint32_t produced = TransChar(handle, buffer, converted.get(), length);
    if (produced == 0 || !eml::ensureOutputOpen(handle)) {
        return 0;
    }
    myfwrite(handle, converted.get(), 1, produced, handle->outputFile);
    handle->textWritten = 1;
    return produced;
}
