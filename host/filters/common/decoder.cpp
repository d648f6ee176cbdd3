// SPDX-License-Identifier: MIT
// Both decoders go through UTF-16, in pieces of a fixed size, so that their memory does not depend
// on the input.
#include "decoder.h"

#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <new>

namespace qob::filters {
namespace {

constexpr std::size_t kUnits = 8192;
constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kByteOrderMark = 0xFEFF;

// ICU's own substitution answers some charsets' malformed bytes with U+001A; a reader is better
// served with U+FFFD throughout.
void substitute(const void *context, UConverterToUnicodeArgs *args, const char *bytes,
                int32_t length, UConverterCallbackReason reason, UErrorCode *error) {
    (void)context;
    (void)bytes;
    (void)length;
    if (reason > UCNV_IRREGULAR) {
        return; // reset, close or clone
    }
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &kReplacement, 1, 0, error);
}

void setCallback(UConverter *converter, UConverterToUCallback callback) {
    UErrorCode error = U_ZERO_ERROR;
    UConverterToUCallback oldCallback = nullptr;
    const void *oldContext = nullptr;
    ucnv_setToUCallBack(converter, callback, nullptr, &oldCallback, &oldContext, &error);
}

void appendCodePoint(char32_t codePoint, std::string &utf8) {
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    utf8.append(bytes, length);
}

} // namespace

ConverterPtr openConverter(const std::string &charset) {
    UErrorCode error = U_ZERO_ERROR;
    ConverterPtr converter(ucnv_open(charset.c_str(), &error));
    if (error == U_MEMORY_ALLOCATION_ERROR) {
        throw std::bad_alloc();
    }
    return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

Decoder::Decoder(const std::string &charset) : source_(openConverter(charset)), units_(kUnits) {
    if (source_ == nullptr) {
        source_ = openConverter("windows-1252");
    }
    if (source_ == nullptr) {
        throw std::bad_alloc();
    }
    setCallback(source_.get(), substitute);
}

void Decoder::decode(std::string_view bytes, bool last, std::string &utf8) {
    const char *from = bytes.data();
    const char *const end = bytes.data() + bytes.size();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        char16_t *to = units_.data();
        ucnv_toUnicode(source_.get(), &to, units_.data() + units_.size(), &from, end, nullptr,
                       static_cast<UBool>(last), &error);
        appendUnits(units_.data(), static_cast<std::size_t>(to - units_.data()), utf8);
    }
    if (last && lead_ != 0) {
        appendCodePoint(kReplacement, utf8);
        lead_ = 0;
    }
}

void Decoder::appendUnits(const char16_t *units, std::size_t count, std::string &utf8) {
    for (std::size_t i = 0; i < count; ++i) {
        const char16_t unit = units[i];
        const bool first = !started_;
        started_ = true;
        if (first && unit == kByteOrderMark) {
            continue;
        }
        if (lead_ != 0) {
            const char16_t lead = lead_;
            lead_ = 0;
            if (U16_IS_TRAIL(unit)) {
                appendCodePoint(static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead, unit)), utf8);
                continue;
            }
            appendCodePoint(kReplacement, utf8);
        }
        if (U16_IS_LEAD(unit)) {
            lead_ = unit;
        } else {
            appendCodePoint(U16_IS_TRAIL(unit) ? kReplacement : unit, utf8);
        }
    }
}

StrictDecoder::StrictDecoder(const std::string &charset)
    : source_(openConverter(charset)), units_(kUnits), valid_(source_ != nullptr) {
    if (valid_) {
        setCallback(source_.get(), UCNV_TO_U_CALLBACK_STOP);
    }
}

bool StrictDecoder::accepts(std::string_view bytes, bool last) {
    const char *from = bytes.data();
    const char *const end = bytes.data() + bytes.size();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (valid_ && error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        char16_t *to = units_.data();
        ucnv_toUnicode(source_.get(), &to, units_.data() + units_.size(), &from, end, nullptr,
                       static_cast<UBool>(last), &error);
        look(units_.data(), static_cast<std::size_t>(to - units_.data()));
        valid_ = U_SUCCESS(error) || error == U_BUFFER_OVERFLOW_ERROR;
    }
    return valid_;
}

void StrictDecoder::look(const char16_t *units, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sawNonAscii_ = sawNonAscii_ || units[i] >= 0x80;
        sawPrivateUse_ = sawPrivateUse_ || (units[i] >= 0xE000 && units[i] <= 0xF8FF);
    }
}

} // namespace qob::filters
