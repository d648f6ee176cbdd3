// SPDX-License-Identifier: MIT
// What the sheets of a SpreadsheetML workbook have in common: their list, the strings that cells
// refer to, and the kinds of number that cell styles stand for.
#ifndef QOB_FILTERS_OFFICE_WORKBOOK_PARTS_H
#define QOB_FILTERS_OFFICE_WORKBOOK_PARTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cell_values.h"
#include "xml_walker.h"

namespace qob::filters::office {

// The workbook part.
class SheetList : public XmlWalker {
public:
    struct Sheet {
        std::string name;
        std::string relation;
    };

    const std::vector<Sheet> &sheets() const { return sheets_; }
    bool from1904() const { return from1904_; }

protected:
    bool enter(const XmlElement &element) override;

private:
    std::vector<Sheet> sheets_;
    bool from1904_ = false;
};

// The shared strings part. All strings are in memory, which what is unpacked bounds.
class SharedStrings : public XmlWalker {
public:
    // "" for a number without a string.
    std::string_view at(std::size_t number) const;

protected:
    bool enter(const XmlElement &element) override;
    void leave(std::string_view name) override;
    void text(std::string_view piece) override;

private:
    std::string all_;
    std::vector<std::size_t> ends_; // of each string in `all_`
};

// The styles part.
class CellStyles : public XmlWalker {
public:
    // The kind of number of a cell with this style (its attribute s).
    NumberKind kindOf(std::string_view style) const;

protected:
    bool enter(const XmlElement &element) override;

private:
    std::unordered_map<uint32_t, NumberKind> custom_; // by format number
    std::vector<NumberKind> kinds_;                   // by style
};

// A decimal number; `otherwise` for what is none.
uint32_t numberOf(std::string_view digits, uint32_t otherwise);

} // namespace qob::filters::office

#endif
