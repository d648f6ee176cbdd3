// SPDX-License-Identifier: MIT
// Small documents of before 2007, written by hand.
#ifndef QOB_TESTS_LEGACY_DOCUMENTS_H
#define QOB_TESTS_LEGACY_DOCUMENTS_H

#include <string>
#include <string_view>
#include <vector>

namespace qob::tests {

// A Word 97 document; '\r' ends a paragraph. The text is UTF-8.
std::string wordDocument(std::string_view text, bool encrypted = false);

// An Excel 97 workbook with one sheet, two cells in a row.
std::string excelDocument(const std::vector<std::string> &cells, bool encrypted = false);

// A PowerPoint 97 document, each text a slide's.
std::string powerPointDocument(const std::vector<std::string> &texts, bool encrypted = false);

} // namespace qob::tests

#endif
