/* SPDX-License-Identifier: MIT */
/*
 * The interface of libqob_txeml.so.5, the e-mail filter of the text-extraction framework: its two
 * entry points, the records it exchanges with the host, and its result codes.
 *
 * Conventions
 *  1. Every exported name has C linkage; integers that cross the interface are 32 bits wide unless
 *     a field says otherwise.
 *  2. A routine returns EML_OK (0) or the first non-zero code that ended its work.
 *  3. The caller owns everything it passes in; the filter keeps none of it after the call.
 *  4. Calls share nothing: any number of threads may extract at once.
 *  5. The host services that the filter calls are declared in qob_host.h.
 */
#ifndef QOB_TXEML_H
#define QOB_TXEML_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of both entry points. Any other non-zero value is the code of a host service that
   the filter passes on (an extraction that the host refused, for example). */
enum {
    EML_OK = 0,                /* the text was written */
    EML_ERR_NOBUF = 12,        /* no buffer for the input or for collected text */
    EML_ERR_INPUT = 22,        /* the input, or a temporary file, cannot be opened or measured */
    EML_ERR_OUTPUT = 23,       /* the output file cannot be created */
    EML_ERR_SHORT_WRITE = 24,  /* a temporary file took less than it was given */
    EML_ERR_OUTPUT_LOST = 863, /* the output file could not be opened earlier in the call */
    EML_ERR_MEMORY = 3000,     /* a buffer cannot be allocated */
    EML_ERR_FORMAT = 3002,     /* the header has none of From, To, Cc, Bcc, Subject */
    EML_ERR_LIMIT = 3005       /* the output size limit was reached; the text up to it is kept */
};

/* Bits of HostParams.options that the filter reads. */
#define EML_OPT_LOG 0x1u       /* the host writes a log (read by the host) */
#define EML_OPT_PLAIN 0x2u     /* kept for the host */
#define EML_OPT_NEWLINE_1 0x8u /* line-end modes 1 to 5, the lowest bit set wins */
#define EML_OPT_NEWLINE_2 0x10u
#define EML_OPT_NEWLINE_3 0x20u
#define EML_OPT_NEWLINE_4 0x40u
#define EML_OPT_NEWLINE_5 0x80u
#define EML_OPT_1000 0x1000u /* enables 0x4000 and 0x8000, disables 0x2000 */
#define EML_OPT_2000 0x2000u
#define EML_OPT_MIRROR_COUNT 0x4000u /* with 0x1000: keep savedOutputCount current */
#define EML_OPT_8000 0x8000u
#define EML_OPT_LIMIT_OUTPUT 0x400000u          /* enforce HostParams.outputLimit */
#define EML_OPT_ZERO_BEFORE_LINE_END 0x4000000u /* a zero byte precedes every line end */
#define EML_OPT_8000000 0x8000000u              /* so it does with this bit */

/* Bits of HostParams.flags. */
#define EML_FLAG_BOUND_TMPNAM 0x1u /* temporary names come from QOB_ASC_tmpnam1 */
#define EML_FLAG_ATTACHMENTS 0x2u  /* label attachments and hand them to the host */
#define EML_FLAG_NO_HANDOVER 0x4u  /* label attachments, do not hand them over */
#define EML_FLAG_SHARE_COUNT 0x8u  /* share the output byte count with the host */
#define EML_FLAG_KEEP_GOING 0x10u  /* a failed insertion does not end the extraction */
#define EML_FLAG_NO_LABELS 0x8000u /* no labels before attachments */

/* What the host asks for. Owned by the host, read-only for the filter; 544 bytes. */
typedef struct HostParams {
    char outputName[256]; /* not interpreted by the filter; the reference host: output charset */
    char
        language[256]; /* language name: "English", "Japanese", "ko"; chooses the default charset */
    uint32_t outputCode; /* numeric code of the output charset, for the host's converter */
    uint32_t options;    /* EML_OPT_* */
    uint32_t flags;      /* EML_FLAG_* */
    uint32_t reserved524;
    uint64_t outputLimit; /* bytes of output, with EML_OPT_LIMIT_OUTPUT; the low 32 bits count */
    uint8_t reserved536[8];
} HostParams;

/* What the filter tells the host when it hands a file back for extraction; 4184 bytes. */
typedef struct SessionRecord {
    char path[4096];           /* the output path (file mode) or the input path (stream mode) */
    char name[52];             /* "Attach" */
    uint32_t attachmentNumber; /* index of the attachment handed over, from 0 */
    uint8_t reserved4152[8];
    uint64_t
        savedOutputCount; /* bytes of output before the call; the host stores them back after */
    void *logFile;        /* the filter's log handle, or null */
    uint8_t reserved4176[8];
} SessionRecord;

/*
 * Extracts the message file `inputPath` into the new text file `outputPath`.
 *
 *  params        the host's parameters; must not be null
 *  callerRecord  a host record of at least 6 bytes of which the 16-bit value at byte 4 is kept, or
 *                null
 *  callback      the host's error callback, passed on untouched to the host's insert calls
 *
 * Returns an EML_* code, or the code of a failed insertion. The output file is kept on EML_OK, on
 * EML_ERR_LIMIT and when EML_FLAG_KEEP_GOING stored an insertion's code; any other failure after it
 * was created deletes it.
 */
int32_t GetTextWithErrCallback(const char *inputPath, const char *outputPath,
                               const HostParams *params, const void *callerRecord, void *callback);

struct QobStream;

/*
 * Extracts the message file `inputPath` into the host's output stream. As the file entry point,
 * except that nothing is created or deleted, temporary names always come from QOB_ASC_tmpnam for
 * the attachments' base name, and reaching the output limit is not reported.
 */
int32_t GetTextStreamWithErrCallback(const char *inputPath, struct QobStream *stream,
                                     const HostParams *params, const void *callerRecord,
                                     void *callback);

#ifdef __cplusplus
} /* extern "C" */

static_assert(sizeof(HostParams) == 544);
static_assert(sizeof(SessionRecord) == 4184);
#else
_Static_assert(sizeof(HostParams) == 544, "HostParams is an interface");
_Static_assert(sizeof(SessionRecord) == 4184, "SessionRecord is an interface");
#endif

#endif
