/* SPDX-License-Identifier: MIT */
/*
 * The reference host's own top-level call (libqob_txif): the text of one message, or of any other
 * file that a filter reads, into a sink or a file.
 *
 * Conventions
 *  1. A routine returns EML_OK (0) or a result code of qob_txeml.h or qob_notice.h.
 *  2. The caller owns everything it passes in; nothing of it is kept after the call.
 *  3. Calls share nothing but the filters loaded so far: any number of threads may extract at once.
 *  4. Every failure is reported once through the error callback: with the attachment's number when
 *     an attachment could not be extracted, with 0 when it is the message itself.
 *  5. Temporary files lie in a private directory that is gone when the call returns.
 */
#ifndef QOB_EXTRACT_H
#define QOB_EXTRACT_H

#include <stddef.h>
#include <stdint.h>

#include "qob_host.h"
#include "qob_notice.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Where text goes. `write` takes all of the bytes and returns 1, or returns 0; after a 0 it is not
   called again and the extraction ends with QOB_ERR_WRITE. */
typedef struct QobSink {
    int32_t (*write)(void *context, const void *data, uint32_t length);
    void *context;
} QobSink;

/* What the input is. */
enum {
    QOB_TYPE_DETECT = 0, /* by its content, then by its name's ending */
    QOB_TYPE_MESSAGE = 1 /* a message, unless it begins like an archive, a document or an image */
};

enum { QOB_NEWLINE_LF = 0, QOB_NEWLINE_CRLF = 1, QOB_NEWLINE_CR = 2 };

#define QOB_NO_LIMIT UINT64_MAX
#define QOB_DEFAULT_DEPTH_LIMIT 50U
#define QOB_MAX_DEPTH_LIMIT 100U
#define QOB_DEFAULT_MAX_OUTPUT (UINT64_C(1) << 32)
#define QOB_DEFAULT_MAX_PARTS 10000U
#define QOB_DEFAULT_MAX_UNPACKED (UINT64_C(1) << 30)
#define QOB_DEFAULT_MAX_RATIO 200U
#define QOB_RATIO_FREE_BYTES (UINT64_C(1) << 20)
#define QOB_DEFAULT_MAX_SECONDS 60U

/* How to extract. Fill it with qob_extract_options_init, then change what should differ; fields
   added by later versions keep their default in programs built before them. */
typedef struct QobExtractOptions {
    uint32_t size;             /* set by qob_extract_options_init, not to be changed */
    uint32_t type;             /* QOB_TYPE_*; default QOB_TYPE_DETECT */
    const char *charset;       /* of the output; default "UTF-8" */
    const char *language;      /* HostParams.language, up to 255 bytes; default "" */
    const char *tempDirectory; /* where the private directory is made; null: $TMPDIR, else /tmp */
    const QobErrorCallback *callback; /* default null */
    uint64_t maxOutput;  /* bytes of output; default QOB_DEFAULT_MAX_OUTPUT; or QOB_NO_LIMIT */
    uint32_t newline;    /* QOB_NEWLINE_*; default QOB_NEWLINE_LF */
    uint32_t depthLimit; /* files in files that are read; default QOB_DEFAULT_DEPTH_LIMIT; at most
                            QOB_MAX_DEPTH_LIMIT, which greater numbers mean too: every level takes
                            of the thread's stack */
    uint8_t labels;      /* 1: a label before each attachment (default), 0: none */
    uint8_t attachments; /* 1: extract attachments too (default), 0: labels only */
    uint8_t keepGoing;   /* 1: an attachment that fails is only reported (default), 0: it ends the
                            extraction with its code */
    uint8_t log;         /* 1: write a log beside the input; default 0 */
    uint8_t reserved[4];
    /* Limits over the whole call. Reaching one leaves the branch out that reached it (with
       `maxParts` and `maxSeconds` everything that is not inserted yet), is reported once, and does
       not change the result code. */
    uint64_t maxUnpacked; /* bytes out of archives and documents; QOB_DEFAULT_MAX_UNPACKED, or
                             QOB_NO_LIMIT */
    uint32_t maxParts;    /* attachments and members; default QOB_DEFAULT_MAX_PARTS; 0: no limit */
    uint32_t maxRatio;    /* bytes out of one file per byte of it, above QOB_RATIO_FREE_BYTES;
                             default QOB_DEFAULT_MAX_RATIO; 0: no limit */
    uint32_t maxSeconds;  /* default QOB_DEFAULT_MAX_SECONDS; 0: no limit */
    uint32_t reserved2;
} QobExtractOptions;

/* Fills the first `size` bytes with the defaults. Pass sizeof(QobExtractOptions). */
void qob_extract_options_init(QobExtractOptions *options, size_t size);

/* What a call did, beside its result code. */
typedef struct QobExtractResult {
    uint64_t bytesWritten;      /* bytes that the sink took */
    uint32_t attachmentsFailed; /* attachments that were reported and left out */
    int32_t attachmentCode;     /* the code of the first of them, or 0 */
} QobExtractResult;

/*
 * Writes the text of the file `inputPath` to the sink. An input that is no regular file (a pipe) is
 * read into the private directory first.
 *
 *  options  null for the defaults
 *  result   filled in any case; may be null
 *
 * Returns EML_OK; EML_ERR_LIMIT when text was left out because of maxOutput; otherwise the code of
 * what ended the extraction. The sink keeps what it got before a failure.
 */
int32_t qob_extract(const char *inputPath, const QobSink *sink, const QobExtractOptions *options,
                    QobExtractResult *result);

/* The same for what can be read from a descriptor, up to its end. `name` stands for the input in
   notices. The descriptor stays open. No log is written. */
int32_t qob_extract_descriptor(int descriptor, const char *name, const QobSink *sink,
                               const QobExtractOptions *options, QobExtractResult *result);

/*
 * The same into the file `outputPath`. It is written under a temporary name beside it, which takes
 * its place on EML_OK and EML_ERR_LIMIT only: a failure leaves what was there.
 */
int32_t qob_extract_to_file(const char *inputPath, const char *outputPath,
                            const QobExtractOptions *options, QobExtractResult *result);

/* ---- output files ---- */

/* A file that replaces another one when it is complete. Used by one thread at a time. */
typedef struct QobOutputFile QobOutputFile;

/* Opens the output for `path`: a new file beside it, or the path itself when it names a device or a
   pipe. Null with errno set on failure. */
QobOutputFile *qob_output_open(const char *path);

/* QobSink.write for a QobOutputFile as its context. */
int32_t qob_output_write(void *file, const void *data, uint32_t length);

/* Ends the output and releases the handle. commit 1: the file takes its place; 0 on success, or -1
   with errno set when the text could not be written in full (what was there stays). commit 0: the
   new file is removed; returns 0. */
int32_t qob_output_close(QobOutputFile *file, int32_t commit);

/* ---- streams for direct use of an entry point ---- */

/* A stream over a sink, limited as `params` says (null: not at all). Null without memory. `params`
   must outlive the stream. */
QobStream *qob_stream_open(const QobSink *sink, const HostParams *params);

/* Releases the stream: EML_OK, EML_ERR_LIMIT when it left text out (text that a filter left out by
   itself is not known here), QOB_ERR_WRITE when the sink failed. Null gives EML_OK. */
int32_t qob_stream_close(QobStream *stream);

/* ---- result codes and filters ---- */

/* The name of a result code ("EML_ERR_INPUT"), and what it means in one sentence without a full
   stop. Never null. */
const char *qob_result_name(int32_t code);
const char *qob_result_text(int32_t code);

/* Puts the path of the library that reads messages into path[4096]. EML_OK or QOB_ERR_FILTER_LOAD.
 */
int32_t qob_message_filter_path(char *path);

#ifdef __cplusplus
}
#endif

#endif
