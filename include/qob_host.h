/* SPDX-License-Identifier: MIT */
/*
 * Every service of the host framework that the e-mail filter calls, with what it expects of each.
 * The four host libraries provide them: libqob_oscomm.so.5 (files, temporary names, memory),
 * libqob_comm.so.5 (log), libqob_conf.so.5 (character conversion), libqob_txif.so.5 (output stream
 * and insertion of other files' text).
 *
 * All of them may be called from any number of threads at once, each thread with its own objects.
 */
#ifndef QOB_HOST_H
#define QOB_HOST_H

#include <stddef.h>
#include <stdint.h>

#include "qob_txeml.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct QobFile QobFile;
typedef struct QobLog QobLog;
typedef struct QobStream QobStream;

/* ---- files (libqob_oscomm) ---- */

/* Opens `path` as fopen does ("rb", "wb", "wb+"). Null on failure. */
QobFile *QOB_FileOpen(const char *path, const char *mode);

/* Reads up to size x count bytes. Returns the items read; fewer at the end or on failure. */
int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file);

/* Writes size x count bytes. Returns the items written; fewer on failure. A count of 0 or less
   writes nothing. */
int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count, QobFile *file);

/* Moves to `offset` from the start (whence 0), the position (1) or the end (2). 0 on success. */
int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence);

/* The position, or -1 when it cannot be told or is beyond 2^31 - 1. */
int32_t QOB_FileTell(QobFile *file);

/* The file's size, 0xFFFFFFFF when it cannot be told. The position is kept. */
uint32_t QOB_FileTellSize(QobFile *file);

/* Closes the file and releases the handle, whatever it returns. */
int32_t QOB_FileClose(QobFile *file);

/* -1 when no file has this name, anything else when one has. */
int32_t QOB_FindFile(const char *path);

/* Puts a new temporary file name into name[4096]; no file is created. On failure the name is left
   empty and the result is not 0. The second one binds the name to the given path. */
int32_t QOB_ASC_tmpnam(char *name);
int32_t QOB_ASC_tmpnam1(const char *basePath, char *name);

/* Deletes a file. 0 on success. */
int32_t QOB_ASC_remove(const char *path);

/* ---- memory (libqob_oscomm) ---- */

/* As malloc, realloc and free; null on failure. */
void *QOB_malloc(size_t size);
void *QOB_realloc(void *block, size_t size);
void QOB_free(void *block);

/* ---- log (libqob_comm) ---- */

/* Puts the log's file name for `path` and a module tag into name[4096]. */
void GetLogFileName(const char *path, const char *module, char *name);

/* Opens the log, or returns null when `options` asks for none or it cannot be opened. */
QobLog *qob_logfopen(uint32_t options, const char *name);

/* Writes one message. */
#if defined(__GNUC__)
__attribute__((format(printf, 3, 4)))
#endif
int32_t
qob_logfprintf(uint32_t options, QobLog *log, const char *format, ...);

/* Closes the log. Null and a log that is closed already are accepted. */
void qob_logfclose(uint32_t options, QobLog *log);

/* ---- character conversion (libqob_conf) ---- */

/* How to write, second argument of cconvInitConvert; 4124 bytes, zero but for the fields named. */
typedef struct CconvOutputRecord {
    uint32_t outputCode;      /* HostParams.outputCode */
    uint32_t firstConversion; /* 1 for the first conversion of an extraction */
    uint32_t textConversion;  /* 1 for text, 0 for a line end */
    uint16_t replacement[2];  /* what stands for the unconvertible, {'?', '?'}; 0: host's choice */
    uint8_t reserved16[4096];
    uint32_t lineEndConversion; /* 1 for a line end, 0 for text */
    uint32_t newlineMode;       /* 1 to 5, see EML_OPT_NEWLINE_* */
    uint32_t reserved4120;
} CconvOutputRecord;

/* How to read, second argument of cconvChgCharset; set to {1, 0, 1} before the call. */
typedef struct CconvSourceRecord {
    uint32_t sourceCode; /* as the converter leaves it, an argument of QOB_CopyStripControlCode */
    uint32_t word1;
    uint32_t word2;
} CconvSourceRecord;

/* One conversion; 16,632 bytes owned by the caller. The filter fills the head after
   cconvChgCharset and before cconvConvert; the rest is the converter's. */
typedef struct CconvContext {
    const void *input;
    uint32_t word8;       /* 0 */
    uint32_t inputLength; /* bytes */
    uint32_t word16;      /* 0 */
    uint32_t padding20;
    void *output;
    uint32_t produced;       /* 0 on entry, bytes produced on return */
    uint32_t outputCapacity; /* bytes */
    uint32_t word40;         /* 0 */
    uint32_t padding44;
    uint64_t converter[2073]; /* the converter's own */
} CconvContext;

/* Sets the conversion up. `outputDescription` is the address of a NUL-terminated output charset
   name (HostParams begins with one); an empty name leaves the choice to outputRecord->outputCode.
   `started` is 0 for the first conversion of an extraction. 0 on success. */
int32_t cconvInitConvert(CconvContext *context, const CconvOutputRecord *outputRecord,
                         const void *outputDescription, uint32_t started);

/* Chooses the charset to read. 0 on success, anything else when the name cannot be used; the
   caller then still calls cconvTermConvert. */
int32_t cconvChgCharset(CconvContext *context, CconvSourceRecord *source, const char *charsetName);

/* Converts the input. 0 on success with `produced` set, never beyond `outputCapacity`. */
int32_t cconvConvert(CconvContext *context);

/* Releases what a successful cconvInitConvert set up. */
int32_t cconvTermConvert(CconvContext *context);

/* Bytes of the code unit of the charset's group: 1, 2 or 4. */
uint32_t QOB_GetGroupCharWidth(const char *charsetName);

/* Copies `length` bytes without control codes, `charWidth` bytes at a time. Returns the bytes
   copied, never more than `length`. */
uint32_t QOB_CopyStripControlCode(void *dst, const void *src, uint32_t length, uint32_t charWidth,
                                  uint32_t sourceCode);

/* ---- output and insertion (libqob_txif) ---- */

/* Hands text to the stream. 0 when it cannot be taken. */
int32_t QOB_WriteStream(QobStream *stream, uint32_t length, const void *data);

/* How many leading bytes of `data` may be written into `room` bytes without splitting a character
   of the output charset; never more than `room`. */
uint32_t CutStr(const void *data, uint32_t length, uint32_t room, const HostParams *params);

/*
 * Extract the text of the file `name` into the same output. The host begins to count at
 * session->savedOutputCount, obeys one output limit over the whole result, and stores the new
 * count back. 0, or the code of the extraction that failed. The file is the caller's, and the
 * caller removes it.
 */
int32_t QOB_GetInsertFileTextWithErrCallback(const char *name, QobFile *output,
                                             const HostParams *params, SessionRecord *session,
                                             void *errCallback);
int32_t QOB_GetInsertFileTextStreamWithErrCallback(const char *name, QobStream *output,
                                                   const HostParams *params, SessionRecord *session,
                                                   void *errCallback);

#ifdef __cplusplus
} /* extern "C" */

static_assert(sizeof(CconvOutputRecord) == 4124);
static_assert(sizeof(CconvSourceRecord) == 12);
static_assert(sizeof(CconvContext) == 16632);
static_assert(offsetof(CconvOutputRecord, lineEndConversion) == 4112);
static_assert(offsetof(CconvOutputRecord, newlineMode) == 4116);
static_assert(offsetof(CconvContext, inputLength) == 12);
static_assert(offsetof(CconvContext, output) == 24);
static_assert(offsetof(CconvContext, produced) == 32);
static_assert(offsetof(CconvContext, outputCapacity) == 36);
static_assert(offsetof(HostParams, outputCode) == 512);
static_assert(offsetof(HostParams, options) == 516);
static_assert(offsetof(HostParams, flags) == 520);
static_assert(offsetof(HostParams, outputLimit) == 528);
static_assert(offsetof(SessionRecord, name) == 4096);
static_assert(offsetof(SessionRecord, attachmentNumber) == 4148);
static_assert(offsetof(SessionRecord, savedOutputCount) == 4160);
static_assert(offsetof(SessionRecord, logFile) == 4168);
#endif

#endif
