// SPDX-License-Identifier: MIT
// Opening, seeking and closing; the transfers are in open_file_io.cpp.
#include "open_file.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "block_pool.h"
#include "memory_file.h"

namespace qob {
namespace {

constexpr mode_t kNewFileMode = 0666; // less the umask

int flagsOf(const OpenMode &mode) {
    int flags = O_CLOEXEC;
    if (mode.reads && mode.writes) {
        flags |= O_RDWR;
    } else {
        flags |= mode.writes ? O_WRONLY : O_RDONLY;
    }
    flags |= mode.creates ? O_CREAT : 0;
    flags |= mode.truncates ? O_TRUNC : 0;
    flags |= mode.appends ? O_APPEND : 0;
    return flags;
}

int closeKeepingErrno(int descriptor) {
    const int error = errno;
    const int result = ::close(descriptor);
    errno = error;
    return result;
}

} // namespace

OpenFile *OpenFile::onDisk(const char *path, const OpenMode &mode) noexcept {
    const int descriptor = ::open(path, flagsOf(mode), kNewFileMode);
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status {};
    const bool known = ::fstat(descriptor, &status) == 0;
    // A directory opens for reading and then fails at every call: refuse it at once.
    if (known && S_ISDIR(status.st_mode)) {
        closeKeepingErrno(descriptor);
        errno = EISDIR;
        return nullptr;
    }
    const bool regular = known && S_ISREG(status.st_mode);
    const off_t size = regular ? status.st_size : 0;
    auto *file = new (std::nothrow) OpenFile(descriptor, mode, regular, size);
    if (file == nullptr) {
        closeKeepingErrno(descriptor);
        errno = ENOMEM;
        return nullptr;
    }
    // What is only appended to begins at its end.
    file->base_ = mode.appends && !mode.reads ? size : 0;
    return file;
}

OpenFile *OpenFile::inMemory(MemoryFile &memory, const OpenMode &mode) noexcept {
    auto *file = new (std::nothrow) OpenFile(-1, mode, true, 0);
    if (file != nullptr) {
        file->memory_ = &memory;
        file->block_ = memory.block;
        file->standAt(mode.appends && !mode.reads ? static_cast<off_t>(memory.size) : 0);
    }
    return file;
}

bool OpenFile::close(OpenFile *file) noexcept {
    bool complete = true;
    if (file->memory_ != nullptr) {
        closeInMemory(*file);
        complete = !file->lost_;
    } else {
        complete = !file->writing_ || file->flush();
        giveBlock(file->block_);
    }
    if (file->descriptor_ >= 0) {
        complete = ::close(file->descriptor_) == 0 && complete;
    }
    delete file;
    return complete;
}

// Idle at `position`; what is buffered for reading is dropped.
void OpenFile::standAt(off_t position) noexcept {
    base_ = position;
    cursor_ = block_;
    readEnd_ = block_;
    writeEnd_ = block_;
    writing_ = false;
}

void OpenFile::settleMemory() noexcept {
    if (writing_ && memory_ != nullptr) {
        memory_->size = std::max(memory_->size, static_cast<std::size_t>(cursor_ - block_));
    }
}

void OpenFile::moveToDisk(int descriptor) noexcept {
    const off_t there = position();
    memory_ = nullptr;
    block_ = nullptr;
    descriptor_ = descriptor;
    sizeKnown_ = false;
    lost_ = false;
    standAt(there);
}

bool OpenFile::stopWriting() noexcept {
    if (!writing_) {
        return true;
    }
    const off_t there = position();
    if (memory_ != nullptr) {
        settleMemory();
    } else if (!flush()) {
        return false;
    }
    standAt(there);
    return true;
}

bool OpenFile::seek(off_t offset, int whence) noexcept {
    if (!stopWriting()) {
        return false;
    }
    if (!regular_) {
        return seekDevice(offset, whence);
    }
    off_t from = 0;
    if (whence != SEEK_SET) {
        from = whence == SEEK_CUR ? position() : size();
    }
    if (from < 0 || (offset < 0 && from < -offset) ||
        offset > std::numeric_limits<off_t>::max() - from) {
        errno = EINVAL;
        return false;
    }
    const off_t target = from + offset;
    if (target >= base_ && target <= base_ + (readEnd_ - block_)) {
        cursor_ = block_ + (target - base_);
    } else {
        standAt(target);
    }
    return true;
}

bool OpenFile::seekDevice(off_t offset, int whence) noexcept {
    const off_t behind = whence == SEEK_CUR ? static_cast<off_t>(unread()) : 0;
    if (::lseek(descriptor_, offset - behind, whence) < 0) {
        return false;
    }
    standAt(0);
    return true;
}

off_t OpenFile::tell() const noexcept {
    if (regular_) {
        return position();
    }
    const off_t there = ::lseek(descriptor_, 0, SEEK_CUR);
    if (there < 0) {
        return -1;
    }
    return writing_ ? there + (cursor_ - block_) : there - static_cast<off_t>(unread());
}

off_t OpenFile::sizeOnDisk() const noexcept {
    struct stat status {};
    const bool known = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    return known ? status.st_size : -1;
}

off_t OpenFile::size() noexcept {
    if (memory_ != nullptr) {
        settleMemory();
        return static_cast<off_t>(memory_->size);
    }
    if (std::exchange(sizeKnown_, false)) {
        return sizeAtOpen_;
    }
    if (writing_ && !flush()) {
        return -1;
    }
    return sizeOnDisk();
}

bool OpenFile::rewindForNext() noexcept {
    sizeKnown_ = regular_ && !mode_.writes && seek(0, SEEK_SET);
    return sizeKnown_;
}

} // namespace qob
