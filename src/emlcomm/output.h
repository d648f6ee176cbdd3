// SPDX-License-Identifier: MIT
// The output writer: every byte of extracted text leaves the library through here.
//
// It writes to the output file or to the host's stream, enforces the output size limit, and obtains
// line ends from the host's converter, so that the host's line-end option governs them.
#ifndef QOB_EMLCOMM_OUTPUT_H
#define QOB_EMLCOMM_OUTPUT_H

#include <string_view>

#include "emlcomm/handle.h"

// Writes size x count bytes to the stream (stream mode) or to `file`; a null file takes nothing.
// EML_OK, or EML_ERR_LIMIT when text was cut or dropped. Callers take EML_ERR_LIMIT for success: it
// says that no more text will appear. Failures of the host's write services are not looked at.
QOB_EXPORT uint32_t myfwrite(ExtractionHandle *handle, const void *data, uint32_t size,
                             uint32_t count, QobFile *file);

// Writes a header label of `length` bytes and leaves charsetName at "ISO-8859-1".
// EML_OK (also when the limit is reached) or EML_ERR_MEMORY.
QOB_EXPORT uint32_t WriteHder(ExtractionHandle *handle, const char *text, uint32_t length);

// Writes the labels "From: ", "To: ", "Cc: ", "Bcc: " whose flag is 0, the first `count` of them,
// without line ends, and sets the flags. EML_OK or the first error of WriteHder.
QOB_EXPORT uint32_t WriterHder_Null(ExtractionHandle *handle, int32_t *fromFlag, int32_t *toFlag,
                                    int32_t *ccFlag, int32_t *bccFlag, int32_t count);

// Puts one line end of the output charset, or of ISO-8859-1 (_tmp), into buffer[32]. The bytes
// placed; 0 on any failure.
QOB_EXPORT uint32_t TransCRLF(ExtractionHandle *handle, char *buffer);
QOB_EXPORT uint32_t TransCRLF_tmp(ExtractionHandle *handle, char *buffer);

// Writes one line end to the output. EML_OK, or EML_ERR_OUTPUT_LOST when the output file could not
// be opened earlier.
QOB_EXPORT uint32_t WriteCRLFToFile(ExtractionHandle *handle);

// Writes one ISO-8859-1 line end into a temporary file; a null file takes nothing. Always 0.
QOB_EXPORT uint32_t WriteCRLFToFile_tmp(ExtractionHandle *handle, QobFile *file);

namespace eml {

// Opens outputPath when file mode needs it and it is not open. False when that fails; the output
// then counts as lost.
bool ensureOutputOpen(ExtractionHandle *handle);

// Makes all bytes of convBuffer zero.
void clearConvBuffer(ExtractionHandle *handle);

// Converts text from charsetName, or from `charset`, through the cleared convBuffer and writes it
// to the output. At most kMaxLineLength bytes. The result of myfwrite.
uint32_t writeInCharset(ExtractionHandle *handle, const char *text, uint32_t length);
uint32_t writeConverted(ExtractionHandle *handle, std::string_view text, const char *charset);

// Whether a result of myfwrite ends the caller's work: any but success and a reached limit.
inline bool writeFailed(uint32_t code) {
    return code != EML_OK && code != EML_ERR_LIMIT;
}

inline constexpr const char *kLatin1 = "ISO-8859-1";

} // namespace eml

#endif
