// SPDX-License-Identifier: MIT
// The per-message driver, and what both entry points share.
#include "emlcomm/driver.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/body_reader.h"
#include "emlcomm/charset.h"
#include "emlcomm/header_reader.h"
#include "emlcomm/input_check.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/temp_file.h"

namespace {

constexpr std::string_view kContentLabel = "Content: ";
constexpr const char *kAttachmentFallback = "./Attach.eml";

// A small file is one block, its terminating zero byte included; a larger one begins with a full
// block.
int32_t loadFirstBlock(ExtractionHandle *handle) {
    const bool whole = handle->fileSize <= kBlockSize;
    const int32_t size = whole ? handle->fileSize + 1 : kBlockSize;
    handle->readBuffer = allocBuffer(static_cast<uint32_t>(size));
    if (handle->readBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    std::memset(handle->readBuffer, 0, static_cast<size_t>(size));
    QOB_FileRead(handle->readBuffer, 1, whole ? handle->fileSize : kBlockSize, handle->inputFile);
    handle->blockLength = size;
    if (handle->logFile != nullptr) {
        const uint32_t options = handle->hostParams->options;
        if (whole) {
            qob_logfprintf(options, handle->logFile, "Fileread %ibytes\r\n", handle->fileSize);
        }
        qob_logfprintf(options, handle->logFile,
                       "Memory allocate for lpHobj->buff: %i bytes; %d.\r\n", 0, 0);
    }
    return EML_OK;
}

int32_t allocateLineBuffers(ExtractionHandle *handle) {
    handle->lineBuffer = eml::newBuffer(kLineBufferSize).release();
    if (handle->lineBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    handle->convBuffer = eml::newBuffer(kConvBufferSize).release();
    return handle->convBuffer == nullptr ? EML_ERR_MEMORY : EML_OK;
}

// The header's block and its quoted-printable leftovers do not reach into the body.
int32_t prepareBody(ExtractionHandle *handle) {
    eml::freeBuffer(handle->readBuffer);
    eml::freeBuffer(handle->qpBuffer);
    handle->qpBufferUsed = 0;
    handle->qpBufferSize = 0;
    handle->qpBuffer = eml::newBuffer(kQpBufferSize).release();
    if (handle->qpBuffer == nullptr) {
        return EML_ERR_MEMORY;
    }
    handle->qpBufferSize = kQpBufferSize;
    return EML_OK;
}

int32_t writeContentLabel(ExtractionHandle *handle) {
    WriteCRLFToFile(handle);
    const uint32_t code = eml::writeConverted(handle, kContentLabel, eml::kLatin1);
    if (eml::writeFailed(code)) {
        return static_cast<int32_t>(code);
    }
    WriteCRLFToFile(handle);
    eml::clearConvBuffer(handle);
    return EML_OK;
}

int32_t loadBodyBlock(ExtractionHandle *handle) {
    handle->blockPos = 0;
    QOB_FileSeek(handle->inputFile, handle->blockStart, 0);
    const int32_t remaining = handle->fileSize - handle->blockStart;
    if (remaining < kBlockSize) {
        handle->lastBlock = 1;
    }
    return eml::loadBlock(handle, std::min(remaining, kBlockSize));
}

// Gives the body reader one block after the other, each beginning where the last call stopped.
int32_t readBody(ExtractionHandle *handle) {
    while (handle->blockStart < handle->fileSize) {
        if (const int32_t code = loadBodyBlock(handle); code != EML_OK) {
            return code;
        }
        const int32_t startBefore = handle->blockStart;
        const int32_t code = EMLReadContent(handle);
        eml::advanceBlockStart(handle, handle->blockPos);
        if (code != EML_OK) {
            return code;
        }
        if (handle->blockStart == startBefore) {
            return EML_OK; // no progress: nothing more can be read
        }
    }
    return EML_OK;
}

std::string_view baseName(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

} // namespace

QOB_EXPORT int32_t ReadFile(ExtractionHandle *handle) {
    QOB_FileSeek(handle->inputFile, 0, 0);
    if (const int32_t code = loadFirstBlock(handle); code != EML_OK) {
        return code;
    }
    if (const int32_t code = allocateLineBuffers(handle); code != EML_OK) {
        return code;
    }
    if (const int32_t code = EMLReadHeader(handle); code != EML_OK) {
        return code;
    }
    if (const int32_t code = prepareBody(handle); code != EML_OK) {
        return code;
    }
    if (const int32_t code = writeContentLabel(handle); code != EML_OK) {
        return code;
    }
    eml::advanceBlockStart(handle, handle->blockPos);
    const int32_t code = readBody(handle);
    // After an error an HTML document that was still being collected is nobody's.
    if (handle->htmlTempName[0] != '\0') {
        QOB_ASC_remove(handle->htmlTempName);
        handle->htmlTempName[0] = '\0';
    }
    return code;
}

QOB_EXPORT void EmlGetAttachTmpName(ExtractionHandle *handle, const char *inputPath,
                                    const char *tmpName) {
    char *name = handle->attachTmpName;
    if (tmpName == nullptr) {
        eml::copyText(name, kPathSize, inputPath == nullptr ? "Attach.eml" : inputPath);
        return;
    }
    const char *slash = std::strrchr(tmpName, '/');
    const std::string_view directory =
        slash == nullptr ? "./"
                         : std::string_view(tmpName, static_cast<size_t>(slash - tmpName) + 1);
    const size_t directoryLength = std::min(directory.size(), kPathSize - 1);
    std::memcpy(name, directory.data(), directoryLength);
    name[directoryLength] = '\0';

    // The doubled base name (/tmp/a.emla.eml for a.eml) is how these files have always been named.
    const char *base = inputPath == nullptr ? "" : baseName(inputPath).data();
    if (EmlStrCat(name, base) == 0 || EmlStrCat(name, base) == 0) {
        std::memset(name, 0, kPathSize);
        eml::copyText(name, kPathSize, kAttachmentFallback);
    }
}

QOB_EXPORT int32_t EmlStrCat(char *dst, const char *src) {
    const size_t dstLength = std::strlen(dst);
    const size_t srcLength = std::strlen(src);
    if (dstLength + srcLength > kPathSize - 1) {
        return 0;
    }
    std::memcpy(dst + dstLength, src, srcLength + 1);
    return 1;
}

namespace eml {

void beginCall(ExtractionHandle *handle, SessionRecord *session, const CallArguments &arguments,
               const char *path) {
    copyText(session->path, sizeof(session->path), path);
    copyText(session->name, sizeof(session->name), "Attach");
    handle->hostParams = arguments.params;
    TransOption(&handle->options, arguments.params->options);
    handle->outputLimit = static_cast<uint32_t>(arguments.params->outputLimit);
    if (arguments.callerRecord != nullptr) {
        constexpr size_t kCallerWordOffset = 4;
        std::memcpy(&handle->callerWord,
                    static_cast<const char *>(arguments.callerRecord) + kCallerWordOffset,
                    sizeof(handle->callerWord));
    }
    handle->errCallback = arguments.callback;
    handle->sessionRecord = session;
}

void openLog(ExtractionHandle *handle, const char *path) {
    char logName[kPathSize] = {};
    GetLogFileName(path, "eml", logName);
    handle->logFile = qob_logfopen(handle->hostParams->options, logName);
    handle->sessionRecord->logFile = handle->logFile;
}

void logStart(const ExtractionHandle *handle) {
    if (handle->logFile != nullptr) {
        qob_logfprintf(handle->hostParams->options, handle->logFile, "qob_txeml gettext().\r\n");
    }
}

bool measureInput(ExtractionHandle *handle) {
    QOB_FileSeek(handle->inputFile, 0, 2);
    handle->fileSize = QOB_FileTell(handle->inputFile);
    return handle->fileSize >= 0;
}

int32_t checkInput(ExtractionHandle *handle) {
    const int32_t code = IsEMLFile(handle);
    if (handle->logFile != nullptr) {
        qob_logfprintf(handle->hostParams->options, handle->logFile, "check file finish %d.\r\n",
                       code);
    }
    return code;
}

void closeFile(QobFile *&file) {
    if (file != nullptr) {
        QOB_FileClose(file);
        file = nullptr;
    }
}

void closeLog(ExtractionHandle *handle) {
    qob_logfclose(handle->hostParams->options, handle->logFile);
}

} // namespace eml
