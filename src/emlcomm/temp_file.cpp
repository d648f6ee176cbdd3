// SPDX-License-Identifier: MIT
// Temporary files: made, filled, flushed, handed over, removed.
#include "emlcomm/temp_file.h"

#include <algorithm>
#include <cstring>

#include "emlcomm/base64.h"
#include "emlcomm/driver.h"
#include "emlcomm/output.h"
#include "emlcomm/quoted_printable.h"
#include "emlcontent/field_finders.h"

namespace {

constexpr uint32_t kInsertRecordFlags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT;
static_assert(kInsertRecordFlags == 10);

constexpr std::string_view kMetaOpening = "<META CONTENT=\"text/html;charset=";
constexpr std::string_view kMetaClosing = "\">";
constexpr size_t kMetaBufferSize = 96;
static_assert(kMetaOpening.size() + kPartCharsetSize + kMetaClosing.size() < kMetaBufferSize);

// Closes `file` and gives back what `code` says.
eml::ReadBack closeAfter(QobFile *file, eml::ReadBack code) {
    QOB_FileClose(file);
    return code;
}

eml::RawWrite writeRawLine(ExtractionHandle *handle, std::string_view line, QobFile *file,
                           eml::RawLineEnd lineEnd) {
    if (file == nullptr) {
        return eml::RawWrite::kWhole;
    }
    const auto length = static_cast<int32_t>(line.size());
    const int32_t written = QOB_FileWrite(line.data(), 1, length, file);
    if (lineEnd == eml::RawLineEnd::kAdd) {
        WriteCRLFToFile_tmp(handle, file);
    }
    if (written >= length) {
        return eml::RawWrite::kWhole;
    }
    return written == 0 ? eml::RawWrite::kNothing : eml::RawWrite::kPart;
}

} // namespace

namespace eml {

bool openTempFile(ExtractionHandle *handle, TempFile &temp, const char *ending, const char *mode) {
    std::memset(temp.name, 0, kPathSize);
    if (hasFlag(handle, EML_FLAG_BOUND_TMPNAM)) {
        QOB_ASC_tmpnam1(handle->sessionRecord->path, temp.name);
    } else {
        QOB_ASC_tmpnam(temp.name);
    }
    return openNamedFile(temp, ending, mode);
}

bool openNamedFile(TempFile &temp, const char *ending, const char *mode) {
    if (temp.exists() && EmlStrCat(temp.name, ending) == 1) {
        temp.file = QOB_FileOpen(temp.name, mode);
    }
    if (!temp.isOpen()) {
        temp.name[0] = '\0';
    }
    return temp.isOpen();
}

void closeTempFile(TempFile &temp) {
    closeFile(temp.file);
}

void discardTempFile(TempFile &temp) {
    closeTempFile(temp);
    if (temp.exists()) {
        QOB_ASC_remove(temp.name);
        temp.name[0] = '\0';
    }
}

ReadBack readWholeFile(const char *name, Buffer &text, uint32_t &length) {
    text = nullptr;
    length = 0;
    QobFile *file = QOB_FileOpen(name, "rb");
    if (file == nullptr) {
        return ReadBack::kNotOpened;
    }
    QOB_FileSeek(file, 0, 2);
    const int32_t size = QOB_FileTell(file);
    if (size == 0 || size == -1) {
        return closeAfter(file, ReadBack::kDone);
    }
    text.reset(allocBuffer(static_cast<uint32_t>(size)));
    if (text == nullptr) {
        return closeAfter(file, ReadBack::kNoBuffer);
    }
    QOB_FileSeek(file, 0, 0);
    // What cannot be read is zero.
    const int32_t count = std::clamp(QOB_FileRead(text.get(), 1, size, file), 0, size);
    std::memset(text.get() + count, 0, static_cast<size_t>(size - count));
    length = static_cast<uint32_t>(size);
    return closeAfter(file, ReadBack::kDone);
}

ReadBack flushCollectedText(ExtractionHandle *handle, TempFile &temp) {
    closeTempFile(temp);
    if (!temp.exists()) {
        return ReadBack::kDone;
    }
    Buffer text;
    uint32_t length = 0;
    const ReadBack code = readWholeFile(temp.name, text, length);
    if (length > 0) {
        WriteStrToFile(handle, text.get(), length);
    }
    discardTempFile(temp);
    return code;
}

LineDecoding decodeLine(ExtractionHandle *handle, std::string_view line, int32_t encoding,
                        QobFile *file, RawLineEnd lineEnd) {
    const auto length = static_cast<uint32_t>(line.size());
    switch (encoding) {
    case EML_TE_BASE64:
        return {analyzeBase64_tmpfile(handle, line.data(), length, file), RawWrite::kWhole};
    case EML_TE_QUOTED_PRINTABLE:
        return {analyzeQF(handle, line.data(), length, file, 0), RawWrite::kWhole};
    default:
        return {EML_OK, writeRawLine(handle, line, file, lineEnd)};
    }
}

void writeMetaTag(QobFile *file, std::string_view charset, bool onlyFirstTag) {
    char tag[kMetaBufferSize] = {};
    size_t length = 0;
    for (const std::string_view piece : {kMetaOpening, charset, kMetaClosing}) {
        std::memcpy(tag + length, piece.data(), piece.size());
        length += piece.size();
    }
    if (onlyFirstTag) {
        length = std::string_view(tag, length).find('>') + 1;
    }
    QOB_FileWrite(tag, 1, static_cast<int32_t>(length), file);
}

Buffer newInsertRecord(const HostParams *params) {
    Buffer block = newBuffer(sizeof(HostParams));
    if (block == nullptr) {
        return nullptr;
    }
    HostParams record = {};
    copyText(record.outputName, sizeof(record.outputName), params->outputName);
    copyText(record.language, sizeof(record.language), params->language);
    record.outputCode = params->outputCode;
    record.options = params->options;
    record.flags = kInsertRecordFlags;
    record.outputLimit = params->outputLimit;
    std::memcpy(block.get(), &record, sizeof(record));
    return block;
}

int32_t handOverHtml(ExtractionHandle *handle, TempFile &html, int32_t noHostResult) {
    closeTempFile(html);
    return handOverHtmlWith(handle, html, newInsertRecord(handle->hostParams), noHostResult);
}

int32_t handOverHtmlWith(ExtractionHandle *handle, TempFile &html, Buffer record,
                         int32_t noHostResult) {
    SessionRecord *session = handle->sessionRecord;
    session->savedOutputCount = handle->outputCount;
    if (record == nullptr) {
        discardTempFile(html);
        return EML_ERR_MEMORY;
    }
    const auto *params = reinterpret_cast<const HostParams *>(record.get());
    const int32_t hostResult = insertFileText(handle, html.name, params, noHostResult);
    handle->outputCount = static_cast<uint32_t>(session->savedOutputCount);
    record.reset();
    discardTempFile(html);
    return hostErrorOrStored(handle, hostResult);
}

int32_t insertFileText(ExtractionHandle *handle, const char *name, const HostParams *params,
                       int32_t noHostResult) {
    if (handle->streamMode == 1) {
        return QOB_GetInsertFileTextStreamWithErrCallback(
            name, handle->outputStream, params, handle->sessionRecord, handle->errCallback);
    }
    if (handle->fileMode == 1) {
        return QOB_GetInsertFileTextWithErrCallback(name, handle->outputFile, params,
                                                    handle->sessionRecord, handle->errCallback);
    }
    return noHostResult;
}

int32_t hostErrorOrStored(ExtractionHandle *handle, int32_t hostResult) {
    if (hostResult != EML_OK && hasFlag(handle, EML_FLAG_KEEP_GOING)) {
        handle->result = hostResult;
        return EML_OK;
    }
    return hostResult;
}

} // namespace eml
