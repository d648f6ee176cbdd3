// SPDX-License-Identifier: MIT
// The boundary parameter of multipart types.
#include "emlcontent/field_finders.h"

#include <cstring>

#include "emlcontent/parameter_text.h"

QOB_EXPORT int32_t findBoundary(ExtractionHandle *handle, const char *line) {
    const char *text = std::strstr(line, "boundary=");
    if (text == nullptr) {
        text = std::strstr(line, "Boundary=");
    }
    if (text == nullptr) {
        return 0;
    }
    size_t length = 0;
    while (*text != '\0') {
        if (*text++ != '"') {
            continue;
        }
        length = 0;
        while (*text != '\0' && *text != '"' && length < kBoundarySize - 1) {
            handle->boundary[length++] = *text++;
        }
        if (*text == '"') {
            break;
        }
        // Too long without a closing quote: a later quote starts anew.
    }
    handle->boundary[length] = '\0';
    return 0;
}

QOB_EXPORT int32_t findBoundary_pre(ExtractionHandle *handle, const char *text) {
    eml::ParameterField field(
        handle->inNestedPart == 0 ? handle->partBoundary : handle->nestedBoundary, kBoundarySize);
    eml::copyLastQuoted(text, field);
    // Both fields end at the length found, whichever of them was filled.
    handle->partBoundary[field.length()] = '\0';
    handle->nestedBoundary[field.length()] = '\0';
    return 0;
}
