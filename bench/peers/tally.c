/* SPDX-License-Identifier: MIT */
#define _POSIX_C_SOURCE 200809L
#include "tally.h"

#include <errno.h>
#include <inttypes.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <string.h>

/* Given to stdio by the caller: a buffer that it makes itself has the size it likes. */
enum { kBufferSize = 65536 };

static void fail(const char *what, const char *path) {
    fprintf(stderr, "bench: %s %s: %s\n", what, path, strerror(errno));
    exit(1);
}

void tally_file(Tally *tally, const char *path) {
    if (tally == NULL) {
        return;
    }
    FILE *file = fopen(path, "rb");
    if (file == NULL) {
        fail("cannot read", path);
    }
    EVP_MD_CTX *context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_sha256(), NULL);
    unsigned char bytes[kBufferSize];
    for (size_t count; (count = fread(bytes, 1, sizeof bytes, file)) > 0;) {
        EVP_DigestUpdate(context, bytes, count);
    }
    fclose(file);
    uint64_t digest[4];
    EVP_DigestFinal_ex(context, (unsigned char *)digest, NULL);
    EVP_MD_CTX_free(context);
    for (int i = 0; i < 4; ++i) {
        tally->digestSum[i] += digest[i];
    }
    ++tally->attachments;
}

BenchArguments bench_arguments(int argc, char **argv) {
    if (argc < 3 || argc > 4) {
        fprintf(stderr, "usage: %s LIST OUTPUT [--count]\n", argv[0]);
        exit(2);
    }
    BenchArguments arguments = {argv[1], fopen(argv[2], "wb"), argc == 4};
    if (arguments.output == NULL) {
        fail("cannot write", argv[2]);
    }
    static char buffer[kBufferSize];
    setvbuf(arguments.output, buffer, _IOFBF, sizeof buffer);
    return arguments;
}

void bench_each(const char *list, void (*extract)(const char *path, void *context), void *context) {
    FILE *file = fopen(list, "r");
    if (file == NULL) {
        fail("cannot read", list);
    }
    char path[4096];
    while (fgets(path, sizeof path, file) != NULL) {
        path[strcspn(path, "\n")] = '\0';
        extract(path, context);
    }
    fclose(file);
}

FILE *bench_temporary(char *path) {
    const char *root = getenv("TMPDIR");
    snprintf(path, 4096, "%s/bench-XXXXXX", root != NULL && *root != '\0' ? root : "/tmp");
    const int descriptor = mkstemp(path);
    FILE *file = descriptor < 0 ? NULL : fdopen(descriptor, "wb");
    if (file == NULL) {
        fail("cannot write", path);
    }
    static char buffer[kBufferSize]; /* one file is open at a time */
    setvbuf(file, buffer, _IOFBF, sizeof buffer);
    return file;
}

int bench_finish(const BenchArguments *arguments, const Tally *tally) {
    if (fclose(arguments->output) != 0) {
        fail("cannot write", "the output");
    }
    if (arguments->count) {
        printf("%" PRIu64 " %016" PRIx64 "%016" PRIx64 "%016" PRIx64 "%016" PRIx64 "\n",
               tally->attachments, tally->digestSum[0], tally->digestSum[1], tally->digestSum[2],
               tally->digestSum[3]);
    }
    return 0;
}
