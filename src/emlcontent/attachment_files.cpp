// SPDX-License-Identifier: MIT
// Attachments as files: names, numbers, labels, hand-over.
#include "emlcontent/attachment_files.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "emlcomm/driver.h"
#include "emlcomm/encoded_word.h"
#include "emlcomm/input_check.h"
#include "emlcomm/output.h"

namespace {

constexpr int32_t kMaxNumberedAttachment = 9999;
constexpr size_t kFileTypeBufferSize = 72;

constexpr std::string_view kNumberLabel = "Attach";
constexpr std::string_view kNumberEnd = ":";
constexpr std::string_view kNameLabel = "attachmemt_name: "; // part of the format as it stands
static_assert(kNameLabel.size() == 17);

// EML_OK, or a code that ends the walker: a reached limit does not.
int32_t writeLabelText(ExtractionHandle *handle, std::string_view text) {
    const uint32_t code = eml::writeConverted(handle, text, eml::kLatin1);
    return eml::writeFailed(code) ? static_cast<int32_t>(code) : EML_OK;
}

} // namespace

QOB_EXPORT char *GetAttachtempfile(ExtractionHandle *handle, char *destination) {
    for (int32_t n = 1; n < std::numeric_limits<int32_t>::max(); ++n) {
        char name[kPathSize] = {};
        char number[32] = {};
        eml::copyText(name, kPathSize, handle->attachTmpName);
        std::snprintf(number, sizeof(number), "%d", n);
        if (EmlStrCat(name, number) == 0) {
            break;
        }
        if (EmlCheckFile(name) == 0) {
            eml::copyText(destination, kPathSize, name);
            return destination;
        }
    }
    eml::copyText(destination, kPathSize, eml::kUnnamedAttachment);
    return destination;
}

QOB_EXPORT int32_t WriteNum(ExtractionHandle *handle) {
    std::memset(handle->attachmentDigits, 0, sizeof(handle->attachmentDigits));
    if (handle->attachmentCount >= 0 && handle->attachmentCount <= kMaxNumberedAttachment) {
        handle->attachmentDigitsLength =
            std::snprintf(handle->attachmentDigits, sizeof(handle->attachmentDigits), "%d",
                          handle->attachmentCount);
    }
    return 0;
}

QOB_EXPORT int32_t CmpFileType(ExtractionHandle * /*handle*/, const char *name) {
    char lowered[kFileTypeBufferSize] = {};
    eml::copyText(lowered, sizeof(lowered), name);
    Eml_byteLow(lowered);
    return 0;
}

QOB_EXPORT void Eml_byteLow(char *text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'A' && *text <= 'Z') {
            *text = static_cast<char>(*text - 'A' + 'a');
        }
    }
}

namespace eml {

bool labelsOn(const ExtractionHandle *handle) {
    return hasFlag(handle, EML_FLAG_ATTACHMENTS) && !hasFlag(handle, EML_FLAG_NO_LABELS);
}

int32_t writeAttachmentNumber(ExtractionHandle *handle) {
    WriteCRLFToFile(handle);
    if (const int32_t code = writeLabelText(handle, kNumberLabel); code != EML_OK) {
        return code;
    }
    WriteNum(handle);
    const std::string_view digits(handle->attachmentDigits,
                                  static_cast<size_t>(handle->attachmentDigitsLength));
    if (const int32_t code = writeLabelText(handle, digits); code != EML_OK) {
        return code;
    }
    return writeLabelText(handle, kNumberEnd);
}

int32_t writeNameLabel(ExtractionHandle *handle) {
    WriteCRLFToFile(handle);
    return writeLabelText(handle, kNameLabel);
}

int32_t writeDisplayName(ExtractionHandle *handle, const char *name) {
    const int32_t code = analyzeSpecialName(handle, name, 1);
    handle->encodedWordFlag = 0;
    if (code == EML_ERR_MEMORY) {
        return code;
    }
    WriteCRLFToFile(handle);
    WriteCRLFToFile(handle);
    return EML_OK;
}

int32_t openAttachmentFile(ExtractionHandle *handle, TempFile &file, bool isMessage) {
    GetAttachtempfile(handle, file.name);
    const char *ending = isMessage ? kMessageEnding : "";
    return openNamedFile(file, ending, "wb+") ? EML_OK : EML_ERR_INPUT;
}

int32_t handOverAttachment(ExtractionHandle *handle, TempFile &file) {
    SessionRecord *session = handle->sessionRecord;
    const bool sharesCount = hasFlag(handle, EML_FLAG_SHARE_COUNT);
    int32_t code = EML_OK;
    closeTempFile(file);
    if (sharesCount) {
        session->savedOutputCount = handle->outputCount;
    }
    if (!hasFlag(handle, EML_FLAG_NO_HANDOVER)) {
        // The host's own parameters, not a copy: an attachment may be a message with labels.
        const int32_t hostResult = insertFileText(handle, file.name, handle->hostParams, EML_OK);
        code = hostErrorOrStored(handle, hostResult);
    }
    if (sharesCount && code == EML_OK) {
        handle->outputCount = static_cast<uint32_t>(session->savedOutputCount);
    }
    discardTempFile(file);
    return code;
}

} // namespace eml
