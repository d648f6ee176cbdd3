// SPDX-License-Identifier: MIT
// Leaves an attachment alone; the comparison before the timing has its digest added to the tally.
#include "../peers/tally.h"
#include "entry.h"
#include "qob_scope.h"

extern "C" Tally *bench_tally();

int32_t takeFile(const char *path, QobStream *stream) {
    static_cast<void>(stream);
    tally_file(bench_tally(), qob_scope_real_path(path));
    return EML_OK;
}
