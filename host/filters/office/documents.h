// SPDX-License-Identifier: MIT
// The readers of the document kinds. Each writes the document's text to the flow, and tells whether
// everything that it looked for was there and whole. What ended the reading early (a limit, the
// output) is known to the package and the output.
#ifndef QOB_FILTERS_OFFICE_DOCUMENTS_H
#define QOB_FILTERS_OFFICE_DOCUMENTS_H

#include <string_view>

#include "package.h"
#include "text_flow.h"

namespace qob::filters::office {

// A WordprocessingML document: the body, then diagrams, headers, footers, notes and comments.
bool readWord(Package &package, std::string_view mainPart, TextFlow &flow);

// A SpreadsheetML workbook: each sheet's name, its rows, the text of its drawings and comments.
bool readWorkbook(Package &package, std::string_view mainPart, TextFlow &flow);

// A PresentationML presentation: the slides in their order, each with its diagrams, notes and
// comments.
bool readPresentation(Package &package, std::string_view mainPart, TextFlow &flow);

// An OpenDocument text, spreadsheet, presentation or drawing.
bool readOpenDocument(Package &package, TextFlow &flow);

} // namespace qob::filters::office

#endif
