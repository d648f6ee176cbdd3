// SPDX-License-Identifier: MIT
// See odf_sheet.h.
#include "odf_sheet.h"

#include <algorithm>

#include "workbook_parts.h"

namespace qob::filters::office {
namespace {

// What a kept cell costs beside its text.
constexpr std::size_t kCellOverhead = 16;

std::size_t countOf(std::string_view digits) {
    return digits.empty() ? 1 : std::max(numberOf(digits, 1), 1U);
}

// The value of a cell whose text is left to the program that shows it.
std::string_view valueOf(const XmlElement &cell) {
    const std::string_view type = cell.attribute("value-type");
    if (type == "date" || type == "time" || type == "boolean" || type == "string") {
        return cell.attribute(std::string(type) + "-value");
    }
    return type.empty() ? type : cell.attribute("value");
}

} // namespace

void OdfSheet::startRow(const XmlElement &row) {
    rows_ = std::min(countOf(row.attribute("number-rows-repeated")), kMaxRepeats);
    row_.clear();
    rowBytes_ = 0;
}

void OdfSheet::startCell(const XmlElement &cell) {
    cells_ = countOf(cell.attribute("number-columns-repeated"));
    text_.clear();
    value_ = valueOf(cell);
}

void OdfSheet::append(std::string_view utf8) {
    text_.append(utf8.substr(0, kMaxCell - std::min(kMaxCell, text_.size())));
}

void OdfSheet::startParagraph() {
    if (!text_.empty()) {
        append(" ");
    }
}

void OdfSheet::endCell() {
    const Cell cell{text_.empty() ? value_ : text_, cells_};
    write(cell);
    rowBytes_ += cell.first.size() + kCellOverhead;
    if (rows_ > 1 && rowBytes_ <= kMaxRepeatedRow) {
        row_.push_back(cell);
    }
    text_.clear();
    value_.clear();
    cells_ = 1;
}

void OdfSheet::write(const Cell &cell) {
    const auto &[text, count] = cell;
    if (text.empty()) {
        flow_.skipCells(count);
        return;
    }
    const std::size_t times = text.size() <= kMaxRepeatedCell ? std::min(count, kMaxRepeats) : 1;
    for (std::size_t i = 0; i < times; ++i) {
        flow_.text(text);
        flow_.endCell();
    }
    flow_.skipCells(count - times);
}

void OdfSheet::endRow() {
    flow_.endRow();
    const std::size_t times = rowBytes_ <= kMaxRepeatedRow ? rows_ : 1;
    for (std::size_t i = 1; i < times; ++i) {
        for (const Cell &cell : row_) {
            write(cell);
        }
        flow_.endRow();
    }
}

} // namespace qob::filters::office
