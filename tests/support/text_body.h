// SPDX-License-Identifier: MIT
// A message of one text body, of which the body reader reads a block, or the driver the whole.
#ifndef QOB_TESTS_TEXT_BODY_H
#define QOB_TESTS_TEXT_BODY_H

#include <cstring>
#include <string>
#include <string_view>

#include "emlcomm/body_reader.h"
#include "emlcontent/field_finders.h"
#include "support/filter_fixture.h"

// What the message header would have said.
struct BodyHead {
    int32_t contentType = EML_CT_TEXT_PLAIN;
    int32_t encoding = 0;
    const char *charset = "utf-8";
    const char *boundary = "";
};

struct TextBodyFixture : FilterFixture {
    explicit TextBodyFixture(const BodyHead &head) {
        handle.contentType = head.contentType;
        handle.transferEncoding = head.encoding;
        std::strcpy(handle.charset, head.charset);
        std::strcpy(handle.boundary, head.boundary);
    }
    int32_t read(std::string_view body) {
        load(body);
        return EMLReadContent(&handle);
    }
    // Files other than input and output.
    std::vector<std::string> leftovers() const { return host.filesBut({inputName, kOutputName}); }
    // The text conversions made, line ends left out.
    std::vector<ConversionCall> textConversions() const {
        std::vector<ConversionCall> calls;
        for (const ConversionCall &call : host.conversions) {
            if (call.record.textConversion == 1) {
                calls.push_back(call);
            }
        }
        return calls;
    }
};

// One row of a table: a body and the text, or the HTML document, that it gives.
struct BodyRow {
    const char *promise;
    int32_t encoding;
    const char *body;
    const char *text;
};

#endif
