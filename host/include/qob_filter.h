/* SPDX-License-Identifier: MIT */
/*
 * What a format filter may tell the host about itself, by exporting a constant beside its entry
 * points. A filter that says nothing finds its input, and the private directory for its temporary
 * files, on disk; one that goes through the host's file services needs neither there.
 */
#ifndef QOB_FILTER_H
#define QOB_FILTER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of qob_filter_files. */
enum {
    QOB_FILTER_HOST_TEMPORARIES = 1, /* creates temporary files with QOB_FileOpen only */
    QOB_FILTER_HOST_INPUT = 2        /* opens its input with QOB_FileOpen only, on its own thread */
};

extern const uint32_t qob_filter_files;

#ifdef __cplusplus
}
#endif

#endif
