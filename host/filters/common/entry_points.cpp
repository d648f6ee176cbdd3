// SPDX-License-Identifier: MIT
// The two entry points of a format filter, and what the host may know of its files. Compiled into
// every filter library, which brings the extractInput() that they serve. All filters make temporary
// files by the host's services; those that read their input so too are compiled with
// QOB_FILTER_READS_BY_HOST.
#include "entry.h"
#include "qob_filter.h"

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

#ifdef QOB_FILTER_READS_BY_HOST
QOB_FILTER_EXPORT const uint32_t qob_filter_files =
    QOB_FILTER_HOST_TEMPORARIES | QOB_FILTER_HOST_INPUT;
#else
QOB_FILTER_EXPORT const uint32_t qob_filter_files = QOB_FILTER_HOST_TEMPORARIES;
#endif
