/* SPDX-License-Identifier: MIT */
/*
 * What one outermost extraction may use up, for filters that unpack something (libqob_txif). A
 * filter asks before it goes on; a code other than EML_OK means: stop here, keep the text so far,
 * and return that code. The host reports a limit once for the whole extraction, however often it is
 * met; a filter does not report these codes itself.
 *
 * Everything is counted for the calling thread's outermost extraction. Outside of one (an entry
 * point called by itself) the limits are the defaults and the counts begin with each call of an
 * entry point.
 */
#ifndef QOB_LIMITS_H
#define QOB_LIMITS_H

#include <stdint.h>

#include "qob_host.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Counts one member of a container. EML_OK, or QOB_ERR_PARTS when it is one too many. (A file that
   is handed to an insert service is counted there, unless the filter that hands it over has counted
   a member since its last insertion: then it is that member. members.h of the filters does so.) */
int32_t qob_limits_part(void);

/* Counts `bytes` that the running filter has unpacked since it asked last, out of a file of
   `packed` bytes. EML_OK; QOB_ERR_UNPACKED when the whole extraction unpacked too much;
   QOB_ERR_RATIO when this file grew beyond its ratio. To be asked before the bytes are used, for
   pieces of at most 1 MiB. */
int32_t qob_limits_unpacked(uint64_t bytes, uint64_t packed);

/* EML_OK, or QOB_ERR_TIME when the extraction's time is over. Cheap enough for every page, row or
   64 KiB of text. */
int32_t qob_limits_time(void);

/* Milliseconds that are left, at least 0; for a child process that is waited for. UINT64_MAX
   without a limit. */
uint64_t qob_limits_milliseconds_left(void);

/* EML_OK, or the limit that was met and after which nothing more is inserted in this extraction:
   QOB_ERR_PARTS or QOB_ERR_TIME. Counts nothing. */
int32_t qob_limits_stopped(void);

/* For the frame of a filter's entry points: makes an extraction with the default limits and no
   counts, when this thread has none. `path`, `params` and `callback` are the entry point's
   arguments and must stay until it is left. 1: qob_limits_leave is to be called at the end; 0:
   there is one; -1: no memory. */
int32_t qob_limits_enter(const char *path, const HostParams *params, void *callback);
void qob_limits_leave(void);

#ifdef __cplusplus
}
#endif

#endif
