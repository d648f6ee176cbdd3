// SPDX-License-Identifier: MIT
// The filter on the reference host, as a program of the benchmark: the text of every file of a list
// into one output. QOB_FILTER_DIR says which filters take HTML and attachments: the benchmark's
// (see filters/) or the host's own. Files whose names do not end in ".eml" are no messages: the
// host finds out what they are.
//
// Usage: extract_ours LIST OUTPUT [--count]
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "peers/tally.h"
#include "qob_extract.h"

namespace {

Tally tally{};
bool counting = false;

int32_t writeText(void *context, const void *data, uint32_t length) {
    return std::fwrite(data, 1, length, static_cast<std::FILE *>(context)) == length ? 1 : 0;
}

void extractFile(const char *path, void *context) {
    const QobSink sink{&writeText, context};
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof options);
    options.type = std::string_view(path).ends_with(".eml") ? QOB_TYPE_MESSAGE : QOB_TYPE_DETECT;
    QobExtractResult result;
    const int32_t code = qob_extract(path, &sink, &options, &result);
    if (code != EML_OK || result.attachmentsFailed != 0) {
        std::fprintf(stderr, "bench: %s: %s, %u attachments failed (%s)\n", path,
                     qob_result_name(code), result.attachmentsFailed,
                     qob_result_name(result.attachmentCode));
        std::exit(1);
    }
}

} // namespace

// The attachment filter finds it here; null while nothing is counted.
extern "C" __attribute__((visibility("default"))) Tally *bench_tally() {
    return counting ? &tally : nullptr;
}

int main(int argc, char **argv) {
    const BenchArguments arguments = bench_arguments(argc, argv);
    counting = arguments.count != 0;
    bench_each(arguments.list, extractFile, arguments.output);
    return bench_finish(&arguments, &tally);
}
