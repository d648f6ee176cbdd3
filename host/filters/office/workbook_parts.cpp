// SPDX-License-Identifier: MIT
// See workbook_parts.h.
#include "workbook_parts.h"

#include <charconv>

namespace qob::filters::office {
namespace {

// Bounds that no program's workbooks reach.
constexpr std::size_t kMaxSheets = 10000;
constexpr std::size_t kMaxStyles = 100000;
constexpr std::size_t kMaxFormats = 10000;

} // namespace

uint32_t numberOf(std::string_view digits, uint32_t otherwise) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() ? number : otherwise;
}

bool SheetList::enter(const XmlElement &element) {
    if (element.name() == "sheet" && sheets_.size() < kMaxSheets) {
        sheets_.push_back(
            {std::string(element.attribute("name")), std::string(element.prefixedAttribute("id"))});
    } else if (element.name() == "workbookPr") {
        const std::string_view value = element.attribute("date1904");
        from1904_ = value == "1" || value == "true";
    }
    return true;
}

std::string_view SharedStrings::at(std::size_t number) const {
    if (number >= ends_.size()) {
        return {};
    }
    const std::size_t start = number == 0 ? 0 : ends_[number - 1];
    return std::string_view(all_).substr(start, ends_[number] - start);
}

// Readings of characters (rPh) are no part of the string.
bool SharedStrings::enter(const XmlElement &element) {
    return element.name() != "rPh";
}

void SharedStrings::leave(std::string_view name) {
    if (name == "si") {
        ends_.push_back(all_.size());
    }
}

void SharedStrings::text(std::string_view piece) {
    if (innermost() == "t") {
        all_ += piece;
    }
}

NumberKind CellStyles::kindOf(std::string_view style) const {
    const uint32_t number = numberOf(style, 0);
    return number < kinds_.size() ? kinds_[number] : NumberKind::kNumber;
}

// The formats stand before the styles that refer to them.
bool CellStyles::enter(const XmlElement &element) {
    if (element.name() == "numFmt" && innermost() == "numFmts" && custom_.size() < kMaxFormats) {
        custom_.try_emplace(numberOf(element.attribute("numFmtId"), 0),
                            kindOfFormat(element.attribute("formatCode")));
    } else if (element.name() == "xf" && innermost() == "cellXfs" && kinds_.size() < kMaxStyles) {
        const uint32_t format = numberOf(element.attribute("numFmtId"), 0);
        const auto place = custom_.find(format);
        kinds_.push_back(place != custom_.end() ? place->second : builtInKind(format));
    }
    return true;
}

} // namespace qob::filters::office
