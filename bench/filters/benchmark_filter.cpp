// SPDX-License-Identifier: MIT
// Filters of the benchmark, in place of the host's own. The peers write HTML as it is and do not
// look into attachments; so do these: BENCH_COPIES copies the file's text, without it the file is
// an attachment, which only the comparison before the timing reads.
#include <array>
#include <cstdint>
#include <cstdio>

#include "../peers/tally.h"
#include "qob_host.h"
#include "qob_txeml.h"

extern "C" Tally *bench_tally();

namespace {

#ifdef BENCH_COPIES
int32_t extract(const char *path, QobStream *stream) {
    QobFile *file = QOB_FileOpen(path, "rb");
    if (file == nullptr) {
        return EML_ERR_INPUT;
    }
    std::array<char, 65536> piece;
    int32_t count = 0;
    while ((count = QOB_FileRead(piece.data(), 1, static_cast<int32_t>(piece.size()), file)) > 0) {
        QOB_WriteStream(stream, static_cast<uint32_t>(count), piece.data());
    }
    QOB_FileClose(file);
    return EML_OK;
}
#else
int32_t extract(const char *path, QobStream *stream) {
    static_cast<void>(stream);
    tally_file(bench_tally(), path);
    return EML_OK;
}
#endif

} // namespace

extern "C" __attribute__((visibility("default"))) int32_t
GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream, const HostParams *params,
                             const void *callerRecord, void *callback) {
    static_cast<void>(params);
    static_cast<void>(callerRecord);
    static_cast<void>(callback);
    return extract(inputPath, stream);
}
