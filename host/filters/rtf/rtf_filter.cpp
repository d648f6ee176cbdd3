// SPDX-License-Identifier: MIT
// The RTF filter: the text of a document, its page headers and footers, footnotes and comments.
// One pass in pieces; memory does not depend on the file. Hidden and deleted text, pictures and
// embedded objects are left out.
#include <string_view>

#include "document_lines.h"
#include "entry.h"
#include "qob_host.h"
#include "qob_limits.h"
#include "qob_notice.h"
#include "rtf_reader.h"
#include "rtf_scanner.h"

namespace {

using qob::filters::Extraction;

// Behind a byte order mark or blanks, which editors leave there.
bool beginsDocument(std::string_view piece) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    constexpr std::string_view kBegin = "{\\rtf";
    if (piece.substr(0, kMark.size()) == kMark) {
        piece.remove_prefix(kMark.size());
    }
    const std::size_t first = piece.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && piece.substr(first, kBegin.size()) == kBegin;
}

int32_t extractRtf(Extraction &extraction) {
    std::string_view piece = extraction.input.read();
    if (!beginsDocument(piece)) {
        qob::filters::report(extraction, QOB_ERR_DAMAGED,
                             "the RTF document is damaged and gave no text");
        return QOB_ERR_DAMAGED;
    }
    qob::filters::DocumentLines lines(extraction.output);
    qob::filters::RtfReader reader(lines);
    qob::filters::RtfScanner scanner(reader);
    int32_t code = EML_OK;
    while (code == EML_OK && !piece.empty() && !reader.isOver() && extraction.output.isOpen()) {
        scanner.scan(piece);
        code = qob_limits_time();
        piece = extraction.input.read();
    }
    scanner.finish();
    reader.finish();
    return code;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractRtf(extraction);
}
