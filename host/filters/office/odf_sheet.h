// SPDX-License-Identifier: MIT
// The rows of an OpenDocument spreadsheet, in which equal neighbours are written once with a count.
#ifndef QOB_FILTERS_OFFICE_ODF_SHEET_H
#define QOB_FILTERS_OFFICE_ODF_SHEET_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text_flow.h"
#include "xml_parser.h"

namespace qob::filters::office {

class OdfSheet {
public:
    // A cell with text, and a row, are repeated up to this often, and only when they are short:
    // a few bytes must not become a flood.
    static constexpr std::size_t kMaxRepeats = 64;
    static constexpr std::size_t kMaxRepeatedCell = 1024;
    static constexpr std::size_t kMaxRepeatedRow = 4096;
    // A cell's text beyond this is left out.
    static constexpr std::size_t kMaxCell = std::size_t{1} << 20;

    explicit OdfSheet(TextFlow &flow) : flow_(flow) {}

    void startRow(const XmlElement &row);
    void startCell(const XmlElement &cell);
    // Text of the cell, and the beginning of one of its paragraphs.
    void append(std::string_view utf8);
    void startParagraph();
    void endCell();
    void endRow();

private:
    using Cell = std::pair<std::string, std::size_t>; // text, count
    void write(const Cell &cell);

    TextFlow &flow_;
    std::size_t rows_ = 1;
    std::vector<Cell> row_; // kept when the row is repeated
    std::size_t rowBytes_ = 0;
    std::size_t cells_ = 1;
    std::string text_;
    std::string value_; // shown when the cell has no text
};

} // namespace qob::filters::office

#endif
