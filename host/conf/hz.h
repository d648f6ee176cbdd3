// SPDX-License-Identifier: MIT
// Puts right what ICU writes for HZ (RFC 1843): it leaves a text in the two-byte mode at the end,
// and writes a return to ASCII where the text is in ASCII already.
#ifndef QOB_CONF_HZ_H
#define QOB_CONF_HZ_H

namespace qob {

// Tidies the text from `start` to *end in place and moves *end. False when there is no room before
// `limit` for the return to ASCII.
bool tidyHz(char *start, char **end, const char *limit);

} // namespace qob

#endif
