// SPDX-License-Identifier: MIT
// Which kind of office document a package is, and whether it needs a password.
#ifndef QOB_FILTERS_OFFICE_IDENTIFY_H
#define QOB_FILTERS_OFFICE_IDENTIFY_H

#include <cstdint>
#include <string>

#include "package.h"
#include "text_output.h"

namespace qob::filters::office {

enum class Kind : uint8_t {
    kUnknown,
    kWord,
    kWorkbook,
    kBinaryWorkbook, // not in XML, and not read
    kPresentation,
    kOpenDocument
};

struct Identity {
    Kind kind = Kind::kUnknown;
    std::string mainPart; // of an Office Open XML document
};

Identity identify(Package &package, const TextOutput &output);

// The document, or a part that its text would come from, is encrypted.
bool needsPassword(Package &package, Kind kind, const TextOutput &output);

// Members that are small and needed before or between others.
bool isWantedEarly(std::string_view key);

} // namespace qob::filters::office

#endif
