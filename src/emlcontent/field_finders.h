// SPDX-License-Identifier: MIT
// The finders: values of Content-Type and Content-Transfer-Encoding become small codes, and the
// boundary and charset parameters are taken out.
//
// Each finder exists twice. The plain one works on the message's own header and fills the
// message-level fields; the _pre one works on a part's header and fills the outer or, while
// inNestedPart is set, the nested part fields. The two differ in their tables and in their rules.
//
// All take NUL-terminated text and return 0; none ever fails. A value that does not fit its field
// is cut at the field's capacity less one.
#ifndef QOB_EMLCONTENT_FIELD_FINDERS_H
#define QOB_EMLCONTENT_FIELD_FINDERS_H

#include "emlcomm/handle.h"

// Content-type codes. Inside a part multipart/related counts as alternative (5), and
// multipart/appledouble shares 7 with the message-level multipart/report.
enum {
    EML_CT_OTHER = 0,
    EML_CT_TEXT_PLAIN = 1,
    EML_CT_TEXT_HTML = 2,
    EML_CT_APPLICATION = 3,
    EML_CT_MULTIPART_MIXED = 4,
    EML_CT_MULTIPART_ALTERNATIVE = 5,
    EML_CT_MULTIPART_RELATED = 6,
    EML_CT_MULTIPART_REPORT = 7,
    EML_CT_IMAGE_JPEG = 8,
    EML_CT_IMAGE_GIF = 9,
    EML_CT_MULTIPART_DIGEST = 10,
    EML_CT_DIGEST_TWIN = 11, // treated as a digest; no header gives it
    EML_CT_MESSAGE_RFC822 = 20,
    EML_CT_MESSAGE_DELIVERY_STATUS = 30
};

// Transfer-encoding codes; 0 when no header line gave one.
enum { EML_TE_BASE64 = 1, EML_TE_QUOTED_PRINTABLE = 2, EML_TE_OTHER = 3 };

// `value` is the text after "Content-Type:". An unknown type leaves the message's code as it is
// and sets the part's code to EML_CT_OTHER.
QOB_EXPORT int32_t analyzeContentType(ExtractionHandle *handle, const char *value);
QOB_EXPORT int32_t analyzeContentType_pre(ExtractionHandle *handle, const char *value);

// `value` is the text after "Content-Transfer-Encoding:".
QOB_EXPORT int32_t findTransfer(ExtractionHandle *handle, const char *value);
QOB_EXPORT int32_t findTransfer_pre(ExtractionHandle *handle, const char *value);

// The quoted value after "boundary=" or "Boundary=" of a message-level line; an unquoted value
// yields an empty boundary.
QOB_EXPORT int32_t findBoundary(ExtractionHandle *handle, const char *line);

// The last quoted string of `text`, into the part's boundary or charset; none empties the field.
QOB_EXPORT int32_t findBoundary_pre(ExtractionHandle *handle, const char *text);
QOB_EXPORT int32_t findChartset_pre(ExtractionHandle *handle, const char *text);

// The part charset from `text`, which starts at the parameter's value, quoted or not.
QOB_EXPORT int32_t findChartset_pre1(ExtractionHandle *handle, const char *text);

// The same from a line that contains "charset=".
QOB_EXPORT int32_t findChartset_pre_special(ExtractionHandle *handle, const char *line);

// The message charset: the last quoted string of the line whatever it belongs to, else the
// unquoted value after "charset=".
QOB_EXPORT int32_t findChartset(ExtractionHandle *handle, const char *line);

#endif
