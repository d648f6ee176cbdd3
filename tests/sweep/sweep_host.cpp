// SPDX-License-Identifier: MIT
// The services of the sweep's host.
#include "sweep_host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

struct QobFile {
    std::string path;
    Content content;
    int64_t position = 0;
    bool open = true;
};
struct QobLog {
    bool open = true;
};

namespace {

thread_local SweepHost *inForce = nullptr;

SweepHost &host() {
    return *inForce;
}

// What stands in a context's own words while a conversion is set up.
constexpr uint64_t kSetUp = 0x5EADBEEF;
constexpr size_t kStateWord = 0;
constexpr size_t kTemporaryWord = 1; // the output described is that of temporary files
constexpr size_t kLineEndWord = 2;   // a line end is asked for

// Nobody may rely on memory that the host happened to clear.
void *newBlock(size_t size) {
    void *block = std::malloc(std::max<size_t>(size, 1));
    std::memset(block, 0x5A, size);
    host().blocks.emplace(block, size);
    return block;
}

bool isOpen(const QobFile *file, const char *misuse) {
    if (file == nullptr || !file->open) {
        host().note(misuse);
        return false;
    }
    return true;
}

// How many of `wanted` bytes a call moves that may be made to fail.
int64_t moved(Service service, int64_t wanted, const FaultSite &site) {
    SweepHost &h = host();
    if (!h.fails(service, site)) {
        return wanted;
    }
    return h.fault->partial ? wanted / 2 : 0;
}

void append(QobFile *file, const std::string &text) {
    std::string &content = *file->content;
    content.resize(std::max(content.size(), static_cast<size_t>(file->position) + text.size()));
    std::memcpy(content.data() + file->position, text.data(), text.size());
    file->position += static_cast<int64_t>(text.size());
}

// The text that the host finds in the file, as far as the output limit allows.
std::string insertedText(const char *name, const HostParams *params, SessionRecord *session) {
    SweepHost &h = host();
    const auto found = h.files.find(name);
    if (found == h.files.end()) {
        h.note("an insertion of a file that is not there");
        return "";
    }
    std::string text = "[" + *found->second + "]";
    if ((params->options & EML_OPT_LIMIT_OUTPUT) != 0) {
        const uint64_t room =
            params->outputLimit - std::min(params->outputLimit, session->savedOutputCount);
        text.resize(std::min<size_t>(text.size(), room));
    }
    session->savedOutputCount += text.size();
    return text;
}

int32_t giveName(Service service, const char *kind, char *name) {
    SweepHost &h = host();
    if (h.fails(service)) {
        name[0] = '\0';
        return -1;
    }
    std::snprintf(name, sizeof(SessionRecord::path), "/tmp/%s%d", kind, ++h.temporaryNames);
    return 0;
}

} // namespace

const char *nameOf(Service service) {
    static constexpr const char *kNames[] = {"allocation",
                                             "realloc",
                                             "open",
                                             "read",
                                             "write",
                                             "seek",
                                             "tell",
                                             "tellsize",
                                             "close",
                                             "find",
                                             "remove",
                                             "temporary name",
                                             "bound temporary name",
                                             "converter set-up",
                                             "charset change",
                                             "conversion",
                                             "log open",
                                             "insert",
                                             "stream write"};
    static_assert(std::size(kNames) == kServiceCount);
    return kNames[static_cast<size_t>(service)];
}

SweepHost::SweepHost() : previous(inForce) {
    inForce = this;
}

SweepHost::~SweepHost() {
    for (const auto &[block, size] : blocks) {
        std::free(block);
    }
    inForce = previous;
}

void SweepHost::putFile(const std::string &name, std::string text) {
    files[name] = std::make_shared<std::string>(std::move(text));
}

void SweepHost::forgetCalls() {
    calls = {};
    allCalls = 0;
}

bool SweepHost::fails(Service service, const FaultSite &callSite) {
    const Service before = std::exchange(lastService, service);
    ++allCalls;
    const int call = ++calls[static_cast<size_t>(service)];
    if (!fault || fault->service != service ||
        (fault->persistent ? call < fault->call : call != fault->call)) {
        return false;
    }
    if (!site) {
        site = callSite;
        site->before = before;
        site->inConversion = openConverters > 0;
    }
    return true;
}

extern "C" {

QobFile *QOB_FileOpen(const char *path, const char *mode) {
    SweepHost &h = host();
    const bool reading = mode[0] == 'r';
    if (h.fails(Service::kOpen, {.path = path}) || path[0] == '\0' ||
        (reading && !h.files.contains(path))) {
        return nullptr;
    }
    if (!reading) {
        h.putFile(path, "");
        h.created.emplace_back(path);
    }
    ++h.openFiles;
    h.handles.push_back(std::make_unique<QobFile>(QobFile{path, h.files[path]}));
    return h.handles.back().get();
}

int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file) {
    if (!isOpen(file, "a read from a file that is not open")) {
        return 0;
    }
    const std::string &content = *file->content;
    const int64_t left =
        std::max<int64_t>(static_cast<int64_t>(content.size()) - file->position, 0);
    const int64_t wanted = std::clamp<int64_t>(static_cast<int64_t>(size) * count, 0, left);
    const int64_t length = moved(Service::kRead, wanted, {.path = file->path});
    std::memcpy(buffer, content.data() + (length > 0 ? file->position : 0),
                static_cast<size_t>(length));
    file->position += length;
    return size > 0 ? static_cast<int32_t>(length / size) : 0;
}

int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count, QobFile *file) {
    if (!isOpen(file, "a write to a file that is not open")) {
        return 0;
    }
    const int64_t wanted = std::max<int64_t>(static_cast<int64_t>(size) * count, 0);
    const std::string data(static_cast<const char *>(buffer), static_cast<size_t>(wanted));
    const int64_t length =
        moved(Service::kWrite, wanted, {.path = file->path, .data = data, .size = data.size()});
    if (length > 0) {
        append(file, data.substr(0, static_cast<size_t>(length)));
    }
    return size > 0 ? static_cast<int32_t>(length / size) : 0;
}

int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence) {
    if (!isOpen(file, "a seek in a file that is not open") || host().fails(Service::kSeek)) {
        return -1;
    }
    const auto size = static_cast<int64_t>(file->content->size());
    file->position = (whence == 0 ? 0 : whence == 1 ? file->position : size) + offset;
    return 0;
}

int32_t QOB_FileTell(QobFile *file) {
    const bool open = isOpen(file, "a tell of a file that is not open");
    return !open || host().fails(Service::kTell) ? -1 : static_cast<int32_t>(file->position);
}

uint32_t QOB_FileTellSize(QobFile *file) {
    const bool open = isOpen(file, "a tellsize of a file that is not open");
    return !open || host().fails(Service::kTellSize) ? 0xFFFFFFFFU
                                                     : static_cast<uint32_t>(file->content->size());
}

int32_t QOB_FileClose(QobFile *file) {
    if (!isOpen(file, "a close of a file that is not open")) {
        return -1;
    }
    file->open = false;
    --host().openFiles;
    return host().fails(Service::kClose) ? -1 : 0;
}

int32_t QOB_FindFile(const char *path) {
    return host().fails(Service::kFind) || !host().files.contains(path) ? -1 : 0;
}

int32_t QOB_ASC_tmpnam(char *name) {
    return giveName(Service::kTmpName, "t", name);
}

int32_t QOB_ASC_tmpnam1(const char * /*basePath*/, char *name) {
    return giveName(Service::kBoundTmpName, "b", name);
}

int32_t QOB_ASC_remove(const char *path) {
    SweepHost &h = host();
    if (h.fails(Service::kRemove)) {
        ++h.failedRemovals;
        return -1;
    }
    return h.files.erase(path) == 1 ? 0 : -1;
}

void *QOB_malloc(size_t size) {
    return host().fails(Service::kAllocate, {.size = size}) ? nullptr : newBlock(size);
}

void *QOB_realloc(void *block, size_t size) {
    SweepHost &h = host();
    const auto old = h.blocks.find(block);
    if (block != nullptr && old == h.blocks.end()) {
        h.note("a realloc of a block that is not allocated");
    }
    if (size == 0) {
        h.note("a realloc to nothing");
    }
    if (h.fails(Service::kReallocate, {.size = size, .firstBlock = block == nullptr})) {
        return nullptr;
    }
    const size_t kept = old == h.blocks.end() ? 0 : std::min(old->second, size);
    void *grown = newBlock(size);
    std::memcpy(grown, block == nullptr ? grown : block, kept);
    QOB_free(block);
    return grown;
}

void QOB_free(void *block) {
    if (block == nullptr) {
        return;
    }
    if (host().blocks.erase(block) != 1) {
        host().note("a free of a block that is not allocated");
        return;
    }
    std::free(block);
}

void GetLogFileName(const char *path, const char *module, char *name) {
    std::snprintf(name, sizeof(SessionRecord::path), "%s.%s.log", path, module);
}

QobLog *qob_logfopen(uint32_t /*options*/, const char * /*name*/) {
    SweepHost &h = host();
    if (h.fails(Service::kLogOpen)) {
        return nullptr;
    }
    ++h.openLogs;
    h.logs.push_back(std::make_unique<QobLog>());
    return h.logs.back().get();
}

int32_t qob_logfprintf(uint32_t /*options*/, QobLog *log, const char * /*format*/, ...) {
    if (log == nullptr || !log->open) {
        host().note("a log message without an open log");
    }
    return 0;
}

void qob_logfclose(uint32_t /*options*/, QobLog *log) {
    if (log != nullptr && log->open) {
        log->open = false;
        --host().openLogs;
    }
}

int32_t cconvInitConvert(CconvContext *context, const CconvOutputRecord *outputRecord,
                         const void *outputDescription, uint32_t /*started*/) {
    SweepHost &h = host();
    if (h.fails(Service::kConverterSetUp)) {
        return -1;
    }
    ++h.openConverters;
    const auto *name = static_cast<const char *>(outputDescription);
    context->converter[kStateWord] = kSetUp;
    context->converter[kTemporaryWord] = std::strcmp(name, "ISO-8859-1") == 0 ? 1 : 0;
    context->converter[kLineEndWord] = outputRecord->lineEndConversion;
    return 0;
}

int32_t cconvChgCharset(CconvContext * /*context*/, CconvSourceRecord * /*source*/,
                        const char * /*charsetName*/) {
    return host().fails(Service::kCharsetChange) ? -1 : 0;
}

int32_t cconvConvert(CconvContext *context) {
    SweepHost &h = host();
    if (context->converter[kStateWord] != kSetUp) {
        h.note("a conversion that is not set up");
        return -1;
    }
    if (h.fails(Service::kConversion)) {
        context->produced = context->outputCapacity; // means nothing after a failure
        return -1;
    }
    std::string text(static_cast<const char *>(context->input), context->inputLength);
    if (context->converter[kLineEndWord] == 1) {
        text = context->converter[kTemporaryWord] == 1 ? h.temporaryLineEnd : "\n";
    }
    if (text.size() > context->outputCapacity) {
        return -1;
    }
    std::memcpy(context->output, text.data(), text.size());
    context->produced = static_cast<uint32_t>(text.size());
    return 0;
}

int32_t cconvTermConvert(CconvContext *context) {
    if (context->converter[kStateWord] != kSetUp) {
        host().note("an end of a conversion that is not set up");
    }
    context->converter[kStateWord] = 0;
    --host().openConverters;
    return 0;
}

uint32_t QOB_GetGroupCharWidth(const char * /*charsetName*/) {
    return 1;
}

uint32_t QOB_CopyStripControlCode(void *dst, const void *src, uint32_t length,
                                  uint32_t /*charWidth*/, uint32_t /*sourceCode*/) {
    const auto *from = static_cast<const char *>(src);
    auto *to = static_cast<char *>(dst);
    const auto kept = [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\r' || c == '\n' ||
               c == 0x1B;
    };
    return static_cast<uint32_t>(std::copy_if(from, from + length, to, kept) - to);
}

int32_t QOB_WriteStream(QobStream * /*stream*/, uint32_t length, const void *data) {
    SweepHost &h = host();
    if (h.fails(Service::kStreamWrite)) {
        return 0;
    }
    h.stream.append(static_cast<const char *>(data), length);
    return 1;
}

uint32_t CutStr(const void * /*data*/, uint32_t length, uint32_t room,
                const HostParams * /*params*/) {
    return std::min(length, room);
}

int32_t QOB_GetInsertFileTextWithErrCallback(const char *name, QobFile *output,
                                             const HostParams *params, SessionRecord *session,
                                             void * /*errCallback*/) {
    if (!isOpen(output, "an insertion into a file that is not open") ||
        host().fails(Service::kInsert)) {
        return kHostError;
    }
    append(output, insertedText(name, params, session));
    return 0;
}

int32_t QOB_GetInsertFileTextStreamWithErrCallback(const char *name, QobStream * /*output*/,
                                                   const HostParams *params, SessionRecord *session,
                                                   void * /*errCallback*/) {
    if (host().fails(Service::kInsert)) {
        return kHostError;
    }
    host().stream += insertedText(name, params, session);
    return 0;
}

} // extern "C"
