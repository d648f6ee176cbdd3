// SPDX-License-Identifier: MIT
// The per-message driver, and what both entry points share.
#ifndef QOB_EMLCOMM_DRIVER_H
#define QOB_EMLCOMM_DRIVER_H

#include "emlcomm/handle.h"

// Extracts the message: header, the label "Content: " between two line ends, and the body, one
// block of input after the other. Expects inputFile and fileSize to be set and all buffers to be
// null; leaves the buffers to myFreeMem. EML_OK or the first error.
QOB_EXPORT int32_t ReadFile(ExtractionHandle *handle);

// Forms attachTmpName: the directory of `tmpName` followed by the base name of `inputPath`, twice.
QOB_EXPORT void EmlGetAttachTmpName(ExtractionHandle *handle, const char *inputPath,
                                    const char *tmpName);

// Appends `src` to `dst`, a buffer of kPathSize bytes. 1, or 0 without touching `dst` when the
// joined length would pass 4095.
QOB_EXPORT int32_t EmlStrCat(char *dst, const char *src);

namespace eml {

// The arguments that both entry points take alike.
struct CallArguments {
    const char *inputPath;
    const HostParams *params;
    const void *callerRecord;
    void *callback;
};

// Fills the zeroed handle and session record for a call whose session path is `path`.
void beginCall(ExtractionHandle *handle, SessionRecord *session, const CallArguments &arguments,
               const char *path);

// Opens the log named after `path`; the session record shares it.
void openLog(ExtractionHandle *handle, const char *path);

// Logs that the input is open.
void logStart(const ExtractionHandle *handle);

// Takes fileSize from the open input; false when it cannot be told or is 2 GiB or more.
bool measureInput(ExtractionHandle *handle);

// Runs the input check and logs its result.
int32_t checkInput(ExtractionHandle *handle);

// Close a file once and forget it; close the log, which may be closed already.
void closeFile(QobFile *&file);
void closeLog(ExtractionHandle *handle);

} // namespace eml

#endif
