// SPDX-License-Identifier: MIT
// The limits of the thread's extraction as filters ask for them, and an extraction of its own for
// an entry point that is called by itself.
#include "qob_limits.h"

#include <memory>
#include <new>

#include "extraction.h"
#include "qob_host_export.h"

namespace qob {
namespace {

struct OwnExtraction {
    OwnExtraction(const char *path, const HostParams &params, const QobErrorCallback *callback)
        : relay(callback, nullptr, path, 0), guard(extraction) {
        extraction.flags = params.flags;
        extraction.running = Running{&params, &relay, 0, false};
    }

    Extraction extraction;
    NoticeRelay relay;
    ExtractionGuard guard;
};

thread_local std::unique_ptr<OwnExtraction> own;

// Reports a limit for the running filter.
int32_t answered(Extraction &extraction, int32_t code) {
    if (code != EML_OK && extraction.running.relay != nullptr) {
        reportLimit(extraction, *extraction.running.relay, code);
    }
    return code;
}

template <typename Ask> int32_t ask(Ask question) {
    Extraction *extraction = currentExtraction();
    if (extraction == nullptr) {
        return EML_OK;
    }
    try {
        return answered(*extraction, question(*extraction));
    } catch (const std::bad_alloc &) {
        return EML_ERR_MEMORY;
    }
}

} // namespace
} // namespace qob

QOB_HOST_EXPORT int32_t qob_limits_part(void) {
    return qob::ask([](qob::Extraction &extraction) {
        const int32_t code = extraction.limits.takePart();
        extraction.running.partCounted = code == EML_OK;
        return code;
    });
}

QOB_HOST_EXPORT int32_t qob_limits_unpacked(uint64_t bytes, uint64_t packed) {
    return qob::ask([bytes, packed](qob::Extraction &extraction) {
        return extraction.limits.takeUnpacked(bytes, packed, extraction.running.unpacked);
    });
}

QOB_HOST_EXPORT int32_t qob_limits_time(void) {
    return qob::ask([](qob::Extraction &extraction) { return extraction.limits.checkTime(); });
}

QOB_HOST_EXPORT uint64_t qob_limits_milliseconds_left(void) {
    const qob::Extraction *extraction = qob::currentExtraction();
    return extraction != nullptr ? extraction->limits.millisecondsLeft() : UINT64_MAX;
}

QOB_HOST_EXPORT int32_t qob_limits_stopped(void) {
    const qob::Extraction *extraction = qob::currentExtraction();
    return extraction != nullptr ? extraction->limits.stopped() : int32_t{EML_OK};
}

QOB_HOST_EXPORT int32_t qob_limits_enter(const char *path, const HostParams *params,
                                         void *callback) {
    if (qob::currentExtraction() != nullptr) {
        return 0;
    }
    try {
        qob::own = std::make_unique<qob::OwnExtraction>(
            path, *params, static_cast<const QobErrorCallback *>(callback));
        return 1;
    } catch (const std::bad_alloc &) {
        return -1;
    }
}

QOB_HOST_EXPORT void qob_limits_leave(void) {
    qob::own.reset();
}
