// SPDX-License-Identifier: MIT
// One entry of a multipart/digest: a whole message, copied into a ".eml" file for the host.
#include "emlcontent/part_walkers.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/line_reader.h"
#include "emlcontent/attachment_files.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"

namespace {

using eml::LineDecoding;
using eml::RawLineEnd;
using eml::TempFile;

constexpr std::string_view kSubjectName = "Subject:";
constexpr std::string_view kMessageEnding = ".eml";

struct DigestEntry {
    ExtractionHandle *handle;
    eml::Buffer name = nullptr; // kAttachNameSize bytes
    TempFile file = {};
    int32_t lineBlock = 0; // blockStart when the last line was read
};

// The subject of the entry, or of whatever comes next in the block and has one, with the blank
// after the colon; "attachment" when there is none.
std::string_view findSubject(const ExtractionHandle *handle) {
    const int32_t remaining = std::max(handle->blockLength - handle->blockPos, 0);
    const std::string_view block(handle->readBuffer + (remaining > 0 ? handle->blockPos : 0),
                                 static_cast<size_t>(remaining));
    const std::string_view text = block.substr(0, block.find('\0'));
    const size_t found = text.find(kSubjectName);
    if (found == std::string_view::npos) {
        return eml::kUnnamedAttachment;
    }
    const std::string_view subject = text.substr(found + kSubjectName.size());
    if (IsSpace_crlf(eml::charAt(subject, 0)) == 1) {
        return eml::kUnnamedAttachment;
    }
    return subject.substr(0, subject.find_first_of("\r\n"));
}

int32_t makeName(DigestEntry &entry) {
    const std::string_view subject = findSubject(entry.handle);
    entry.name = eml::newBuffer(kAttachNameSize);
    if (entry.name == nullptr) {
        return EML_ERR_MEMORY;
    }
    const size_t length = std::min(subject.size(), kAttachNameSize - 1 - kMessageEnding.size());
    std::memcpy(entry.name.get(), subject.data(), length);
    std::memcpy(entry.name.get() + length, kMessageEnding.data(), kMessageEnding.size());
    return EML_OK;
}

int32_t openEntry(DigestEntry &entry) {
    ExtractionHandle *handle = entry.handle;
    if (const int32_t code = makeName(entry); code != EML_OK) {
        return code;
    }
    const bool labels = eml::labelsOn(handle);
    if (labels) {
        if (const int32_t code = eml::writeAttachmentNumber(handle); code != EML_OK) {
            return code;
        }
    }
    if (const int32_t code = eml::openAttachmentFile(handle, entry.file, true); code != EML_OK) {
        return code;
    }
    if (!labels) {
        return EML_OK;
    }
    if (const int32_t code = eml::writeNameLabel(handle); code != EML_OK) {
        return code;
    }
    return eml::writeDisplayName(handle, entry.name.get());
}

// In a message of code 11 the entry's type is analysed and its line left out.
void takeTypeLine(ExtractionHandle *handle, std::string_view line) {
    if (eml::contains(line, eml::kCharsetKey)) {
        findChartset_pre_special(handle, line.data());
        eml::usePartCharset(handle);
    }
    if (eml::contains(line, eml::kBoundaryKey)) {
        findBoundary_pre(handle, line.data());
    }
    analyzeContentType_pre(handle, eml::textFrom(line, eml::kTypeName.size()).data());
}

int32_t copyLine(const DigestEntry &entry, std::string_view line) {
    const int32_t encoding = entry.handle->partTransferEncoding;
    const LineDecoding decoding =
        eml::decodeLine(entry.handle, line, encoding, entry.file.file, RawLineEnd::kAdd);
    if (decoding.raw != eml::RawWrite::kWhole) {
        return EML_ERR_SHORT_WRITE;
    }
    return encoding == EML_TE_BASE64 ? decoding.code : EML_OK;
}

// Reads the next line, or the marked one again, and remembers the block that it begins in. False
// at the end of the input.
bool nextLine(DigestEntry &entry, int32_t &code) {
    ExtractionHandle *handle = entry.handle;
    if (handle->rereadPending == 1) {
        handle->rereadPending = 0;
        code = eml::rereadLine(handle);
        entry.lineBlock = handle->blockStart;
        return true;
    }
    const eml::Refill refill = eml::refillBlock(handle);
    if (refill == eml::Refill::kInputUsedUp) {
        return false;
    }
    entry.lineBlock = handle->blockStart;
    code = refill == eml::Refill::kReady ? eml::readLine(handle) : EML_ERR_MEMORY;
    return true;
}

// Goes back to the start of the last line, for the caller to read it again. When its line end was
// the last byte of the block, reading it has moved the block on: that is loaded anew then.
int32_t unreadLine(const DigestEntry &entry) {
    ExtractionHandle *handle = entry.handle;
    handle->blockPos = handle->lineStartPos;
    if (handle->blockStart == entry.lineBlock) {
        return EML_OK;
    }
    handle->blockStart = entry.lineBlock;
    handle->lineStartPos = 0;
    return EmlReadAgain(handle);
}

int32_t copyLines(DigestEntry &entry) {
    ExtractionHandle *handle = entry.handle;
    int32_t code = EML_OK;
    while (nextLine(entry, code)) {
        if (code != EML_OK) {
            return code;
        }
        const std::string_view line = eml::currentLine(handle);
        if (eml::startsWith(line, "--")) {
            if (eml::startsWithField(eml::textFrom(line, 2), handle->boundary)) {
                return unreadLine(entry);
            }
            continue; // delimiters of nested multiparts are not copied
        }
        if (handle->contentType == EML_CT_DIGEST_TWIN && eml::startsWith(line, eml::kTypeName)) {
            takeTypeLine(handle, line);
            continue;
        }
        if (code = copyLine(entry, line); code != EML_OK) {
            return code;
        }
    }
    return EML_OK;
}

int32_t handOver(DigestEntry &entry) {
    ExtractionHandle *handle = entry.handle;
    if (!eml::hasFlag(handle, EML_FLAG_ATTACHMENTS)) {
        return EML_OK;
    }
    handle->sessionRecord->attachmentNumber = static_cast<uint32_t>(handle->attachmentCount - 1);
    return eml::handOverAttachment(handle, entry.file);
}

} // namespace

QOB_EXPORT int32_t Mix_attach_list(ExtractionHandle *handle) {
    DigestEntry entry = {.handle = handle};
    int32_t code = openEntry(entry);
    if (code == EML_OK) {
        code = copyLines(entry);
    }
    entry.name = nullptr;
    if (code == EML_OK) {
        code = handOver(entry);
    }
    eml::discardTempFile(entry.file);
    return code == EML_OK ? 1 : code;
}
