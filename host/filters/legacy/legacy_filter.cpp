// SPDX-License-Identifier: MIT
// The filter for Word, Excel and PowerPoint documents of before 2007. The documents are read by
// programs of the system, as children under limits, because their formats are too large and their
// readers too fragile to be let into this process.
#include "entry.h"
#include "legacy_kind.h"
#include "ole_file.h"
#include "qob_host.h"
#include "qob_notice.h"
#include "reading_program.h"

namespace {

using namespace qob::filters;

int32_t failed(const Extraction &extraction, int32_t code, const char *reason) {
    report(extraction, code, reason);
    return code;
}

// Paragraphs come as single lines, cells with tabs between.
std::vector<ReadingProgram> programsFor(LegacyKind kind) {
    switch (kind) {
    case LegacyKind::kWord:
        return {{"antiword", "antiword", {"-m", "UTF-8.txt", "-w", "0"}},
                {"catdoc", "catdoc", {"-d", "utf-8", "-w"}}};
    case LegacyKind::kExcel:
        return {{"xls2csv", "catdoc", {"-d", "utf-8", "-q", "0", "-c", "\t"}}};
    default:
        return {{"catppt", "catdoc", {"-d", "utf-8"}}};
    }
}

int32_t extractLegacy(Extraction &extraction) {
    OleFile file(extraction.inputPath);
    if (!file.open()) {
        return failed(extraction, QOB_ERR_DAMAGED, "the OLE file is damaged and gave no text");
    }
    const LegacyKind kind = legacyKind(file);
    if (kind == LegacyKind::kNone) {
        return failed(extraction, QOB_ERR_NO_FILTER,
                      "is an OLE file without a Word, Excel or PowerPoint document");
    }
    if (kind == LegacyKind::kEncrypted) {
        return failed(extraction, QOB_ERR_ENCRYPTED,
                      "the document is encrypted and needs a password");
    }
    return runReadingPrograms(extraction, programsFor(kind));
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractLegacy(extraction);
}
