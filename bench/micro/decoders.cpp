// SPDX-License-Identifier: MIT
// The decoders, one line at a time, into a file that keeps nothing.
#include <benchmark/benchmark.h>

#include "emlcomm/base64.h"
#include "emlcomm/quoted_printable.h"
#include "routine.h"

namespace {

void decodeBase64(benchmark::State &state, const std::string &line) {
    Routine routine;
    const auto length = static_cast<uint32_t>(line.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            analyzeBase64_tmpfile(&routine.handle, line.data(), length, routine.nowhere));
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK_CAPTURE(decodeBase64, "line of 76", repeated("QUJD", 76));
BENCHMARK_CAPTURE(decodeBase64, "line of 1996", repeated("QUJD", 1996));

void decodeQuotedPrintable(benchmark::State &state, const std::string &line) {
    Routine routine;
    const auto length = static_cast<uint32_t>(line.size());
    routine.handle.lineEndSeen = 1;
    for (auto _ : state) {
        routine.handle.lineLength = static_cast<int32_t>(length);
        benchmark::DoNotOptimize(
            analyzeQF(&routine.handle, line.data(), length, routine.nowhere, 0));
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK_CAPTURE(decodeQuotedPrintable, "70 bytes, no escape", std::string(70, 'x'));
BENCHMARK_CAPTURE(decodeQuotedPrintable, "70 bytes, 2 escapes",
                  std::string(32, 'x') + "=C3=BC" + std::string(32, 'x'));
BENCHMARK_CAPTURE(decodeQuotedPrintable, "72 bytes, all escapes", repeated("=E6", 72));

} // namespace
