// SPDX-License-Identifier: MIT
// The output stream behind QOB_WriteStream: a sink with an optional limit. Only this file knows
// whether text was left out; a filter that cuts its own text to the limit cannot tell the host.
#pragma once

#include <array>
#include <cstdint>

#include "qob_extract.h"

struct QobStream {
    QobSink sink{};
    const HostParams *params = nullptr; // names the output charset, so that no character is split
    bool limited = false;
    uint64_t room = 0;          // bytes that may still be written, when limited
    uint64_t written = 0;       // bytes that the sink took
    bool truncated = false;     // text was left out; nothing more is taken
    bool failed = false;        // the sink refused; nothing more is taken
    std::array<char, 4> tail{}; // the last bytes that the sink took, the last one at the end
};

namespace qob {

// Text that a filter may produce beyond what its stream takes. A filter obeys the limit in its
// parameters by itself and does not tell; with this much to spare the stream is offered the text
// that has no room, and knows. No character of any charset is longer, escape sequences included.
inline constexpr uint64_t kLimitSlack = 16;

// The limit that HostParams asks for, or QOB_NO_LIMIT.
uint64_t limitOf(const HostParams &params);

// Makes `params` ask for `room` bytes of output and the slack.
void setChildLimit(HostParams &params, uint64_t room);

// How the text ends that the stream took, in the output charset of `params`: QOB_INSERTED_*.
int32_t endingOf(const QobStream &stream, const HostParams &params);

} // namespace qob
