// SPDX-License-Identifier: MIT
// CutStr: how much of a converted text fits without splitting a character of the output charset.
// Runs once per extraction, when the limit is reached, so that clear rules are preferred to fast
// ones. Malformed text is cut too, never by more than one character's length short of the room.
#include <cstdint>
#include <memory>
#include <new>

#include <unicode/ucnv.h>

#include "qob_charset_codes.h"
#include "qob_host.h"
#include "qob_host_export.h"

namespace {

constexpr uint32_t kMaxUtf8Length = 4;

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

// Of the charset that the parameters ask the converter for; null when there is none.
Converter openConverter(const HostParams *params) {
    Converter converter(nullptr, &ucnv_close);
    const char *name =
        params == nullptr ? nullptr : qob_charset_output(params->outputName, params->outputCode);
    if (name != nullptr) {
        UErrorCode error = U_ZERO_ERROR;
        converter.reset(ucnv_open(name, &error));
    }
    return converter;
}

uint32_t cutUtf8(const unsigned char *text, uint32_t room) {
    uint32_t cut = room;
    while (cut > 0 && room - cut < kMaxUtf8Length && (text[cut] & 0xC0U) == 0x80U) {
        --cut;
    }
    // A run of continuation bytes longer than any character is no character to spare.
    return (text[cut] & 0xC0U) == 0x80U ? room : cut;
}

uint32_t cutUtf16(const unsigned char *text, uint32_t room, bool bigEndian) {
    uint32_t cut = room - room % 2;
    if (cut >= 2) {
        const unsigned char high = text[bigEndian ? cut - 2 : cut - 1];
        if ((high & 0xFCU) == 0xD8U) {
            cut -= 2;
        }
    }
    return cut;
}

// Character by character, by the charset's own decoder.
uint32_t cutByDecoding(const char *text, uint32_t length, uint32_t room, UConverter *converter) {
    const char *const end = text + length;
    const char *position = text;
    const char *lastFitting = text;
    while (position < end) {
        const char *const before = position;
        UErrorCode error = U_ZERO_ERROR;
        ucnv_getNextUChar(converter, &position, end, &error);
        const bool stuck = U_FAILURE(error) && position == before;
        if (stuck || static_cast<uint32_t>(position - text) > room) {
            break;
        }
        lastFitting = position;
    }
    return static_cast<uint32_t>(lastFitting - text);
}

uint32_t cut(const char *text, uint32_t length, uint32_t room, const HostParams *params) {
    const Converter converter = openConverter(params);
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    switch (converter == nullptr ? UCNV_UTF8 : ucnv_getType(converter.get())) {
    case UCNV_UTF8:
        return cutUtf8(bytes, room);
    case UCNV_UTF16_BigEndian:
        return cutUtf16(bytes, room, true);
    case UCNV_UTF16_LittleEndian:
        return cutUtf16(bytes, room, false);
    case UCNV_UTF32_BigEndian:
    case UCNV_UTF32_LittleEndian:
        return room - room % 4;
    default:
        return ucnv_getMaxCharSize(converter.get()) == 1
                   ? room
                   : cutByDecoding(text, length, room, converter.get());
    }
}

} // namespace

QOB_HOST_EXPORT uint32_t CutStr(const void *data, uint32_t length, uint32_t room,
                                const HostParams *params) {
    if (data == nullptr || room == 0) {
        return 0;
    }
    if (length <= room) {
        return length;
    }
    try {
        return cut(static_cast<const char *>(data), length, room, params);
    } catch (const std::bad_alloc &) {
        return 0;
    }
}
