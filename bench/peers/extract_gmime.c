/* SPDX-License-Identifier: MIT */
/*
 * The benchmark's peer on GMime: the principal header fields decoded, every text part decoded and
 * converted to UTF-8 into one output, every attachment decoded into a temporary file.
 * Usage: extract_gmime LIST OUTPUT [--count]   (see bench/README.md)
 */
#define _POSIX_C_SOURCE 200809L
#include <gmime/gmime.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tally.h"

typedef struct Extraction {
    FILE *output;
    Tally *tally; /* null: timed, nothing is counted */
} Extraction;

static void walk(Extraction *extraction, GMimeObject *part);

static void write_field(FILE *output, const char *label, const char *value) {
    if (value != NULL && *value != '\0') {
        fprintf(output, "%s: %s\n", label, value);
    }
}

static void write_addresses(FILE *output, const char *label, InternetAddressList *addresses) {
    if (addresses != NULL && internet_address_list_length(addresses) > 0) {
        char *text = internet_address_list_to_string(addresses, NULL, FALSE);
        write_field(output, label, text);
        g_free(text);
    }
}

static void write_header(FILE *output, GMimeMessage *message) {
    write_addresses(output, "From", g_mime_message_get_from(message));
    write_addresses(output, "To", g_mime_message_get_to(message));
    write_addresses(output, "Cc", g_mime_message_get_cc(message));
    write_field(output, "Subject", g_mime_message_get_subject(message));
    write_field(output, "Date", g_mime_object_get_header(GMIME_OBJECT(message), "Date"));
    fputc('\n', output);
}

static void write_text(Extraction *extraction, GMimeTextPart *part) {
    char *text = g_mime_text_part_get_text(part);
    if (text != NULL) {
        fputs(text, extraction->output);
        g_free(text);
    }
}

static void write_attachment(Extraction *extraction, GMimePart *part) {
    char path[] = "/tmp/bench-gmime-XXXXXX";
    const int file = mkstemp(path);
    GMimeStream *stream = g_mime_stream_fs_new(file);
    GMimeDataWrapper *content = g_mime_part_get_content(part);
    if (content != NULL) {
        g_mime_data_wrapper_write_to_stream(content, stream);
    }
    g_mime_stream_flush(stream);
    tally_file(extraction->tally, path);
    g_object_unref(stream);
    unlink(path);
}

static void write_message(Extraction *extraction, GMimeMessage *message) {
    write_header(extraction->output, message);
    walk(extraction, g_mime_message_get_mime_part(message));
}

static void walk(Extraction *extraction, GMimeObject *part) {
    if (GMIME_IS_MULTIPART(part)) {
        const int count = g_mime_multipart_get_count(GMIME_MULTIPART(part));
        for (int i = 0; i < count; ++i) {
            walk(extraction, g_mime_multipart_get_part(GMIME_MULTIPART(part), i));
        }
    } else if (GMIME_IS_MESSAGE_PART(part)) {
        write_message(extraction, g_mime_message_part_get_message(GMIME_MESSAGE_PART(part)));
    } else if (GMIME_IS_TEXT_PART(part)) {
        write_text(extraction, GMIME_TEXT_PART(part));
    } else if (GMIME_IS_PART(part)) {
        write_attachment(extraction, GMIME_PART(part));
    }
}

static void extract_file(const char *path, void *context) {
    GMimeStream *stream = g_mime_stream_file_open(path, "r", NULL);
    GMimeParser *parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage *message = g_mime_parser_construct_message(parser, NULL);
    Extraction *extraction = context;
    write_message(extraction, message);
    g_object_unref(message);
    g_object_unref(parser);
    g_object_unref(stream);
}

int main(int argc, char **argv) {
    Extraction extraction = {0};
    Tally tally = {0};
    const BenchArguments arguments = bench_arguments(argc, argv);
    extraction.output = arguments.output;
    extraction.tally = arguments.count ? &tally : NULL;
    g_mime_init();
    bench_each(arguments.list, extract_file, &extraction);
    g_mime_shutdown();
    return bench_finish(&arguments, &tally);
}
