// SPDX-License-Identifier: MIT
// A multipart message whose body reader is called on one block of part headers.
#ifndef QOB_TESTS_PART_HEADERS_H
#define QOB_TESTS_PART_HEADERS_H

#include <cstring>
#include <string>
#include <string_view>

#include "emlcomm/body_reader.h"
#include "emlcontent/field_finders.h"
#include "support/filter_fixture.h"

// The boundary is "b". Fields of the handle may be set before read().
struct PartHeaders : FilterFixture {
    explicit PartHeaders(int32_t contentType) {
        handle.contentType = contentType;
        std::strcpy(handle.boundary, "b");
    }
    int32_t read(std::string_view body) {
        load(body);
        return EMLReadContent(&handle);
    }
};

struct MixedMessage : PartHeaders {
    MixedMessage() : PartHeaders(EML_CT_MULTIPART_MIXED) {}
};
struct AlternativeMessage : PartHeaders {
    AlternativeMessage() : PartHeaders(EML_CT_MULTIPART_ALTERNATIVE) {}
};
struct DigestMessage : PartHeaders {
    DigestMessage() : PartHeaders(EML_CT_MULTIPART_DIGEST) {}
};

#endif
