// SPDX-License-Identifier: MIT
// The host's own top-level call: options to parameters, input to a short name in a private
// directory, the filter's text through a stream that keeps the limit, one result code.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>

#include "extraction.h"
#include "filter_loader.h"
#include "input_file.h"
#include "qob_charset_codes.h"
#include "qob_host_export.h"
#include "stream.h"

namespace qob {
namespace {

constexpr std::size_t kPathCapacity = 4096;

// Programs built before there were limits know this much of the options, and no more may move.
static_assert(offsetof(QobExtractOptions, maxUnpacked) == 64);

QobExtractOptions defaults() {
    QobExtractOptions options{};
    options.size = sizeof options;
    options.type = QOB_TYPE_DETECT;
    options.charset = "UTF-8";
    options.language = "";
    options.maxOutput = QOB_DEFAULT_MAX_OUTPUT;
    options.newline = QOB_NEWLINE_LF;
    options.depthLimit = QOB_DEFAULT_DEPTH_LIMIT;
    options.labels = 1;
    options.attachments = 1;
    options.keepGoing = 1;
    options.maxUnpacked = QOB_DEFAULT_MAX_UNPACKED;
    options.maxParts = QOB_DEFAULT_MAX_PARTS;
    options.maxRatio = QOB_DEFAULT_MAX_RATIO;
    options.maxSeconds = QOB_DEFAULT_MAX_SECONDS;
    return options;
}

// What the caller knows of the options, the defaults for the rest.
QobExtractOptions completed(const QobExtractOptions *given) {
    QobExtractOptions options = defaults();
    if (given != nullptr) {
        std::memcpy(&options, given, std::min<std::size_t>(given->size, sizeof options));
    }
    if (options.charset == nullptr) {
        options.charset = "";
    }
    if (options.language == nullptr) {
        options.language = "";
    }
    return options;
}

LimitValues limitsOf(const QobExtractOptions &options) {
    return {options.maxUnpacked, options.maxParts, options.maxRatio, options.maxSeconds};
}

uint32_t flagsOf(const QobExtractOptions &options) {
    uint32_t flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT;
    flags |= options.keepGoing != 0 ? EML_FLAG_KEEP_GOING : 0;
    flags |= options.labels == 0 ? EML_FLAG_NO_LABELS : 0;
    flags |= options.attachments == 0 ? EML_FLAG_NO_HANDOVER : 0;
    return flags;
}

bool copyText(const char *text, char *field, std::size_t capacity) {
    const std::size_t length = std::strlen(text);
    if (length >= capacity) {
        return false;
    }
    std::memcpy(field, text, length + 1);
    return true;
}

// EML_OK, or QOB_ERR_OPTIONS with the reason.
int32_t fillParams(const QobExtractOptions &options, HostParams &params, const char *&reason) {
    constexpr std::array kNewlineBits = {EML_OPT_NEWLINE_1, EML_OPT_NEWLINE_2, EML_OPT_NEWLINE_4};
    if (options.type > QOB_TYPE_MESSAGE || options.newline >= kNewlineBits.size()) {
        reason = "the type or the line end is out of range";
        return QOB_ERR_OPTIONS;
    }
    if (!copyText(options.charset, params.outputName, sizeof params.outputName) ||
        !copyText(options.language, params.language, sizeof params.language)) {
        reason = "the name of the charset or of the language is longer than 255 bytes";
        return QOB_ERR_OPTIONS;
    }
    params.options = kNewlineBits[options.newline] | (options.log != 0 ? EML_OPT_LOG : 0);
    params.flags = flagsOf(options);
    setChildLimit(params, options.maxOutput);
    return EML_OK;
}

// Without this an unknown charset would show itself as a message without text.
bool canWriteCharset(const HostParams &params) {
    return params.outputName[0] != '\0' &&
           qob_charset_output(params.outputName, params.outputCode) != nullptr;
}

// One top-level call.
class TopLevelCall {
public:
    TopLevelCall(const char *name, const QobSink *sink, const QobExtractOptions *options)
        : name_(name), options_(completed(options)), relay_(options_.callback, nullptr, name, 0) {
        stream_.sink = sink != nullptr ? *sink : QobSink{};
        stream_.params = &params_;
        stream_.limited = options_.maxOutput != QOB_NO_LIMIT;
        stream_.room = options_.maxOutput;
        extraction_.limits = Limits(limitsOf(options_));
    }

    // `descriptor` is -1 for the file of the call's name.
    int32_t run(int descriptor) {
        const int32_t code = extractInput(descriptor);
        if (stream_.failed) {
            return reported(QOB_ERR_WRITE);
        }
        if (code != EML_OK) {
            return code;
        }
        const bool truncated = stream_.truncated || extraction_.truncated;
        return truncated ? reported(EML_ERR_LIMIT) : extraction_.bodyCode;
    }

    int32_t fail(int32_t code, const char *reason) {
        relay_.report(code, reason);
        return code;
    }

    int32_t reported(int32_t code) {
        relay_.reportUnlessKnown(code, !extraction_.collectsCodes);
        return code;
    }

    void fill(QobExtractResult *result) const {
        if (result != nullptr) {
            *result = QobExtractResult{stream_.written, extraction_.attachmentsFailed,
                                       extraction_.attachmentCode};
        }
    }

private:
    int32_t extractInput(int descriptor) {
        const char *reason = nullptr;
        if (const int32_t code = fillParams(options_, params_, reason); code != EML_OK) {
            return fail(code, reason);
        }
        if (!canWriteCharset(params_)) {
            const std::string unknown =
                std::string("no charset is called \"") + params_.outputName + "\"";
            return fail(QOB_ERR_CHARSET, unknown.c_str());
        }
        const ScopeGuard scope(options_.tempDirectory);
        if (!scope.entered()) {
            return fail(QOB_ERR_TEMP, std::strerror(errno));
        }
        const Claim claim =
            options_.type == QOB_TYPE_MESSAGE ? Claim::kMessage : Claim::kMessagePossible;
        const PreparedInput input =
            descriptor >= 0 ? prepareDescriptor(descriptor, claim) : prepareFile(name_, claim);
        if (input.path.empty()) {
            return fail(EML_ERR_INPUT, input.reason.c_str());
        }
        return extractFile(input);
    }

    int32_t extractFile(const PreparedInput &input) {
        extraction_.depthLimit = std::min(options_.depthLimit, QOB_MAX_DEPTH_LIMIT);
        extraction_.flags = params_.flags;
        extraction_.collectsCodes = options_.keepGoing != 0;
        const ExtractionGuard guard(extraction_);
        relay_.setAlias(input.path.c_str());
        const int32_t code =
            runFilter(extraction_, FilterRun{&input, false, &params_, &stream_, &relay_});
        relay_.setAlias(nullptr);
        // A limit leaves text out and is reported, but the message was read.
        return extraction_.collectsCodes && isLimitCode(code) ? int32_t{EML_OK} : code;
    }

    const char *name_;
    QobExtractOptions options_;
    HostParams params_{};
    QobStream stream_;
    Extraction extraction_;
    NoticeRelay relay_;
};

int32_t extractGuarded(const char *name, int descriptor, const QobSink *sink,
                       const QobExtractOptions *options, QobExtractResult *result) {
    if (result != nullptr) {
        *result = QobExtractResult{};
    }
    if (name == nullptr || sink == nullptr) {
        return QOB_ERR_OPTIONS;
    }
    try {
        TopLevelCall call(name, sink, options);
        const int32_t code = call.run(descriptor);
        call.fill(result);
        return code;
    } catch (const std::exception &) {
        return EML_ERR_MEMORY;
    }
}

bool keepsOutput(int32_t code) {
    return code == EML_OK || code == EML_ERR_LIMIT;
}

void report(const char *path, const QobExtractOptions *options, int32_t code, int error) {
    NoticeRelay(completed(options).callback, nullptr, path, 0).report(code, std::strerror(error));
}

} // namespace
} // namespace qob

QOB_HOST_EXPORT void qob_extract_options_init(QobExtractOptions *options, size_t size) {
    if (options == nullptr) {
        return;
    }
    QobExtractOptions filled = qob::defaults();
    filled.size = static_cast<uint32_t>(std::min(size, sizeof filled));
    std::memcpy(options, &filled, filled.size);
}

QOB_HOST_EXPORT int32_t qob_extract(const char *inputPath, const QobSink *sink,
                                    const QobExtractOptions *options, QobExtractResult *result) {
    return qob::extractGuarded(inputPath, -1, sink, options, result);
}

QOB_HOST_EXPORT int32_t qob_extract_descriptor(int descriptor, const char *name,
                                               const QobSink *sink,
                                               const QobExtractOptions *options,
                                               QobExtractResult *result) {
    if (descriptor < 0) {
        return QOB_ERR_OPTIONS;
    }
    QobExtractOptions unlogged = qob::completed(options);
    unlogged.log = 0;
    return qob::extractGuarded(name, descriptor, sink, &unlogged, result);
}

QOB_HOST_EXPORT int32_t qob_extract_to_file(const char *inputPath, const char *outputPath,
                                            const QobExtractOptions *options,
                                            QobExtractResult *result) {
    QobOutputFile *output = qob_output_open(outputPath);
    if (output == nullptr) {
        qob::report(outputPath, options, EML_ERR_OUTPUT, errno);
        return EML_ERR_OUTPUT;
    }
    const QobSink sink{&qob_output_write, output};
    const int32_t code = qob_extract(inputPath, &sink, options, result);
    if (qob_output_close(output, qob::keepsOutput(code) ? 1 : 0) != 0) {
        qob::report(outputPath, options, QOB_ERR_WRITE, errno);
        return QOB_ERR_WRITE;
    }
    return code;
}

QOB_HOST_EXPORT int32_t qob_message_filter_path(char *path) {
    path[0] = '\0';
    try {
        const std::string found = qob::filterPath(qob::filterOf(qob::messageType().library));
        if (found.empty() || !qob::copyText(found.c_str(), path, qob::kPathCapacity)) {
            return QOB_ERR_FILTER_LOAD;
        }
        return EML_OK;
    } catch (const std::exception &) {
        return EML_ERR_MEMORY;
    }
}
