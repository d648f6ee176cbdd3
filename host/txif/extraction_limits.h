// SPDX-License-Identifier: MIT
// What one outermost extraction has used up of its parts, unpacked bytes and seconds. A limit that
// was met stays met: what asks again gets the same answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <string>

#include "qob_extract.h"

namespace qob {

struct LimitValues {
    uint64_t unpacked = QOB_DEFAULT_MAX_UNPACKED; // bytes, or QOB_NO_LIMIT
    uint32_t parts = QOB_DEFAULT_MAX_PARTS;       // 0: no limit, as with the others below
    uint32_t ratio = QOB_DEFAULT_MAX_RATIO;
    uint32_t seconds = QOB_DEFAULT_MAX_SECONDS;
};

class Limits {
public:
    // The time begins to run.
    explicit Limits(const LimitValues &values = {});

    // EML_OK, or QOB_ERR_PARTS when this part is one too many.
    int32_t takePart();

    // Counts bytes out of one file of `packed` bytes; `ofFile` is what came out of it so far.
    // EML_OK, QOB_ERR_UNPACKED or QOB_ERR_RATIO.
    int32_t takeUnpacked(uint64_t bytes, uint64_t packed, uint64_t &ofFile);

    // EML_OK or QOB_ERR_TIME.
    int32_t checkTime();

    // UINT64_MAX without a limit.
    uint64_t millisecondsLeft() const;

    // The limit behind which nothing more is inserted, once it was met, or EML_OK.
    int32_t stopped() const;

    // True for the first call with this code.
    bool firstReport(int32_t code);

    // What is left out because of the limit, for a person.
    std::string reason(int32_t code) const;

private:
    std::chrono::milliseconds elapsed() const;

    LimitValues values_;
    std::chrono::steady_clock::time_point start_;
    uint64_t unpacked_ = 0;
    uint32_t parts_ = 0;
    bool partsMet_ = false;
    bool timeMet_ = false;
    std::set<int32_t> reported_;
};

// One of the codes that are reported once for a whole extraction and do not change its result.
bool isLimitCode(int32_t code);

} // namespace qob
