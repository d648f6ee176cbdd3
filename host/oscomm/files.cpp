// SPDX-License-Identifier: MIT
// The file services. A handle is a ticket of the handle table: a handle that was closed before, or
// that never was one, makes a call fail and nothing else. Each open file is noted in the scope it
// was opened in, which closes it when it is left.
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "handle_table.h"
#include "open_file.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "qob_scope.h"
#include "scope.h"

namespace {

constexpr uint32_t kUnknownSize = 0xFFFFFFFFU;

struct Entry {
    qob::OpenFile *file = nullptr;
};

using FileTable = qob::HandleTable<QobFile, Entry>;

// Never destroyed, so that a thread that outlives main() still finds it, and there from the
// beginning, so that no call has to ask.
union Lasting {
    constexpr Lasting() : table() {}
    ~Lasting() {}
    Lasting(const Lasting &) = delete;
    Lasting &operator=(const Lasting &) = delete;

    FileTable table;
};
constinit Lasting files; // NOLINT(cert-err58-cpp): made before the program runs

// Null for a handle that is none.
qob::OpenFile *fileOf(QobFile *handle) {
    const Entry *entry = files.table.find(handle);
    return entry == nullptr ? nullptr : entry->file;
}

bool parseMode(const char *text, qob::OpenMode *mode) {
    const std::string_view given = text == nullptr ? "" : text;
    if (given.empty() || given.size() > 3 || std::strchr("rwa", given[0]) == nullptr ||
        given.find_first_not_of("b+", 1) != std::string_view::npos) {
        return false;
    }
    const bool both = given.find('+') != std::string_view::npos;
    mode->reads = both || given[0] == 'r';
    mode->writes = both || given[0] != 'r';
    mode->appends = given[0] == 'a';
    mode->creates = given[0] != 'r';
    mode->truncates = given[0] == 'w';
    return true;
}

// The file that waits for this path, or null.
qob::OpenFile *takeWaiting(const char *path, const qob::OpenMode &mode) {
    qob::Scope *scope = qob::currentScope();
    if (scope == nullptr || scope->waiting == nullptr || mode.writes ||
        scope->waitingPath != path) {
        return nullptr;
    }
    return std::exchange(scope->waiting, nullptr);
}

qob::OpenFile *openPath(const char *path, const qob::OpenMode &mode) {
    if (qob::OpenFile *waiting = takeWaiting(path, mode)) {
        return waiting;
    }
    const qob::Place place = qob::placeOf(path);
    return place.temporary != nullptr ? place.temporary->open(place.path, place.name, mode)
                                      : qob::OpenFile::onDisk(place.path, mode);
}

// Null with errno set, and the file closed, when no handle is left.
QobFile *handleFor(qob::OpenFile *file) {
    QobFile *handle = files.table.insert({file});
    if (handle != nullptr) {
        try {
            qob::trackFile(handle);
            return handle;
        } catch (...) {
            Entry dropped;
            files.table.take(handle, &dropped);
        }
    }
    qob::OpenFile::close(file);
    errno = ENOMEM;
    return nullptr;
}

bool isWhence(int32_t whence) {
    return whence >= 0 && whence <= 2;
}

constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};

// A partial item is transferred, but not counted.
int32_t items(std::size_t bytes, int32_t size) {
    return static_cast<int32_t>(size == 1 ? bytes : bytes / static_cast<std::size_t>(size));
}

std::size_t bytesOf(int32_t size, int32_t count) {
    return static_cast<std::size_t>(size) * static_cast<std::size_t>(count);
}

} // namespace

QOB_HOST_EXPORT QobFile *QOB_FileOpen(const char *path, const char *mode) {
    qob::OpenMode openMode;
    if (path == nullptr || *path == '\0' || !parseMode(mode, &openMode)) {
        errno = EINVAL;
        return nullptr;
    }
    try {
        qob::OpenFile *file = openPath(path, openMode);
        return file == nullptr ? nullptr : handleFor(file);
    } catch (...) {
        errno = ENOMEM;
        return nullptr;
    }
}

QOB_HOST_EXPORT int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file) {
    qob::OpenFile *open = fileOf(file);
    if (open == nullptr || size <= 0 || count <= 0) {
        return 0;
    }
    return items(open->read(buffer, bytesOf(size, count)), size);
}

QOB_HOST_EXPORT int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count,
                                      QobFile *file) {
    qob::OpenFile *open = fileOf(file);
    if (open == nullptr || size <= 0 || count <= 0) {
        return 0;
    }
    return items(open->write(buffer, bytesOf(size, count)), size);
}

QOB_HOST_EXPORT int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence) {
    qob::OpenFile *open = fileOf(file);
    return open != nullptr && isWhence(whence) && open->seek(offset, kWhence[whence]) ? 0 : -1;
}

QOB_HOST_EXPORT int32_t QOB_FileTell(QobFile *file) {
    const qob::OpenFile *open = fileOf(file);
    const off_t position = open == nullptr ? -1 : open->tell();
    const bool fits = position >= 0 && position <= std::numeric_limits<int32_t>::max();
    return fits ? static_cast<int32_t>(position) : -1;
}

// What is still buffered counts as written.
QOB_HOST_EXPORT uint32_t QOB_FileTellSize(QobFile *file) {
    qob::OpenFile *open = fileOf(file);
    const off_t size = open == nullptr ? -1 : open->size();
    return size >= 0 && size < off_t{kUnknownSize} ? static_cast<uint32_t>(size) : kUnknownSize;
}

QOB_HOST_EXPORT int32_t QOB_FileClose(QobFile *file) {
    Entry closed;
    if (!files.table.take(file, &closed)) {
        return -1;
    }
    qob::forgetFile(file);
    return qob::OpenFile::close(closed.file) ? 0 : -1;
}

QOB_HOST_EXPORT int32_t qob_file_is_regular(QobFile *file) {
    const qob::OpenFile *open = fileOf(file);
    return open != nullptr && open->isRegular() ? 1 : 0;
}

QOB_HOST_EXPORT void qob_file_close_to_reopen(QobFile *file, const char *path) {
    Entry closed;
    if (!files.table.take(file, &closed)) {
        return;
    }
    qob::forgetFile(file);
    qob::Scope *scope = qob::currentScope();
    if (scope == nullptr || scope->waiting != nullptr || path == nullptr ||
        !closed.file->rewindForNext()) {
        qob::OpenFile::close(closed.file);
        return;
    }
    try {
        scope->waitingPath = path;
        scope->waiting = closed.file;
    } catch (...) {
        qob::OpenFile::close(closed.file);
    }
}
