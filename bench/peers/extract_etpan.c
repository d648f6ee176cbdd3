/* SPDX-License-Identifier: MIT */
/*
 * The benchmark's peer on libetpan; see extract_gmime.c for what it does.
 * Usage: extract_etpan LIST OUTPUT [--count]
 */
#define _POSIX_C_SOURCE 200809L
#include <fcntl.h>
#include <libetpan/charconv.h>
#include <libetpan/libetpan.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tally.h"

typedef struct Extraction {
    FILE *output;
    Tally *tally; /* null: timed, nothing is counted */
} Extraction;

static void walk(Extraction *extraction, struct mailmime *mime);

static void write_decoded(FILE *output, const char *text) {
    size_t index = 0;
    char *decoded = NULL;
    if (mailmime_encoded_phrase_parse("us-ascii", text, strlen(text), &index, "utf-8", &decoded) ==
        MAILIMF_NO_ERROR) {
        fputs(decoded, output);
        free(decoded);
    } else {
        fputs(text, output);
    }
}

static void write_mailbox(FILE *output, const struct mailimf_mailbox *mailbox) {
    if (mailbox->mb_display_name != NULL) {
        write_decoded(output, mailbox->mb_display_name);
    }
    fprintf(output, " <%s>", mailbox->mb_addr_spec);
}

static void write_mailboxes(FILE *output, clist *mailboxes) {
    for (clistiter *at = clist_begin(mailboxes); at != NULL; at = clist_next(at)) {
        write_mailbox(output, clist_content(at));
        fputs(clist_next(at) != NULL ? ", " : "", output);
    }
}

static void write_addresses(FILE *output, const char *label, clist *addresses) {
    fprintf(output, "%s: ", label);
    for (clistiter *at = clist_begin(addresses); at != NULL; at = clist_next(at)) {
        const struct mailimf_address *address = clist_content(at);
        if (address->ad_type == MAILIMF_ADDRESS_MAILBOX) {
            write_mailbox(output, address->ad_data.ad_mailbox);
        }
        fputs(clist_next(at) != NULL ? ", " : "\n", output);
    }
}

static void write_date(FILE *output, const struct mailimf_date_time *date) {
    fprintf(output, "Date: %d-%02d-%02d %02d:%02d:%02d %+05d\n", date->dt_year, date->dt_month,
            date->dt_day, date->dt_hour, date->dt_min, date->dt_sec, date->dt_zone);
}

static void write_header(FILE *output, struct mailimf_fields *fields) {
    struct mailimf_single_fields single;
    mailimf_single_fields_init(&single, fields);
    if (single.fld_from != NULL) {
        fputs("From: ", output);
        write_mailboxes(output, single.fld_from->frm_mb_list->mb_list);
        fputc('\n', output);
    }
    if (single.fld_to != NULL) {
        write_addresses(output, "To", single.fld_to->to_addr_list->ad_list);
    }
    if (single.fld_cc != NULL) {
        write_addresses(output, "Cc", single.fld_cc->cc_addr_list->ad_list);
    }
    if (single.fld_subject != NULL) {
        fputs("Subject: ", output);
        write_decoded(output, single.fld_subject->sbj_value);
        fputc('\n', output);
    }
    if (single.fld_orig_date != NULL) {
        write_date(output, single.fld_orig_date->dt_date_time);
    }
    fputc('\n', output);
}

static void write_text(Extraction *extraction, struct mailmime *mime, const char *text,
                       size_t length) {
    const char *charset = mailmime_content_charset_get(mime->mm_content_type);
    char *converted = NULL;
    size_t converted_length = 0;
    if (charset != NULL && strcasecmp(charset, "utf-8") != 0 &&
        charconv_buffer("utf-8", charset, text, length, &converted, &converted_length) ==
            MAIL_CHARCONV_NO_ERROR) {
        fwrite(converted, 1, converted_length, extraction->output);
        charconv_buffer_free(converted);
    } else {
        fwrite(text, 1, length, extraction->output);
    }
}

static void write_attachment(Extraction *extraction, const char *bytes, size_t length) {
    char path[4096];
    FILE *file = bench_temporary(path);
    fwrite(bytes, 1, length, file);
    fclose(file);
    tally_file(extraction->tally, path);
    unlink(path);
}

static void write_part(Extraction *extraction, struct mailmime *mime) {
    const struct mailmime_data *data = mime->mm_data.mm_single;
    if (data == NULL || data->dt_type != MAILMIME_DATA_TEXT) {
        return;
    }
    char *bytes = NULL;
    size_t length = 0;
    size_t index = 0;
    if (mailmime_part_parse(data->dt_data.dt_text.dt_data, data->dt_data.dt_text.dt_length, &index,
                            data->dt_encoding, &bytes, &length) != MAILIMF_NO_ERROR) {
        return;
    }
    const struct mailmime_type *type = mime->mm_content_type->ct_type;
    if (type->tp_type == MAILMIME_TYPE_DISCRETE_TYPE &&
        type->tp_data.tp_discrete_type->dt_type == MAILMIME_DISCRETE_TYPE_TEXT) {
        write_text(extraction, mime, bytes, length);
    } else {
        write_attachment(extraction, bytes, length);
    }
    mailmime_decoded_part_free(bytes);
}

static void write_message(Extraction *extraction, struct mailmime *mime) {
    write_header(extraction->output, mime->mm_data.mm_message.mm_fields);
    if (mime->mm_data.mm_message.mm_msg_mime != NULL) {
        walk(extraction, mime->mm_data.mm_message.mm_msg_mime);
    }
}

static void walk(Extraction *extraction, struct mailmime *mime) {
    if (mime->mm_type == MAILMIME_SINGLE) {
        write_part(extraction, mime);
    } else if (mime->mm_type == MAILMIME_MESSAGE) {
        write_message(extraction, mime);
    } else {
        clist *parts = mime->mm_data.mm_multipart.mm_mp_list;
        for (clistiter *at = clist_begin(parts); at != NULL; at = clist_next(at)) {
            walk(extraction, clist_content(at));
        }
    }
}

static void extract_file(const char *path, void *context) {
    const int file = open(path, O_RDONLY);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0) {
        perror(path);
        exit(1);
    }
    const size_t size = (size_t)status.st_size;
    char *bytes = mmap(NULL, size, PROT_READ, MAP_PRIVATE, file, 0);
    size_t index = 0;
    struct mailmime *mime = NULL;
    if (mailmime_parse(bytes, size, &index, &mime) == MAILIMF_NO_ERROR) {
        walk(context, mime);
        mailmime_free(mime);
    }
    munmap(bytes, size);
    close(file);
}

int main(int argc, char **argv) {
    Tally tally = {0};
    const BenchArguments arguments = bench_arguments(argc, argv);
    Extraction extraction = {arguments.output, arguments.count ? &tally : NULL};
    bench_each(arguments.list, extract_file, &extraction);
    return bench_finish(&arguments, &tally);
}
