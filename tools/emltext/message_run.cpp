// SPDX-License-Identifier: MIT
// One message: options for the host, notices for the person.
#include "message_run.h"

#include <unistd.h>

#include "report.h"

namespace emltext {
namespace {

struct Listener {
    const std::string *message;
    int32_t lastOwnCode; // the last one that was told of the message itself
};

void listen(void *context, const QobNotice *notice) {
    auto &listener = *static_cast<Listener *>(context);
    if (notice->attachmentNumber == 0) {
        listener.lastOwnCode = notice->code;
    }
    if (isWorthTelling(*notice)) {
        printFailure(*listener.message, notice->attachmentNumber, notice->code, notice->reason);
    }
}

QobExtractOptions hostOptions(const Options &options, const QobErrorCallback &callback) {
    QobExtractOptions host{};
    qob_extract_options_init(&host, sizeof host);
    host.type = QOB_TYPE_MESSAGE;
    host.charset = options.charset.c_str();
    host.language = options.language.c_str();
    host.callback = &callback;
    host.maxOutput = options.maxOutput;
    host.newline = options.newline;
    host.labels = options.labels ? 1 : 0;
    host.attachments = options.attachments ? 1 : 0;
    host.log = options.log ? 1 : 0;
    return host;
}

} // namespace

int32_t runMessage(const std::string &message, const Options &options, Output &output) {
    const bool standardInput = message == "-";
    const std::string name = standardInput ? "standard input" : message;
    Listener listener{&name, EML_OK};
    const QobErrorCallback callback{&listen, &listener};
    const QobExtractOptions host = hostOptions(options, callback);
    const QobSink sink = output.sink();
    const int32_t code =
        standardInput ? qob_extract_descriptor(STDIN_FILENO, name.c_str(), &sink, &host, nullptr)
                      : qob_extract(message.c_str(), &sink, &host, nullptr);
    if (code != EML_OK && code != listener.lastOwnCode) {
        printFailure(name, 0, code, nullptr);
    }
    return code;
}

} // namespace emltext
