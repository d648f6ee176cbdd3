// SPDX-License-Identifier: MIT
// A multipart/alternative (or related) part inside another multipart.
//
// The plain alternative is collected and written when the walk ends; the HTML alternative is handed
// to the host. A plain alternative gives way to an HTML one that follows it: its file is removed
// the moment the HTML part's Content-Type line is seen. In the reverse order both reach the
// output, HTML first.
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

constexpr std::string_view kHtmlOpening = "<HTML";

// How the walk ends, once it does.
enum class Ending {
    kNone,
    kFlush,     // at a closing delimiter: the plain text is written
    kNoFlush,   // at a closing delimiter behind an HTML part
    kLeaveText, // at a closing delimiter behind an image or message part: the text stays behind
    kInputUsedUp
};

struct NestedAlternative {
    ExtractionHandle *handle;
    bool inBody = false;
    bool afterContentType = true; // folded lines are parameters; so is one below the line in hand
    bool charsetSeen = false;     // never cleared within a walk
    bool htmlStarted = false;     // nor is this
    Ending ending = Ending::kNone;
    TempFile text = {};
    TempFile html = {};

    // The line in hand: as read in the body, from its first character that is no blank in a header.
    std::string_view line = {};
    bool folded = false;
};

bool typeIs(const NestedAlternative &walk, int32_t type) {
    return walk.handle->partContentType == type;
}

int32_t takeCharset(NestedAlternative &walk) {
    walk.charsetSeen = true;
    return eml::usePartCharset(walk.handle);
}

// Behind every line of a Content-Type field: an HTML part makes collected plain text void.
void afterTypeLine(NestedAlternative &walk) {
    walk.afterContentType = true;
    walk.inBody = false;
    if (!typeIs(walk, EML_CT_TEXT_HTML)) {
        return;
    }
    if (walk.text.isOpen()) {
        eml::discardTempFile(walk.text);
    }
    walk.handle->base64PadCount = 0;
}

int32_t takeTypeLine(NestedAlternative &walk) {
    analyzeContentType_pre(walk.handle, eml::textFrom(walk.line, eml::kTypeName.size()).data());
    if (eml::contains(walk.line, eml::kCharsetKey)) {
        findChartset_pre_special(walk.handle, walk.line.data());
        if (const int32_t code = takeCharset(walk); code != EML_OK) {
            return code;
        }
    }
    afterTypeLine(walk);
    return EML_OK;
}

int32_t takeFoldedParameter(NestedAlternative &walk) {
    if (eml::startsWith(walk.line, eml::kBoundaryKey)) {
        findBoundary_pre(walk.handle, eml::textFrom(walk.line, eml::kBoundaryKey.size()).data());
    }
    if (eml::startsWith(walk.line, eml::kCharsetKey)) {
        findChartset_pre(walk.handle, eml::textFrom(walk.line, eml::kCharsetKey.size()).data());
        if (const int32_t code = takeCharset(walk); code != EML_OK) {
            return code;
        }
    }
    afterTypeLine(walk);
    return EML_OK;
}

// Only a plain part whose charset is known gets a file, and with it a body. The line below is
// taken to be the empty one that ends the part header.
int32_t takeEncoding(NestedAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (walk.text.isOpen()) {
        eml::closeTempFile(walk.text); // forgotten, but its name is kept for the flush
    } else if (walk.inBody) {
        walk.inBody = false;
        return EML_OK;
    }
    findTransfer_pre(handle, eml::textFrom(walk.line, eml::kEncodingName.size()).data());
    if (!walk.charsetSeen || !typeIs(walk, EML_CT_TEXT_PLAIN)) {
        return EML_OK;
    }
    if (const int32_t code = eml::readLine(handle); code != EML_OK) {
        return code;
    }
    // A second plain alternative takes the place of the first.
    eml::discardTempFile(walk.text);
    if (!eml::openTempFile(handle, walk.text, "", "wb")) {
        return EML_ERR_INPUT;
    }
    walk.inBody = true;
    return EML_OK;
}

int32_t handOverOpenHtml(NestedAlternative &walk) {
    if (!typeIs(walk, EML_CT_TEXT_HTML) || !walk.html.isOpen()) {
        return EML_OK;
    }
    return eml::handOverHtml(walk.handle, walk.html, EML_OK);
}

Ending endingAtInnerDelimiter(const NestedAlternative &walk) {
    switch (walk.handle->partContentType) {
    case EML_CT_TEXT_HTML:
        return Ending::kNoFlush;
    case EML_CT_IMAGE_JPEG:
    case EML_CT_IMAGE_GIF:
    case EML_CT_MESSAGE_RFC822:
    case EML_CT_MESSAGE_DELIVERY_STATUS:
        return Ending::kLeaveText;
    default:
        return Ending::kFlush;
    }
}

int32_t takeInnerDelimiter(NestedAlternative &walk, std::string_view behind) {
    if (eml::charAt(behind, 0) == '\0' && walk.inBody) {
        walk.inBody = false;
        if (const int32_t code = handOverOpenHtml(walk); code != EML_OK) {
            return code;
        }
    }
    if (eml::charAt(behind, 1) == '-') {
        walk.handle->inNestedPart = 1;
        walk.ending = endingAtInnerDelimiter(walk);
    }
    return EML_OK;
}

// A plain outer delimiter does not end the walk.
void takeOuterDelimiter(NestedAlternative &walk, std::string_view behind) {
    if (eml::charAt(behind, 0) == '\0') {
        walk.inBody = false;
    }
    if (eml::charAt(behind, 1) == '-') {
        walk.handle->inNestedPart = 1;
        walk.ending = typeIs(walk, EML_CT_TEXT_HTML) ? Ending::kNoFlush : Ending::kFlush;
    }
}

int32_t takePlainLine(NestedAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (walk.line.empty()) {
        WriteCRLFToFile_tmp(handle, walk.text.file);
        return EML_OK;
    }
    const LineDecoding decoding = eml::decodeLine(handle, walk.line, handle->partTransferEncoding,
                                                  walk.text.file, RawLineEnd::kAdd);
    return handle->partTransferEncoding == EML_TE_BASE64 ? decoding.code : EML_OK;
}

// The empty line that ends an HTML part's header opens its file and is not itself written.
int32_t openHtmlFile(NestedAlternative &walk) {
    if (!walk.line.empty()) {
        return EML_OK; // still the part's header
    }
    if (!eml::openTempFile(walk.handle, walk.html, eml::kHtmlEnding, "wb+")) {
        return EML_ERR_INPUT;
    }
    walk.inBody = true;
    return EML_OK;
}

int32_t takeHtmlLine(NestedAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (!walk.inBody && !walk.html.isOpen()) {
        return openHtmlFile(walk);
    }
    QobFile *file = walk.html.file;
    if (!walk.htmlStarted && !eml::startsWithNoCase(walk.line, kHtmlOpening)) {
        // Nothing but the tag: the charset that is known here never reaches the file.
        eml::decodeLine(handle, "<HTML>", EML_TE_OTHER, file, RawLineEnd::kNone);
    }
    walk.htmlStarted = true;
    if (walk.line.empty()) {
        WriteCRLFToFile_tmp(handle, file);
        return EML_OK;
    }
    const LineDecoding decoding =
        eml::decodeLine(handle, walk.line, handle->partTransferEncoding, file, RawLineEnd::kNone);
    if (decoding.raw != eml::RawWrite::kWhole) {
        return EML_ERR_SHORT_WRITE;
    }
    return handle->partTransferEncoding == EML_TE_BASE64 ? decoding.code : EML_OK;
}

int32_t takeContentLine(NestedAlternative &walk) {
    if (eml::startsWithNoCase(walk.line, eml::kDispositionName)) {
        return EML_OK;
    }
    if (typeIs(walk, EML_CT_TEXT_PLAIN)) {
        return walk.inBody ? takePlainLine(walk) : EML_OK;
    }
    return typeIs(walk, EML_CT_TEXT_HTML) ? takeHtmlLine(walk) : EML_OK;
}

// A line that is neither a Content-Type line nor folded below one.
int32_t takeOtherLine(NestedAlternative &walk) {
    ExtractionHandle *handle = walk.handle;
    if (eml::startsWithNoCase(walk.line, eml::kEncodingName)) {
        return takeEncoding(walk);
    }
    if (!walk.folded && eml::startsWith(walk.line, eml::kBoundaryKey)) {
        return findBoundary_pre(handle, eml::textFrom(walk.line, eml::kBoundaryKey.size()).data());
    }
    // An empty boundary matches every line.
    const std::string_view afterDashes = eml::textFrom(walk.line, 2);
    const std::string_view inner = handle->partBoundary;
    if (eml::startsWith(afterDashes, inner)) {
        return takeInnerDelimiter(walk, eml::textFrom(afterDashes, inner.size()));
    }
    const std::string_view outer = handle->boundary;
    if (eml::startsWith(afterDashes, outer)) {
        takeOuterDelimiter(walk, eml::textFrom(afterDashes, outer.size()));
        return EML_OK;
    }
    return takeContentLine(walk);
}

int32_t takeLine(NestedAlternative &walk) {
    const std::string_view whole = eml::currentLine(walk.handle);
    walk.line = walk.inBody ? whole : eml::skipBlanks(whole);
    walk.folded = walk.line.size() < whole.size();
    const bool namesType = eml::startsWithNoCase(walk.line, eml::kTypeName);
    if (walk.inBody) {
        if (namesType) {
            walk.afterContentType = true; // the line itself is dropped
            return EML_OK;
        }
        return takeOtherLine(walk);
    }
    if (!walk.folded && namesType) {
        return takeTypeLine(walk);
    }
    if (walk.folded && (namesType || walk.afterContentType)) {
        return takeFoldedParameter(walk);
    }
    if (!walk.folded) {
        walk.afterContentType = false;
    }
    return takeOtherLine(walk);
}

int32_t finishWalk(NestedAlternative &walk) {
    if (walk.ending == Ending::kFlush &&
        eml::flushCollectedText(walk.handle, walk.text) == eml::ReadBack::kNotOpened) {
        return EML_ERR_INPUT;
    }
    if (walk.ending != Ending::kInputUsedUp) {
        // The line below the closing delimiter is consumed with it.
        if (const int32_t code = eml::readLine(walk.handle); code != EML_OK) {
            return code;
        }
    }
    return handOverOpenHtml(walk);
}

} // namespace

QOB_EXPORT int32_t Mix_Content_alter(ExtractionHandle *handle) {
    NestedAlternative walk = {.handle = handle};
    int32_t code = eml::takeLines(walk, takeLine);
    if (code == EML_OK) {
        code = finishWalk(walk);
    }
    // Behind an image or message part the collected text is neither written nor removed, and its
    // file is not closed.
    if (code != EML_OK || walk.ending != Ending::kLeaveText) {
        eml::discardTempFile(walk.text);
    }
    eml::discardTempFile(walk.html);
    return code;
}
