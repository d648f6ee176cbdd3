// SPDX-License-Identifier: MIT
// The office filter: the text of Office Open XML and OpenDocument files, then that of the documents
// embedded in them. Time and memory are bounded by the limits of the extraction; a damaged document
// gives what can be read of it, and is reported when that is nothing.
#include <algorithm>
#include <string>
#include <string_view>

#include "documents.h"
#include "embedded.h"
#include "entry.h"
#include "identify.h"
#include "package.h"
#include "qob_limits.h"
#include "qob_notice.h"
#include "text_flow.h"

namespace {

using qob::filters::Extraction;
using qob::filters::office::Identity;
using qob::filters::office::Kind;
using qob::filters::office::Package;
using qob::filters::office::TextFlow;

constexpr std::string_view kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";

int32_t failed(const Extraction &extraction, int32_t code, const char *reason) {
    qob::filters::report(extraction, code, reason);
    return code;
}

int32_t needsPassword(const Extraction &extraction) {
    return failed(extraction, QOB_ERR_ENCRYPTED,
                  "the office document is encrypted and needs a password");
}

// Encrypted Office Open XML is no zip file but a compound file with one stream of that name, which
// its directory has in UTF-16.
bool isEncryptedPackage(qob::filters::InputFile &input) {
    constexpr std::string_view kName = "EncryptedPackage";
    std::string wide;
    for (const char c : kName) {
        wide += c;
        wide += '\0';
    }
    std::string window(input.read());
    if (!window.starts_with(kCompoundFile)) {
        return false;
    }
    for (;;) {
        if (window.find(wide) != std::string::npos) {
            return true;
        }
        const std::string_view piece = input.read();
        if (piece.empty() || qob_limits_time() != EML_OK) {
            return false;
        }
        window.erase(0, window.size() - std::min(window.size(), wide.size()));
        window.append(piece);
    }
}

bool readDocument(Package &package, const Identity &identity, TextFlow &flow) {
    switch (identity.kind) {
    case Kind::kWord:
        return qob::filters::office::readWord(package, identity.mainPart, flow);
    case Kind::kWorkbook:
        return qob::filters::office::readWorkbook(package, identity.mainPart, flow);
    case Kind::kPresentation:
        return qob::filters::office::readPresentation(package, identity.mainPart, flow);
    case Kind::kOpenDocument:
        return qob::filters::office::readOpenDocument(package, flow);
    case Kind::kUnknown:
    case Kind::kBinaryWorkbook:
        break;
    }
    return false;
}

int32_t extractDocument(Extraction &extraction) {
    if (isEncryptedPackage(extraction.input)) {
        return needsPassword(extraction);
    }
    Package package(extraction.inputPath, qob::filters::office::isWantedEarly);
    const Identity identity = identify(package, extraction.output);
    if (qob::filters::office::needsPassword(package, identity.kind, extraction.output)) {
        return needsPassword(extraction);
    }
    if (identity.kind == Kind::kBinaryWorkbook) {
        return failed(extraction, QOB_ERR_NO_FILTER,
                      "is a binary workbook; save it as .xlsx to have its text read");
    }
    TextFlow flow(extraction.output);
    const bool whole = readDocument(package, identity, flow);
    int32_t code = package.limit() != EML_OK ? package.limit() : qob_limits_time();
    if (code == EML_OK) {
        code = qob::filters::office::extractEmbedded(package, extraction);
    }
    const bool damaged = code == EML_OK && (!whole || package.damaged());
    if (damaged && !flow.hasText()) {
        return failed(extraction, QOB_ERR_DAMAGED,
                      "the office document is damaged and gave no text");
    }
    if (damaged && extraction.output.isOpen()) {
        qob::filters::report(extraction, QOB_ERR_DAMAGED,
                             "the office document is damaged, its text may not be complete");
    }
    return code;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractDocument(extraction);
}
