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

#include "qob_host.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Enters a scope with a private directory (random name) in `tempRoot`, or in the enclosing scope's
   root when null (the outermost: $TMPDIR, else /tmp). The directory's path is absolute; it is made
   (mode 0700) when something has to lie in it, at the latest when qob_scope_directory asks. 0, or
   -1 with errno set and no scope entered, as for a root in which no directory can be made. A thread
   looks at a root when it first uses it, and again after a directory could not be made in it.

   A temporary file that QOB_FileOpen creates in the directory stays in memory while it is small,
   and exists for the file services on this thread only (see qob_scope_store). */
int32_t qob_scope_enter(const char *tempRoot);

/* Leaves the innermost scope of this thread: closes what was opened in it and is still open, and
   removes the directory with everything in it, never following a symbolic link. Without a scope it
   does nothing. errno is kept. */
void qob_scope_leave(void);

/* The innermost scope's directory without a final '/', made by now; null outside every scope, or
   with errno set when it cannot be made. Whoever creates files under temporary names other than
   with QOB_FileOpen calls this first. */
const char *qob_scope_directory(void);

/* How many scopes this thread is in. */
uint32_t qob_scope_depth(void);

/* Makes a short name in the innermost scope's directory stand for the file `path` (a symbolic
   link), keeping its ending (a last '.' and 1 to 8 ASCII letters or digits; another ending is left
   out), and writes it to alias[4096]. The alias goes with the scope, and removing it does not
   touch the file. For a temporary file in memory there is no link, only the name. 0, or -1 with
   errno set and an empty alias. */
int32_t qob_scope_alias(const char *path, char *alias);

/* Makes sure that a temporary file, or the file that an alias stands for, can be opened by its path
   by anybody, not by QOB_FileOpen alone. For other paths it does nothing. 0, or -1 with errno set.
 */
int32_t qob_scope_store(const char *path);

/* 1 for an open regular file, 0 for a device or a pipe. */
int32_t qob_file_is_regular(QobFile *file);

/* Closes a file that was opened for reading as `path` and will soon be opened again: the next
   QOB_FileOpen of this path for reading, in the same scope, goes on with it from its beginning
   instead of asking the system. */
void qob_file_close_to_reopen(QobFile *file, const char *path);

/* The path that an alias of this thread's scopes stands for, as it was given, or `path` itself.
   The result lives as long as the scope. */
const char *qob_scope_real_path(const char *path);

#ifdef __cplusplus
}
#endif

#endif
