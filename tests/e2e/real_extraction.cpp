// SPDX-License-Identifier: MIT
#include "real_extraction.h"

#include "qob_extract.h"

namespace {

int32_t append(void *context, const void *data, uint32_t length) {
    static_cast<std::string *>(context)->append(static_cast<const char *>(data), length);
    return 1;
}

} // namespace

RealExtraction extractReally(const std::filesystem::path &path, const MessageFile &message) {
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof(options));
    const std::vector<std::string> &arguments = message.arguments;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const char *value = i + 1 < arguments.size() ? arguments[i + 1].c_str() : "";
        if (arguments[i] == "--language") {
            options.language = value;
        } else if (arguments[i] == "--charset") {
            options.charset = value;
        } else if (arguments[i] == "--newline") {
            options.newline = uint32_t{QOB_NEWLINE_LF};
            if (std::string(value) == "crlf") {
                options.newline = uint32_t{QOB_NEWLINE_CRLF};
            }
        } else if (arguments[i] == "--max-output") {
            options.maxOutput = std::stoull(value);
        } else if (arguments[i] == "--no-labels") {
            options.labels = 0;
        } else if (arguments[i] == "--no-attachments") {
            options.attachments = 0;
        }
    }
    options.type = QOB_TYPE_MESSAGE;
    RealExtraction extraction;
    const QobSink sink = {append, &extraction.text};
    extraction.code = qob_extract(path.c_str(), &sink, &options, nullptr);
    return extraction;
}
