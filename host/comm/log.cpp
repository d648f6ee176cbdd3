// SPDX-License-Identifier: MIT
// The diagnostic log of an extraction. It is written only when the options ask for it, each message
// is on disk when the call returns, and a log may be closed any number of times: a handle is a
// ticket of the handle table, so a second close, or a message after it, does nothing.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "handle_table.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "qob_scope.h"

namespace {

constexpr std::size_t kNameCapacity = 4096;

struct OpenLog {
    std::FILE *stream = nullptr;
};

using LogTable = qob::HandleTable<QobLog, OpenLog>;

// Never destroyed, so that a thread that outlives main() still finds it.
LogTable &table() {
    static auto *logs = new LogTable;
    return *logs;
}

} // namespace

// A name that would be cut could be that of another file: none is given then, and no log opens.
QOB_HOST_EXPORT void GetLogFileName(const char *path, const char *module, char *name) {
    name[0] = '\0';
    if (path == nullptr || *path == '\0') {
        return;
    }
    const int length = std::snprintf(name, kNameCapacity, "%s.%s.log", qob_scope_real_path(path),
                                     module == nullptr ? "" : module);
    if (length < 0 || static_cast<std::size_t>(length) >= kNameCapacity) {
        name[0] = '\0';
    }
}

QOB_HOST_EXPORT QobLog *qob_logfopen(uint32_t options, const char *name) {
    if ((options & EML_OPT_LOG) == 0 || name == nullptr || *name == '\0') {
        return nullptr;
    }
    std::FILE *stream = std::fopen(name, "we");
    if (stream == nullptr) {
        return nullptr;
    }
    QobLog *log = table().insert(OpenLog{stream});
    if (log == nullptr) {
        static_cast<void>(std::fclose(stream));
    }
    return log;
}

// The characters written, 0 without a log, -1 when they could not be written.
QOB_HOST_EXPORT int32_t qob_logfprintf(uint32_t /*options*/, QobLog *log, const char *format, ...) {
    const OpenLog *open = table().find(log);
    if (open == nullptr || format == nullptr) {
        return 0;
    }
    va_list values;
    va_start(values, format);
    const int written = std::vfprintf(open->stream, format, values);
    va_end(values);
    return written < 0 || std::fflush(open->stream) != 0 ? -1 : written;
}

QOB_HOST_EXPORT void qob_logfclose(uint32_t /*options*/, QobLog *log) {
    OpenLog closed;
    if (table().take(log, &closed)) {
        static_cast<void>(std::fclose(closed.stream));
    }
}
