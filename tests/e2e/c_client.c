/* SPDX-License-Identifier: MIT */
/* A host program in plain C11: extracts one message into a text file. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "qob_host.h"
#include "qob_txeml.h"

_Static_assert(offsetof(HostParams, outputCode) == 512, "layout");
_Static_assert(offsetof(HostParams, options) == 516, "layout");
_Static_assert(offsetof(HostParams, flags) == 520, "layout");
_Static_assert(offsetof(HostParams, outputLimit) == 528, "layout");
_Static_assert(offsetof(SessionRecord, name) == 4096, "layout");
_Static_assert(offsetof(SessionRecord, attachmentNumber) == 4148, "layout");
_Static_assert(offsetof(SessionRecord, savedOutputCount) == 4160, "layout");
_Static_assert(offsetof(SessionRecord, logFile) == 4168, "layout");
_Static_assert(sizeof(CconvOutputRecord) == 4124, "layout");
_Static_assert(sizeof(CconvContext) == 16632, "layout");

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: c_client MESSAGE OUTPUT\n");
        return 2;
    }
    HostParams params;
    memset(&params, 0, sizeof(params));
    strcpy(params.outputName, "UTF-8");
    strcpy(params.language, "English");
    params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;

    int32_t code = GetTextWithErrCallback(argv[1], argv[2], &params, NULL, NULL);
    if (code != EML_OK) {
        fprintf(stderr, "c_client: %s: code %d\n", argv[1], (int)code);
        return 1;
    }
    FILE *output = fopen(argv[2], "rb");
    char text[64] = "";
    if (output == NULL || fgets(text, sizeof(text), output) == NULL ||
        strncmp(text, "From: ", 6) != 0) {
        fprintf(stderr, "c_client: %s does not begin with the From label\n", argv[2]);
        return 1;
    }
    fclose(output);
    return 0;
}
