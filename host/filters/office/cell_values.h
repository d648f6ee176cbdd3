// SPDX-License-Identifier: MIT
// How the values of SpreadsheetML cells read: numbers as people write them, dates and times by the
// cell's number format as ISO 8601, strings without their escapes.
#ifndef QOB_FILTERS_OFFICE_CELL_VALUES_H
#define QOB_FILTERS_OFFICE_CELL_VALUES_H

#include <cstdint>
#include <string>
#include <string_view>

namespace qob::filters::office {

// What a number format shows a number as.
enum class NumberKind : uint8_t { kNumber, kDate, kTime, kDateTime, kElapsed };

// The kind of a built-in format by its number; kNumber for one that is not built in.
NumberKind builtInKind(uint32_t formatId);

// The kind of a format code as it stands in the workbook: "yyyy-mm-dd", "[h]:mm".
NumberKind kindOfFormat(std::string_view code);

// A number with at most 15 digits, as spreadsheets show it; what is no number stays as it is.
std::string numberText(std::string_view value);

// A number of days as a date ("2024-02-29"), a time ("13:30:00"), both with a T between, or elapsed
// hours ("30:15:00"). `from1904` tells where the days count from. A number out of the range of
// dates is written as a number.
std::string dateText(std::string_view value, NumberKind kind, bool from1904);

// A string without the escapes of characters that XML has not ("_x000D_").
std::string withoutEscapes(std::string_view text);

// The number of a cell's column, counted from 0, from a reference such as "AB12"; -1 when there is
// none or it is beyond the last column (XFD).
int32_t columnOf(std::string_view reference);

} // namespace qob::filters::office

#endif
