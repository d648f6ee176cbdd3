// SPDX-License-Identifier: MIT
// Leaves an attachment alone; the comparison before the timing has its digest added to the tally.
#include "../peers/tally.h"
#include "entry.h"
#include "qob_scope.h"

extern "C" Tally *bench_tally();

// The attachment lies on disk, as the files of the peers do.
BENCH_EXPORT const uint32_t qob_filter_files = QOB_FILTER_HOST_TEMPORARIES;

int32_t takeFile(const char *path, QobStream *stream) {
    static_cast<void>(stream);
    tally_file(bench_tally(), qob_scope_real_path(path));
    return EML_OK;
}
