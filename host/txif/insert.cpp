// SPDX-License-Identifier: MIT
// The insert services: another file's text into the output of the running extraction. The file's
// filter writes to a stream of its own whose sink is that output, so that one limit spans the whole
// result and the bytes are counted where they pass.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "extraction.h"
#include "input_file.h"
#include "qob_host_export.h"
#include "qob_insert.h"
#include "qob_scope.h"
#include "stream.h"

namespace qob {
namespace {

constexpr uint32_t kHtmlPartFlags = 10;

int32_t writeToFile(void *context, const void *data, uint32_t length) {
    auto *file = static_cast<QobFile *>(context);
    const auto *bytes = static_cast<const char *>(data);
    while (length > 0) {
        const auto part = static_cast<int32_t>(std::min<uint32_t>(length, INT32_MAX));
        if (QOB_FileWrite(bytes, 1, part, file) != part) {
            return 0;
        }
        bytes += part;
        length -= static_cast<uint32_t>(part);
    }
    return 1;
}

int32_t writeToStream(void *context, const void *data, uint32_t length) {
    return QOB_WriteStream(static_cast<QobStream *>(context), length, data);
}

// The insertion's arguments, checked.
struct Insertion {
    const char *name;
    QobSink sink;
    uint64_t outerRoom; // what the output itself still takes
    bool outerEnded;    // the output takes nothing any more
    QobStream *outer;   // the output, when it is a stream
    const HostParams *params;
    SessionRecord *session;
    const QobErrorCallback *callback;
};

thread_local int32_t lastEnding = QOB_INSERTED_NOTHING;

// Bytes that the insertion may write: the limit counts from the session's saved output count.
uint64_t roomFor(const Insertion &insertion) {
    const uint64_t limit = limitOf(*insertion.params);
    const uint64_t before = insertion.session->savedOutputCount;
    if (limit == QOB_NO_LIMIT) {
        return insertion.outerRoom;
    }
    return std::min(insertion.outerRoom, limit > before ? limit - before : 0);
}

// Once text was left out, the caller must not fill the few bytes that a spared character left:
// its count is set to its limit.
void storeCount(const Insertion &insertion, const QobStream &stream) {
    uint64_t count = insertion.session->savedOutputCount + stream.written;
    const uint64_t limit = limitOf(*insertion.params);
    if (stream.truncated && limit != QOB_NO_LIMIT) {
        count = std::max(count, limit);
    }
    insertion.session->savedOutputCount = count;
}

// The e-mail filter hands attachments over with the record that it was given itself, and HTML
// bodies with a copy that has flags of its own. Where that record is not known, the flags decide.
bool isAttachment(const Extraction &extraction, const Insertion &insertion) {
    const HostParams *running = extraction.running.params;
    return running != nullptr ? insertion.params == running
                              : insertion.params->flags != kHtmlPartFlags;
}

HostParams childParams(const Extraction &extraction, const Insertion &insertion, uint64_t room) {
    HostParams params = *insertion.params;
    params.flags = extraction.flags;
    params.options &= ~EML_OPT_LOG;
    // A limit that the caller's filter does not keep is kept by the streams alone.
    setChildLimit(params, limitOf(*insertion.params) == QOB_NO_LIMIT ? QOB_NO_LIMIT : room);
    return params;
}

int32_t runInScope(Extraction &extraction, const Insertion &insertion, NoticeRelay &relay,
                   QobStream &stream) {
    const ScopeGuard scope(nullptr);
    if (!scope.entered()) {
        relay.report(QOB_ERR_TEMP, std::strerror(errno));
        return QOB_ERR_TEMP;
    }
    const PreparedInput input = prepareEmbedded(insertion.name);
    if (input.path.empty()) {
        relay.report(QOB_ERR_TEMP, input.reason.c_str());
        return QOB_ERR_TEMP;
    }
    relay.setAlias(input.path.c_str());
    const HostParams params =
        childParams(extraction, insertion, stream.limited ? stream.room : QOB_NO_LIMIT);
    stream.params = &params;
    const int32_t code = runFilter(extraction, FilterRun{&input, true, &params, &stream, &relay});
    stream.params = nullptr;
    relay.setAlias(nullptr);
    return code;
}

// Inside the host's own call that goes on without what fails, codes are kept apart from the result
// of the message itself: only a body that is missing makes the message incomplete.
int32_t settle(Extraction &extraction, bool attachment, int32_t code) {
    if (code == EML_OK || !extraction.collectsCodes) {
        return code;
    }
    if (attachment || extraction.depth > 0) {
        ++extraction.attachmentsFailed;
        if (extraction.attachmentCode == EML_OK) {
            extraction.attachmentCode = code;
        }
    } else if (extraction.bodyCode == EML_OK && !isLimitCode(code)) {
        extraction.bodyCode = code;
    }
    return EML_OK;
}

// What is left out without a word: the limit was reported when it was met.
int32_t leaveOut(const Extraction &extraction, int32_t limit) {
    return extraction.collectsCodes ? int32_t{EML_OK} : limit;
}

// Counts an attachment or member, and looks at the time.
int32_t askLimits(Extraction &extraction, bool attachment) {
    const bool counted = std::exchange(extraction.running.partCounted, false);
    if (attachment && !counted) {
        if (const int32_t code = extraction.limits.takePart(); code != EML_OK) {
            return code;
        }
    }
    return extraction.limits.checkTime();
}

int32_t insertInto(Extraction &extraction, const Insertion &insertion) {
    lastEnding = QOB_INSERTED_NOTHING;
    if (extraction.ended || insertion.outerEnded) {
        return EML_OK;
    }
    if (const int32_t limit = extraction.limits.stopped(); limit != EML_OK) {
        return leaveOut(extraction, limit);
    }
    QobStream stream;
    stream.sink = insertion.sink;
    stream.room = roomFor(insertion);
    stream.limited = stream.room != QOB_NO_LIMIT;
    const bool attachment = isAttachment(extraction, insertion);
    NoticeRelay relay(insertion.callback, nullptr, qob_scope_real_path(insertion.name),
                      attachment ? insertion.session->attachmentNumber + 1 : 0);
    int32_t code = askLimits(extraction, attachment);
    if (code != EML_OK) {
        reportLimit(extraction, relay, code);
        return settle(extraction, attachment, code);
    }
    code = runInScope(extraction, insertion, relay, stream);
    storeCount(insertion, stream);
    lastEnding = endingOf(stream, *insertion.params);
    if (stream.truncated && insertion.outer != nullptr && insertion.outer->limited) {
        insertion.outer->truncated = true; // a spared character left room, but not for what follows
    }
    extraction.truncated = extraction.truncated || stream.truncated;
    extraction.ended = extraction.ended || stream.truncated || stream.failed;
    if (code == EML_OK && stream.failed && !extraction.collectsCodes) {
        relay.reportUnlessKnown(QOB_ERR_WRITE, true);
        code = QOB_ERR_WRITE;
    }
    return settle(extraction, attachment, code);
}

// Outside the host's own call every insertion is an extraction with default limits.
int32_t insertAnywhere(const Insertion &insertion) {
    if (Extraction *running = currentExtraction()) {
        return insertInto(*running, insertion);
    }
    Extraction extraction;
    extraction.flags = insertion.params->flags;
    const ExtractionGuard guard(extraction);
    return insertInto(extraction, insertion);
}

int32_t insertGuarded(const Insertion &insertion) {
    try {
        return insertAnywhere(insertion);
    } catch (const std::exception &) {
        return EML_ERR_MEMORY;
    }
}

} // namespace
} // namespace qob

QOB_HOST_EXPORT int32_t qob_insert_ending(void) {
    return qob::lastEnding;
}

QOB_HOST_EXPORT int32_t QOB_GetInsertFileTextWithErrCallback(const char *name, QobFile *output,
                                                             const HostParams *params,
                                                             SessionRecord *session,
                                                             void *errCallback) {
    if (name == nullptr || output == nullptr || params == nullptr || session == nullptr) {
        return EML_ERR_INPUT;
    }
    return qob::insertGuarded({name,
                               {&qob::writeToFile, output},
                               QOB_NO_LIMIT,
                               false,
                               nullptr,
                               params,
                               session,
                               static_cast<const QobErrorCallback *>(errCallback)});
}

QOB_HOST_EXPORT int32_t QOB_GetInsertFileTextStreamWithErrCallback(const char *name,
                                                                   QobStream *output,
                                                                   const HostParams *params,
                                                                   SessionRecord *session,
                                                                   void *errCallback) {
    if (name == nullptr || output == nullptr || params == nullptr || session == nullptr) {
        return EML_ERR_INPUT;
    }
    return qob::insertGuarded({name,
                               {&qob::writeToStream, output},
                               output->limited ? output->room : QOB_NO_LIMIT,
                               output->truncated || output->failed,
                               output,
                               params,
                               session,
                               static_cast<const QobErrorCallback *>(errCallback)});
}
