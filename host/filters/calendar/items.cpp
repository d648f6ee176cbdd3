// SPDX-License-Identifier: MIT
// See items.h. What belongs to one item is sorted before it is written; an item larger than anybody
// writes is written in parts, each sorted by itself.
#include "items.h"

#include <algorithm>

#include "value_text.h"

namespace qob::filters {
namespace {

constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxSize = std::size_t{1} << 20;
constexpr std::size_t kOverhead = 128; // of one property, roughly

// Alarms, time zones and components of an unknown kind are nothing to read.
ItemKind kindOf(std::string_view component) {
    if (component == "VCALENDAR") {
        return ItemKind::kCalendar;
    }
    if (component == "VEVENT" || component == "VTODO" || component == "VJOURNAL") {
        return ItemKind::kEntry;
    }
    return component == "VCARD" ? ItemKind::kCard : ItemKind::kNone;
}

} // namespace

void Items::line(std::string_view utf8) {
    std::optional<ContentLine> parsed = parseContentLine(utf8);
    if (!parsed) {
        return;
    }
    if (parsed->name == "BEGIN") {
        begin(*parsed);
        return;
    }
    if (parsed->name == "END") {
        end();
        return;
    }
    if (open_.empty() || openBeyond_ > 0 || open_.back() == ItemKind::kNone ||
        !decodeValue(*parsed, charset_)) {
        return;
    }
    std::optional<PropertyText> text = propertyText(open_.back(), *parsed);
    if (!text) {
        return;
    }
    size_ += text->text.size() + kOverhead;
    properties_.push_back(std::move(*text));
    if (size_ > kMaxSize) {
        write();
        goesOn_ = true;
    }
}

void Items::begin(const ContentLine &line) {
    const ItemKind kind = kindOf(inCapitals(trimmed(line.value)));
    found_ = found_ || kind == ItemKind::kCalendar || kind == ItemKind::kCard;
    if (open_.size() >= kMaxDepth) {
        ++openBeyond_;
        return;
    }
    if (kind != ItemKind::kNone) {
        write();
        goesOn_ = false;
    }
    open_.push_back(kind);
}

void Items::end() {
    if (openBeyond_ > 0) {
        --openBeyond_;
        return;
    }
    if (open_.empty()) {
        return;
    }
    if (open_.back() != ItemKind::kNone) {
        write();
        goesOn_ = false;
    }
    open_.pop_back();
}

void Items::write() {
    std::stable_sort(properties_.begin(), properties_.end(),
                     [](const PropertyText &a, const PropertyText &b) { return a.rank < b.rank; });
    bool first = true;
    const PropertyText *previous = nullptr;
    for (const PropertyText &property : properties_) {
        // A property that is only another form of one before it: the parts of a person's name.
        if (previous != nullptr && property.label == previous->label &&
            property.rank != previous->rank) {
            continue;
        }
        previous = &property;
        if (first && wroteAny_ && !goesOn_) {
            lines_.append("\n");
        }
        first = false;
        wroteAny_ = true;
        lines_.append(property.label + ": ");
        lines_.append(property.text);
        lines_.append("\n");
    }
    properties_.clear();
    size_ = 0;
}

} // namespace qob::filters
