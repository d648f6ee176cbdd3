// SPDX-License-Identifier: MIT
// The services of the memory host but for character conversion.
#include "memory_host.h"

#include <malloc.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

MemoryHost *inForce = nullptr;

bool isOpen(const MemoryHost &host, const QobFile *file) {
    return std::any_of(host.openFiles.begin(), host.openFiles.end(),
                       [file](const auto &open) { return open.get() == file; });
}

QobFile &checked(MemoryHost &host, QobFile *file) {
    require(isOpen(host, file), "a file handle given to the host is open");
    return *file;
}

void putText(QobFile &file, const void *data, size_t length) {
    std::string &text = file.file->text;
    const auto start = static_cast<size_t>(file.position);
    if (text.size() < start + length) {
        text.resize(start + length);
    }
    if (length > 0) {
        std::memcpy(text.data() + start, data, length);
    }
    file.position += static_cast<int64_t>(length);
}

// The text of a file as this host inserts it: between brackets, cut to what the limit leaves.
std::string insertedText(const MemoryHost &host, const char *name, const HostParams *params,
                         const SessionRecord *session) {
    std::string text = "[" + host.textOf(name) + "]";
    if ((params->options & EML_OPT_LIMIT_OUTPUT) != 0) {
        const auto limit = static_cast<uint32_t>(params->outputLimit);
        const auto count = static_cast<uint32_t>(session->savedOutputCount);
        text.resize(std::min<size_t>(text.size(), count < limit ? limit - count : 0));
    }
    return text;
}

bool isOpenByName(const MemoryHost &host, const char *name) {
    return std::any_of(host.openFiles.begin(), host.openFiles.end(),
                       [name](const auto &open) { return open->name == name; });
}

int32_t insertFile(const char *name, QobFile *output, const HostParams *params,
                   SessionRecord *session) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kInsert);
    require(host.files.contains(name), "a file that is handed over exists");
    require(!isOpenByName(host, name), "a file that is handed over is closed");
    require(std::strcmp(session->name, "Attach") == 0, "the session record is the filter's");
    if (failing) {
        return kInsertError;
    }
    const std::string text = insertedText(host, name, params, session);
    if (output == nullptr) {
        host.stream += text;
    } else {
        putText(checked(host, output), text.data(), text.size());
    }
    session->savedOutputCount += text.size();
    return host.behaviour.insertFails && text.size() % 2 != 0 ? kInsertError : EML_OK;
}

} // namespace

void violation(std::string_view promise) {
    std::fprintf(stderr, "fuzz: broken promise: %.*s\n", static_cast<int>(promise.size()),
                 promise.data());
    std::abort();
}

MemoryHost::MemoryHost(const HostBehaviour &hostBehaviour) : behaviour(hostBehaviour) {
    require(inForce == nullptr, "one memory host at a time");
    inForce = this;
}

MemoryHost::~MemoryHost() {
    inForce = nullptr;
}

MemoryHost &MemoryHost::current() {
    require(inForce != nullptr, "a memory host is in force");
    return *inForce;
}

std::string MemoryHost::textOf(const std::string &name) const {
    const auto found = files.find(name);
    return found == files.end() ? "" : found->second->text;
}

void MemoryHost::requireBalance() const {
    require(liveBlocks == 0, "every allocated block is freed");
    require(liveConverters == 0, "every converter is terminated");
    require(log == nullptr || !log->open, "the log is closed");
}

bool MemoryHost::enter(Service service) {
    ++calls;
    const uint32_t call = ++servicesCalls[static_cast<size_t>(service)];
    if (service == Service::kNone || service != behaviour.failing) {
        return false;
    }
    const bool fails =
        behaviour.failingFromThere ? call >= behaviour.failingCall : call == behaviour.failingCall;
    failuresMade += fails ? 1 : 0;
    return fails;
}

extern "C" {

QobFile *QOB_FileOpen(const char *path, const char *mode) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kOpen);
    const bool reading = std::strcmp(mode, "rb") == 0;
    require(std::strlen(path) < 4096, "a path given to the host fits 4096 bytes");
    if (failing || path[0] == '\0' || (reading && !host.files.contains(path))) {
        return nullptr;
    }
    std::shared_ptr<MemoryFile> &file = host.files[path];
    if (!reading) {
        file = std::make_shared<MemoryFile>();
        file->mode = mode;
    }
    const std::string_view name(path);
    const bool isHtml = name.size() >= 4 && name.substr(name.size() - 4) == ".htm";
    host.attachmentFiles += std::strcmp(mode, "wb+") == 0 && !isHtml ? 1 : 0;
    host.openFiles.push_back(std::make_unique<QobFile>(QobFile{file, path, !reading}));
    return host.openFiles.back().get();
}

int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kRead);
    QobFile &open = checked(host, file);
    require(size == 1 && count >= 0, "reads are of bytes, and of no negative count");
    const std::string &text = open.file->text;
    const auto start = std::min(static_cast<size_t>(open.position), text.size());
    size_t length = std::min(static_cast<size_t>(count), text.size() - start);
    if (failing) {
        length /= 2;
    }
    if (length < static_cast<size_t>(count)) {
        static_cast<char *>(buffer)[count - 1] = '\0'; // a buffer that is too small shows
    }
    if (length > 0) {
        std::memcpy(buffer, text.data() + start, length);
    }
    open.position = static_cast<int64_t>(start + length);
    return static_cast<int32_t>(length);
}

int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count, QobFile *file) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kWrite);
    QobFile &open = checked(host, file);
    require(open.writable && size == 1, "writes are of bytes, to files open for writing");
    int32_t length = std::max(count, 0);
    if (failing) {
        length /= 2;
    }
    putText(open, buffer, static_cast<size_t>(length));
    return length;
}

int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kSeek);
    QobFile &open = checked(host, file);
    const auto size = static_cast<int64_t>(open.file->text.size());
    const int64_t base = whence == 0 ? 0 : whence == 1 ? open.position : size;
    require(whence >= 0 && whence <= 2 && base + offset >= 0 && base + offset <= size,
            "seeks stay inside the file");
    if (failing) {
        return -1;
    }
    open.position = base + offset;
    return 0;
}

int32_t QOB_FileTell(QobFile *file) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kTell);
    return failing ? -1 : static_cast<int32_t>(checked(host, file).position);
}

uint32_t QOB_FileTellSize(QobFile *file) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kTell);
    return failing ? 0xFFFFFFFFU : static_cast<uint32_t>(checked(host, file).file->text.size());
}

int32_t QOB_FileClose(QobFile *file) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kClose);
    const auto open = std::find_if(host.openFiles.begin(), host.openFiles.end(),
                                   [file](const auto &o) { return o.get() == file; });
    require(open != host.openFiles.end(), "a file that is closed is open");
    host.openFiles.erase(open);
    return failing ? -1 : 0;
}

int32_t QOB_FindFile(const char *path) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    return host.files.contains(path) ? 0 : -1;
}

static int32_t temporaryName(const char *kind, char *name) {
    MemoryHost &host = MemoryHost::current();
    std::memset(name, 0, 4096);
    if (host.enter(Service::kTemporaryName)) {
        return -1;
    }
    std::snprintf(name, 4096, "/tmp/%s%u", kind, ++host.names);
    return 0;
}

int32_t QOB_ASC_tmpnam(char *name) {
    return temporaryName("t", name);
}

int32_t QOB_ASC_tmpnam1(const char *basePath, char *name) {
    require(std::strlen(basePath) < 4096, "the session record's path is terminated");
    return temporaryName("b", name);
}

int32_t QOB_ASC_remove(const char *path) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    const auto file = host.files.find(path);
    if (file == host.files.end()) {
        return -1;
    }
    if (host.outputName == path) {
        host.removedOutput = file->second->text;
    }
    host.files.erase(file);
    return 0;
}

void *QOB_malloc(size_t size) {
    MemoryHost &host = MemoryHost::current();
    if (host.enter(Service::kAllocate)) {
        return nullptr;
    }
    void *block = std::malloc(size);
    require(block != nullptr, "no more memory is asked for than there is");
    std::memset(block, 0x5A, size); // nobody may rely on cleared memory
    ++host.liveBlocks;
    host.liveBytes += malloc_usable_size(block);
    host.peakBytes = std::max(host.peakBytes, host.liveBytes);
    return block;
}

void *QOB_realloc(void *block, size_t size) {
    MemoryHost &host = MemoryHost::current();
    require(size != 0, "no block is reallocated to 0 bytes");
    if (host.enter(Service::kAllocate)) {
        return nullptr;
    }
    const size_t before = block == nullptr ? 0 : malloc_usable_size(block);
    void *grown = std::realloc(block, size);
    require(grown != nullptr, "no more memory is asked for than there is");
    const size_t after = malloc_usable_size(grown);
    if (after > before && size > before) {
        std::memset(static_cast<char *>(grown) + before, 0x5A, size - before);
    }
    host.liveBlocks += block == nullptr ? 1 : 0;
    host.liveBytes += after - before;
    host.peakBytes = std::max(host.peakBytes, host.liveBytes);
    return grown;
}

void QOB_free(void *block) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    if (block != nullptr) {
        require(host.liveBlocks > 0, "a block that is freed was allocated");
        --host.liveBlocks;
        host.liveBytes -= malloc_usable_size(block);
        std::free(block);
    }
}

void GetLogFileName(const char *path, const char *module, char *name) {
    MemoryHost::current().enter(Service::kNone);
    std::memset(name, 0, 4096);
    std::snprintf(name, 4096, "%s.%s.log", path, module);
}

QobLog *qob_logfopen(uint32_t /*options*/, const char *name) {
    MemoryHost &host = MemoryHost::current();
    require(name[0] != '\0', "the log has a name");
    if (host.enter(Service::kLogOpen) || !host.behaviour.logging) {
        return nullptr;
    }
    require(host.log == nullptr, "one log for each call");
    host.log = std::make_unique<QobLog>();
    return host.log.get();
}

int32_t qob_logfprintf(uint32_t /*options*/, QobLog *log, const char *format, ...) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    require(log != nullptr && log == host.log.get() && log->open, "only an open log is written to");
    char line[256];
    va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(line, sizeof(line), format, values);
    va_end(values);
    require(length > 0 && static_cast<size_t>(length) < sizeof(line), "log messages are short");
    return 0;
}

void qob_logfclose(uint32_t /*options*/, QobLog *log) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    if (log != nullptr) {
        require(log == host.log.get(), "the log that is closed is this call's");
        log->open = false; // a second close is accepted
    }
}

int32_t QOB_WriteStream(QobStream *stream, uint32_t length, const void *data) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kStreamWrite);
    require(stream == reinterpret_cast<QobStream *>(&host.stream), "the stream is the host's");
    if (failing) {
        return 0;
    }
    host.stream.append(static_cast<const char *>(data), length);
    return 1;
}

uint32_t CutStr(const void *data, uint32_t length, uint32_t room, const HostParams * /*params*/) {
    MemoryHost::current().enter(Service::kNone);
    require(room < length, "only what does not fit is cut");
    // A character is a run of one byte here: the cut goes back to where one begins.
    const auto *bytes = static_cast<const unsigned char *>(data);
    uint32_t cut = room;
    while (cut > 0 && room - cut < 3 && bytes[cut] >= 0x80 && bytes[cut] == bytes[cut - 1]) {
        --cut;
    }
    return cut;
}

int32_t QOB_GetInsertFileTextWithErrCallback(const char *name, QobFile *output,
                                             const HostParams *params, SessionRecord *session,
                                             void * /*errCallback*/) {
    require(output != nullptr, "an insertion into a file has a file");
    return insertFile(name, output, params, session);
}

int32_t QOB_GetInsertFileTextStreamWithErrCallback(const char *name, QobStream *output,
                                                   const HostParams *params, SessionRecord *session,
                                                   void * /*errCallback*/) {
    require(output == reinterpret_cast<QobStream *>(&MemoryHost::current().stream),
            "the stream is the host's");
    return insertFile(name, nullptr, params, session);
}

} // extern "C"
