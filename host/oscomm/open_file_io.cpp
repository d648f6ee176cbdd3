// SPDX-License-Identifier: MIT
// The transfers of an open file between the caller, the buffer and the disk.
#include "open_file.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

#include "block_pool.h"
#include "memory_file.h"

namespace qob {
namespace {

// Requests of this size go past the buffer when it is empty, and smaller ones fill that much of it.
constexpr std::size_t kPiece = std::size_t{16} << 10U;

template <typename Call> ssize_t uninterrupted(Call call) {
    ssize_t count = -1;
    do {
        count = call();
    } while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

std::size_t OpenFile::readMore(char *to, std::size_t bytes) noexcept {
    if (!mode_.reads) {
        errno = EBADF;
        return 0;
    }
    if (writing_ && !changeDirection()) {
        return 0;
    }
    return memory_ != nullptr ? readMemory(to, bytes) : readDisk(to, bytes);
}

// A device must be able to seek for that, as with any other stream.
bool OpenFile::changeDirection() noexcept {
    if (!stopWriting()) {
        return false;
    }
    return regular_ || seekDevice(0, SEEK_CUR);
}

std::size_t OpenFile::readMemory(char *to, std::size_t bytes) noexcept {
    const off_t there = position();
    if (there >= static_cast<off_t>(memory_->size)) {
        standAt(there);
        return 0;
    }
    base_ = 0;
    cursor_ = block_ + there;
    readEnd_ = block_ + memory_->size;
    writeEnd_ = block_;
    const std::size_t taken = std::min(bytes, unread());
    std::memcpy(to, cursor_, taken);
    cursor_ += taken;
    return taken;
}

ssize_t OpenFile::readOnce(char *to, std::size_t bytes) const noexcept {
    return uninterrupted([&] {
        return regular_ ? ::pread(descriptor_, to, bytes, base_) : ::read(descriptor_, to, bytes);
    });
}

// Large requests go past the buffer, once it is empty.
std::size_t OpenFile::readDisk(char *to, std::size_t bytes) noexcept {
    std::size_t done = 0;
    for (;;) {
        const std::size_t buffered = std::min(bytes - done, unread());
        if (buffered > 0) {
            std::memcpy(to + done, cursor_, buffered);
            cursor_ += buffered;
            done += buffered;
        }
        if (done == bytes) {
            return done;
        }
        const off_t there = position();
        const std::size_t wanted = bytes - done;
        if (wanted < kPiece && block_ == nullptr) {
            block_ = takeBlock();
        }
        standAt(there);
        const bool direct = wanted >= kPiece || block_ == nullptr;
        const std::size_t asked = direct ? wanted : kPiece;
        const ssize_t count = readOnce(direct ? to + done : block_, asked);
        if (count <= 0) {
            return done;
        }
        if (direct) {
            base_ += count;
            done += static_cast<std::size_t>(count);
        } else {
            readEnd_ = block_ + count;
        }
        // The end, seen without asking once more.
        const bool atEnd =
            regular_ && static_cast<std::size_t>(count) < asked && there + count >= sizeAtOpen_;
        if (atEnd) {
            bytes = std::min(bytes, done + unread());
        }
    }
}

std::size_t OpenFile::writeMore(const char *from, std::size_t bytes) noexcept {
    if (!mode_.writes) {
        errno = EBADF;
        return 0;
    }
    if (!writing_ && !beginWriting()) {
        return 0;
    }
    std::size_t done = takeIn(from, bytes);
    while (done < bytes) {
        if (!makeRoom()) {
            return done;
        }
        const std::size_t left = bytes - done;
        const bool direct = left >= kBlockSize || block_ == nullptr;
        const std::size_t count =
            direct ? writeThrough(from + done, left) : takeIn(from + done, left);
        done += count;
        if (count == 0 || (direct && done < bytes)) {
            return done;
        }
    }
    return done;
}

bool OpenFile::beginWriting() noexcept {
    if (!regular_ && unread() > 0 && !seekDevice(0, SEEK_CUR)) {
        return false;
    }
    if (memory_ != nullptr && beginMemoryWriting()) {
        return true;
    }
    if (memory_ != nullptr && !storeOnDisk(*memory_)) {
        lost_ = true;
        return false;
    }
    const off_t end = mode_.appends && regular_ ? sizeOnDisk() : -1;
    const off_t there = position();
    if (block_ == nullptr) {
        block_ = takeBlock();
    }
    standAt(end >= 0 ? end : there);
    writeEnd_ = block_ != nullptr ? block_ + kBlockSize : nullptr;
    writing_ = true;
    return true;
}

// False when the position lies beyond what is kept in memory.
bool OpenFile::beginMemoryWriting() noexcept {
    const off_t there = mode_.appends ? static_cast<off_t>(memory_->size) : position();
    if (there >= static_cast<off_t>(kBlockSize)) {
        return false;
    }
    const auto offset = static_cast<std::size_t>(there);
    if (offset > memory_->size) {
        std::memset(block_ + memory_->size, 0, offset - memory_->size);
    }
    base_ = 0;
    cursor_ = block_ + offset;
    readEnd_ = block_;
    writeEnd_ = block_ + kBlockSize;
    writing_ = true;
    return true;
}

// Of what is given, as much as there is room for.
std::size_t OpenFile::takeIn(const char *from, std::size_t bytes) noexcept {
    const std::size_t taken = std::min(bytes, static_cast<std::size_t>(writeEnd_ - cursor_));
    if (taken > 0) {
        std::memcpy(cursor_, from, taken);
        cursor_ += taken;
    }
    return taken;
}

// Empties the buffer while the file is being written.
bool OpenFile::makeRoom() noexcept {
    if (memory_ == nullptr) {
        return flush();
    }
    lost_ = !storeOnDisk(*memory_);
    return !lost_ && beginWriting();
}

std::size_t OpenFile::writeThrough(const char *from, std::size_t bytes) noexcept {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t count = uninterrupted([&] {
            return regular_ ? ::pwrite(descriptor_, from + done, bytes - done, base_)
                            : ::write(descriptor_, from + done, bytes - done);
        });
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
        base_ += count;
    }
    return done;
}

// What cannot be written stays in the buffer.
bool OpenFile::flush() noexcept {
    const auto pending = static_cast<std::size_t>(cursor_ - block_);
    if (pending == 0) {
        return true;
    }
    const std::size_t done = writeThrough(block_, pending);
    std::memmove(block_, block_ + done, pending - done);
    cursor_ -= done;
    return done == pending;
}

} // namespace qob
