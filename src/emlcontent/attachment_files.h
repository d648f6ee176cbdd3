// SPDX-License-Identifier: MIT
// Attachments as files: their temporary names, their numbers and labels in the output, and their
// hand-over to the host.
#ifndef QOB_EMLCONTENT_ATTACHMENT_FILES_H
#define QOB_EMLCONTENT_ATTACHMENT_FILES_H

#include "emlcomm/temp_file.h"

// Writes a file name that does not exist yet into destination[4096]: attachTmpName and the lowest
// free number from 1, or "attachment" when none fits. Returns destination.
QOB_EXPORT char *GetAttachtempfile(ExtractionHandle *handle, char *destination);

// Fills attachmentDigits and attachmentDigitsLength from attachmentCount. From 10,000 on the digits
// are empty and the length stays. The result carries no meaning.
QOB_EXPORT int32_t WriteNum(ExtractionHandle *handle);

// Always 0, whatever the name is; kept for the interface.
QOB_EXPORT int32_t CmpFileType(ExtractionHandle *handle, const char *name);

// Lower-cases the ASCII letters of a text in place.
QOB_EXPORT void Eml_byteLow(char *text);

namespace eml {

// The name of an attachment that names no file itself.
inline constexpr const char *kUnnamedAttachment = "attachment";
inline constexpr const char *kMessageEnding = ".eml";

// Whether attachments are labelled in the output.
bool labelsOn(const ExtractionHandle *handle);

// Writes a line end and "Attach", the number, ":". EML_OK, or a write that failed for another
// reason than the limit.
int32_t writeAttachmentNumber(ExtractionHandle *handle);

// The name line, in two steps: a line end and "attachmemt_name: "; then the decoded name and an
// empty line. The second returns EML_ERR_MEMORY or EML_OK: a reached limit is passed over.
int32_t writeNameLabel(ExtractionHandle *handle);
int32_t writeDisplayName(ExtractionHandle *handle, const char *name);

// Opens the next attachment file, with ".eml" appended for a message. EML_OK or EML_ERR_INPUT.
int32_t openAttachmentFile(ExtractionHandle *handle, TempFile &file, bool isMessage);

// Closes the file, hands it to the host as the flags say, and removes it. EML_OK, or the host's
// error unless EML_FLAG_KEEP_GOING stores that.
int32_t handOverAttachment(ExtractionHandle *handle, TempFile &file);

} // namespace eml

#endif
