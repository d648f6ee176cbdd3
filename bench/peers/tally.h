/* SPDX-License-Identifier: MIT */
/*
 * What the benchmark's programs have in common: the command line, the list of messages, temporary
 * files, and the tally of the attachments, with which the programs are compared before they are
 * timed.
 */
#ifndef BENCH_TALLY_H
#define BENCH_TALLY_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Attachments are compared as a set: the sum of their SHA-256 digests, word by word. */
typedef struct Tally {
    uint64_t attachments;
    uint64_t digestSum[4];
} Tally;

/* A null tally counts nothing: what is timed does no work for the comparison. */
void tally_file(Tally *tally, const char *path);

typedef struct BenchArguments {
    const char *list; /* a file with one path a line */
    FILE *output;     /* of all text, fully buffered */
    int count;        /* 1: print the tally */
} BenchArguments;

/* LIST OUTPUT [--count]; ends the program with a sentence when they are wrong. */
BenchArguments bench_arguments(int argc, char **argv);

void bench_each(const char *list, void (*extract)(const char *path, void *context), void *context);

/* A new file below $TMPDIR, else /tmp, where the filter's host makes its own; its path goes to
   path[4096]. It is fully buffered; who asked for it closes and removes it. */
FILE *bench_temporary(char *path);

/* Closes the output and prints the tally as one line. Returns the exit status. */
int bench_finish(const BenchArguments *arguments, const Tally *tally);

#ifdef __cplusplus
}
#endif

#endif
