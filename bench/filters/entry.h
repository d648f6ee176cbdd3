// SPDX-License-Identifier: MIT
// The entry point of the benchmark's filters. They stand in for the host's own: the peers write
// HTML as it is and do not look into attachments, and so do these.
#ifndef BENCH_ENTRY_H
#define BENCH_ENTRY_H

#include <cstdint>

#include "qob_filter.h"
#include "qob_host.h"

// Each filter defines qob_filter_files with this.
#define BENCH_EXPORT extern "C" __attribute__((visibility("default")))

// What one filter does with a file of its type; the entry point calls it. An EML_* code.
int32_t takeFile(const char *path, QobStream *stream);

#endif
