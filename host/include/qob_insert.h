/* SPDX-License-Identifier: MIT */
/*
 * What became of an insertion, beside its code (libqob_txif): for filters that write text of their
 * own behind it.
 */
#ifndef QOB_INSERT_H
#define QOB_INSERT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    QOB_INSERTED_NOTHING = 0,   /* the file gave no text */
    QOB_INSERTED_PART_LINE = 1, /* its text ends within a line */
    QOB_INSERTED_LINES = 2      /* its text ends with the end of a line */
};

/* The last insertion of the calling thread: QOB_INSERTED_*. */
int32_t qob_insert_ending(void);

#ifdef __cplusplus
}
#endif

#endif
