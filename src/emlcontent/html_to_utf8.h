// SPDX-License-Identifier: MIT
// HTML in the 7-bit charsets that HTML filters do not read: converted to UTF-8 before it is handed
// to the host.
#ifndef QOB_EMLCONTENT_HTML_TO_UTF8_H
#define QOB_EMLCONTENT_HTML_TO_UTF8_H

#include "emlcomm/temp_file.h"

namespace eml {

// Whether a part's charset, as the message writes it, is one of the two: "utf-7", "hz-gb-2312",
// exactly and case-sensitively.
bool needsUtf8(const char *partCharset);

// Replaces the closed file by a new one that holds the same document in UTF-8 behind a META element
// that says so. EML_OK, EML_ERR_NOBUF, or EML_ERR_INPUT; after a failure no file is left.
int32_t convertHtmlToUtf8(ExtractionHandle *handle, TempFile &html);

} // namespace eml

#endif
