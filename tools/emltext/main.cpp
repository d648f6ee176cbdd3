// SPDX-License-Identifier: MIT
// emltext: the text of e-mail messages.
#include <cerrno>
#include <exception>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "console/library_version.h"
#include "console/options.h"
#include "console/report.h"
#include "run.h"

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

} // namespace

int main(int argc, char **argv) {
    keepStandardDescriptorsTaken();
    try {
        const ParsedCommandLine parsed = parseCommandLine(argc, argv);
        if (!parsed.options) {
            return parsed.exitStatus;
        }
        return parsed.options->action == Action::kShowVersion ? showVersion()
                                                              : runAll(*parsed.options);
    } catch (const std::exception &error) {
        tell(std::string("emltext: ") + error.what());
        return kMessageFailed;
    }
}
