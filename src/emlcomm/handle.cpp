// SPDX-License-Identifier: MIT
// Handle utilities: option decoding, buffers and their release.
#include "emlcomm/handle.h"

#include <algorithm>
#include <cstring>
#include <limits>

QOB_EXPORT void TransOption(OptionsBlock *options, uint32_t optionsWord) {
    const auto bit = [optionsWord](uint32_t mask) { return (optionsWord & mask) != 0 ? 1U : 0U; };

    *options = {};
    options->optPlainFlag = bit(EML_OPT_PLAIN);
    options->opt1000 = bit(EML_OPT_1000);
    options->opt2000 = options->opt1000 != 0 ? 0 : bit(EML_OPT_2000);
    options->opt4000 = options->opt1000 != 0 ? bit(EML_OPT_MIRROR_COUNT) : 0;
    options->opt8000 = options->opt1000 != 0 ? bit(EML_OPT_8000) : 0;
    options->limitOutput = bit(EML_OPT_LIMIT_OUTPUT);
    options->opt8000000 = bit(EML_OPT_8000000);

    constexpr uint32_t kModes[] = {EML_OPT_NEWLINE_1, EML_OPT_NEWLINE_2, EML_OPT_NEWLINE_3,
                                   EML_OPT_NEWLINE_4, EML_OPT_NEWLINE_5};
    const auto *lowest = std::find_if(std::begin(kModes), std::end(kModes),
                                      [bit](uint32_t mask) { return bit(mask) != 0; });
    options->newlineMode =
        lowest == std::end(kModes) ? 1 : static_cast<uint32_t>(lowest - std::begin(kModes)) + 1;
}

QOB_EXPORT char *allocBuffer(uint32_t size) {
    auto *buffer = static_cast<char *>(QOB_malloc(static_cast<size_t>(size) + 1));
    if (buffer != nullptr) {
        buffer[size] = '\0';
    }
    return buffer;
}

QOB_EXPORT void myFreeMem(ExtractionHandle *handle) {
    eml::freeBuffer(handle->readBuffer);
    eml::freeBuffer(handle->qpBuffer);
    handle->qpBufferUsed = 0;
    handle->qpBufferSize = 0;
    eml::freeBuffer(handle->convBuffer);
    eml::freeBuffer(handle->lineBuffer);
    if (handle->logFile != nullptr && handle->logBorrowed == 0) {
        qob_logfclose(handle->hostParams->options, handle->logFile);
        handle->logFile = nullptr;
    }
}

QOB_EXPORT uint16_t EMLGetWord(const uint8_t *bytes, int32_t swap) {
    const uint8_t low = swap == 0 ? bytes[0] : bytes[1];
    const uint8_t high = swap == 0 ? bytes[1] : bytes[0];
    return static_cast<uint16_t>(low | high << 8U);
}

QOB_EXPORT uint32_t EMLGetDWord(const uint32_t *value, int32_t swap) {
    return swap == 0 ? *value : __builtin_bswap32(*value);
}

QOB_EXPORT int32_t IsCPUBigEndian_eml() {
    return 0;
}

QOB_EXPORT int32_t analyzeContent() {
    return 0;
}

namespace eml {

Buffer newBuffer(uint32_t size) {
    Buffer buffer(allocBuffer(size));
    if (buffer != nullptr) {
        std::memset(buffer.get(), 0, size);
    }
    return buffer;
}

void freeBuffer(char *&buffer) {
    if (buffer != nullptr) {
        QOB_free(buffer);
        buffer = nullptr;
    }
}

void advanceBlockStart(ExtractionHandle *handle, int32_t bytes) {
    const int64_t moved = static_cast<int64_t>(handle->blockStart) + bytes;
    handle->blockStart =
        static_cast<int32_t>(std::min<int64_t>(moved, std::numeric_limits<int32_t>::max()));
}

void copyText(char *field, size_t capacity, const char *text) {
    const size_t length = text == nullptr ? 0 : strnlen(text, capacity - 1);
    if (length > 0) {
        std::memcpy(field, text, length);
    }
    field[length] = '\0';
}

} // namespace eml
