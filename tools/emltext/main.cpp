// SPDX-License-Identifier: MIT
// emltext: the text of e-mail messages on standard output.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "library_version.h"
#include "line_end.h"
#include "message_run.h"
#include "options.h"
#include "output.h"
#include "report.h"

namespace {

using namespace emltext;

// A closed standard descriptor would be given to the first file that is opened, and text would go
// there. It is kept taken instead, by one that refuses what it is for.
void keepStandardDescriptorsTaken() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
            const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            static_cast<void>(open("/dev/null", mode));
        }
    }
}

int showVersion() {
    const auto version = libraryVersion();
    if (!version) {
        tell("emltext: libqob_txeml.so.5 is missing or carries no version; install it beside "
             "libqob_txif.so.5");
        return kMessageFailed;
    }
    return printed(*version + "\n") ? kAllWell : kMessageFailed;
}

int reportOutput(const Output &output, int32_t code) {
    printFailure(output.name(), 0, code, std::strerror(output.error()));
    return kMessageFailed;
}

bool gaveText(int32_t code) {
    return code == EML_OK || code == EML_ERR_LIMIT;
}

int extractAll(const Options &options) {
    Output output(options.outputPath ? &*options.outputPath : nullptr);
    if (!output.isOpen()) {
        return reportOutput(output, EML_ERR_OUTPUT);
    }
    int status = kAllWell;
    bool anyText = false;
    const std::string newLine = lineEnd(options.charset, options.newline);
    for (const std::string &message : options.messages) {
        output.beginLine(newLine);
        const int32_t code = runMessage(message, options, output);
        if (code == QOB_ERR_CHARSET || code == QOB_ERR_OPTIONS) {
            return kWrongUsage;
        }
        if (!output.flush()) {
            return reportOutput(output, QOB_ERR_WRITE);
        }
        anyText = anyText || gaveText(code);
        status = code == EML_OK ? status : kMessageFailed;
    }
    if (anyText && !output.commit()) {
        return reportOutput(output, QOB_ERR_WRITE);
    }
    return status;
}

} // namespace

int main(int argc, char **argv) {
    keepStandardDescriptorsTaken();
    // A reader that goes away is a failed write.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    try {
        const ParsedCommandLine parsed = parseCommandLine(argc, argv);
        if (!parsed.options) {
            return parsed.exitStatus;
        }
        return parsed.options->action == Action::kShowVersion ? showVersion()
                                                              : extractAll(*parsed.options);
    } catch (const std::exception &error) {
        tell(std::string("emltext: ") + error.what());
        return kMessageFailed;
    }
}
