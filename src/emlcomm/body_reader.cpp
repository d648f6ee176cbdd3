// SPDX-License-Identifier: MIT
// The body reader: the choice of reader, and the walks over the top-level parts.
#include "emlcomm/body_reader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"
#include "emlcontent/part_walkers.h"

namespace {

constexpr int32_t kLookAheadLength = 255;

// Where a walk over parts stands.
enum class WalkState {
    kIdle,          // after an ordinary header line
    kAfterBoundary, // an indented line may be a boundary
    kPartHandled    // an indented line continues the Content-Type line
};

struct PartWalk {
    ExtractionHandle *handle;
    WalkState state = WalkState::kIdle;
    int32_t boundaries = 0; // message boundaries met in this call

    // The line in hand, from its first character that is no blank.
    std::string_view text = {};
    bool indented = false;
};

bool isDashLine(std::string_view text) {
    return eml::startsWith(text, "--");
}

void lookAtLine(PartWalk &walk) {
    const std::string_view line = eml::currentLine(walk.handle);
    walk.text = eml::skipBlanks(line);
    walk.indented = walk.text.size() < line.size();
}

void clearPartCodes(ExtractionHandle *handle) {
    handle->nestedContentType = EML_CT_OTHER;
    handle->nestedTransferEncoding = 0;
    handle->inNestedPart = 0;
    handle->partContentType = EML_CT_OTHER;
    handle->partTransferEncoding = 0;
}

// A boundary candidate that is no known boundary is remembered as the nested one.
void takeNestedBoundary(ExtractionHandle *handle, std::string_view text) {
    std::memset(handle->nestedBoundary, 0, kBoundarySize);
    std::memcpy(handle->nestedBoundary, text.data(), std::min(text.size(), kBoundarySize));
}

void takeBoundaryCandidate(PartWalk &walk) {
    ExtractionHandle *handle = walk.handle;
    const std::string_view afterDashes = eml::textFrom(walk.text, 2);
    if (eml::startsWith(afterDashes, handle->boundary)) {
        ++walk.boundaries;
        clearPartCodes(handle);
    } else if (walk.boundaries == 1 && eml::startsWith(afterDashes, handle->partBoundary)) {
        handle->inNestedPart = 1;
    } else {
        takeNestedBoundary(handle, walk.text);
    }
    walk.state = WalkState::kAfterBoundary;
}

bool mentionsName(std::string_view line) {
    return eml::contains(line, "name") || eml::contains(line, "Name");
}

// What a part's Content-Type line says in both walks: its charset, whether it or the line below
// names a file, and its type.
int32_t takePartType(const PartWalk &walk, bool boundaryToo) {
    ExtractionHandle *handle = walk.handle;
    handle->base64PadCount = 0;
    if (eml::contains(walk.text, eml::kCharsetKey)) {
        findChartset_pre_special(handle, walk.text.data());
        if (const int32_t code = eml::usePartCharset(handle); code != EML_OK) {
            return code;
        }
    }
    if (boundaryToo && eml::contains(walk.text, eml::kBoundaryKey)) {
        findBoundary_pre(handle, walk.text.data());
    }
    char lookAhead[kLookAheadLength + 1] = {};
    LineReadFromSeek(handle, lookAhead, kLookAheadLength, handle->blockPos);
    handle->partHasName = mentionsName(lookAhead) || mentionsName(walk.text) ? 1 : 0;
    return analyzeContentType_pre(handle, eml::textFrom(walk.text, eml::kTypeName.size()).data());
}

int32_t walkAttachment(ExtractionHandle *handle) {
    handle->partHasName = 1;
    if (handle->partContentType == EML_CT_APPLICATION) {
        handle->partContentType = EML_CT_MESSAGE_RFC822;
    }
    const int32_t code = Mix_attach(handle);
    handle->rereadPending = 0;
    return code;
}

int32_t walkText(ExtractionHandle *handle, int32_t (*walker)(ExtractionHandle *)) {
    const int32_t code = walker(handle);
    handle->partHasName = 1;
    return code;
}

// Hands the part whose Content-Type line is in hand to its walker; a part that none takes is
// skipped line by line.
int32_t dispatchPart(const PartWalk &walk) {
    ExtractionHandle *handle = walk.handle;
    const int32_t type = handle->partContentType;
    const bool inMessage = handle->nestedContentType == EML_CT_MESSAGE_RFC822;
    if (type == EML_CT_MESSAGE_DELIVERY_STATUS) {
        handle->partHasName = 0;
        return inMessage ? walkAttachment(handle) : EML_OK;
    }
    if (type == EML_CT_MESSAGE_RFC822 || inMessage || handle->partHasName != 0) {
        return walkAttachment(handle);
    }
    if (walk.indented) {
        return EML_OK;
    }
    switch (type) {
    case EML_CT_MULTIPART_ALTERNATIVE:
        return walkText(handle, Mix_Content_alter);
    case EML_CT_TEXT_PLAIN:
    case EML_CT_TEXT_HTML:
        return walkText(handle, Mix_Content_OnePart);
    case EML_CT_APPLICATION:
        return walkAttachment(handle);
    default:
        return EML_OK;
    }
}

int32_t takeEncoding(const PartWalk &walk) {
    return findTransfer_pre(walk.handle,
                            eml::textFrom(walk.text, eml::kEncodingName.size()).data());
}

// A line that names the file before the part's type is known is read again by Mix_attach.
void markForReread(const PartWalk &walk) {
    ExtractionHandle *handle = walk.handle;
    if (eml::startsWithNoCase(walk.text, eml::kDispositionName) &&
        (eml::contains(walk.text, "filename=") || eml::contains(walk.text, "FileName="))) {
        handle->rereadPending = 1;
        handle->rereadPos = handle->blockPos - handle->lineLength;
    }
}

int32_t takeMixedLine(PartWalk &walk) {
    lookAtLine(walk);
    const bool dashes = isDashLine(walk.text);
    if (dashes || (walk.indented && walk.state == WalkState::kAfterBoundary)) {
        takeBoundaryCandidate(walk);
        return EML_OK;
    }
    const bool namesType = eml::startsWithNoCase(walk.text, eml::kTypeName);
    if (!walk.indented) {
        walk.state = namesType ? WalkState::kAfterBoundary : WalkState::kIdle;
    }
    if (namesType || (walk.indented && walk.state == WalkState::kPartHandled)) {
        const bool mixed = walk.handle->contentType == EML_CT_MULTIPART_MIXED;
        int32_t code = takePartType(walk, mixed);
        if (code == EML_OK) {
            code = dispatchPart(walk);
        }
        walk.state = WalkState::kPartHandled;
        return code;
    }
    if (eml::startsWithNoCase(walk.text, eml::kEncodingName)) {
        return takeEncoding(walk);
    }
    markForReread(walk);
    return EML_OK;
}

// multipart/mixed, multipart/report and untyped messages with a boundary.
int32_t walkMixed(ExtractionHandle *handle) {
    PartWalk walk = {.handle = handle};
    while (eml::blockHasMore(handle)) {
        if (const int32_t code = eml::readLineWithText(handle, handle->blockLength);
            code != EML_OK) {
            return code;
        }
        if (eml::currentLine(handle) == ".") {
            handle->blockStart = handle->fileSize; // the rest of the file is abandoned
            return EML_OK;
        }
        if (const int32_t code = takeMixedLine(walk); code != EML_OK) {
            return code;
        }
    }
    return EML_OK;
}

int32_t takeAlternativeType(PartWalk &walk) {
    ExtractionHandle *handle = walk.handle;
    if (const int32_t code = takePartType(walk, false); code != EML_OK) {
        return code;
    }
    walk.state = WalkState::kPartHandled;
    if (handle->partHasName != 0) {
        return EML_OK;
    }
    if (walk.indented && eml::contains(walk.text, eml::kBoundaryKey)) {
        return findBoundary_pre(handle, walk.text.data());
    }
    const int32_t type = handle->partContentType;
    if (type == EML_CT_TEXT_PLAIN || type == EML_CT_TEXT_HTML) {
        return walkText(handle, Mix_Content_Only);
    }
    return EML_OK;
}

int32_t takeAlternativeLine(PartWalk &walk) {
    lookAtLine(walk);
    if (isDashLine(walk.text)) {
        walk.state = WalkState::kAfterBoundary; // whatever the boundary is
        return EML_OK;
    }
    if (walk.indented && walk.state == WalkState::kAfterBoundary) {
        return EML_OK;
    }
    if (!walk.indented) {
        walk.state = WalkState::kIdle;
    }
    if (eml::startsWithNoCase(walk.text, eml::kEncodingName)) {
        return takeEncoding(walk);
    }
    if (eml::startsWithNoCase(walk.text, eml::kTypeName) ||
        (walk.indented && walk.state == WalkState::kPartHandled)) {
        return takeAlternativeType(walk);
    }
    return EML_OK;
}

// Messages that are multipart/alternative or multipart/related themselves.
int32_t walkAlternative(ExtractionHandle *handle) {
    PartWalk walk = {.handle = handle};
    while (eml::blockHasMore(handle)) {
        if (const int32_t code = eml::readLineWithText(handle, kBlockSize); code != EML_OK) {
            return code;
        }
        if (const int32_t code = takeAlternativeLine(walk); code != EML_OK) {
            return code;
        }
    }
    return EML_OK;
}

// Digests: only delimiter lines count here, the entries are read by their walker.
int32_t walkDigest(ExtractionHandle *handle) {
    PartWalk walk = {.handle = handle};
    const std::string_view boundary = handle->boundary;
    while (eml::blockHasMore(handle)) {
        if (const int32_t code = eml::readLine(handle); code != EML_OK) {
            return code;
        }
        lookAtLine(walk);
        if (!isDashLine(walk.text)) {
            continue;
        }
        // This one byte tells the closing delimiter.
        if (eml::charAt(walk.text, boundary.size() + 3) == '-') {
            return EML_OK;
        }
        if (eml::startsWith(eml::textFrom(walk.text, 2), boundary)) {
            ++handle->attachmentCount;
            clearPartCodes(handle);
            // An entry that cannot be extracted does not end the digest.
            Mix_attach_list(handle);
        }
    }
    return EML_OK;
}

// A type with a boundary that has no reader: the block is used up unread.
int32_t skipBlock(ExtractionHandle *handle) {
    handle->blockPos = std::max(handle->blockPos, handle->blockLength);
    return EML_OK;
}

} // namespace

QOB_EXPORT int32_t EMLReadContent(ExtractionHandle *handle) {
    if (handle->boundary[0] == '\0') {
        return eml::readSinglePart(handle);
    }
    switch (handle->contentType) {
    case EML_CT_OTHER:
    case EML_CT_MULTIPART_MIXED:
    case EML_CT_MULTIPART_REPORT:
        return walkMixed(handle);
    case EML_CT_MULTIPART_ALTERNATIVE:
    case EML_CT_MULTIPART_RELATED:
        return walkAlternative(handle);
    case EML_CT_MULTIPART_DIGEST:
    case EML_CT_DIGEST_TWIN:
        return walkDigest(handle);
    case EML_CT_TEXT_PLAIN:
    case EML_CT_TEXT_HTML:
        return eml::readTextWithBoundary(handle);
    default:
        return skipBlock(handle);
    }
}

namespace eml {

bool blockHasMore(const ExtractionHandle *handle) {
    return handle->blockPos < handle->blockLength && handle->blockStart < handle->fileSize &&
           filePosition(handle) < handle->fileSize;
}

} // namespace eml
