// SPDX-License-Identifier: MIT
// See content_line.h.
#include "content_line.h"

#include <algorithm>
#include <cctype>

namespace qob::filters {
namespace {

// More parameters, or values of one, are passed over.
constexpr std::size_t kMaxParameters = 64;
constexpr std::size_t kMaxParts = 4096;

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_' || c == '.';
}

// A reader of the part of a line in front of its value.
class Cursor {
public:
    explicit Cursor(std::string_view line) : rest_(line) {}

    bool atEnd() const { return rest_.empty(); }
    char next() const { return rest_.front(); }
    void skip() { rest_.remove_prefix(1); }
    std::string_view rest() const { return rest_; }

    std::string_view name() {
        const auto *const end = std::find_if_not(rest_.begin(), rest_.end(), isNameCharacter);
        const auto length = static_cast<std::size_t>(end - rest_.begin());
        const std::string_view taken = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return taken;
    }

    // Up to one of the characters that end a parameter's value; in quotes these are text.
    std::string parameterValue() {
        std::string value;
        bool quoted = false;
        while (!atEnd() &&
               (quoted || std::string_view(",;:").find(next()) == std::string_view::npos)) {
            if (next() == '"') {
                quoted = !quoted;
            } else {
                value += next();
            }
            skip();
        }
        return value;
    }

private:
    std::string_view rest_;
};

// Quotes and line ends, which a parameter cannot hold as they are, are written behind a caret.
std::string withoutCarets(const std::string &value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char follows = value[i] == '^' && i + 1 < value.size() ? value[i + 1] : '\0';
        if (follows == 'n' || follows == '^' || follows == '\'') {
            text += follows == 'n' ? '\n' : follows == '^' ? '^' : '"';
            ++i;
        } else {
            text += value[i];
        }
    }
    return text;
}

LineParameter readParameter(Cursor &cursor) {
    LineParameter parameter;
    const std::string_view name = cursor.name();
    if (cursor.atEnd() || cursor.next() != '=') {
        parameter.values.emplace_back(name);
        // What is neither a name nor a value is passed over.
        cursor.parameterValue();
        return parameter;
    }
    parameter.name = inCapitals(name);
    do {
        cursor.skip(); // '=' or ','
        std::string value = withoutCarets(cursor.parameterValue());
        if (parameter.values.size() < kMaxParameters) {
            parameter.values.push_back(std::move(value));
        }
    } while (!cursor.atEnd() && cursor.next() == ',');
    return parameter;
}

} // namespace

std::string inCapitals(std::string_view text) {
    std::string capitals(text);
    for (char &c : capitals) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return capitals;
}

std::string_view ContentLine::parameter(std::string_view parameterName) const {
    for (const LineParameter &candidate : parameters) {
        if (candidate.name == parameterName && !candidate.values.empty()) {
            return candidate.values.front();
        }
    }
    return {};
}

std::optional<ContentLine> parseContentLine(std::string_view line) {
    Cursor cursor(line);
    ContentLine parsed;
    const std::string_view name = cursor.name();
    const std::size_t group = name.rfind('.');
    parsed.name = inCapitals(group == std::string_view::npos ? name : name.substr(group + 1));
    if (parsed.name.empty()) {
        return std::nullopt;
    }
    while (!cursor.atEnd() && (cursor.next() == ';' || cursor.next() == ',')) {
        cursor.skip();
        LineParameter parameter = readParameter(cursor);
        if (parsed.parameters.size() < kMaxParameters) {
            parsed.parameters.push_back(std::move(parameter));
        }
    }
    if (cursor.atEnd() || cursor.next() != ':') {
        return std::nullopt;
    }
    cursor.skip();
    parsed.value = cursor.rest();
    return parsed;
}

std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char follows = value[i] == '\\' && i + 1 < value.size() ? value[i + 1] : '\0';
        if (follows == 'n' || follows == 'N') {
            text += '\n';
            ++i;
        } else if (follows != '\0' &&
                   std::string_view("\\,;:\"").find(follows) != std::string_view::npos) {
            text += follows;
            ++i;
        } else {
            text += value[i];
        }
    }
    return text;
}

std::vector<std::string> partsOf(std::string_view value, char separator) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < value.size() && parts.size() + 1 < kMaxParts; ++i) {
        if (value[i] == '\\') {
            ++i;
        } else if (value[i] == separator) {
            parts.push_back(unescaped(value.substr(begin, i - begin)));
            begin = i + 1;
        }
    }
    parts.push_back(unescaped(value.substr(begin)));
    return parts;
}

} // namespace qob::filters
