// SPDX-License-Identifier: MIT
// Conversion into UTF-8: of one line, of one line end, and of a whole text.
#include <benchmark/benchmark.h>

#include <vector>

#include "emlcomm/charset.h"
#include "emlcomm/output.h"
#include "emlcomm/quoted_printable.h"
#include "routine.h"

namespace {

constexpr size_t kLineLength = 70;
constexpr size_t kTextLength = 65536;

constexpr std::string_view kAscii =
    "The quick brown fox jumps over the lazy dog, again and again. ";
constexpr std::string_view kLatin = "Gr\xF6\xDF"
                                    "e, na\xEFve and caf\xE9 \x80 stand in a text. ";
constexpr std::string_view kUtf8 = "Gr\xC3\xB6\xC3\x9F"
                                   "e, na\xC3\xAFve and caf\xC3\xA9 stand in a text. ";
constexpr std::string_view kIso2022 = "\x1B$BF|K\\8l$NK\\J8$G$9\x1B(B, "; // with its shifts
constexpr std::string_view kGbk =
    "\xC4\xFA\xBA\xC3\xD5\xE2\xCA\xC7\xD2\xBB\xB7\xE2\xB2\xE2\xCA\xD4";
constexpr std::string_view kEucJp =
    "\xC6\xFC\xCB\xDC\xB8\xEC\xA4\xCE\xCB\xDC\xCA\xB8\xA4\xC7\xA4\xB9";

// Ends the benchmark when the text came to nothing, since that costs next to nothing.
bool isEmpty(benchmark::State &state, uint32_t produced) {
    if (produced == 0) {
        state.SkipWithError("nothing was converted");
    }
    return produced == 0;
}

void convertLine(benchmark::State &state, const char *charset, std::string_view text) {
    const std::string line = repeated(text, kLineLength);
    const auto length = static_cast<uint32_t>(line.size());
    Routine routine;
    eml::setCharsetName(&routine.handle, charset);
    std::vector<char> converted(4 * line.size() + 1);
    for (auto _ : state) {
        if (isEmpty(state, TransChar(&routine.handle, line.data(), converted.data(), length))) {
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK_CAPTURE(convertLine, "ASCII", "ISO-8859-1", kAscii);
BENCHMARK_CAPTURE(convertLine, "UTF-8", "UTF-8", kUtf8);
BENCHMARK_CAPTURE(convertLine, "ISO-2022-JP", "ISO-2022-JP", kIso2022);
BENCHMARK_CAPTURE(convertLine, "GBK", "ChineseGBK", kGbk);

void convertLineEnd(benchmark::State &state) {
    Routine routine;
    char buffer[32] = {};
    for (auto _ : state) {
        if (isEmpty(state, TransCRLF(&routine.handle, buffer))) {
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(convertLineEnd);

void convertText(benchmark::State &state, const char *charset, std::string_view text) {
    const std::string whole = repeated(text, kTextLength);
    const auto length = static_cast<uint32_t>(whole.size());
    Routine routine;
    eml::setCharsetName(&routine.handle, charset);
    for (auto _ : state) {
        if (isEmpty(state, WriteStrToFile(&routine.handle, whole.data(), length))) {
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK_CAPTURE(convertText, "ASCII", "ISO-8859-1", kAscii);
BENCHMARK_CAPTURE(convertText, "UTF-8", "UTF-8", kUtf8);
BENCHMARK_CAPTURE(convertText, "windows-1252", "windows-1252", kLatin);
BENCHMARK_CAPTURE(convertText, "ISO-2022-JP", "ISO-2022-JP", kIso2022);
BENCHMARK_CAPTURE(convertText, "EUC-JP", "EUC-JP", kEucJp);
BENCHMARK_CAPTURE(convertText, "GBK", "ChineseGBK", kGbk);

} // namespace
