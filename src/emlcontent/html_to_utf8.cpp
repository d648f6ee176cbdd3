// SPDX-License-Identifier: MIT
// HTML in utf-7 or hz-gb-2312, converted to UTF-8.
#include "emlcontent/html_to_utf8.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

#include "emlcomm/charset.h"

namespace {

constexpr std::string_view kMeta = "<META CONTENT=\"text/html;charset=utf-8\">";
constexpr uint32_t kMetaBufferSize = 96;
constexpr uint32_t kConvertedMetaSize = 288;
static_assert(kMeta.size() < kMetaBufferSize && 4 * kMeta.size() + 1 < kConvertedMetaSize);

// Cleared host memory; null on failure or when the size does not fit 32 bits.
eml::Buffer newHostBuffer(uint64_t size) {
    if (size > std::numeric_limits<uint32_t>::max()) {
        return nullptr;
    }
    auto *block = static_cast<char *>(QOB_malloc(static_cast<size_t>(size)));
    if (block != nullptr) {
        std::memset(block, 0, static_cast<size_t>(size));
    }
    return eml::Buffer(block);
}

// A whole document, and room for it in UTF-8.
struct Document {
    eml::Buffer text;
    uint32_t length = 0;
    eml::Buffer converted;
};

int32_t readDocument(const char *name, Document &document) {
    QobFile *file = QOB_FileOpen(name, "rb");
    if (file == nullptr) {
        return EML_ERR_INPUT;
    }
    QOB_FileSeek(file, 0, 2);
    document.length = QOB_FileTellSize(file);
    const uint64_t size = document.length;
    document.text = newHostBuffer(size + 10);
    if (document.text != nullptr) {
        // Twice the size is asked for, or as much as the converter may write.
        document.converted = newHostBuffer(std::max(2 * size, 4 * size + 1));
    }
    if (document.converted != nullptr) {
        QOB_FileSeek(file, 0, 0);
        QOB_FileRead(document.text.get(), 1, static_cast<int32_t>(document.length), file);
    }
    QOB_FileClose(file);
    return document.converted == nullptr ? EML_ERR_NOBUF : EML_OK;
}

} // namespace

namespace eml {

bool needsUtf8(const char *partCharset) {
    const std::string_view charset(partCharset);
    return charset == "utf-7" || charset == "hz-gb-2312";
}

int32_t convertHtmlToUtf8(ExtractionHandle *handle, TempFile &html) {
    const Buffer convertedMeta = newHostBuffer(kConvertedMetaSize);
    const Buffer meta = convertedMeta == nullptr ? nullptr : newHostBuffer(kMetaBufferSize);
    if (meta == nullptr) {
        discardTempFile(html);
        return EML_ERR_NOBUF;
    }
    Document document;
    const int32_t code = readDocument(html.name, document);
    discardTempFile(html);
    if (code != EML_OK) {
        return code;
    }
    if (!openTempFile(handle, html, kHtmlEnding, "wb")) {
        return EML_ERR_INPUT;
    }
    const uint32_t bodyLength =
        TransCharutf8(handle, document.text.get(), document.converted.get(), document.length, 1);
    std::memcpy(meta.get(), kMeta.data(), kMeta.size());
    const uint32_t metaLength = TransCharutf8(handle, meta.get(), convertedMeta.get(),
                                              static_cast<uint32_t>(kMeta.size()), 0);
    QOB_FileWrite(convertedMeta.get(), 1, static_cast<int32_t>(metaLength), html.file);
    QOB_FileWrite(document.converted.get(), 1, static_cast<int32_t>(bodyLength), html.file);
    closeTempFile(html);
    return EML_OK;
}

} // namespace eml
