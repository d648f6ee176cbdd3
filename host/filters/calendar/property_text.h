// SPDX-License-Identifier: MIT
// Which properties of calendars and cards are text for people, under which label and in which
// order.
#ifndef QOB_FILTERS_CALENDAR_PROPERTY_TEXT_H
#define QOB_FILTERS_CALENDAR_PROPERTY_TEXT_H

#include <optional>
#include <string>

#include "content_line.h"

namespace qob::filters {

enum class ItemKind { kNone, kCalendar, kEntry, kCard };

struct PropertyText {
    std::size_t rank;  // lines are written by rank, lines of one rank as they come
    std::string label; // "Telephone (work)"
    std::string text;
};

// What is written for a property of a calendar itself, of an entry in it, or of a card; nothing
// for a property that is not for people, or empty. The line's value has its encoding undone.
std::optional<PropertyText> propertyText(ItemKind kind, const ContentLine &line);

} // namespace qob::filters

#endif
