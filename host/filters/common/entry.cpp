// SPDX-License-Identifier: MIT
// The frame around every Extractor. Nothing that it or the filter throws passes it.
#include "entry.h"

#include <exception>
#include <new>

#include "qob_host.h"
#include "qob_limits.h"
#include "qob_notice.h"

namespace qob::filters {
namespace {

// Limits and counts of an entry point that is called by itself.
class OwnLimits {
public:
    OwnLimits(const char *path, const HostParams *params, void *callback)
        : entered_(qob_limits_enter(path, params, callback)) {}
    ~OwnLimits() {
        if (entered_ == 1) {
            qob_limits_leave();
        }
    }
    OwnLimits(const OwnLimits &) = delete;
    OwnLimits &operator=(const OwnLimits &) = delete;
    bool failed() const { return entered_ < 0; }

private:
    int32_t entered_;
};

void reportPath(const char *path, void *callback, int32_t code, const char *reason) {
    const auto *target = static_cast<const QobErrorCallback *>(callback);
    if (target == nullptr || target->report == nullptr) {
        return;
    }
    const QobNotice notice{path, 0, code, reason};
    target->report(target->context, &notice);
}

int32_t runExtractor(Extraction &extraction, Extractor extractor) noexcept {
    const OwnLimits limits(extraction.inputPath, &extraction.params, extraction.callback);
    if (limits.failed()) {
        return EML_ERR_MEMORY;
    }
    try {
        const int32_t code = extractor(extraction);
        extraction.output.finish();
        return code != EML_OK ? code : extraction.output.status();
    } catch (const std::bad_alloc &) {
        return EML_ERR_MEMORY;
    } catch (const std::exception &) {
        return EML_ERR_INPUT;
    }
}

} // namespace

void report(const Extraction &extraction, int32_t code, const char *reason) {
    reportPath(extraction.inputPath, extraction.callback, code, reason);
}

int32_t extractToFile(const char *inputPath, const char *outputPath, const HostParams *params,
                      void *callback, Extractor extractor) noexcept {
    if (inputPath == nullptr || outputPath == nullptr || params == nullptr) {
        return EML_ERR_INPUT;
    }
    InputFile input(inputPath);
    if (!input.isOpen()) {
        reportPath(inputPath, callback, EML_ERR_INPUT, "the file cannot be opened");
        return EML_ERR_INPUT;
    }
    QobFile *file = QOB_FileOpen(outputPath, "wb");
    if (file == nullptr) {
        return EML_ERR_OUTPUT;
    }
    TextOutput output(file, *params);
    Extraction extraction{inputPath, input, *params, callback, output};
    int32_t code = runExtractor(extraction, extractor);
    // A full disk may show itself at the close only.
    if (QOB_FileClose(file) != 0 && code == EML_OK) {
        code = EML_ERR_SHORT_WRITE;
    }
    if (code != EML_OK && code != EML_ERR_LIMIT) {
        QOB_ASC_remove(outputPath);
    }
    return code;
}

int32_t extractToStream(const char *inputPath, QobStream *stream, const HostParams *params,
                        void *callback, Extractor extractor) noexcept {
    if (inputPath == nullptr || stream == nullptr || params == nullptr) {
        return EML_ERR_INPUT;
    }
    InputFile input(inputPath);
    if (!input.isOpen()) {
        reportPath(inputPath, callback, EML_ERR_INPUT, "the file cannot be opened");
        return EML_ERR_INPUT;
    }
    TextOutput output(stream, *params);
    Extraction extraction{inputPath, input, *params, callback, output};
    const int32_t code = runExtractor(extraction, extractor);
    return code == EML_ERR_LIMIT ? int32_t{EML_OK} : code;
}

} // namespace qob::filters
