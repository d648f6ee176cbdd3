// SPDX-License-Identifier: MIT
// Content types and transfer encodings as codes.
#include "emlcontent/field_finders.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "emlcomm/chars.h"

namespace {

struct CodeRow {
    std::string_view name = {}; // leading bytes of the value, in upper case
    int32_t code;
};

constexpr CodeRow kMessageTypes[] = {
    {"MULTIPART/ALTERNATIVE", EML_CT_MULTIPART_ALTERNATIVE},
    {"MULTIPART/REPORT", EML_CT_MULTIPART_REPORT},
    {"IMAGE/JPEG", EML_CT_IMAGE_JPEG},
    {"IMAGE/GIF", EML_CT_IMAGE_GIF},
    {"MULTIPART/RELATED", EML_CT_MULTIPART_RELATED},
    {"MULTIPART/MIXED", EML_CT_MULTIPART_MIXED},
    {"APPLICATION", EML_CT_APPLICATION},
    {"TEXT/PLAIN", EML_CT_TEXT_PLAIN},
    {"TEXT/HTML", EML_CT_TEXT_HTML},
    {"MULTIPART/DIGEST", EML_CT_MULTIPART_DIGEST},
};

constexpr CodeRow kPartTypes[] = {
    {"MULTIPART/ALTERNATIVE", EML_CT_MULTIPART_ALTERNATIVE},
    {"MULTIPART/RELATED", EML_CT_MULTIPART_ALTERNATIVE},
    {"MULTIPART/MIXED", EML_CT_MULTIPART_MIXED},
    {"APPLICATION", EML_CT_APPLICATION},
    {"TEXT/PLAIN", EML_CT_TEXT_PLAIN},
    {"TEXT/HTML", EML_CT_TEXT_HTML},
    {"TEXT/ENRICHED", EML_CT_TEXT_HTML},
    {"IMAGE/JPEG", EML_CT_IMAGE_JPEG},
    {"IMAGE/GIF", EML_CT_IMAGE_GIF},
    {"MESSAGE/RFC822", EML_CT_MESSAGE_RFC822},
    {"MESSAGE/DELIVERY-STATUS", EML_CT_MESSAGE_DELIVERY_STATUS},
    {"MULTIPART/APPLEDOUBLE", EML_CT_MULTIPART_REPORT},
};

constexpr CodeRow kEncodings[] = {
    {"QUOTED-PRINTABLE", EML_TE_QUOTED_PRINTABLE},
    {"BASE64", EML_TE_BASE64},
};

int32_t codeOf(std::span<const CodeRow> rows, const char *value, int32_t otherwise) {
    const eml::UpperHead head(value);
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [&head](const CodeRow &r) { return head.startsWith(r.name); });
    return row == rows.end() ? otherwise : row->code;
}

} // namespace

QOB_EXPORT int32_t analyzeContentType(ExtractionHandle *handle, const char *value) {
    handle->contentType = codeOf(kMessageTypes, value, handle->contentType);
    return 0;
}

QOB_EXPORT int32_t analyzeContentType_pre(ExtractionHandle *handle, const char *value) {
    int32_t &code = handle->inNestedPart == 0 ? handle->partContentType : handle->nestedContentType;
    code = codeOf(kPartTypes, value, EML_CT_OTHER);
    return 0;
}

QOB_EXPORT int32_t findTransfer(ExtractionHandle *handle, const char *value) {
    handle->transferEncoding = codeOf(kEncodings, value, EML_TE_OTHER);
    return 0;
}

QOB_EXPORT int32_t findTransfer_pre(ExtractionHandle *handle, const char *value) {
    int32_t &code =
        handle->inNestedPart == 0 ? handle->partTransferEncoding : handle->nestedTransferEncoding;
    code = codeOf(kEncodings, value, EML_TE_OTHER);
    return 0;
}
