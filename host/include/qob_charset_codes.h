/* SPDX-License-Identifier: MIT */
/*
 * Output charsets of the reference host by number, and which of them a name stands for.
 * HostParams.outputCode holds such a number; it counts when HostParams.outputName is empty. The
 * numbers are the registered code page numbers, so most need no looking up.
 */
#ifndef QOB_CHARSET_CODES_H
#define QOB_CHARSET_CODES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    QOB_CHARSET_UNSET = 0,           /* UTF-8 */
    QOB_CHARSET_WINDOWS31J = 932,    /* WINDOWS31J */
    QOB_CHARSET_GBK = 936,           /* ChineseGBK */
    QOB_CHARSET_KSC = 949,           /* KoreanKSC */
    QOB_CHARSET_BIG5 = 950,          /* ChineseBIG5 */
    QOB_CHARSET_UTF16LE = 1200,      /* UTF-16LE */
    QOB_CHARSET_UTF16BE = 1201,      /* UTF-16BE; UTF-16 and ISO-10646-UCS-2 write the same */
    QOB_CHARSET_WINDOWS1252 = 1252,  /* windows-1252 */
    QOB_CHARSET_UTF32LE = 12000,     /* UTF-32LE */
    QOB_CHARSET_UTF32BE = 12001,     /* UTF-32BE; UTF-32 and ISO-10646-UCS-4 write the same */
    QOB_CHARSET_ASCII = 20127,       /* US-ASCII */
    QOB_CHARSET_EUC_JP = 20932,      /* EUC-JP */
    QOB_CHARSET_LATIN1 = 28591,      /* ISO-8859-1 */
    QOB_CHARSET_ISO_2022_JP = 50220, /* ISO-2022-JP */
    QOB_CHARSET_HZ = 52936,          /* HZ-GB-2312 */
    QOB_CHARSET_GB18030 = 54936,     /* GB18030 */
    QOB_CHARSET_UTF7 = 65000,        /* UTF-7 */
    QOB_CHARSET_UTF8 = 65001         /* UTF-8 */
};

/* The converter name of a number, or null for one that is not listed above. Static. */
const char *qob_charset_name(uint32_t code);

/* ICU's name of the charset that output in `name` is written in (a name that is empty or null: in
   `code`), or null when there is no such output charset. "UTF-16" gives "UTF-16BE". The result
   lives as long as the calling thread. */
const char *qob_charset_output(const char *name, uint32_t code);

#ifdef __cplusplus
}
#endif

#endif
