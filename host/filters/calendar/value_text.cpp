// SPDX-License-Identifier: MIT
// See value_text.h.
#include "value_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

#include "charset.h"
#include "decoder.h"

namespace qob::filters {
namespace {

std::optional<unsigned> hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const int upper = std::toupper(static_cast<unsigned char>(c));
    if (upper >= 'A' && upper <= 'F') {
        return static_cast<unsigned>(upper - 'A') + 10;
    }
    return std::nullopt;
}

std::string withoutQuotedPrintable(std::string_view value) {
    std::string bytes;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto high =
            value[i] == '=' && i + 2 < value.size() ? hexValue(value[i + 1]) : std::nullopt;
        const auto low = high ? hexValue(value[i + 2]) : std::nullopt;
        if (low) {
            bytes += static_cast<char>(*high * 16 + *low);
            i += 2;
        } else {
            bytes += value[i];
        }
    }
    return bytes;
}

std::string decoded(const std::string &bytes, const std::string &charset) {
    std::string utf8;
    Decoder(charset).decode(bytes, true, utf8);
    return utf8;
}

std::string fromQuotedPrintable(const ContentLine &line, const std::string &charset) {
    const std::string bytes = withoutQuotedPrintable(line.value);
    if (const auto declared = charsetOfLabel(line.parameter("CHARSET"))) {
        return decoded(bytes, *declared);
    }
    const bool utf8 = StrictDecoder("UTF-8").accepts(bytes, true);
    const bool fileTells = charset != "UTF-8" && charset != "US-ASCII";
    return decoded(bytes, utf8 ? "UTF-8" : fileTells ? charset : "windows-1252");
}

bool isEncoded(const ContentLine &line, std::string_view encoding) {
    return std::any_of(
        line.parameters.begin(), line.parameters.end(), [encoding](const LineParameter &parameter) {
            return (parameter.name.empty() || parameter.name == "ENCODING") &&
                   !parameter.values.empty() && inCapitals(parameter.values.front()) == encoding;
        });
}

bool isBinary(const ContentLine &line) {
    return isEncoded(line, "BASE64") || isEncoded(line, "B") ||
           inCapitals(line.parameter("VALUE")) == "BINARY" ||
           inCapitals(std::string_view(line.value).substr(0, 5)) == "DATA:";
}

// True when `text` has the form of `pattern`, in which '9' stands for a digit.
bool matches(std::string_view text, std::string_view pattern) {
    return text.size() == pattern.size() &&
           std::equal(text.begin(), text.end(), pattern.begin(), [](char c, char form) {
               return form == '9' ? c >= '0' && c <= '9' : c == form;
           });
}

std::string calendarDate(std::string_view date) {
    std::string text(date.substr(0, 4));
    text += '-';
    text += date.substr(4, 2);
    text += '-';
    text += date.substr(6, 2);
    return text;
}

std::string clockTime(std::string_view time) {
    std::string text(time.substr(0, 2));
    text += ':';
    text += time.substr(2, 2);
    if (const std::string_view seconds = time.substr(4, 2); seconds != "00") {
        text += ':';
        text += seconds;
    }
    return text;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char &c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return lower;
}

} // namespace

bool decodeValue(ContentLine &line, const std::string &charset) {
    if (isBinary(line)) {
        return false;
    }
    if (isEncoded(line, "QUOTED-PRINTABLE")) {
        line.value = fromQuotedPrintable(line, charset);
    }
    return true;
}

std::string dateText(std::string_view value, std::string_view timeZone) {
    value = trimmed(value);
    if (matches(value, "99999999")) {
        return calendarDate(value);
    }
    if (matches(value, "--9999")) {
        return std::string(value.substr(2, 2)).append("-").append(value.substr(4));
    }
    const bool utc = matches(value, "99999999T999999Z");
    if (!utc && !matches(value, "99999999T999999")) {
        return std::string(value);
    }
    std::string text = calendarDate(value) + ' ' + clockTime(value.substr(9, 6));
    const std::string_view zone = utc ? "UTC" : trimmed(timeZone);
    if (!zone.empty()) {
        text += ' ';
        text += zone;
    }
    return text;
}

std::string durationText(std::string_view value) {
    struct Unit {
        char letter;
        const char *name;
    };
    static constexpr std::array<Unit, 5> kUnits{
        {{'W', "week"}, {'D', "day"}, {'H', "hour"}, {'M', "minute"}, {'S', "second"}}};
    std::string whole(trimmed(value));
    std::string text = !whole.empty() && whole[0] == '-' ? "-" : "";
    std::string number;
    for (const char c : std::string_view(whole).substr(std::min(whole.find('P'), whole.size()))) {
        const auto *const unit = std::find_if(kUnits.begin(), kUnits.end(),
                                              [c](const Unit &row) { return row.letter == c; });
        if (c >= '0' && c <= '9') {
            number += c;
        } else if (unit != kUnits.end() && !number.empty()) {
            text += text.size() > 1 ? " " : "";
            text += number + ' ' + unit->name + (number == "1" ? "" : "s");
            number.clear();
        } else if (c != 'P' && c != 'T') {
            return whole;
        }
    }
    return text.size() > 1 ? text : whole;
}

std::string recurrenceText(std::string_view value) {
    std::string frequency;
    std::string rest;
    for (const std::string &rule : partsOf(trimmed(value), ';')) {
        if (rule.compare(0, 5, "FREQ=") == 0 && frequency.empty()) {
            frequency = lowerCase(std::string_view(rule).substr(5));
        } else if (!rule.empty()) {
            rest += (rest.empty() ? "" : ";") + rule;
        }
    }
    if (frequency.empty() || rest.empty()) {
        return frequency + rest;
    }
    return frequency + " (" + rest + ")";
}

std::string personText(std::string_view address, std::string_view name) {
    address = withoutScheme(trimmed(address));
    name = trimmed(name);
    if (name.empty() || name == address) {
        return std::string(address);
    }
    std::string text(name);
    if (!address.empty()) {
        text += " <";
        text += address;
        text += '>';
    }
    return text;
}

std::string_view withoutScheme(std::string_view address) {
    for (const std::string_view scheme : {"MAILTO:", "TEL:"}) {
        if (inCapitals(address.substr(0, scheme.size())) == scheme) {
            return address.substr(scheme.size());
        }
    }
    return address;
}

std::string joined(const std::vector<std::string> &parts, std::string_view separator) {
    std::string text;
    for (const std::string &part : parts) {
        const std::string_view bare = trimmed(part);
        if (!bare.empty()) {
            text += text.empty() ? "" : separator;
            text += bare;
        }
    }
    return text;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace qob::filters
