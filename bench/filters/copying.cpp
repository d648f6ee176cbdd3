// SPDX-License-Identifier: MIT
// Writes a file as it is: what stands for the filters of HTML and plain text.
#include <array>

#include "entry.h"

BENCH_EXPORT const uint32_t qob_filter_files = QOB_FILTER_HOST_TEMPORARIES | QOB_FILTER_HOST_INPUT;

int32_t takeFile(const char *path, QobStream *stream) {
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
