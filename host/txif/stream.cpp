// SPDX-License-Identifier: MIT
// QOB_WriteStream, and streams for callers that use an entry point directly.
#include "stream.h"

#include <algorithm>
#include <new>

#include "qob_charset_codes.h"
#include "qob_host_export.h"
#include "qob_insert.h"

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

void keepTail(QobStream &stream, const char *data, std::size_t length) {
    const std::size_t kept = std::min(length, stream.tail.size());
    std::move(stream.tail.begin() + static_cast<std::ptrdiff_t>(kept), stream.tail.end(),
              stream.tail.begin());
    std::copy(data + length - kept, data + length,
              stream.tail.end() - static_cast<std::ptrdiff_t>(kept));
}

// The last code unit, `width` bytes with the highest first.
uint32_t lastUnit(const QobStream &stream, std::size_t width) {
    uint32_t unit = 0;
    for (std::size_t i = stream.tail.size() - width; i < stream.tail.size(); ++i) {
        unit = (unit << 8U) | static_cast<unsigned char>(stream.tail[i]);
    }
    return unit;
}

bool put(QobStream &stream, uint32_t length, const void *data) {
    if (length == 0) {
        return true;
    }
    if (stream.sink.write == nullptr || stream.sink.write(stream.sink.context, data, length) == 0) {
        stream.failed = true;
        return false;
    }
    keepTail(stream, static_cast<const char *>(data), length);
    stream.written += length;
    stream.room -= std::min<uint64_t>(stream.room, length);
    return true;
}

} // namespace

int32_t endingOf(const QobStream &stream, const HostParams &params) {
    if (stream.written == 0) {
        return QOB_INSERTED_NOTHING;
    }
    constexpr uint32_t kLineSeparator = 0x2028;
    constexpr uint32_t kLineSeparatorInUtf8 = 0xE280A8;
    const char *charset = qob_charset_output(params.outputName, params.outputCode);
    const uint32_t width = std::clamp<uint32_t>(QOB_GetGroupCharWidth(charset), 1, 4);
    const uint32_t unit = lastUnit(stream, width);
    const bool lineEnd = unit == '\n' || unit == '\r' || unit == kLineSeparator ||
                         lastUnit(stream, 3) == kLineSeparatorInUtf8;
    return lineEnd ? int32_t{QOB_INSERTED_LINES} : int32_t{QOB_INSERTED_PART_LINE};
}

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
