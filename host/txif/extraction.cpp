// SPDX-License-Identifier: MIT
// Running one filter over one file, whoever asked for it.
#include "extraction.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "filter_loader.h"
#include "qob_conf_language.h"
#include "qob_filter.h"
#include "qob_scope.h"
#include "stream.h"

namespace qob {
namespace {

thread_local Extraction *current = nullptr;

// The language whose default charset reads undeclared text, restored at the end.
class LanguageGuard {
public:
    explicit LanguageGuard(const char *language) : outer_(qob_conf_language()) {
        qob_conf_set_language(language);
    }
    ~LanguageGuard() { qob_conf_set_language(outer_.c_str()); }
    LanguageGuard(const LanguageGuard &) = delete;
    LanguageGuard &operator=(const LanguageGuard &) = delete;

private:
    std::string outer_;
};

// The running filter and its depth; those around it are restored at the end.
class RunningGuard {
public:
    RunningGuard(Extraction &extraction, const FilterRun &run, uint32_t levels)
        : extraction_(extraction), outer_(extraction.running), levels_(levels) {
        extraction_.running = Running{run.params, run.relay, 0, false};
        extraction_.depth += levels_;
    }
    ~RunningGuard() {
        extraction_.running = outer_;
        extraction_.depth -= levels_;
    }
    RunningGuard(const RunningGuard &) = delete;
    RunningGuard &operator=(const RunningGuard &) = delete;

private:
    Extraction &extraction_;
    Running outer_;
    uint32_t levels_;
};

// On disk is what the filter looks for there, by what is known of it (qob_filter_files). False with
// errno set.
bool provideFiles(uint32_t known, const char *path) {
    const bool hasInput = (known & QOB_FILTER_HOST_INPUT) != 0 || qob_scope_store(path) == 0;
    return hasInput &&
           ((known & QOB_FILTER_HOST_TEMPORARIES) != 0 || qob_scope_directory() != nullptr);
}

int32_t callFilter(Extraction &extraction, const Filter &filter, const FilterRun &run) {
    const std::string language(run.params->language,
                               strnlen(run.params->language, sizeof run.params->language));
    const LanguageGuard guard(language.c_str());
    const int32_t code = filter.extract(run.input->path.c_str(), run.stream, run.params, nullptr,
                                        run.relay->callback());
    if (code == EML_ERR_LIMIT) {
        run.stream->truncated = true;
    }
    // A filter whose stream takes nothing any more may call that a failure of its own.
    const bool ended = run.stream->truncated || run.stream->failed;
    if (ended && (code == EML_ERR_LIMIT || code == EML_ERR_SHORT_WRITE)) {
        return EML_OK;
    }
    if (isLimitCode(code)) {
        reportLimit(extraction, *run.relay, code);
    } else if (code != EML_OK) {
        // Codes that are not collected travel up: the failure of something inside is this one's.
        run.relay->reportUnlessKnown(code, !extraction.collectsCodes);
    }
    return code;
}

} // namespace

ExtractionGuard::ExtractionGuard(Extraction &extraction) : outer_(current) {
    current = &extraction;
}

ExtractionGuard::~ExtractionGuard() {
    current = outer_;
}

Extraction *currentExtraction() {
    return current;
}

ScopeGuard::ScopeGuard(const char *tempRoot) : entered_(qob_scope_enter(tempRoot) == 0) {}

ScopeGuard::~ScopeGuard() {
    if (entered_) {
        qob_scope_leave();
    }
}

void reportLimit(Extraction &extraction, NoticeRelay &relay, int32_t code) {
    if (extraction.limits.firstReport(code)) {
        relay.report(code, extraction.limits.reason(code).c_str());
    }
}

int32_t runFilter(Extraction &extraction, const FilterRun &run) {
    if (run.input->error != 0) {
        run.relay->report(EML_ERR_INPUT, std::strerror(run.input->error));
        return EML_ERR_INPUT;
    }
    const FileType &type = run.input->type;
    if (type.library == nullptr) {
        const std::string reason = std::string("the file is ") + type.name;
        run.relay->report(QOB_ERR_NO_FILTER, reason.c_str());
        return QOB_ERR_NO_FILTER;
    }
    const uint32_t levels = type.nests && run.nested ? 1 : 0;
    if (extraction.depth + levels > extraction.depthLimit) {
        reportLimit(extraction, *run.relay, QOB_ERR_DEPTH);
        return QOB_ERR_DEPTH;
    }
    const Filter &filter = filterOf(type.library);
    if (filter.extract == nullptr) {
        run.relay->report(QOB_ERR_FILTER_LOAD, filter.reason.c_str());
        return QOB_ERR_FILTER_LOAD;
    }
    if (!provideFiles(type.files | filter.files, run.input->path.c_str())) {
        run.relay->report(QOB_ERR_TEMP, std::strerror(errno));
        return QOB_ERR_TEMP;
    }
    const RunningGuard guard(extraction, run, levels);
    return callFilter(extraction, filter, run);
}

} // namespace qob
