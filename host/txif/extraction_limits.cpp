// SPDX-License-Identifier: MIT
// The arithmetic of the limits. No sum can overflow: what would is beyond every limit.
#include "extraction_limits.h"

#include <algorithm>

namespace qob {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

uint64_t saturatedSum(uint64_t a, uint64_t b) {
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

bool growsBeyond(uint64_t unpacked, uint64_t packed, uint64_t ratio) {
    return unpacked / ratio > packed || (unpacked / ratio == packed && unpacked % ratio != 0);
}

} // namespace

Limits::Limits(const LimitValues &values) : values_(values), start_(steady_clock::now()) {}

int32_t Limits::takePart() {
    if (!partsMet_ && (values_.parts == 0 || parts_ < values_.parts)) {
        parts_ += parts_ < UINT32_MAX ? 1 : 0;
        return EML_OK;
    }
    partsMet_ = true;
    return QOB_ERR_PARTS;
}

int32_t Limits::takeUnpacked(uint64_t bytes, uint64_t packed, uint64_t &ofFile) {
    unpacked_ = saturatedSum(unpacked_, bytes);
    ofFile = saturatedSum(ofFile, bytes);
    if (values_.unpacked != QOB_NO_LIMIT && unpacked_ > values_.unpacked) {
        return QOB_ERR_UNPACKED;
    }
    if (values_.ratio != 0 && ofFile > QOB_RATIO_FREE_BYTES &&
        growsBeyond(ofFile, packed, values_.ratio)) {
        return QOB_ERR_RATIO;
    }
    return EML_OK;
}

int32_t Limits::checkTime() {
    timeMet_ = timeMet_ ||
               (values_.seconds != 0 && elapsed() > milliseconds(uint64_t{values_.seconds} * 1000));
    return timeMet_ ? int32_t{QOB_ERR_TIME} : int32_t{EML_OK};
}

uint64_t Limits::millisecondsLeft() const {
    if (values_.seconds == 0) {
        return UINT64_MAX;
    }
    const auto left = milliseconds(uint64_t{values_.seconds} * 1000) - elapsed();
    return timeMet_ ? 0 : static_cast<uint64_t>(std::max<milliseconds::rep>(left.count(), 0));
}

int32_t Limits::stopped() const {
    if (partsMet_) {
        return QOB_ERR_PARTS;
    }
    return timeMet_ ? int32_t{QOB_ERR_TIME} : int32_t{EML_OK};
}

bool Limits::firstReport(int32_t code) {
    return reported_.insert(code).second;
}

std::string Limits::reason(int32_t code) const {
    switch (code) {
    case QOB_ERR_PARTS:
        return "there are more than " + std::to_string(values_.parts) +
               " attachments and members, those that follow are left out";
    case QOB_ERR_UNPACKED:
        return "more than " + std::to_string(values_.unpacked) +
               " bytes were unpacked, the rest is left out";
    case QOB_ERR_RATIO:
        return "the file grew by more than " + std::to_string(values_.ratio) +
               " times when it was unpacked, the rest of it is left out";
    case QOB_ERR_TIME:
        return "the extraction took longer than " + std::to_string(values_.seconds) +
               " seconds, the rest is left out";
    default:
        return qob_result_text(code);
    }
}

std::chrono::milliseconds Limits::elapsed() const {
    return duration_cast<milliseconds>(steady_clock::now() - start_);
}

bool isLimitCode(int32_t code) {
    return code == QOB_ERR_DEPTH || (code >= QOB_ERR_PARTS && code <= QOB_ERR_TIME);
}

} // namespace qob
