// SPDX-License-Identifier: MIT
// Bodies that are not walked part by part: the single-part reader (no boundary), and the
// text-with-boundary reader (a text type although a boundary was given).
//
// Both read the current block to its end. Plain text is collected, decoded, in a temporary file
// and converted in one piece at the end of the block. HTML is collected over all blocks in one
// file, headed by one META element, and handed to the host after the last block.
#include <cstring>

#include "emlcomm/body_reader.h"
#include "emlcomm/charset.h"
#include "emlcomm/driver.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/temp_file.h"
#include "emlcontent/field_finders.h"

namespace {

using eml::LineDecoding;
using eml::RawLineEnd;
using eml::TempFile;

// What a line does to the call: reading goes on, or the call ends with `code`.
struct LineOutcome {
    bool ends = false;
    int32_t code = EML_OK;
};
constexpr LineOutcome kGoOn = {};
constexpr LineOutcome endWith(int32_t code) {
    return {true, code};
}

// One call of either reader.
struct TextBody {
    ExtractionHandle *handle;
    bool withBoundary;
    TempFile text = {};
    TempFile html = {};
};

bool isHtml(const TextBody &body) {
    // A multipart/mixed message without a boundary is read as HTML.
    const int32_t type = body.handle->contentType;
    return type == EML_CT_TEXT_HTML || type == EML_CT_MULTIPART_MIXED;
}

// The document so far becomes the beginning of a new file. It may have been lost to a failed write
// in an earlier block.
int32_t takeOverPendingHtml(ExtractionHandle *handle, TempFile &html) {
    if (handle->htmlTempName[0] == '\0') {
        return EML_ERR_MEMORY;
    }
    eml::Buffer old;
    uint32_t oldLength = 0;
    const eml::ReadBack readBack = eml::readWholeFile(handle->htmlTempName, old, oldLength);
    QOB_ASC_remove(handle->htmlTempName);
    std::memset(handle->htmlTempName, 0, kPathSize);
    if (readBack != eml::ReadBack::kDone ||
        !eml::openTempFile(handle, html, eml::kHtmlEnding, "wb+")) {
        return EML_ERR_MEMORY;
    }
    if (oldLength > 0) {
        QOB_FileWrite(old.get(), 1, static_cast<int32_t>(oldLength), html.file);
    }
    return EML_OK;
}

// Opens the HTML file at the first HTML line of a call. The META element names the charset as the
// message does, not the converter's name for it.
int32_t startHtml(TextBody &body) {
    ExtractionHandle *handle = body.handle;
    if (const int32_t code = eml::useMessageCharset(handle); code != EML_OK) {
        return code;
    }
    if (handle->htmlPending == 1) {
        return takeOverPendingHtml(handle, body.html);
    }
    if (!eml::openTempFile(handle, body.html, eml::kHtmlEnding, "wb+")) {
        return EML_ERR_MEMORY;
    }
    eml::writeMetaTag(body.html.file, handle->charset, true);
    return EML_OK;
}

LineOutcome takeHtmlLine(TextBody &body, std::string_view line) {
    ExtractionHandle *handle = body.handle;
    if (!body.html.isOpen()) {
        if (const int32_t code = startHtml(body); code != EML_OK) {
            return endWith(code);
        }
    }
    const LineDecoding decoding =
        eml::decodeLine(handle, line, handle->transferEncoding, body.html.file, RawLineEnd::kNone);
    if (decoding.code == EML_OK && decoding.raw != eml::RawWrite::kNothing) {
        return kGoOn;
    }
    eml::discardTempFile(body.html);
    // Only the single-part reader reports, and only a base64 failure; every other one loses the
    // document and nothing else.
    const bool reported = handle->transferEncoding == EML_TE_BASE64 && !body.withBoundary;
    return endWith(reported ? decoding.code : EML_OK);
}

LineOutcome takePlainLine(TextBody &body, std::string_view line) {
    ExtractionHandle *handle = body.handle;
    // Without a boundary the lines of a paragraph are joined; only empty lines break them.
    const RawLineEnd lineEnd = body.withBoundary ? RawLineEnd::kAdd : RawLineEnd::kNone;
    const LineDecoding decoding =
        eml::decodeLine(handle, line, handle->transferEncoding, body.text.file, lineEnd);
    if (decoding.code == EML_OK) {
        return kGoOn;
    }
    if (handle->transferEncoding == EML_TE_QUOTED_PRINTABLE) {
        // The file is left where it is, for the host to find.
        eml::closeTempFile(body.text);
        body.text.name[0] = '\0';
    }
    return endWith(decoding.code);
}

// A body of a type that nobody knows goes into the output as it is, without charset conversion
// and outside the output limit.
LineOutcome takeUntypedLine(ExtractionHandle *handle, std::string_view line) {
    if (!eml::ensureOutputOpen(handle)) {
        return endWith(EML_ERR_INPUT);
    }
    const bool encoded = handle->transferEncoding == EML_TE_BASE64 ||
                         handle->transferEncoding == EML_TE_QUOTED_PRINTABLE;
    if (!encoded && handle->streamMode == 1) {
        const int32_t taken =
            QOB_WriteStream(handle->outputStream, static_cast<uint32_t>(line.size()), line.data());
        return taken == 0 ? endWith(EML_OK) : kGoOn;
    }
    const LineDecoding decoding = eml::decodeLine(handle, line, handle->transferEncoding,
                                                  handle->outputFile, RawLineEnd::kNone);
    if (decoding.code != EML_OK) {
        eml::closeFile(handle->outputFile);
        return endWith(decoding.code);
    }
    return decoding.raw == eml::RawWrite::kNothing ? endWith(EML_OK) : kGoOn;
}

void takeEmptyLine(const TextBody &body) {
    if (body.withBoundary || body.handle->contentType == EML_CT_TEXT_PLAIN) {
        WriteCRLFToFile_tmp(body.handle, body.text.file);
    }
}

LineOutcome takeLine(TextBody &body, std::string_view line) {
    if (line.empty()) {
        takeEmptyLine(body);
        return kGoOn;
    }
    if (isHtml(body)) {
        return takeHtmlLine(body, line);
    }
    switch (body.handle->contentType) {
    case EML_CT_TEXT_PLAIN:
        return takePlainLine(body, line);
    case EML_CT_OTHER:
        return takeUntypedLine(body.handle, line);
    default:
        return kGoOn; // no text in it
    }
}

int32_t readBackCode(eml::ReadBack readBack) {
    switch (readBack) {
    case eml::ReadBack::kNotOpened:
        return EML_ERR_INPUT;
    case eml::ReadBack::kNoBuffer:
        return EML_ERR_NOBUF;
    default:
        return EML_OK;
    }
}

// The HTML document waits in the handle until the last block has been read.
int32_t handOverPendingHtml(ExtractionHandle *handle) {
    const bool inputRead = handle->lastBlock == 1 || eml::filePosition(handle) >= handle->fileSize;
    if (handle->htmlPending != 1 || handle->htmlTempName[0] == '\0' || !inputRead) {
        return EML_OK;
    }
    TempFile html = {};
    eml::copyText(html.name, kPathSize, handle->htmlTempName);
    std::memset(handle->htmlTempName, 0, kPathSize);
    return eml::handOverHtml(handle, html, EML_OK);
}

int32_t endCall(TextBody &body) {
    ExtractionHandle *handle = body.handle;
    if (body.text.isOpen()) {
        const int32_t code = readBackCode(eml::flushCollectedText(handle, body.text));
        if (code != EML_OK) {
            eml::discardTempFile(body.html);
            return code;
        }
    }
    if (body.html.isOpen()) {
        eml::closeTempFile(body.html);
        handle->htmlPending = 1;
        eml::copyText(handle->htmlTempName, kPathSize, body.html.name);
    }
    return handOverPendingHtml(handle);
}

// Reads the lines of the block. The text file is opened with the first line of a call, whatever
// the line is.
LineOutcome readLines(TextBody &body) {
    ExtractionHandle *handle = body.handle;
    const bool collectsText = body.withBoundary || handle->contentType != EML_CT_TEXT_HTML;
    while (eml::blockHasMore(handle)) {
        if (const int32_t code = eml::readLine(handle); code != EML_OK) {
            return endWith(code);
        }
        if (collectsText && !body.text.isOpen() &&
            !eml::openTempFile(handle, body.text, "", "wb")) {
            return endWith(EML_ERR_INPUT);
        }
        const LineOutcome outcome = takeLine(body, eml::currentLine(handle));
        if (outcome.ends) {
            return outcome;
        }
    }
    return kGoOn;
}

int32_t readTextBody(ExtractionHandle *handle, bool withBoundary) {
    if (const int32_t code = eml::useMessageCharset(handle); code != EML_OK) {
        return code;
    }
    TextBody body = {handle, withBoundary, {}, {}};
    const LineOutcome outcome = readLines(body);
    if (outcome.ends) {
        eml::discardTempFile(body.text);
        eml::discardTempFile(body.html);
        return outcome.code;
    }
    return endCall(body);
}

} // namespace

namespace eml {

int32_t readSinglePart(ExtractionHandle *handle) {
    return readTextBody(handle, false);
}

int32_t readTextWithBoundary(ExtractionHandle *handle) {
    return readTextBody(handle, true);
}

} // namespace eml
