// SPDX-License-Identifier: MIT
// Control codes: which units of a text are, and text without them. TAB, LF and CR are text; ESC, SO
// and SI are where they belong to the encoding. In charsets of 16- and 32-bit units a control code
// is a whole unit, so no character is torn.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "byte_runs.h"
#include "codec_cache.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "text_check.h"

namespace {

bool isDropped(std::uint32_t unit, bool keepsShifts) {
    if (unit >= 0x20) {
        return unit == 0x7F;
    }
    if (unit == '\t' || unit == '\n' || unit == '\r') {
        return false;
    }
    return !(keepsShifts && (unit == 0x1B || unit == 0x0E || unit == 0x0F));
}

// How many bytes there are before the first that is dropped.
std::size_t keptLength(std::string_view text, bool keepsShifts) {
    std::size_t kept = qob::lengthWithoutControls(text);
    while (kept < text.size() && !isDropped(static_cast<unsigned char>(text[kept]), keepsShifts)) {
        ++kept;
        kept += qob::lengthWithoutControls(text.substr(kept));
    }
    return kept;
}

std::uint32_t copyBytes(char *to, std::string_view from, bool keepsShifts) {
    const char *start = to;
    while (!from.empty()) {
        const std::size_t kept = keptLength(from, keepsShifts);
        std::memmove(to, from.data(), kept);
        to += kept;
        from.remove_prefix(std::min(kept + 1, from.size()));
    }
    return static_cast<std::uint32_t>(to - start);
}

std::uint32_t unitAt(const char *bytes, std::uint32_t width, bool little) {
    std::uint32_t unit = 0;
    for (std::uint32_t i = 0; i < width; ++i) {
        unit = unit << 8U | static_cast<unsigned char>(bytes[little ? width - 1 - i : i]);
    }
    return unit;
}

bool isLittle(std::string_view text, std::uint32_t width, std::uint32_t code) {
    if ((code & qob::kSourceMark) != 0) {
        if (const auto marked = qob::markedOrder(text, width)) {
            return *marked == qob::ByteOrder::Little;
        }
    }
    return (code & qob::kSourceLittleEndian) != 0;
}

// A unit cut at the end is copied: the conversion then shows that something is missing.
std::uint32_t copyUnits(char *to, std::string_view from, std::uint32_t width, bool little) {
    std::uint32_t copied = 0;
    for (std::size_t at = 0; at < from.size(); at += width) {
        const std::string_view unit = from.substr(at, width);
        if (unit.size() == width && isDropped(unitAt(unit.data(), width, little), false)) {
            continue;
        }
        std::memmove(to + copied, unit.data(), unit.size());
        copied += static_cast<std::uint32_t>(unit.size());
    }
    return copied;
}

} // namespace

QOB_HOST_EXPORT uint32_t QOB_GetGroupCharWidth(const char *charsetName) {
    try {
        const char *name = charsetName == nullptr ? "" : charsetName;
        qob::CodecCache &cache = qob::CodecCache::get();
        const qob::SourceCodec *codec = cache.recentSource(name);
        if (codec == nullptr) {
            codec = cache.source(name);
        }
        return codec == nullptr ? 1 : codec->unitBytes();
    } catch (...) {
        return 1;
    }
}

QOB_HOST_EXPORT uint32_t QOB_CopyStripControlCode(void *dst, const void *src, uint32_t length,
                                                  uint32_t charWidth, uint32_t sourceCode) {
    if (dst == nullptr || src == nullptr || length == 0) {
        return 0;
    }
    const std::uint32_t code =
        (sourceCode & qob::kSourceTagMask) == qob::kSourceTag ? sourceCode : 0;
    const std::string_view from(static_cast<const char *>(src), length);
    auto *to = static_cast<char *>(dst);
    if ((code & qob::kSourceOpaque) != 0) {
        std::memmove(to, from.data(), from.size());
        return length;
    }
    if (charWidth == 2 || charWidth == 4) {
        return copyUnits(to, from, charWidth, isLittle(from, charWidth, code));
    }
    return copyBytes(to, from, (code & qob::kSourceShifts) != 0);
}
