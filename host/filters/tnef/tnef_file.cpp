// SPDX-License-Identifier: MIT
// See tnef_file.h.
#include "tnef_file.h"

#include <algorithm>

#include "qob_limits.h"

namespace qob::tnef {
namespace {

// What bytes() gives at least when the file has it.
constexpr uint64_t kSmall = 4096;

} // namespace

bool TnefFile::load(uint64_t offset) {
    stopped_ = stopped_ != EML_OK ? stopped_ : qob_limits_time();
    windowStart_ = offset;
    window_ = {};
    if (stopped_ == EML_OK && input_.rewind(offset)) {
        window_ = input_.read();
    }
    return !window_.empty();
}

std::string_view TnefFile::bytes(Range range, uint64_t limit) {
    const uint64_t wanted = std::min(range.size, limit);
    const uint64_t needed = std::min(wanted, kSmall);
    const bool inside =
        range.offset >= windowStart_ && range.offset + needed <= windowStart_ + window_.size();
    if (needed == 0 || (!inside && !load(range.offset))) {
        return {};
    }
    return window_.substr(range.offset - windowStart_, wanted);
}

void Cursor::skip(uint64_t count) {
    ok_ = ok_ && count <= left();
    position_ += std::min(count, left());
}

Range Cursor::take(uint64_t size) {
    const Range range{position_, std::min(size, left())};
    skip(size);
    return range;
}

Range Cursor::takePadded(uint64_t size) {
    const Range range = take(size);
    position_ += std::min((4 - size % 4) % 4, left());
    return range;
}

uint32_t Cursor::number(unsigned size) {
    const std::string_view bytes = ok_ ? file_->bytes({position_, left()}, size) : "";
    if (bytes.size() < size) {
        ok_ = false;
        return 0;
    }
    uint32_t value = 0;
    for (unsigned i = 0; i < size; ++i) {
        value |= uint32_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    position_ += size;
    return value;
}

} // namespace qob::tnef
