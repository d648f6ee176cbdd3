/* SPDX-License-Identifier: MIT */
/*
 * The language of the running extraction, as the character converter of the reference host
 * (libqob_conf) needs it: it decides how text of no known charset is read. Each thread has its own.
 */
#ifndef QOB_CONF_LANGUAGE_H
#define QOB_CONF_LANGUAGE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the calling thread's language, a name as HostParams.language holds it ("ko", "Japanese");
   at most 255 characters are kept. Null or "" means none. Whoever runs an extraction sets it before
   and puts the former one back after. */
void qob_conf_set_language(const char *language);

/* The calling thread's language, never null; "" when none is set. The result is overwritten by the
   next qob_conf_set_language of this thread: copy it to put it back later. */
const char *qob_conf_language(void);

/* The converter name of the charset that text of no known charset is read in, for a language:
   "cn"/"Simplified Chinese" ChineseGBK, "tw"/"Traditional Chinese" ChineseBIG5, "jp"/"Japanese"
   WINDOWS31J, "ko"/"Korean" KoreanKSC, "en"/"English" ISO-8859-1, anything else WINDOWS31J. Names
   are compared exactly. Never null. */
const char *qob_conf_default_charset(const char *language);

#ifdef __cplusplus
}
#endif

#endif
