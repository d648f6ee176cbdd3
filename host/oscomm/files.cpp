// SPDX-License-Identifier: MIT
// Files over stdio. A handle is a ticket of the handle table: a handle that was closed before, or
// that never was one, makes a call fail and nothing else. Each open file is noted in the scope it
// was opened in, which closes it when it is left.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include <sys/stat.h>

#include "handle_table.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "scope.h"

namespace {

constexpr uint32_t kUnknownSize = 0xFFFFFFFFU;

// C leaves a read directly after a write, and the reverse, undefined on one stream; remembering the
// last direction lets callers mix them freely.
enum class LastUse : std::uint8_t { None, Read, Write };

struct OpenFile {
    std::FILE *stream = nullptr;
    LastUse lastUse = LastUse::None;
};

using FileTable = qob::HandleTable<QobFile, OpenFile>;

// Never destroyed, so that a thread that outlives main() still finds it.
FileTable &table() {
    static auto *files = new FileTable;
    return *files;
}

// Room for the longest mode, "wb+", close-on-exec and the terminator.
struct StreamMode {
    char text[6];
};

bool streamMode(const char *mode, StreamMode *result) {
    const std::string_view given = mode == nullptr ? "" : mode;
    if (given.empty() || given.size() > 3 || std::strchr("rwa", given[0]) == nullptr ||
        given.find_first_not_of("b+", 1) != std::string_view::npos) {
        return false;
    }
    std::memcpy(result->text, given.data(), given.size());
    std::memcpy(result->text + given.size(), "e", 2);
    return true;
}

// A directory opens for reading and then fails at every call: refuse it at once.
bool isDirectory(std::FILE *stream) {
    struct stat status {};
    return ::fstat(::fileno(stream), &status) == 0 && S_ISDIR(status.st_mode);
}

QobFile *track(const OpenFile &file) {
    QobFile *handle = table().insert(file);
    if (handle == nullptr) {
        return nullptr;
    }
    try {
        qob::trackFile(handle);
        return handle;
    } catch (...) {
        OpenFile dropped;
        table().take(handle, &dropped);
        return nullptr;
    }
}

bool prepareFor(OpenFile &file, LastUse use) {
    if (file.lastUse != LastUse::None && file.lastUse != use &&
        ::fseeko(file.stream, 0, SEEK_CUR) != 0) {
        return false;
    }
    file.lastUse = use;
    return true;
}

bool isWhence(int32_t whence) {
    return whence >= 0 && whence <= 2;
}

constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};

} // namespace

QOB_HOST_EXPORT QobFile *QOB_FileOpen(const char *path, const char *mode) {
    StreamMode openMode{};
    if (path == nullptr || *path == '\0' || !streamMode(mode, &openMode)) {
        errno = EINVAL;
        return nullptr;
    }
    std::FILE *stream = std::fopen(path, openMode.text);
    if (stream == nullptr) {
        return nullptr;
    }
    const bool directory = isDirectory(stream);
    QobFile *handle = directory ? nullptr : track({stream, LastUse::None});
    if (handle == nullptr) {
        static_cast<void>(std::fclose(stream));
        errno = directory ? EISDIR : ENOMEM;
    }
    return handle;
}

QOB_HOST_EXPORT int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file) {
    OpenFile *open = table().find(file);
    if (open == nullptr || size <= 0 || count <= 0 || !prepareFor(*open, LastUse::Read)) {
        return 0;
    }
    return static_cast<int32_t>(std::fread(buffer, static_cast<std::size_t>(size),
                                           static_cast<std::size_t>(count), open->stream));
}

QOB_HOST_EXPORT int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count,
                                      QobFile *file) {
    OpenFile *open = table().find(file);
    if (open == nullptr || size <= 0 || count <= 0 || !prepareFor(*open, LastUse::Write)) {
        return 0;
    }
    return static_cast<int32_t>(std::fwrite(buffer, static_cast<std::size_t>(size),
                                            static_cast<std::size_t>(count), open->stream));
}

QOB_HOST_EXPORT int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence) {
    OpenFile *open = table().find(file);
    if (open == nullptr || !isWhence(whence) ||
        ::fseeko(open->stream, offset, kWhence[whence]) != 0) {
        return -1;
    }
    open->lastUse = LastUse::None;
    return 0;
}

QOB_HOST_EXPORT int32_t QOB_FileTell(QobFile *file) {
    OpenFile *open = table().find(file);
    const off_t position = open == nullptr ? -1 : ::ftello(open->stream);
    const bool fits = position >= 0 && position <= std::numeric_limits<int32_t>::max();
    return fits ? static_cast<int32_t>(position) : -1;
}

// What is still buffered counts as written.
QOB_HOST_EXPORT uint32_t QOB_FileTellSize(QobFile *file) {
    OpenFile *open = table().find(file);
    struct stat status {};
    if (open == nullptr || (open->lastUse == LastUse::Write && std::fflush(open->stream) != 0) ||
        ::fstat(::fileno(open->stream), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size >= off_t{kUnknownSize}) {
        return kUnknownSize;
    }
    return static_cast<uint32_t>(status.st_size);
}

QOB_HOST_EXPORT int32_t QOB_FileClose(QobFile *file) {
    OpenFile closed;
    if (!table().take(file, &closed)) {
        return -1;
    }
    qob::forgetFile(file);
    return std::fclose(closed.stream) == 0 ? 0 : -1;
}
