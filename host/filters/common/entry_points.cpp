// SPDX-License-Identifier: MIT
// The two entry points of a format filter. Compiled into every filter library, which brings the
// extractInput() that they serve.
#include "entry.h"

#define QOB_FILTER_EXPORT extern "C" __attribute__((visibility("default")))

QOB_FILTER_EXPORT int32_t GetTextWithErrCallback(const char *inputPath, const char *outputPath,
                                                 const HostParams *params, const void *callerRecord,
                                                 void *callback) {
    static_cast<void>(callerRecord);
    return qob::filters::extractToFile(inputPath, outputPath, params, callback,
                                       qob::filters::extractInput);
}

QOB_FILTER_EXPORT int32_t GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream,
                                                       const HostParams *params,
                                                       const void *callerRecord, void *callback) {
    static_cast<void>(callerRecord);
    return qob::filters::extractToStream(inputPath, stream, params, callback,
                                         qob::filters::extractInput);
}
