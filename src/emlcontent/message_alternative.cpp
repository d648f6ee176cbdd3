// SPDX-License-Identifier: MIT
// The text alternatives of a message that is itself multipart/alternative or multipart/related.
//
// A plain alternative is written only when it is the last part before the message's closing
// delimiter; one that another alternative follows is read back and thrown away. HTML is collected
// behind a META element that declares its charset and handed to the host; HTML in "utf-7" or
// "hz-gb-2312" is converted to UTF-8 first.
#include "emlcontent/part_walkers.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/quoted_printable.h"
#include "emlcomm/temp_file.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"
#include "emlcontent/html_to_utf8.h"

namespace {

using eml::LineDecoding;
using eml::RawLineEnd;
using eml::TempFile;

constexpr std::string_view kContentPrefix = "Content-";
constexpr std::string_view kNextPartMark = "----=_NextPart_";
// Collected plain text of this length or less is no text.
constexpr uint32_t kEmptyTextLength = 2;

enum class Ending {
    kNone,
    kDone,      // nothing is left to do
    kFinalStep, // an open HTML file is handed over
    kLeaveFile, // a plain alternative's file stays where it is
    kInputUsedUp
};

struct MessageAlternative {
    ExtractionHandle *handle;
    bool inBody = false;
    bool afterContentType = false;
    bool charsetKnown = false;
    bool partOpen = false; // the file was opened for the current alternative
    bool nextPartSeen = false;
    bool metaWritten = false; // stays set for the whole walk
    Ending ending = Ending::kNone;
    TempFile part = {};

    // The line in hand: as read in the body, from its first character that is no blank in a header.
    std::string_view line = {};
    bool folded = false;
};

bool isHtml(const MessageAlternative &walk) {
    return walk.handle->partContentType == EML_CT_TEXT_HTML;
}
bool isPlain(const MessageAlternative &walk) {
    return walk.handle->partContentType == EML_CT_TEXT_PLAIN;
}

int32_t analyzePartType(MessageAlternative &walk, std::string_view line) {
    walk.afterContentType = true;
    walk.handle->base64PadCount = 0;
    return analyzeContentType_pre(walk.handle, eml::textFrom(line, eml::kTypeName.size()).data());
}

int32_t takeCharset(MessageAlternative &walk) {
    findChartset_pre(walk.handle, eml::textFrom(walk.line, eml::kCharsetKey.size()).data());
    const int32_t code = eml::usePartCharset(walk.handle);
    walk.charsetKnown = true;
    return code;
}

// The lines below a transfer-encoding line are looked at here, so that the body begins behind the
// empty line that ends the part header, or so it is taken to be.
int32_t takeEncoding(MessageAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    const bool bodyAllowed =
        handle->contentType == EML_CT_MULTIPART_ALTERNATIVE || walk.charsetKnown;
    const bool foldedBelowType = walk.afterContentType && walk.folded;
    findTransfer_pre(handle, eml::textFrom(walk.line, eml::kEncodingName.size()).data());
    if (const int32_t code = eml::readLine(handle); code != EML_OK) {
        return code;
    }
    walk.inBody = bodyAllowed;
    if (eml::startsWithNoCase(eml::currentLine(handle), eml::kTypeName) || foldedBelowType) {
        return analyzePartType(walk, eml::currentLine(handle));
    }
    if (isHtml(walk) && eml::currentLine(handle).empty()) {
        walk.charsetKnown = true;
    }
    if (eml::startsWithNoCase(eml::currentLine(handle), kContentPrefix)) {
        if (const int32_t code = eml::readLine(handle); code != EML_OK) {
            return code;
        }
    }
    return eml::currentLine(handle).empty() ? EML_OK : eml::readLine(handle);
}

int32_t takeTypeLine(MessageAlternative &walk) {
    if (eml::contains(walk.line, eml::kCharsetKey)) {
        findChartset_pre_special(walk.handle, walk.line.data());
        eml::usePartCharset(walk.handle);
    }
    return analyzePartType(walk, walk.line);
}

// An alternative that another one follows: its text is read back and thrown away.
int32_t dropFollowedText(MessageAlternative &walk) {
    if (!walk.part.isOpen()) {
        return EML_OK;
    }
    eml::closeTempFile(walk.part);
    eml::Buffer text;
    uint32_t length = 0;
    const eml::ReadBack readBack = eml::readWholeFile(walk.part.name, text, length);
    eml::discardTempFile(walk.part);
    switch (readBack) {
    case eml::ReadBack::kNotOpened:
        return EML_ERR_INPUT;
    case eml::ReadBack::kNoBuffer:
        return EML_ERR_MEMORY;
    default:
        return EML_OK;
    }
}

int32_t takeInnerDelimiter(MessageAlternative &walk, std::string_view behind) {
    if (walk.inBody) {
        walk.partOpen = false;
    }
    if (eml::charAt(behind, 1) == '-') {
        walk.ending = isHtml(walk) ? Ending::kFinalStep : Ending::kLeaveFile;
        return EML_OK;
    }
    int32_t code = EML_OK;
    if (!isHtml(walk)) {
        code = dropFollowedText(walk);
    } else if (walk.part.isOpen()) {
        code = eml::handOverHtml(walk.handle, walk.part, EML_OK);
    }
    walk.charsetKnown = true;
    walk.inBody = false;
    return code;
}

// The closing delimiter behind a plain alternative writes it, unless there is nothing in it; then
// the walk goes on.
int32_t closePlain(MessageAlternative &walk) {
    eml::closeTempFile(walk.part);
    uint32_t length = 0;
    if (walk.part.exists()) {
        eml::Buffer text;
        switch (eml::readWholeFile(walk.part.name, text, length)) {
        case eml::ReadBack::kNotOpened:
            return EML_ERR_INPUT;
        case eml::ReadBack::kNoBuffer:
            return EML_ERR_MEMORY;
        case eml::ReadBack::kDone:
            break;
        }
        if (length > kEmptyTextLength) {
            WriteStrToFile(walk.handle, text.get(), length);
        }
        eml::discardTempFile(walk.part);
    }
    walk.partOpen = false;
    if (length != 0 && length != kEmptyTextLength) {
        walk.ending = Ending::kDone;
    }
    return EML_OK;
}

int32_t takeMessageDelimiter(MessageAlternative &walk, std::string_view behind) {
    if (eml::charAt(behind, 1) == '-') {
        if (isPlain(walk)) {
            return closePlain(walk);
        }
        walk.ending = Ending::kFinalStep;
        return EML_OK;
    }
    if (isPlain(walk)) {
        eml::discardTempFile(walk.part); // the text is dropped
        walk.partOpen = false;
        walk.inBody = false;
    } else if (isHtml(walk)) {
        walk.ending = Ending::kFinalStep;
    }
    return EML_OK;
}

// True when the line was a delimiter; `code` is then what it came to.
bool takeDelimiter(MessageAlternative &walk, int32_t &code) {
    ExtractionHandle *handle = walk.handle;
    if (handle->contentType != EML_CT_MULTIPART_ALTERNATIVE &&
        handle->contentType != EML_CT_MULTIPART_RELATED) {
        return false;
    }
    const std::string_view afterDashes = eml::textFrom(walk.line, 2);
    const char *inner = handle->partBoundary;
    if (inner[0] != '\0' && eml::startsWithField(afterDashes, inner)) {
        code = takeInnerDelimiter(walk, eml::textFrom(afterDashes, std::strlen(inner)));
        return true;
    }
    const char *outer = handle->boundary;
    if (eml::startsWithField(afterDashes, outer)) {
        code = takeMessageDelimiter(walk, eml::textFrom(afterDashes, std::strlen(outer)));
        return true;
    }
    return false;
}

int32_t openPartFile(MessageAlternative &walk) {
    if (walk.partOpen || !walk.charsetKnown) {
        return EML_OK;
    }
    eml::discardTempFile(walk.part);
    if (!eml::openTempFile(walk.handle, walk.part, eml::kHtmlEnding, "wb")) {
        return EML_ERR_INPUT;
    }
    walk.partOpen = true;
    walk.nextPartSeen = false;
    return EML_OK;
}

int32_t takePlainLine(MessageAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (!walk.part.isOpen()) {
        walk.inBody = true;
        return EML_OK;
    }
    if (walk.line.empty()) {
        WriteCRLFToFile_tmp(handle, walk.part.file);
    }
    if (walk.nextPartSeen) {
        walk.ending = Ending::kLeaveFile;
        return EML_OK;
    }
    if (walk.line.empty()) {
        return EML_OK;
    }
    const LineDecoding decoding = eml::decodeLine(handle, walk.line, handle->partTransferEncoding,
                                                  walk.part.file, RawLineEnd::kAdd);
    walk.nextPartSeen = false;
    return handle->partTransferEncoding == EML_TE_BASE64 ? decoding.code : EML_OK;
}

int32_t takeHtmlLine(MessageAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (!walk.part.isOpen()) {
        return EML_OK;
    }
    if (!walk.metaWritten && !eml::needsUtf8(handle->partCharset)) {
        eml::writeMetaTag(walk.part.file, handle->partCharset, false);
        walk.metaWritten = true;
    }
    if (walk.line.empty()) {
        WriteCRLFToFile_tmp(handle, walk.part.file);
    }
    if (walk.nextPartSeen) {
        walk.ending = Ending::kFinalStep;
        return EML_OK;
    }
    if (walk.line.empty()) {
        return EML_OK;
    }
    const LineDecoding decoding = eml::decodeLine(handle, walk.line, handle->partTransferEncoding,
                                                  walk.part.file, RawLineEnd::kNone);
    if (decoding.raw != eml::RawWrite::kWhole) {
        return EML_ERR_SHORT_WRITE;
    }
    return handle->partTransferEncoding == EML_TE_BASE64 ? decoding.code : EML_OK;
}

int32_t takeBodyLine(MessageAlternative &walk) {
    if (const int32_t code = openPartFile(walk); code != EML_OK) {
        return code;
    }
    return isPlain(walk) ? takePlainLine(walk) : takeHtmlLine(walk);
}

// Everything behind the tests that belong to one mode alone.
int32_t takeAnyLine(MessageAlternative &walk) {
    if (eml::startsWithNoCase(walk.line, eml::kBoundaryKey)) {
        return findBoundary_pre(walk.handle,
                                eml::textFrom(walk.line, eml::kBoundaryKey.size()).data());
    }
    if (eml::startsWithNoCase(walk.line, eml::kTypeName) ||
        (walk.folded && walk.afterContentType)) {
        return takeTypeLine(walk);
    }
    int32_t code = EML_OK;
    if (takeDelimiter(walk, code)) {
        return code;
    }
    if (eml::startsWith(eml::textFrom(walk.line, 2), kNextPartMark)) {
        walk.nextPartSeen = true;
        return EML_OK;
    }
    const bool isText = isPlain(walk) || isHtml(walk);
    return walk.inBody && isText ? takeBodyLine(walk) : EML_OK;
}

int32_t takeHeaderLine(MessageAlternative &walk) {
    if (!walk.folded) {
        walk.afterContentType = false;
    }
    if (eml::startsWith(walk.line, eml::kCharsetKey)) {
        return takeCharset(walk);
    }
    if (eml::startsWithNoCase(walk.line, eml::kEncodingName)) {
        return takeEncoding(walk);
    }
    return takeAnyLine(walk);
}

int32_t takeLine(MessageAlternative &walk) {
    const std::string_view whole = eml::currentLine(walk.handle);
    const bool inHeader = !walk.inBody && !whole.empty();
    walk.line = inHeader ? eml::skipBlanks(whole) : whole;
    walk.folded = walk.line.size() < whole.size();
    if (inHeader) {
        return takeHeaderLine(walk);
    }
    if (eml::startsWithNoCase(walk.line, eml::kEncodingName)) {
        walk.inBody = false; // back to a part header; the line itself is dropped
        walk.afterContentType = false;
        return EML_OK;
    }
    walk.inBody = true;
    return takeAnyLine(walk);
}

int32_t finalStep(MessageAlternative &walk) {
    if (!isHtml(walk) || !walk.part.isOpen()) {
        return EML_OK;
    }
    ExtractionHandle *handle = walk.handle;
    eml::closeTempFile(walk.part);
    eml::Buffer record = eml::newInsertRecord(handle->hostParams);
    if (record != nullptr && eml::needsUtf8(handle->partCharset)) {
        if (const int32_t code = eml::convertHtmlToUtf8(handle, walk.part); code != EML_OK) {
            return code;
        }
    }
    return eml::handOverHtmlWith(handle, walk.part, std::move(record), EML_OK);
}

} // namespace

QOB_EXPORT int32_t Mix_Content_Only(ExtractionHandle *handle) {
    MessageAlternative walk = {.handle = handle};
    walk.charsetKnown = handle->charsetName[0] != '\0';
    int32_t code = eml::takeLines(walk, takeLine);
    if (code == EML_OK &&
        (walk.ending == Ending::kFinalStep || walk.ending == Ending::kInputUsedUp)) {
        code = finalStep(walk);
    }
    if (code == EML_OK && walk.ending == Ending::kLeaveFile) {
        // A plain alternative in front of an inner closing delimiter, or of a "NextPart" line, is
        // neither written nor removed.
        eml::closeTempFile(walk.part);
    } else {
        eml::discardTempFile(walk.part);
    }
    return code;
}
