// SPDX-License-Identifier: MIT
// See property_text.h. The order of the rows is the order of the lines.
#include "property_text.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "value_text.h"

namespace qob::filters {
namespace {

enum class Form {
    kText,
    kList,   // parts with commas between
    kFields, // parts with semicolons between
    kName,   // the parts of a person's name
    kDate,
    kDuration,
    kRecurrence,
    kPerson,
    kAddress, // a URI or the like
};

struct Row {
    std::string_view name;
    std::string_view label;
    Form form;
    bool typed = false; // the kinds (home, work) are a part of the label
};

constexpr auto kCalendarRows = std::to_array<Row>({
    {"X-WR-CALNAME", "Calendar", Form::kText},
    {"NAME", "Calendar", Form::kText},
    {"X-WR-CALDESC", "Description", Form::kText},
    {"DESCRIPTION", "Description", Form::kText},
});

constexpr auto kEntryRows = std::to_array<Row>({
    {"SUMMARY", "Summary", Form::kText},
    {"RECURRENCE-ID", "Instance", Form::kDate},
    {"DTSTART", "Start", Form::kDate},
    {"DTEND", "End", Form::kDate},
    {"DUE", "Due", Form::kDate},
    {"DURATION", "Duration", Form::kDuration},
    {"COMPLETED", "Completed", Form::kDate},
    {"RRULE", "Repeats", Form::kRecurrence},
    {"LOCATION", "Location", Form::kText},
    {"STATUS", "Status", Form::kText},
    {"ORGANIZER", "Organizer", Form::kPerson},
    {"ATTENDEE", "Attendee", Form::kPerson},
    {"CONTACT", "Contact", Form::kText},
    {"RESOURCES", "Resources", Form::kList},
    {"CATEGORIES", "Categories", Form::kList},
    {"URL", "URL", Form::kAddress},
    {"ATTACH", "Attachment", Form::kAddress},
    {"DESCRIPTION", "Description", Form::kText},
    {"COMMENT", "Comment", Form::kText},
});

constexpr auto kCardRows = std::to_array<Row>({
    {"FN", "Name", Form::kText},
    {"N", "Name", Form::kName},
    {"NICKNAME", "Nickname", Form::kList},
    {"ORG", "Organization", Form::kFields},
    {"TITLE", "Title", Form::kText},
    {"ROLE", "Role", Form::kText},
    {"TEL", "Telephone", Form::kAddress, true},
    {"EMAIL", "E-mail", Form::kAddress, true},
    {"IMPP", "Chat", Form::kAddress, true},
    {"ADR", "Address", Form::kFields, true},
    {"LABEL", "Label", Form::kText, true},
    {"URL", "URL", Form::kAddress, true},
    {"BDAY", "Birthday", Form::kDate},
    {"ANNIVERSARY", "Anniversary", Form::kDate},
    {"RELATED", "Related", Form::kAddress, true},
    {"CATEGORIES", "Categories", Form::kList},
    {"NOTE", "Note", Form::kText},
});

// Kinds that tell a program something, not a person.
bool isSilentKind(std::string_view kind) {
    static constexpr std::array<std::string_view, 11> kSilent{
        "pref", "internet",         "voice",  "intl", "postal", "parcel",
        "dom",  "quoted-printable", "base64", "8bit", "7bit"};
    return std::find(kSilent.begin(), kSilent.end(), kind) != kSilent.end();
}

// "TYPE=WORK,VOICE", ";WORK;VOICE": "work".
std::string kindsOf(const ContentLine &line) {
    std::vector<std::string> kinds;
    for (const LineParameter &parameter : line.parameters) {
        if (!parameter.name.empty() && parameter.name != "TYPE") {
            continue;
        }
        for (const std::string &value : parameter.values) {
            for (std::string kind : partsOf(value, ',')) {
                std::transform(kind.begin(), kind.end(), kind.begin(), [](char c) {
                    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
                });
                if (!isSilentKind(kind) &&
                    std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) {
                    kinds.push_back(std::move(kind));
                }
            }
        }
    }
    return joined(kinds, ", ");
}

// Family, given, further names, prefixes, suffixes: in the order in which they are spoken.
std::string nameText(std::string_view value) {
    std::vector<std::string> parts = partsOf(value, ';');
    parts.resize(5);
    return joined({parts[3], parts[1], parts[2], parts[0], parts[4]}, " ");
}

std::string valueText(Form form, const ContentLine &line) {
    switch (form) {
    case Form::kList:
        return joined(partsOf(line.value, ','), ", ");
    case Form::kFields:
        return joined(partsOf(line.value, ';'), ", ");
    case Form::kName:
        return nameText(line.value);
    case Form::kDate:
        return dateText(line.value, line.parameter("TZID"));
    case Form::kDuration:
        return durationText(line.value);
    case Form::kRecurrence:
        return recurrenceText(line.value);
    case Form::kPerson:
        return personText(line.value, line.parameter("CN"));
    case Form::kAddress:
        return std::string(trimmed(withoutScheme(trimmed(unescaped(line.value)))));
    default:
        return std::string(trimmed(unescaped(line.value)));
    }
}

template <std::size_t kCount>
std::optional<PropertyText> textByRow(const std::array<Row, kCount> &rows,
                                      const ContentLine &line) {
    const auto *const row = std::find_if(rows.begin(), rows.end(), [&line](const Row &candidate) {
        return candidate.name == line.name;
    });
    if (row == rows.end()) {
        return std::nullopt;
    }
    PropertyText result{static_cast<std::size_t>(row - rows.begin()), std::string(row->label),
                        valueText(row->form, line)};
    if (result.text.empty()) {
        return std::nullopt;
    }
    if (const std::string kinds = row->typed ? kindsOf(line) : std::string(); !kinds.empty()) {
        result.label += " (" + kinds + ")";
    }
    return result;
}

} // namespace

std::optional<PropertyText> propertyText(ItemKind kind, const ContentLine &line) {
    switch (kind) {
    case ItemKind::kCalendar:
        return textByRow(kCalendarRows, line);
    case ItemKind::kEntry:
        return textByRow(kEntryRows, line);
    case ItemKind::kCard:
        return textByRow(kCardRows, line);
    default:
        return std::nullopt;
    }
}

} // namespace qob::filters
