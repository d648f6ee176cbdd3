// SPDX-License-Identifier: MIT
// Header values: analyzeSpecialName on any text, twice over one handle.
//
//  1. The result is 0 or 3005; with a failing host also 3000.
//  2. No byte behind the value's terminator is read (address checker), whatever length the line
//     in hand has.
//  3. The output is at most 4 bytes for each byte of the values.
//  4. Host calls are at most 10 for each byte, and a constant.
//  5. The walk marks itself for the quoted-printable decoder. Everything allocated is freed.
//  6. analyzeAddress writes the same and never fails.
#include "emlcomm/encoded_word.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "emlcomm/limits.h"
#include "routine_handle.h"

namespace {

constexpr uint64_t kCallsPerByte = 10;
constexpr uint64_t kCallsAlways = 60;

// The value, terminated, in memory of exactly that size.
std::unique_ptr<char[]> exactValue(std::string_view text) {
    const size_t length = std::min<size_t>(text.size(), kMaxLineLength);
    auto value = std::make_unique<char[]>(length + 1);
    std::copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length), value.get());
    value[length] = '\0';
    return value;
}

// What both routines are called with: the line in hand may be any other line.
std::string outputOf(const FuzzInput &input, std::string_view text, bool address) {
    MemoryHost host(input.settings.host);
    RoutineHandle routine(host, input.settings);
    if (routine.handle.lineBuffer == nullptr || routine.handle.convBuffer == nullptr ||
        routine.handle.qpBuffer == nullptr) {
        return ""; // no entry point goes on without its buffers
    }
    const uint8_t lineLength = takeByte(text);
    const std::unique_ptr<char[]> value = exactValue(text);
    const size_t length = std::strlen(value.get());
    const uint64_t callsBefore = host.calls;
    for (int round = 0; round < 2; ++round) {
        routine.handle.lineLength = lineLength;
        routine.handle.lineEndSeen = lineLength % 2;
        const int32_t code = address ? analyzeAddress(&routine.handle, value.get())
                                     : analyzeSpecialName(&routine.handle, value.get(), 1);
        require(code == EML_OK || (!address && code == EML_ERR_LIMIT) ||
                    (!address && code == EML_ERR_MEMORY && host.failuresMade > 0),
                "the result is a documented one");
        require(routine.handle.encodedWordFlag == 1 || host.failuresMade > 0,
                "the walk marks itself");
    }
    require(host.calls - callsBefore <= 2 * (kCallsPerByte * length + kCallsAlways),
            "host calls are linear in the value's length");
    require(routine.output().size() <= 8 * length, "a byte becomes 4 at the most");
    return routine.output();
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FuzzInput input = readInput(data, size);
    require(outputOf(input, input.text, false) == outputOf(input, input.text, true),
            "both routines write the same");
    return 0;
}
