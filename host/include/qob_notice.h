/* SPDX-License-Identifier: MIT */
/*
 * The error callback of the reference host. The `callback` argument of the entry points and of the
 * insert services points to a QobErrorCallback, or is null. Filters pass it on untouched; whoever
 * cannot extract something reports it once.
 */
#ifndef QOB_NOTICE_H
#define QOB_NOTICE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Codes of the host and of its filters, beside those of qob_txeml.h. */
enum {
    QOB_ERR_NO_FILTER = 4001,   /* no filter reads this type of file */
    QOB_ERR_FILTER_LOAD = 4002, /* the filter's library is missing or cannot be loaded */
    QOB_ERR_DEPTH = 4003,       /* nested deeper than the limit */
    QOB_ERR_DAMAGED = 4004,     /* the file is damaged: its text is missing or not complete */
    QOB_ERR_ENCRYPTED = 4005,   /* the file is encrypted and gave no text */
    QOB_ERR_TEMP = 4006,        /* no private directory for temporary files */
    QOB_ERR_CHARSET = 4007,     /* the output charset is not known */
    QOB_ERR_WRITE = 4008,       /* the output did not take the text */
    QOB_ERR_OPTIONS = 4009,     /* an option of the top-level call has a value without a meaning */
    QOB_ERR_PARTS = 4010,       /* more members and parts than the limit */
    QOB_ERR_UNPACKED = 4011,    /* more bytes were unpacked than the limit */
    QOB_ERR_RATIO = 4012,       /* a file grew by more than the limit when it was unpacked */
    QOB_ERR_TIME = 4013,        /* the extraction took longer than the limit */
    QOB_ERR_HELPER = 4014       /* the program that reads this format is missing or failed */
};

typedef struct QobNotice {
    const char *path; /* the file that could not be extracted */
    uint32_t
        attachmentNumber; /* 1 for the first attachment of the message; 0: the message itself */
    int32_t code;         /* a result code */
    const char *reason;   /* one sentence without a full stop, for a person */
} QobNotice;

typedef struct QobErrorCallback {
    void (*report)(void *context, const QobNotice *notice);
    void *context;
} QobErrorCallback;

#ifdef __cplusplus
}
#endif

#endif
