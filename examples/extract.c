/* SPDX-License-Identifier: MIT */
/* Prints the text of one message, and on standard error what could not be read of it.
   Usage: extract MESSAGE.eml */
#include <stdio.h>

#include <qob_extract.h>

static int32_t print(void *stream, const void *text, uint32_t length) {
    return fwrite(text, 1, length, stream) == length;
}

static void tell(void *stream, const QobNotice *notice) {
    fprintf(stream, "%s: attachment %u: %s: %s\n", notice->path, notice->attachmentNumber,
            qob_result_name(notice->code), notice->reason);
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fputs("usage: extract MESSAGE.eml\n", stderr);
        return 2;
    }
    const QobSink sink = {print, stdout};
    const QobErrorCallback callback = {tell, stderr};
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof options);
    options.type = QOB_TYPE_MESSAGE;
    options.callback = &callback;
    options.maxOutput = 10000000; /* bytes */
    const int32_t code = qob_extract(argv[1], &sink, &options, NULL);
    return code == EML_OK && fflush(stdout) == 0 ? 0 : 1;
}
