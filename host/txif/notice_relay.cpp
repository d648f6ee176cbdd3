// SPDX-License-Identifier: MIT
// Passing notices outwards, one relay per running filter.
#include "notice_relay.h"

#include <cstring>

#include "qob_extract.h"

namespace qob {

NoticeRelay::NoticeRelay(const QobErrorCallback *outer, const char *alias, const char *path,
                         uint32_t number)
    : callback_{&NoticeRelay::relay, this}, outer_(outer), alias_(alias), path_(path),
      number_(number) {}

void NoticeRelay::report(int32_t code, const char *reason) {
    pass(QobNotice{path_, 0, code, reason});
}

void NoticeRelay::reportUnlessKnown(int32_t code, bool fromAnywhere) {
    if (code != (fromAnywhere ? lastCode_ : lastOwnCode_)) {
        report(code, qob_result_text(code));
    }
}

void NoticeRelay::relay(void *context, const QobNotice *notice) {
    if (context != nullptr && notice != nullptr) {
        static_cast<NoticeRelay *>(context)->pass(*notice);
    }
}

void NoticeRelay::pass(const QobNotice &notice) {
    lastCode_ = notice.code;
    if (notice.attachmentNumber == 0) {
        lastOwnCode_ = notice.code;
    }
    if (outer_ == nullptr || outer_->report == nullptr) {
        return;
    }
    QobNotice outward = notice;
    if (number_ != 0) {
        outward.attachmentNumber = number_;
    }
    if (outward.path == nullptr || (alias_ != nullptr && std::strcmp(outward.path, alias_) == 0)) {
        outward.path = path_;
    }
    if (outward.reason == nullptr) {
        outward.reason = qob_result_text(outward.code);
    }
    outer_->report(outer_->context, &outward);
}

} // namespace qob
