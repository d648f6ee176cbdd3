// SPDX-License-Identifier: MIT
// One attachment or embedded message of a mixed message: its display name is found in the part
// header, its body is decoded into a file, and the file goes to the host.
//
// Not every part gets a file: without a name, a disposition of "attachment" or an embedded message
// the body lines are dropped. One part makes one file at the most.
#include "emlcontent/part_walkers.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcontent/attachment_files.h"
#include "emlcontent/attachment_name.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"

namespace {

using eml::LineDecoding;
using eml::RawLineEnd;
using eml::TempFile;

struct AttachmentPart {
    ExtractionHandle *handle;
    bool inBody = false;
    bool headerDone = false; // never set in the body
    bool dispositionAttachment = false;
    bool ended = false;
    bool charsetTaken = false; // by the first body line that is not empty
    // blockStart of the block whose name parameter was handled last. When it was taken for a
    // delimiter it would be again, so the block is not searched at every empty line.
    int32_t nameBlock = -1;
    eml::Buffer name = nullptr; // kAttachNameSize bytes, once the attachment has started
    TempFile file = {};

    // The line in hand: as read in the body, from its first character that is no blank in a header.
    std::string_view line = {};
};

bool isMessage(const AttachmentPart &part) {
    return part.handle->partContentType == EML_CT_MESSAGE_RFC822;
}

void enterBody(AttachmentPart &part) {
    part.inBody = true;
    part.headerDone = false;
}

// Numbers the attachment, writes its label, and opens its file.
int32_t startAttachment(AttachmentPart &part) {
    ExtractionHandle *handle = part.handle;
    ++handle->attachmentCount;
    const bool labels = eml::labelsOn(handle);
    if (labels) {
        if (const int32_t code = eml::writeAttachmentNumber(handle); code != EML_OK) {
            return code;
        }
    }
    part.name = eml::newBuffer(kAttachNameSize);
    if (part.name == nullptr) {
        return EML_ERR_MEMORY;
    }
    if (const int32_t code = eml::openAttachmentFile(handle, part.file, isMessage(part));
        code != EML_OK) {
        return code;
    }
    return labels ? eml::writeNameLabel(handle) : EML_OK;
}

int32_t writeName(AttachmentPart &part) {
    const int32_t code = eml::writeDisplayName(part.handle, part.name.get());
    part.headerDone = false;
    return code;
}

int32_t startUnnamed(AttachmentPart &part) {
    const int32_t code = startAttachment(part);
    if (code != EML_OK || !eml::labelsOn(part.handle)) {
        return code;
    }
    eml::copyUnnamed(part.name.get(), isMessage(part));
    return writeName(part);
}

int32_t startNamed(AttachmentPart &part) {
    const int32_t code = startAttachment(part);
    if (code != EML_OK || !eml::labelsOn(part.handle)) {
        return code;
    }
    if (eml::namesFile(part.line)) {
        eml::copyFileName(part.handle, part.line, part.name.get());
    } else {
        eml::copyUnnamed(part.name.get(), isMessage(part));
    }
    return writeName(part);
}

// While the file is open no further header line starts another attachment.
int32_t startNamedOnce(AttachmentPart &part) {
    return part.file.isOpen() ? EML_OK : startNamed(part);
}

void takeCharset(AttachmentPart &part) {
    findChartset_pre(part.handle, eml::textFrom(part.line, eml::kCharsetKey.size()).data());
    eml::usePartCharset(part.handle);
    part.headerDone = true;
}

// The first line behind the header. It is not written into the file: a file begins with the body.
int32_t endHeader(AttachmentPart &part) {
    const bool wanted = part.dispositionAttachment || isMessage(part) ||
                        part.handle->nestedContentType == EML_CT_MESSAGE_RFC822;
    int32_t code = EML_OK;
    if (!part.file.isOpen() && wanted) {
        code = startUnnamed(part);
    }
    enterBody(part);
    return code;
}

int32_t decodeBodyLine(AttachmentPart &part) {
    ExtractionHandle *handle = part.handle;
    if (part.line.empty()) {
        WriteCRLFToFile_tmp(handle, part.file.file);
        return EML_OK;
    }
    if (!part.charsetTaken) {
        eml::usePartCharset(handle);
        part.charsetTaken = true;
    }
    const bool nested = handle->contentType == EML_CT_MULTIPART_MIXED && handle->inNestedPart != 0;
    const int32_t encoding = nested ? handle->nestedTransferEncoding : handle->partTransferEncoding;
    const LineDecoding decoding =
        eml::decodeLine(handle, part.line, encoding, part.file.file, RawLineEnd::kAdd);
    if (decoding.raw != eml::RawWrite::kWhole) {
        return EML_ERR_SHORT_WRITE;
    }
    const bool ignored = encoding == EML_TE_QUOTED_PRINTABLE && !nested;
    return ignored ? EML_OK : decoding.code;
}

// A line that begins with the nested multipart's boundary is dropped; as its closing delimiter it
// ends the body.
bool takeNestedDelimiter(AttachmentPart &part) {
    const char *field = part.handle->nestedBoundary;
    if (field[0] == '\0') {
        return false;
    }
    const std::string_view nested(field, strnlen(field, kBoundarySize));
    if (!eml::startsWithNoCase(part.line, nested)) {
        return false;
    }
    const bool closing = eml::startsWith(eml::textFrom(part.line, nested.size()), "--");
    part.ended = closing && part.inBody;
    return true;
}

// In a message a disposition of "attachment" makes the next line start one; only a file name starts
// it at once, whatever the disposition is.
int32_t takeDisposition(AttachmentPart &part) {
    if (eml::contains(part.line, "attachment")) {
        part.dispositionAttachment = true;
    }
    return eml::namesFile(part.line) ? startNamedOnce(part) : EML_OK;
}

bool startsAttachment(const AttachmentPart &part) {
    const bool lastOfFolded = !part.line.empty() && part.line.back() != ';';
    return eml::namesFile(part.line) || (eml::contains(part.line, "filename*") && lastOfFolded) ||
           part.dispositionAttachment;
}

// Delimiters, and then body lines or the header lines that may name the file.
int32_t takePartLine(AttachmentPart &part) {
    if (eml::startsWithField(eml::textFrom(part.line, 2), part.handle->boundary)) {
        part.ended = part.inBody;
        return EML_OK;
    }
    if (takeNestedDelimiter(part)) {
        return EML_OK;
    }
    if (part.inBody) {
        return decodeBodyLine(part);
    }
    if (isMessage(part) && eml::startsWithNoCase(part.line, eml::kDispositionName)) {
        return takeDisposition(part);
    }
    return startsAttachment(part) ? startNamedOnce(part) : EML_OK;
}

int32_t takeHeaderLine(AttachmentPart &part) {
    part.line = eml::skipBlanks(eml::currentLine(part.handle));
    if (eml::startsWith(part.line, eml::kCharsetKey)) {
        takeCharset(part);
        return EML_OK;
    }
    if (eml::startsWithNoCase(part.line, eml::kEncodingName)) {
        return findTransfer_pre(part.handle,
                                eml::textFrom(part.line, eml::kEncodingName.size()).data());
    }
    return part.headerDone ? endHeader(part) : takePartLine(part);
}

// An empty line in the header ends it, unless the Content-Type above names a file: then that name
// is handled as a "filename=" line, and the header ends at the next empty line.
int32_t takeEmptyHeaderLine(AttachmentPart &part) {
    ExtractionHandle *handle = part.handle;
    const bool open = part.file.isOpen();
    if (!open && handle->partContentType == EML_CT_MULTIPART_REPORT) {
        return EML_OK; // an appledouble part: the headers of the inner parts follow
    }
    if (!open && !part.headerDone && part.nameBlock == handle->blockStart) {
        return EML_OK;
    }
    if (!open && !part.headerDone && eml::replaceLineByName(handle)) {
        part.nameBlock = handle->blockStart;
    } else {
        part.headerDone = true;
    }
    return takeHeaderLine(part);
}

int32_t takeLine(AttachmentPart &part) {
    if (part.inBody) {
        part.line = eml::currentLine(part.handle);
        return takePartLine(part);
    }
    return eml::currentLine(part.handle).empty() ? takeEmptyHeaderLine(part) : takeHeaderLine(part);
}

// Reads a marked line again, or the next one, and takes it. The end of the input ends the part.
int32_t takeNextLine(AttachmentPart &part) {
    ExtractionHandle *handle = part.handle;
    if (handle->rereadPending == 1) {
        handle->rereadPending = 0;
        const int32_t code = eml::rereadLine(handle);
        return code == EML_OK ? takeHeaderLine(part) : code;
    }
    switch (eml::readNextLine(handle)) {
    case eml::NextLine::kInputUsedUp:
        part.ended = true;
        return EML_OK;
    case eml::NextLine::kRead:
        return takeLine(part);
    default:
        return EML_ERR_MEMORY;
    }
}

int32_t handOver(AttachmentPart &part) {
    ExtractionHandle *handle = part.handle;
    part.name = nullptr;
    if (!eml::hasFlag(handle, EML_FLAG_ATTACHMENTS)) {
        return EML_OK;
    }
    handle->sessionRecord->attachmentNumber = static_cast<uint32_t>(handle->attachmentCount - 1);
    return part.file.isOpen() ? eml::handOverAttachment(handle, part.file) : EML_OK;
}

} // namespace

QOB_EXPORT int32_t Mix_attach(ExtractionHandle *handle) {
    AttachmentPart part = {.handle = handle};
    int32_t code = EML_OK;
    while (code == EML_OK && !part.ended) {
        code = takeNextLine(part);
    }
    if (code == EML_OK) {
        code = handOver(part);
    }
    eml::discardTempFile(part.file);
    return code;
}
