// SPDX-License-Identifier: MIT
// The output writer: bytes, labels and line ends, under the output size limit.
#include "emlcomm/output.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "emlcomm/charset.h"

namespace {

// What the line-end producers give the converter at the most.
constexpr uint32_t kLineEndCapacity = 32;
constexpr uint32_t kLabelBufferSize = 100;

// Option bits that ask for a zero byte before each line end.
constexpr uint32_t kZeroByteBits = EML_OPT_ZERO_BEFORE_LINE_END | EML_OPT_8000000;

void writeRaw(ExtractionHandle *handle, const void *data, uint32_t size, uint32_t count,
              QobFile *file) {
    if (handle->streamMode == 1) {
        QOB_WriteStream(handle->outputStream, size * count, data);
    } else if (file != nullptr) {
        QOB_FileWrite(data, static_cast<int32_t>(size), static_cast<int32_t>(count), file);
    }
}

void writeCounted(ExtractionHandle *handle, const void *data, uint32_t length, QobFile *file) {
    writeRaw(handle, data, 1, length, file);
    handle->outputCount += length;
    if (handle->options.opt4000 != 0) {
        handle->sessionRecord->savedOutputCount = handle->outputCount;
    }
}

// Lets the converter turn a lone carriage return into the line end of the output described.
uint32_t convertLineEnd(ExtractionHandle *handle, const void *outputDescription, char *buffer) {
    CconvContext context;
    const auto started = static_cast<uint32_t>(handle->convStarted);
    const CconvOutputRecord *record = eml::nextOutputRecord(handle, eml::ConversionKind::kLineEnd);
    if (cconvInitConvert(&context, record, outputDescription, started) != 0) {
        return 0;
    }
    uint32_t produced = 0;
    CconvSourceRecord source = {1, 0, 1};
    if (cconvChgCharset(&context, &source, eml::kLatin1) == 0) {
        produced = eml::runConversion(&context, "\r", 1, buffer, kLineEndCapacity);
    }
    cconvTermConvert(&context);
    return produced;
}

} // namespace

QOB_EXPORT uint32_t myfwrite(ExtractionHandle *handle, const void *data, uint32_t size,
                             uint32_t count, QobFile *file) {
    if (handle->options.limitOutput == 0) {
        writeRaw(handle, data, size, count, file);
        return EML_OK;
    }
    if (handle->limitReached != 0) {
        return EML_ERR_LIMIT;
    }
    if (handle->outputCount >= handle->outputLimit) {
        handle->limitReached = 1;
        return EML_ERR_LIMIT;
    }
    const uint32_t length = size * count;
    const uint32_t room = handle->outputLimit - handle->outputCount;
    if (length <= room) {
        writeCounted(handle, data, length, file);
        return EML_OK;
    }
    writeCounted(handle, data, std::min(CutStr(data, length, room, handle->hostParams), room),
                 file);
    handle->limitReached = 1;
    return EML_ERR_LIMIT;
}

QOB_EXPORT uint32_t WriteHder(ExtractionHandle *handle, const char *text, uint32_t length) {
    const eml::Buffer converted = eml::newConversionBuffer(length, kLabelBufferSize);
    if (converted == nullptr) {
        return EML_ERR_MEMORY;
    }
    eml::setCharsetName(handle, eml::kLatin1);
    const uint32_t produced = TransChar(handle, text, converted.get(), length);
    const uint32_t code = myfwrite(handle, converted.get(), 1, produced, handle->outputFile);
    return eml::writeFailed(code) ? code : uint32_t{EML_OK};
}

QOB_EXPORT uint32_t WriterHder_Null(ExtractionHandle *handle, int32_t *fromFlag, int32_t *toFlag,
                                    int32_t *ccFlag, int32_t *bccFlag, int32_t count) {
    struct Label {
        std::string_view text;
        int32_t *flag;
        int32_t neededCount;
    };
    // The From label does not depend on the count.
    const Label labels[] = {{"From: ", fromFlag, std::numeric_limits<int32_t>::min()},
                            {"To: ", toFlag, 2},
                            {"Cc: ", ccFlag, 3},
                            {"Bcc: ", bccFlag, 4}};
    for (const Label &label : labels) {
        if (*label.flag != 0 || count < label.neededCount) {
            continue;
        }
        const uint32_t code =
            WriteHder(handle, label.text.data(), static_cast<uint32_t>(label.text.size()));
        if (code != EML_OK) {
            return code;
        }
        *label.flag = 1;
    }
    return EML_OK;
}

QOB_EXPORT uint32_t TransCRLF(ExtractionHandle *handle, char *buffer) {
    return convertLineEnd(handle, handle->hostParams, buffer);
}

QOB_EXPORT uint32_t TransCRLF_tmp(ExtractionHandle *handle, char *buffer) {
    return convertLineEnd(handle, eml::kLatin1, buffer);
}

QOB_EXPORT uint32_t WriteCRLFToFile(ExtractionHandle *handle) {
    if (handle->outputOpenFailed != 0) {
        return EML_ERR_OUTPUT_LOST;
    }
    char buffer[kLineEndCapacity] = {};
    if (!eml::ensureOutputOpen(handle)) {
        return EML_OK;
    }
    // One zero byte precedes the line end whenever either bit is set, never two.
    if ((handle->hostParams->options & kZeroByteBits) != 0) {
        myfwrite(handle, buffer, 1, 1, handle->outputFile);
    }
    handle->textWritten = 1;
    const uint32_t length = TransCRLF(handle, buffer);
    if (length != 0) {
        myfwrite(handle, buffer, 1, length, handle->outputFile);
    }
    return EML_OK;
}

QOB_EXPORT uint32_t WriteCRLFToFile_tmp(ExtractionHandle *handle, QobFile *file) {
    if (file == nullptr) {
        return 0;
    }
    char buffer[kLineEndCapacity] = {};
    const uint32_t length = TransCRLF_tmp(handle, buffer);
    if (length != 0) {
        QOB_FileWrite(buffer, 1, static_cast<int32_t>(length), file);
    }
    return 0;
}

namespace eml {

bool ensureOutputOpen(ExtractionHandle *handle) {
    if (handle->fileMode != 1 || handle->outputFile != nullptr) {
        return true;
    }
    handle->outputFile = QOB_FileOpen(handle->outputPath, "wb");
    if (handle->outputFile == nullptr) {
        handle->outputOpenFailed = 1;
    }
    return handle->outputFile != nullptr;
}

void clearConvBuffer(ExtractionHandle *handle) {
    std::memset(handle->convBuffer, 0, handle->convBufferUsed);
    handle->convBufferUsed = 0;
}

uint32_t writeInCharset(ExtractionHandle *handle, const char *text, uint32_t length) {
    clearConvBuffer(handle);
    const uint32_t produced = TransChar(handle, text, handle->convBuffer, length);
    // A conversion that failed may have written anywhere.
    handle->convBufferUsed = produced > 0 ? produced : kConvBufferSize;
    return myfwrite(handle, handle->convBuffer, 1, produced, handle->outputFile);
}

uint32_t writeConverted(ExtractionHandle *handle, std::string_view text, const char *charset) {
    setCharsetName(handle, charset);
    return writeInCharset(handle, text.data(), static_cast<uint32_t>(text.size()));
}

} // namespace eml
