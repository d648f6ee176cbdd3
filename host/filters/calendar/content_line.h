// SPDX-License-Identifier: MIT
// One content line of a calendar or a card: NAME;PARAMETER=VALUE,VALUE:TEXT. All is UTF-8.
#ifndef QOB_FILTERS_CALENDAR_CONTENT_LINE_H
#define QOB_FILTERS_CALENDAR_CONTENT_LINE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qob::filters {

struct LineParameter {
    std::string name; // in capitals; empty for a value without a name, as older cards have them
    std::vector<std::string> values;
};

struct ContentLine {
    std::string name; // in capitals, without the group in front of a '.'
    std::vector<LineParameter> parameters;
    std::string value; // as it stands in the line

    // The first value of a parameter, or empty.
    std::string_view parameter(std::string_view parameterName) const;
};

// The parts of a line; nothing for one that is no content line.
std::optional<ContentLine> parseContentLine(std::string_view line);

// In capitals, as far as ASCII goes.
std::string inCapitals(std::string_view text);

// Text without its escapes (\n, \, \; \: \\).
std::string unescaped(std::string_view value);

// The parts of a value between separators that are not escaped, each without its escapes.
std::vector<std::string> partsOf(std::string_view value, char separator);

} // namespace qob::filters

#endif
