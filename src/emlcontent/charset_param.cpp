// SPDX-License-Identifier: MIT
// The charset parameter of text types.
#include "emlcontent/field_finders.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcontent/field_names.h"
#include "emlcontent/parameter_text.h"

namespace {

eml::ParameterField partCharsetField(ExtractionHandle *handle) {
    return {handle->inNestedPart == 0 ? handle->partCharset : handle->nestedCharset,
            kPartCharsetSize};
}

// Both fields end at the length found, whichever of them was filled.
void terminatePartCharset(ExtractionHandle *handle, size_t length) {
    handle->partCharset[length] = '\0';
    handle->nestedCharset[length] = '\0';
}

// The unquoted value after "charset=". With a ';' behind it the terminator goes one byte further
// than the text, so a byte of an earlier value may stay in between.
void copyUnquotedCharset(ExtractionHandle *handle, const char *value) {
    constexpr size_t kLongest = kMessageCharsetSize - 1;
    const char *semicolon = std::strchr(value, ';');
    if (semicolon == nullptr) {
        eml::copyText(handle->charset, kMessageCharsetSize, value);
        return;
    }
    const size_t length = std::min(static_cast<size_t>(semicolon - value), kLongest);
    std::memcpy(handle->charset, value, length);
    handle->charset[std::min(length + 1, kLongest)] = '\0';
}

} // namespace

QOB_EXPORT int32_t findChartset_pre(ExtractionHandle *handle, const char *text) {
    eml::ParameterField field = partCharsetField(handle);
    eml::copyLastQuoted(text, field);
    terminatePartCharset(handle, field.length());
    return 0;
}

QOB_EXPORT int32_t findChartset_pre1(ExtractionHandle *handle, const char *text) {
    eml::ParameterField field = partCharsetField(handle);
    while (*text != '\0' && *text != ';') {
        if (*text == ' ') {
            ++text;
        } else if (*text == '"') {
            text = eml::copyQuoted(text + 1, field);
            text += *text == '"' ? 1 : 0;
        } else {
            // Unquoted text goes on to the ';', blanks and comments included.
            while (*text != '\0' && *text != ';') {
                field.append(*text++);
            }
        }
    }
    terminatePartCharset(handle, field.length());
    return 0;
}

QOB_EXPORT int32_t findChartset_pre_special(ExtractionHandle *handle, const char *line) {
    const char *key = std::strstr(line, eml::kCharsetKey.data());
    return key == nullptr ? 0 : findChartset_pre1(handle, key + eml::kCharsetKey.size());
}

QOB_EXPORT int32_t findChartset(ExtractionHandle *handle, const char *line) {
    eml::ParameterField field(handle->charset, kMessageCharsetSize);
    // A value too long for the field is taken at once, cut; else the last one stays.
    const char *quote = std::strchr(line, '"');
    while (quote != nullptr && !field.cut()) {
        const char *stop = eml::copyQuoted(quote + 1, field);
        quote = *stop == '"' ? std::strchr(stop + 1, '"') : nullptr;
    }
    if (field.length() > 0) {
        handle->charset[field.length()] = '\0';
        return 0;
    }
    const char *key = std::strstr(line, eml::kCharsetKey.data());
    if (key != nullptr) {
        copyUnquotedCharset(handle, key + eml::kCharsetKey.size());
    }
    return 0;
}
