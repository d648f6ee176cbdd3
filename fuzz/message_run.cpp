// SPDX-License-Identifier: MIT
// Whole messages, and the promises of every run.
#include "message_run.h"

#include <algorithm>
#include <cstring>

#include "emlcomm/header_reader.h"
#include "emlcomm/line_reader.h"
#include "qob_txeml.h"
#include "routine_handle.h"

namespace {

constexpr const char *kInputName = "/mail/in.eml";
constexpr const char *kOutputName = "/out/text";

// Host calls. The dearest bytes are those of header values: a quote between two others costs the
// conversion and the writing of a piece of one byte, 9 calls. An attachment costs more than its
// bytes: the four of a digest delimiter are enough to have a display name of 2047 bytes written
// that stands elsewhere in the block, and every byte of that may be dear.
constexpr uint64_t kCallsPerByte = 10;
constexpr uint64_t kCallsPerAttachment = 2047 * 10 + 200;
constexpr uint64_t kCallsAlways = 400;

// Bytes of output: a byte becomes 4, an empty line 3; a name of 2047 bytes and its labels come
// with every attachment.
constexpr uint64_t kOutputPerByte = 5;
constexpr uint64_t kOutputPerAttachment = 4 * 2047 + 200;
constexpr uint64_t kOutputAlways = 400;

// Bytes of memory at a time: collected text, its copy for the converter and 4 times its size for
// the result, where every line end may have been written as two.
constexpr uint64_t kMemoryPerByte = 14;
constexpr uint64_t kMemoryAlways = 131072;

void requireLinearWork(const MemoryHost &host, const FuzzInput &input, size_t outputSize) {
    const uint64_t size = input.text.size();
    const uint64_t attachments = host.attachmentFiles;
    require(host.calls <= kCallsPerByte * size + kCallsPerAttachment * attachments + kCallsAlways,
            "host calls are linear in the message's size");
    require(outputSize <=
                kOutputPerByte * size + kOutputPerAttachment * attachments + kOutputAlways,
            "output is linear in the message's size");
    require(host.peakBytes <= kMemoryPerByte * size + kMemoryAlways,
            "memory is linear in the message's size");
}

bool endsWith(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

// Files that a walk may leave behind, by rule:
//  1. the collected text of a mixed message's part when the file ends inside the part;
//  2. the plain alternative of a message in front of an inner closing delimiter or a "NextPart"
//     line (its name ends in ".htm" like every file of that walker);
//  3. the plain alternative of a nested multipart whose closing delimiter follows an image or
//     message part; that one stays open as well;
//  4. the collected text of a single part when a quoted-printable line found no memory.
// All four are body texts, opened "wb" under a temporary name; nothing else ever stays.
void requireOnlyNamedLeftovers(const MemoryHost &host) {
    for (const auto &[name, file] : host.files) {
        if (name == kInputName || name == kOutputName) {
            continue;
        }
        require(name.substr(0, 5) == "/tmp/" && file->mode == "wb",
                "only collected body text stays behind");
    }
}

// Rule 3 above leaves handles open, one for each file at the most.
void requireOnlyNamedOpenFiles(const MemoryHost &host) {
    size_t leftBehind = 0;
    for (const auto &[name, file] : host.files) {
        leftBehind += file->mode == "wb" && endsWith(name, ".htm") ? 0 : 1;
    }
    require(host.openFiles.size() <= leftBehind, "only collected body text stays open");
}

// What a run can come to. Without a failing host only four codes are possible: no file is short,
// no memory lacks, and no reload goes beyond the file.
void requireKnownCode(const MemoryHost &host, int32_t code, bool toFile) {
    constexpr int32_t kAfterFailure[] = {EML_ERR_NOBUF,       EML_ERR_INPUT,  EML_ERR_OUTPUT,
                                         EML_ERR_SHORT_WRITE, EML_ERR_MEMORY, EML_ERR_OUTPUT_LOST};
    const bool always = code == EML_OK || code == EML_ERR_FORMAT || code == kInsertError ||
                        (toFile && code == EML_ERR_LIMIT);
    const bool afterFailure = std::find(std::begin(kAfterFailure), std::end(kAfterFailure), code) !=
                              std::end(kAfterFailure);
    require(always || (host.failuresMade > 0 && afterFailure), "the result code is a known one");
}

// The output file stays with a result that carries text, and goes with every other.
void requireOutputRule(const MessageRun &run, const FuzzInput &input) {
    const bool insertionStored =
        run.code == kInsertError && (input.settings.flags & EML_FLAG_KEEP_GOING) != 0;
    const bool kept = run.code == EML_OK || run.code == EML_ERR_LIMIT || insertionStored;
    require(run.outputKept == kept, "the output file is kept exactly with text worth keeping");
}

bool isLimited(const Settings &settings) {
    return (settings.options & EML_OPT_LIMIT_OUTPUT) != 0;
}

// What the header says of a body that no walker reads.
struct UntypedBody {
    bool untyped = false; // of no known type and without a boundary
    bool encoded = false;
};

UntypedBody untypedBodyOf(const FuzzInput &input) {
    MemoryHost host({});
    RoutineHandle routine(host, input.settings);
    routine.load(input.text, 0);
    ExtractionHandle &handle = routine.handle;
    EMLReadHeader(&handle);
    return {handle.contentType == EML_CT_OTHER && handle.boundary[0] == '\0',
            handle.transferEncoding == EML_TE_BASE64 ||
                handle.transferEncoding == EML_TE_QUOTED_PRINTABLE};
}

// The limit spans the whole result, inserted text included, with two exceptions: an untyped body
// goes into the output as it is, and attachments count only when the count is shared.
bool limitHolds(const FuzzInput &input) {
    return isLimited(input.settings) && (input.settings.flags & EML_FLAG_SHARE_COUNT) != 0 &&
           !untypedBodyOf(input).untyped;
}

void requireLimit(const FuzzInput &input, const MessageRun &run, bool holds) {
    require(isLimited(input.settings) || run.code != EML_ERR_LIMIT,
            "no limit is reached that is not set");
    require(!holds || run.text.size() <= input.settings.outputLimit,
            "the output stays within its limit");
}

void finishRun(const MemoryHost &host, const FuzzInput &input, const MessageRun &run,
               bool limitHolds) {
    host.requireBalance();
    requireOnlyNamedLeftovers(host);
    requireOnlyNamedOpenFiles(host);
    requireLinearWork(host, input, run.text.size());
    requireLimit(input, run, limitHolds && host.failuresMade == 0);
}

void putInput(MemoryHost &host, const FuzzInput &input) {
    auto file = std::make_shared<MemoryFile>();
    file->text = input.text;
    file->mode = "rb";
    host.files[kInputName] = file;
    host.outputName = kOutputName;
}

} // namespace

MessageRun runToFile(const FuzzInput &input) {
    const bool limited = limitHolds(input);
    MemoryHost host(input.settings.host);
    putInput(host, input);
    const HostParams params = paramsOf(input.settings);
    MessageRun run;
    run.code = GetTextWithErrCallback(kInputName, kOutputName, &params, nullptr, nullptr);
    run.outputKept = host.files.contains(kOutputName);
    run.text = run.outputKept ? host.textOf(kOutputName) : host.removedOutput;
    requireKnownCode(host, run.code, true);
    requireOutputRule(run, input);
    finishRun(host, input, run, limited);
    return run;
}

MessageRun runToStream(const FuzzInput &input) {
    const bool limited = limitHolds(input);
    MemoryHost host(input.settings.host);
    putInput(host, input);
    const HostParams params = paramsOf(input.settings);
    MessageRun run;
    run.code = GetTextStreamWithErrCallback(kInputName, reinterpret_cast<QobStream *>(&host.stream),
                                            &params, nullptr, nullptr);
    run.text = host.stream;
    requireKnownCode(host, run.code, false);
    require(!host.files.contains(kOutputName), "stream mode makes no output file");
    finishRun(host, input, run, limited);
    return run;
}

bool losesBodyInStream(const FuzzInput &input) {
    const UntypedBody body = untypedBodyOf(input);
    return body.untyped && body.encoded;
}
