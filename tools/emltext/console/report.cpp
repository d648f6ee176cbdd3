// SPDX-License-Identifier: MIT
// The lines on standard error.
#include "console/report.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "qob_extract.h"

namespace emltext {
namespace {

struct WorkerCodeRow {
    int32_t code;
    const char *name;
    const char *meaning;
};

constexpr std::array<WorkerCodeRow, 4> kWorkerCodes = {{
    {kWorkerCrashed, "EMLTEXT_ERR_CRASH", "the process that read the message ended unexpectedly"},
    {kWorkerTimeout, "EMLTEXT_ERR_TIMEOUT", "the message took longer than the limit"},
    {kWorkerMemory, "EMLTEXT_ERR_MEMORY", "the message needed more memory than the limit"},
    {kWorkerLost, "EMLTEXT_ERR_WORKER", "no process could be started to read the message"},
}};

const WorkerCodeRow *workerCode(int32_t code) {
    for (const WorkerCodeRow &row : kWorkerCodes) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

std::string codeName(int32_t code) {
    const WorkerCodeRow *row = workerCode(code);
    return row != nullptr ? row->name : qob_result_name(code);
}

std::string codeMeaning(int32_t code) {
    const WorkerCodeRow *row = workerCode(code);
    return row != nullptr ? row->meaning : qob_result_text(code);
}

std::string displayName(const Job &job) {
    const std::string name = job.path == "-" ? "standard input" : printable(job.path);
    return job.index == 0 ? name : name + " message " + std::to_string(job.index);
}

std::string failureLine(const std::string &file, uint32_t attachmentNumber, int32_t code,
                        const std::string &reason) {
    std::string line = "emltext: " + file + ": ";
    if (attachmentNumber != 0) {
        line += "attachment " + std::to_string(attachmentNumber) + ": ";
    }
    const std::string meaning = codeMeaning(code);
    line += codeName(code) + " (" + std::to_string(code) + "): " + meaning;
    if (!reason.empty() && reason != meaning) {
        line += " (" + printable(reason) + ")";
    }
    return line;
}

std::string messageLine(const Job &job, const Outcome &outcome) {
    return "emltext: " + displayName(job) + ": " + codeName(outcome.code) + ", " +
           std::to_string(outcome.bytesIn) + " bytes read, " + std::to_string(outcome.bytesOut) +
           " bytes of text, " + std::to_string(outcome.milliseconds) + " ms";
}

bool isWorthTelling(const Note &note, Detail detail) {
    if (note.attachment == 0) {
        return true;
    }
    const bool isDamage = note.code != QOB_ERR_NO_FILTER && note.code != QOB_ERR_WRITE;
    return detail == Detail::kEverything || (detail == Detail::kDamage && isDamage);
}

std::string printable(const std::string &text) {
    std::string shown = text;
    for (char &c : shown) {
        const auto byte = static_cast<unsigned char>(c);
        c = byte < 0x20U || byte == 0x7FU ? '?' : c;
    }
    return shown;
}

void tell(const std::string &line) {
    static_cast<void>(std::fputs((line + "\n").c_str(), stderr));
}

bool printed(const std::string &text) {
    errno = 0;
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) {
        return true;
    }
    tell(failureLine("standard output", 0, QOB_ERR_WRITE, std::strerror(errno)));
    return false;
}

} // namespace emltext
