// SPDX-License-Identifier: MIT
// The lines on standard error.
#include "report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "qob_extract.h"

namespace emltext {

std::string failureLine(const std::string &file, uint32_t attachmentNumber, int32_t code,
                        const char *reason) {
    std::string line = "emltext: " + file + ": ";
    if (attachmentNumber != 0) {
        line += "attachment " + std::to_string(attachmentNumber) + ": ";
    }
    const char *meaning = qob_result_text(code);
    line += std::string(qob_result_name(code)) + " (" + std::to_string(code) + "): " + meaning;
    if (reason != nullptr && *reason != '\0' && std::strcmp(reason, meaning) != 0) {
        line += std::string(" (") + reason + ")";
    }
    return line;
}

void tell(const std::string &line) {
    static_cast<void>(std::fputs((line + "\n").c_str(), stderr));
}

bool printed(const std::string &text) {
    errno = 0;
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) {
        return true;
    }
    printFailure("standard output", 0, QOB_ERR_WRITE, std::strerror(errno));
    return false;
}

void printFailure(const std::string &file, uint32_t attachmentNumber, int32_t code,
                  const char *reason) {
    tell(failureLine(file, attachmentNumber, code, reason));
}

bool isWorthTelling(const QobNotice &notice) {
    const bool noText = notice.code == QOB_ERR_NO_FILTER && notice.attachmentNumber != 0;
    return !noText && notice.code != QOB_ERR_WRITE;
}

} // namespace emltext
