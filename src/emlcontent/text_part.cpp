// SPDX-License-Identifier: MIT
// A text part of a multipart/mixed (or report, or untyped) message: text/plain or text/html without
// a file name.
//
// Plain text that is not encoded is written line by line; encoded plain text is collected and
// converted in one piece at the part's end; HTML is collected in a file for the host.
#include "emlcontent/part_walkers.h"

#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/temp_file.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"

namespace {

using eml::LineDecoding;
using eml::RawLineEnd;
using eml::TempFile;

constexpr std::string_view kHtmlOpening = "<HTML>";

struct TextPart {
    ExtractionHandle *handle;
    bool armed = false;       // the next empty line ends the part header
    bool charsetSeen = false; // a transfer-encoding line may end the part header
    bool inBody = false;
    bool htmlStarted = false;
    bool ended = false;
    int32_t lastResult = EML_OK; // of a decoder whose failure does not end the part
    TempFile text = {};
    TempFile html = {};
};

bool isHtml(const TextPart &part) {
    return part.handle->partContentType == EML_CT_TEXT_HTML;
}
bool isPlain(const TextPart &part) {
    return part.handle->partContentType == EML_CT_TEXT_PLAIN;
}

bool isEncoded(const ExtractionHandle *handle) {
    return handle->partTransferEncoding == EML_TE_BASE64 ||
           handle->partTransferEncoding == EML_TE_QUOTED_PRINTABLE;
}

// A transfer-encoding line that comes while the file is open keeps that file.
int32_t openTextFile(TextPart &part) {
    if (part.text.isOpen() || eml::openTempFile(part.handle, part.text, "", "wb")) {
        return EML_OK;
    }
    return EML_ERR_INPUT;
}

void takeCharset(TextPart &part, std::string_view text) {
    findChartset_pre(part.handle, eml::textFrom(text, eml::kCharsetKey.size()).data());
    if (eml::usePartCharset(part.handle) != EML_OK && isHtml(part)) {
        eml::discardTempFile(part.html); // the part goes on without one
    }
    part.armed = true;
    part.charsetSeen = true;
}

// Once a charset is known, a transfer-encoding line ends the header together with the line after
// it, which is taken to be empty.
int32_t takeEncoding(TextPart &part, std::string_view text) {
    ExtractionHandle *handle = part.handle;
    findTransfer_pre(handle, eml::textFrom(text, eml::kEncodingName.size()).data());
    if (!part.charsetSeen) {
        return EML_OK;
    }
    if (const int32_t code = eml::readLine(handle); code != EML_OK) {
        return code;
    }
    part.inBody = true;
    const bool collects = !isHtml(part) && handle->partTransferEncoding != EML_TE_OTHER;
    return collects ? openTextFile(part) : EML_OK;
}

int32_t takeHeaderLine(TextPart &part, std::string_view line) {
    const std::string_view text = eml::skipBlanks(line);
    if (eml::startsWith(text, eml::kCharsetKey)) {
        takeCharset(part, text);
        return EML_OK;
    }
    if (eml::startsWithNoCase(text, eml::kEncodingName)) {
        return takeEncoding(part, text);
    }
    return EML_OK;
}

int32_t writePlainLine(TextPart &part, std::string_view line) {
    ExtractionHandle *handle = part.handle;
    const uint32_t code = eml::writeConverted(handle, line, handle->charsetName);
    if (eml::writeFailed(code)) {
        return static_cast<int32_t>(code);
    }
    WriteCRLFToFile(handle);
    return EML_OK;
}

int32_t takePlainLine(TextPart &part, std::string_view line) {
    ExtractionHandle *handle = part.handle;
    if (line.empty()) {
        WriteCRLFToFile(handle);
        return EML_OK;
    }
    if (!isEncoded(handle)) {
        return writePlainLine(part, line);
    }
    if (const int32_t code = openTextFile(part); code != EML_OK) {
        return code;
    }
    const LineDecoding decoding = eml::decodeLine(handle, line, handle->partTransferEncoding,
                                                  part.text.file, RawLineEnd::kNone);
    if (handle->partTransferEncoding == EML_TE_BASE64) {
        return decoding.code;
    }
    part.lastResult = decoding.code;
    return EML_OK;
}

int32_t takeHtmlLine(TextPart &part, std::string_view line) {
    ExtractionHandle *handle = part.handle;
    if (!part.htmlStarted) {
        // Nothing but the opening tag: the part's charset never reaches the file.
        eml::decodeLine(handle, kHtmlOpening, EML_TE_OTHER, part.html.file, RawLineEnd::kNone);
        part.htmlStarted = true;
    }
    if (line.empty()) {
        WriteCRLFToFile(handle); // into the output, not into the HTML file
        return EML_OK;
    }
    const LineDecoding decoding = eml::decodeLine(handle, line, handle->partTransferEncoding,
                                                  part.html.file, RawLineEnd::kNone);
    if (decoding.raw != eml::RawWrite::kWhole) {
        return EML_ERR_SHORT_WRITE;
    }
    if (handle->partTransferEncoding == EML_TE_BASE64) {
        return decoding.code;
    }
    if (handle->partTransferEncoding == EML_TE_QUOTED_PRINTABLE) {
        part.lastResult = decoding.code;
    }
    return EML_OK;
}

// The boundary ends the part only at the line's end or as a closing delimiter; a longer line that
// begins with it is ignored.
bool endsPart(std::string_view afterDashes, std::string_view boundary) {
    return eml::charAt(afterDashes, boundary.size()) == '\0' ||
           eml::charAt(afterDashes, boundary.size() + 1) == '-';
}

int32_t takeBodyLine(TextPart &part, std::string_view line) {
    if (eml::startsWithNoCase(line, eml::kEncodingName)) {
        part.inBody = false;
        return EML_OK;
    }
    const std::string_view afterDashes = eml::textFrom(line, 2);
    if (eml::startsWithField(afterDashes, part.handle->boundary)) {
        part.ended = endsPart(afterDashes, part.handle->boundary);
        return EML_OK;
    }
    if (eml::startsWithNoCase(line, eml::kDescriptionName)) {
        return EML_OK;
    }
    if (isPlain(part)) {
        return takePlainLine(part, line);
    }
    return isHtml(part) ? takeHtmlLine(part, line) : EML_OK;
}

int32_t takeLine(TextPart &part) {
    const std::string_view line = eml::currentLine(part.handle);
    if (!part.inBody && part.armed && line.empty()) {
        part.armed = false;
        part.inBody = true; // this empty line is the body's first
    }
    return part.inBody ? takeBodyLine(part, line) : takeHeaderLine(part, line);
}

// Reads up to the line that ends the part, or to the end of the file.
int32_t readLines(TextPart &part) {
    while (!part.ended) {
        const eml::NextLine next = eml::readNextLine(part.handle);
        if (next != eml::NextLine::kRead) {
            return next == eml::NextLine::kInputUsedUp ? EML_OK : EML_ERR_MEMORY;
        }
        if (const int32_t code = takeLine(part); code != EML_OK) {
            return code;
        }
    }
    return EML_OK;
}

int32_t finishPart(TextPart &part) {
    if (isHtml(part) && part.html.isOpen()) {
        return eml::handOverHtml(part.handle, part.html, part.lastResult);
    }
    if (part.ended && isPlain(part) && isEncoded(part.handle)) {
        // Text that no buffer can be had for is lost; only a failed reopening is reported.
        const eml::ReadBack readBack = eml::flushCollectedText(part.handle, part.text);
        return readBack == eml::ReadBack::kNotOpened ? EML_ERR_INPUT : EML_OK;
    }
    if (!part.ended) {
        // At the end of the file collected text is lost and its file is left behind.
        eml::closeTempFile(part.text);
        return EML_OK;
    }
    eml::discardTempFile(part.text);
    return EML_OK;
}

} // namespace

QOB_EXPORT int32_t Mix_Content_OnePart(ExtractionHandle *handle) {
    TextPart part = {.handle = handle};
    part.armed = handle->charsetName[0] != '\0';
    part.charsetSeen = part.armed;
    if (isHtml(part) && !eml::openTempFile(handle, part.html, eml::kHtmlEnding, "wb+")) {
        return EML_ERR_MEMORY;
    }
    if (const int32_t code = readLines(part); code != EML_OK) {
        eml::discardTempFile(part.text);
        eml::discardTempFile(part.html);
        return code;
    }
    return finishPart(part);
}
