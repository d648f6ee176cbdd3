/* SPDX-License-Identifier: MIT */
/*
 * Extraction scopes of the reference host (libqob_oscomm). Each running extraction, and each level
 * of a message in a message, enters a scope on its thread. The scope owns a private directory for
 * temporary names and every file handle that was opened on this thread since it was entered.
 * Scopes nest; threads share none of them.
 */
#ifndef QOB_SCOPE_H
#define QOB_SCOPE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Enters a scope: makes a private directory (mode 0700, random name) in `tempRoot`, or in the
   enclosing scope's root when null (the outermost: $TMPDIR, else /tmp). The directory's path is
   absolute. 0, or -1 with errno set and no scope entered. */
int32_t qob_scope_enter(const char *tempRoot);

/* Leaves the innermost scope of this thread: closes what was opened in it and is still open, and
   removes the directory with everything in it, never following a symbolic link. Without a scope it
   does nothing. errno is kept. */
void qob_scope_leave(void);

/* The innermost scope's directory without a final '/', or null outside every scope. */
const char *qob_scope_directory(void);

/* How many scopes this thread is in. */
uint32_t qob_scope_depth(void);

/* Makes a short name in the innermost scope's directory stand for the file `path` (a symbolic
   link), keeping its ending (a last '.' and 1 to 8 ASCII letters or digits; another ending is left
   out), and writes it to alias[4096]. The alias goes with the scope, and removing it does not
   touch the file. 0, or -1 with errno set and an empty alias. */
int32_t qob_scope_alias(const char *path, char *alias);

/* The path that an alias of this thread's scopes stands for, as it was given, or `path` itself.
   The result lives as long as the scope. */
const char *qob_scope_real_path(const char *path);

#ifdef __cplusplus
}
#endif

#endif
