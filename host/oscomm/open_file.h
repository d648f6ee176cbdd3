// SPDX-License-Identifier: MIT
// One open file: a descriptor behind a buffer, or a small temporary file that is only in memory.
// Reads, writes and seeks follow one position, in any order.
//
// Guarantees
//  - What was written is read back at once through the same object, and is in the file when close()
//    or size() has succeeded.
//  - A write that fails keeps what is buffered; it is tried again by the next call that needs room,
//    and close() tells when it stayed unwritten.
//  - Without memory for a buffer everything works, call by call.
// May assume that one thread at a time uses the object.
#ifndef QOB_OSCOMM_OPEN_FILE_H
#define QOB_OSCOMM_OPEN_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <sys/types.h>

namespace qob {

// What "rb", "wb+" and their like ask for.
struct OpenMode {
    bool reads = false;
    bool writes = false;
    bool appends = false;
    bool creates = false;   // a file that is missing
    bool truncates = false; // a file that is there
};

struct MemoryFile;

class OpenFile {
public:
    // The file `path`, with errno set and null when it cannot be opened or is a directory.
    static OpenFile *onDisk(const char *path, const OpenMode &mode) noexcept;

    // A temporary file in memory, to be registered with it. Null without memory.
    static OpenFile *inMemory(MemoryFile &memory, const OpenMode &mode) noexcept;

    // Writes out what is buffered and ends the object. False when bytes were lost.
    static bool close(OpenFile *file) noexcept;

    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    // Bytes read, of 1 to 2^62; fewer than asked for at the end or on failure.
    std::size_t read(void *to, std::size_t bytes) noexcept {
        if (static_cast<std::ptrdiff_t>(bytes) <= readEnd_ - cursor_) {
            std::memcpy(to, cursor_, bytes);
            cursor_ += bytes;
            return bytes;
        }
        return readMore(static_cast<char *>(to), bytes);
    }

    // Bytes taken, of 1 to 2^62; fewer than given on failure.
    std::size_t write(const void *from, std::size_t bytes) noexcept {
        if (static_cast<std::ptrdiff_t>(bytes) <= writeEnd_ - cursor_) {
            std::memcpy(cursor_, from, bytes);
            cursor_ += bytes;
            return bytes;
        }
        return writeMore(static_cast<const char *>(from), bytes);
    }

    // As lseek. A failure leaves the position.
    bool seek(off_t offset, int whence) noexcept;

    // -1 when it cannot be told.
    off_t tell() const noexcept;

    // Of a regular file, with what is buffered; else -1.
    off_t size() noexcept;

    // Goes back to the beginning for the next one who opens the file, whose first question for the
    // size is answered by what opening it has shown. False for a file that cannot be handed on.
    bool rewindForNext() noexcept;

    bool isRegular() const noexcept { return regular_; }
    bool mayWrite() const noexcept { return mode_.writes; }
    MemoryFile *memory() const noexcept { return memory_; }

    // Makes MemoryFile::size count what was written through this object.
    void settleMemory() noexcept;

    // The memory file lies on disk now and `descriptor`, which becomes this object's, is open on
    // it for reading and writing.
    void moveToDisk(int descriptor) noexcept;

private:
    OpenFile(int descriptor, const OpenMode &mode, bool regular, off_t size) noexcept
        : descriptor_(descriptor), mode_(mode), regular_(regular), sizeAtOpen_(size) {}
    ~OpenFile() = default;

    off_t position() const noexcept { return base_ + (cursor_ - block_); }
    std::size_t unread() const noexcept {
        return readEnd_ > cursor_ ? static_cast<std::size_t>(readEnd_ - cursor_) : 0;
    }
    void standAt(off_t position) noexcept;

    std::size_t readMore(char *to, std::size_t bytes) noexcept;
    std::size_t readMemory(char *to, std::size_t bytes) noexcept;
    std::size_t readDisk(char *to, std::size_t bytes) noexcept;
    ssize_t readOnce(char *to, std::size_t bytes) const noexcept;

    std::size_t writeMore(const char *from, std::size_t bytes) noexcept;
    bool beginWriting() noexcept;
    bool beginMemoryWriting() noexcept;
    bool makeRoom() noexcept;
    std::size_t takeIn(const char *from, std::size_t bytes) noexcept;
    std::size_t writeThrough(const char *from, std::size_t bytes) noexcept;

    bool flush() noexcept;
    bool stopWriting() noexcept;
    bool changeDirection() noexcept;
    bool seekDevice(off_t offset, int whence) noexcept;
    off_t sizeOnDisk() const noexcept;

    // Idle: all four are the same. Reading: [cursor_, readEnd_) is there to be read, and writeEnd_
    // is not behind cursor_. Writing: [block_, cursor_) is to be written (in memory: may be new),
    // [cursor_, writeEnd_) is room, and readEnd_ is not behind cursor_.
    char *block_ = nullptr; // of the pool, or the memory file's
    char *cursor_ = nullptr;
    char *readEnd_ = nullptr;
    char *writeEnd_ = nullptr;
    off_t base_ = 0; // where in the file block_[0] belongs
    MemoryFile *memory_ = nullptr;
    int descriptor_;
    OpenMode mode_;
    bool regular_; // else a device or a pipe, which has no positions of its own
    bool writing_ = false;
    bool lost_ = false;      // a file in memory took less than it was given
    bool sizeKnown_ = false; // it is sizeAtOpen_, for the next question
    off_t sizeAtOpen_;       // a read that stops short there has met the end
};

} // namespace qob

#endif
