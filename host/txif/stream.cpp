// SPDX-License-Identifier: MIT
// QOB_WriteStream, and streams for callers that use an entry point directly.
#include "stream.h"

#include <algorithm>
#include <new>

#include "qob_host_export.h"

namespace qob {

uint64_t limitOf(const HostParams &params) {
    return (params.options & EML_OPT_LIMIT_OUTPUT) != 0 ? params.outputLimit & UINT32_MAX
                                                        : QOB_NO_LIMIT;
}

void setChildLimit(HostParams &params, uint64_t room) {
    if (room < UINT32_MAX - kLimitSlack) {
        params.options |= EML_OPT_LIMIT_OUTPUT;
        params.outputLimit = room + kLimitSlack;
    } else {
        // More than a filter can count: the stream alone keeps the limit.
        params.options &= ~EML_OPT_LIMIT_OUTPUT;
        params.outputLimit = 0;
    }
}

namespace {

bool put(QobStream &stream, uint32_t length, const void *data) {
    if (length == 0) {
        return true;
    }
    if (stream.sink.write == nullptr || stream.sink.write(stream.sink.context, data, length) == 0) {
        stream.failed = true;
        return false;
    }
    stream.written += length;
    stream.room -= std::min<uint64_t>(stream.room, length);
    return true;
}

} // namespace
} // namespace qob

QOB_HOST_EXPORT int32_t QOB_WriteStream(QobStream *stream, uint32_t length, const void *data) {
    if (stream == nullptr || stream->failed || stream->truncated ||
        (data == nullptr && length != 0)) {
        return 0;
    }
    if (!stream->limited || length <= stream->room) {
        return qob::put(*stream, length, data) ? 1 : 0;
    }
    stream->truncated = true;
    const auto room = static_cast<uint32_t>(stream->room);
    qob::put(*stream, CutStr(data, length, room, stream->params), data);
    return 0;
}

QOB_HOST_EXPORT QobStream *qob_stream_open(const QobSink *sink, const HostParams *params) {
    auto *stream = new (std::nothrow) QobStream;
    if (stream == nullptr || sink == nullptr) {
        delete stream;
        return nullptr;
    }
    stream->sink = *sink;
    stream->params = params;
    if (params != nullptr && qob::limitOf(*params) != QOB_NO_LIMIT) {
        stream->limited = true;
        stream->room = qob::limitOf(*params);
    }
    return stream;
}

QOB_HOST_EXPORT int32_t qob_stream_close(QobStream *stream) {
    if (stream == nullptr) {
        return EML_OK;
    }
    int32_t code = EML_OK;
    if (stream->failed) {
        code = QOB_ERR_WRITE;
    } else if (stream->truncated) {
        code = EML_ERR_LIMIT;
    }
    delete stream;
    return code;
}
