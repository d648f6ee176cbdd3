// SPDX-License-Identifier: MIT
#include "entry.h"

BENCH_EXPORT int32_t GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream,
                                                  const HostParams *params,
                                                  const void *callerRecord, void *callback) {
    static_cast<void>(params);
    static_cast<void>(callerRecord);
    static_cast<void>(callback);
    return takeFile(inputPath, stream);
}
