// SPDX-License-Identifier: MIT
// The error callback that a running filter gets. It passes each notice on with what only the host
// knows, and counts them, so that a failure is reported exactly once: by the filter, or else by the
// host.
#pragma once

#include <cstdint>

#include "qob_notice.h"

namespace qob {

// A relay is handed to filters by address: it stays where it was made.
class NoticeRelay {
public:
    // `outer` may be null. `path` is what people know the file as; notices about the file `alias`
    // get it instead. Notices from inside attachment `number` of the caller's message carry that
    // number; 0 leaves the number as it comes.
    NoticeRelay(const QobErrorCallback *outer, const char *alias, const char *path,
                uint32_t number);
    NoticeRelay(const NoticeRelay &) = delete;
    NoticeRelay &operator=(const NoticeRelay &) = delete;

    QobErrorCallback *callback() { return &callback_; }

    // The file gets this name from now on.
    void setAlias(const char *alias) { alias_ = alias; }

    void report(int32_t code, const char *reason);

    // Reports a code, unless it was the last one to be reported for the file itself or, when
    // `fromAnywhere` is set, for anything inside it.
    void reportUnlessKnown(int32_t code, bool fromAnywhere);

private:
    static void relay(void *context, const QobNotice *notice);
    void pass(const QobNotice &notice);

    QobErrorCallback callback_;
    const QobErrorCallback *outer_;
    const char *alias_;
    const char *path_;
    uint32_t number_;
    int32_t lastOwnCode_ = 0;
    int32_t lastCode_ = 0;
};

} // namespace qob
