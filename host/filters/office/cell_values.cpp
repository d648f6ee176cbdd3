// SPDX-License-Identifier: MIT
// See cell_values.h. Nothing here depends on the locale.
#include "cell_values.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace qob::filters::office {
namespace {

constexpr int32_t kMaxColumns = 16384;
constexpr int kDigits = 15;

constexpr int64_t kSecondsOfDay = 86400;
// Day 0 of both calendars counted from 1970-01-01. The older one has a day too many in 1900: its
// day 60 is February 29.
constexpr int64_t kStart1900 = -25568;
constexpr int64_t kStart1904 = -24107;
constexpr int64_t kDayTooMany = 60;
// The first day after 9999-12-31.
constexpr double kEnd1900 = 2958466.0;
constexpr double kEnd1904 = 2957004.0;

std::optional<double> parsed(std::string_view value) {
    double number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size() || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

// Written with `width` digits at least.
std::string padded(int64_t number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string timeOf(int64_t seconds) {
    return padded(seconds / 3600, 2) + ":" + padded(seconds / 60 % 60, 2) + ":" +
           padded(seconds % 60, 2);
}

// The date of a day counted from 1970-01-01, in the Gregorian calendar.
std::string dateOf(int64_t day) {
    // Counted in eras of 400 years that begin on March 1 of year 0; all dates here are later.
    const int64_t days = day + 719468;
    const int64_t era = days / 146097;
    const int64_t dayOfEra = days % 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t shifted = (5 * dayOfYear + 2) / 153;
    const int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    const int64_t year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0);
    return padded(year, 4) + "-" + padded(month, 2) + "-" +
           padded(dayOfYear - (153 * shifted + 2) / 5 + 1, 2);
}

std::string dateOfSerial(int64_t serial, bool from1904) {
    if (from1904) {
        return dateOf(kStart1904 + serial);
    }
    if (serial == kDayTooMany) {
        return "1900-02-29";
    }
    return dateOf(kStart1900 + serial - (serial > kDayTooMany ? 1 : 0));
}

// What stands in quotes, brackets (colours, currencies, conditions) and behind escapes is no part
// of the pattern; elapsed hours are, in brackets.
std::string patternOf(std::string_view code) {
    std::string pattern;
    for (std::size_t i = 0; i < code.size(); ++i) {
        const char c = code[i];
        if (c == '\\' || c == '_' || c == '*') {
            ++i;
        } else if (c == '"') {
            i = std::min(code.find('"', i + 1), code.size());
        } else if (c == '[') {
            const std::size_t end = std::min(code.find(']', i), code.size());
            const std::string_view inside = code.substr(i + 1, end - i - 1);
            const bool elapsed =
                !inside.empty() && inside.find_first_not_of("hHmMsS") == std::string_view::npos;
            pattern += elapsed ? "[" : "";
            i = end;
        } else if (c == ';') {
            break;
        } else {
            pattern += static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        }
    }
    return pattern;
}

bool hasAny(std::string_view text, std::string_view characters) {
    return text.find_first_of(characters) != std::string_view::npos;
}

constexpr std::size_t kEscapeLength = 7;

// The character of "_xHHHH_" at the text's start; nothing when it is none.
std::optional<uint32_t> escapeAt(std::string_view text) {
    uint32_t code = 0;
    if (text.size() < kEscapeLength || !text.starts_with("_x") || text[kEscapeLength - 1] != '_') {
        return std::nullopt;
    }
    const char *const digits = text.data() + 2;
    const auto [end, error] = std::from_chars(digits, digits + 4, code, 16);
    if (error != std::errc() || end != digits + 4 || U_IS_SURROGATE(code)) {
        return std::nullopt;
    }
    return code;
}

// Control codes are blanks: a cell is one line.
void appendCharacter(uint32_t code, std::string &text) {
    if (code < 0x20 || code == 0x7F) {
        text += ' ';
        return;
    }
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, code);
    text.append(bytes, length);
}

} // namespace

NumberKind builtInKind(uint32_t formatId) {
    const auto within = [formatId](uint32_t first, uint32_t last) {
        return formatId >= first && formatId <= last;
    };
    if (within(14, 17) || within(27, 31) || formatId == 36 || within(50, 54) || within(57, 58)) {
        return NumberKind::kDate;
    }
    if (within(18, 21) || within(32, 35) || formatId == 45 || formatId == 47) {
        return NumberKind::kTime;
    }
    if (formatId == 46) {
        return NumberKind::kElapsed;
    }
    // 55 and 56 are dates in one language and times in another one.
    return formatId == 22 || within(55, 56) ? NumberKind::kDateTime : NumberKind::kNumber;
}

NumberKind kindOfFormat(std::string_view code) {
    const std::string pattern = patternOf(code);
    if (hasAny(pattern, "#?%@")) {
        return NumberKind::kNumber;
    }
    if (hasAny(pattern, "[")) {
        return NumberKind::kElapsed;
    }
    const bool time = hasAny(pattern, "hs");
    const bool date = hasAny(pattern, "yd") || (!time && hasAny(pattern, "m"));
    if (date) {
        return time ? NumberKind::kDateTime : NumberKind::kDate;
    }
    return time ? NumberKind::kTime : NumberKind::kNumber;
}

std::string numberText(std::string_view value) {
    const std::optional<double> number = parsed(value);
    // Whole numbers are kept: they may be numbers of things rather than amounts.
    if (!number || value.size() <= kDigits || !hasAny(value, ".eE")) {
        return std::string(value);
    }
    std::array<char, 64> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), *number,
                                            std::chars_format::general, kDigits);
    return error == std::errc() ? std::string(digits.data(), end) : std::string(value);
}

std::string dateText(std::string_view value, NumberKind kind, bool from1904) {
    const std::optional<double> number = parsed(value);
    if (!number || kind == NumberKind::kNumber || *number < 0 ||
        *number >= (from1904 ? kEnd1904 : kEnd1900)) {
        return numberText(value);
    }
    const int64_t seconds = std::llround(*number * static_cast<double>(kSecondsOfDay));
    if (kind == NumberKind::kElapsed) {
        return timeOf(seconds);
    }
    std::string time = timeOf(seconds % kSecondsOfDay);
    if (kind == NumberKind::kTime) {
        return time;
    }
    const std::string date = dateOfSerial(seconds / kSecondsOfDay, from1904);
    return kind == NumberKind::kDate ? date : date + "T" + time;
}

std::string withoutEscapes(std::string_view text) {
    std::string plain;
    for (;;) {
        const std::size_t start = std::min(text.find("_x"), text.size());
        plain.append(text.substr(0, start));
        text.remove_prefix(start);
        if (text.empty()) {
            return plain;
        }
        const std::optional<uint32_t> code = escapeAt(text);
        if (code) {
            appendCharacter(*code, plain);
            text.remove_prefix(kEscapeLength);
        } else {
            plain += text.front();
            text.remove_prefix(1);
        }
    }
}

int32_t columnOf(std::string_view reference) {
    int32_t column = 0;
    for (const char c : reference) {
        const char upper = static_cast<char>(c & ~0x20);
        if (upper < 'A' || upper > 'Z') {
            break;
        }
        column = column * 26 + (upper - 'A' + 1);
        if (column > kMaxColumns) {
            return -1;
        }
    }
    return column - 1;
}

} // namespace qob::filters::office
