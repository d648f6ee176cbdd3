// SPDX-License-Identifier: MIT
// The services of the scripted host.
#include "support/scripted_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>

// What the filter holds of an open file, log and stream. The stream's address is all there is.
struct QobFile {
    std::string name;
    bool writable;
    int64_t position = 0;
};
struct QobLog {
    bool open = true;
};

namespace {

thread_local ScriptedHost *inForce = nullptr;

// Which conversion a context is for stands in its first converter word.
ConversionCall &conversionOf(CconvContext *context) {
    return scriptedHost().conversions.at(static_cast<size_t>(context->converter[0]));
}

bool endsWith(const std::string &text, const std::string &ending) {
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

bool writeFails(ScriptedHost &host, const QobFile *file) {
    bool failing = host.fails("QOB_FileWrite");
    if (host.failingWrite > 0 && endsWith(file->name, host.failingWriteEnding)) {
        ++host.matchingWrites;
        failing = failing || host.matchingWrites == host.failingWrite;
    }
    return failing;
}

// Files that are open now. What the filter leaves open is released with the host.
std::map<QobFile *, std::unique_ptr<QobFile>> &filesInUse() {
    thread_local std::map<QobFile *, std::unique_ptr<QobFile>> inUse;
    return inUse;
}

std::vector<std::unique_ptr<QobLog>> &closedLogs() {
    thread_local std::vector<std::unique_ptr<QobLog>> logs;
    return logs;
}

} // namespace

ScriptedHost &scriptedHost() {
    if (inForce == nullptr) {
        throw std::logic_error("no ScriptedHost is in force on this thread");
    }
    return *inForce;
}

ScriptedHost::ScriptedHost() : previous(inForce) {
    inForce = this;
}

ScriptedHost::~ScriptedHost() {
    inForce = previous;
    if (previous == nullptr) {
        closedLogs().clear();
        filesInUse().clear();
    }
}

void ScriptedHost::failCall(const std::string &service, int n, Failure failure) {
    failures[service] = {n, failure};
}

void ScriptedHost::failWritesTo(const std::string &nameEnding, int n) {
    failingWriteEnding = nameEnding;
    failingWrite = n;
    matchingWrites = 0;
}

int ScriptedHost::count(const std::string &service) const {
    const auto found = counts.find(service);
    return found == counts.end() ? 0 : found->second;
}

std::vector<std::string> ScriptedHost::filesBut(const std::set<std::string> &known) const {
    std::vector<std::string> names;
    for (const auto &[name, content] : files) {
        if (known.count(name) == 0) {
            names.push_back(name);
        }
    }
    return names;
}

bool ScriptedHost::called(std::string_view call) const {
    return std::any_of(calls.begin(), calls.end(),
                       [call](const std::string &c) { return c.substr(0, call.size()) == call; });
}

bool ScriptedHost::fails(const std::string &service) {
    const int n = ++counts[service];
    const auto planned = failures.find(service);
    if (planned == failures.end()) {
        return false;
    }
    return planned->second.failure == Failure::kOnce ? n == planned->second.n
                                                     : n >= planned->second.n;
}

extern "C" {

QobFile *QOB_FileOpen(const char *path, const char *mode) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back(std::string("QOB_FileOpen ") + path + " " + mode);
    const bool reading = std::strcmp(mode, "rb") == 0;
    if (host.fails("QOB_FileOpen") || path[0] == '\0' || (reading && host.files.count(path) == 0)) {
        return nullptr;
    }
    if (!reading) {
        host.files[path].clear();
    }
    ++host.openFileCount;
    auto file = std::make_unique<QobFile>(QobFile{path, !reading});
    QobFile *address = file.get();
    filesInUse().emplace(address, std::move(file));
    return address;
}

int32_t QOB_FileRead(void *buffer, int32_t size, int32_t count, QobFile *file) {
    ScriptedHost &host = scriptedHost();
    const std::string &content = host.files[file->name];
    int64_t wanted = static_cast<int64_t>(size) * count;
    if (host.fails("QOB_FileRead")) {
        wanted = 0;
    }
    const int64_t left =
        std::max<int64_t>(static_cast<int64_t>(content.size()) - file->position, 0);
    const int64_t length = std::clamp<int64_t>(wanted, 0, left);
    if (length > 0) {
        std::memcpy(buffer, content.data() + file->position, static_cast<size_t>(length));
    }
    file->position += length;
    return size > 0 ? static_cast<int32_t>(length / size) : 0;
}

int32_t QOB_FileWrite(const void *buffer, int32_t size, int32_t count, QobFile *file) {
    ScriptedHost &host = scriptedHost();
    const bool failing = writeFails(host, file);
    int64_t length = std::max<int64_t>(static_cast<int64_t>(size) * count, 0);
    host.calls.push_back("QOB_FileWrite " + file->name + " " + std::to_string(count));
    if (failing) {
        length = std::min<int64_t>(length, host.shortWriteLength);
    }
    if (length > 0) {
        std::string &content = host.files[file->name];
        content.resize(std::max(content.size(), static_cast<size_t>(file->position + length)));
        std::memcpy(content.data() + file->position, buffer, static_cast<size_t>(length));
        file->position += length;
    }
    return size > 0 ? static_cast<int32_t>(length / size) : 0;
}

int32_t QOB_FileSeek(QobFile *file, int32_t offset, int32_t whence) {
    ScriptedHost &host = scriptedHost();
    if (host.fails("QOB_FileSeek")) {
        return -1;
    }
    const auto size = static_cast<int64_t>(host.files[file->name].size());
    const int64_t base = whence == 0 ? 0 : whence == 1 ? file->position : size;
    file->position = base + offset;
    return 0;
}

int32_t QOB_FileTell(QobFile *file) {
    return scriptedHost().fails("QOB_FileTell") ? -1 : static_cast<int32_t>(file->position);
}

uint32_t QOB_FileTellSize(QobFile *file) {
    ScriptedHost &host = scriptedHost();
    return host.fails("QOB_FileTellSize") ? 0xFFFFFFFFU
                                          : static_cast<uint32_t>(host.files[file->name].size());
}

int32_t QOB_FileClose(QobFile *file) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back("QOB_FileClose " + file->name);
    --host.openFileCount;
    if (filesInUse().erase(file) != 1) {
        throw std::logic_error("QOB_FileClose of a file that is not open");
    }
    return host.fails("QOB_FileClose") ? -1 : 0;
}

int32_t QOB_FindFile(const char *path) {
    ScriptedHost &host = scriptedHost();
    return host.fails("QOB_FindFile") || host.files.count(path) == 0 ? -1 : 0;
}

int32_t QOB_ASC_tmpnam(char *name) {
    ScriptedHost &host = scriptedHost();
    if (host.fails("QOB_ASC_tmpnam")) {
        return -1;
    }
    std::snprintf(name, 4096, "%st%d", host.tmpDirectory.c_str(), ++host.tmpNames);
    return 0;
}

int32_t QOB_ASC_tmpnam1(const char *basePath, char *name) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back(std::string("QOB_ASC_tmpnam1 ") + basePath);
    if (host.fails("QOB_ASC_tmpnam1")) {
        return -1;
    }
    std::snprintf(name, 4096, "%sb%d", host.tmpDirectory.c_str(), ++host.tmpNames);
    return 0;
}

int32_t QOB_ASC_remove(const char *path) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back(std::string("QOB_ASC_remove ") + path);
    host.removed.emplace_back(path);
    if (host.fails("QOB_ASC_remove")) {
        return -1;
    }
    return host.files.erase(path) == 1 ? 0 : -1;
}

void *QOB_malloc(size_t size) {
    ScriptedHost &host = scriptedHost();
    if (host.fails("QOB_malloc")) {
        return nullptr;
    }
    auto block = std::make_unique<char[]>(size);
    std::memset(block.get(), 0x5A, size); // nobody may rely on cleared memory
    void *address = block.get();
    host.allocations.emplace(address, std::move(block));
    host.allocationSizes[address] = size;
    return address;
}

void *QOB_realloc(void *block, size_t size) {
    ScriptedHost &host = scriptedHost();
    host.reallocSizes.push_back(size);
    if (host.fails("QOB_realloc")) {
        return nullptr;
    }
    // realloc of host memory, kept apart so that both address checkers and the table see it.
    auto grown = std::make_unique<char[]>(size);
    std::memset(grown.get(), 0x5A, size);
    if (block != nullptr) {
        const auto old = host.allocations.find(block);
        if (old == host.allocations.end()) {
            throw std::logic_error("QOB_realloc of a block that is not allocated");
        }
        const size_t oldSize = host.allocationSizes[block];
        std::memcpy(grown.get(), block, std::min(oldSize, size));
        host.allocationSizes.erase(block);
        host.allocations.erase(old);
    }
    void *address = grown.get();
    host.allocations.emplace(address, std::move(grown));
    host.allocationSizes[address] = size;
    return address;
}

void QOB_free(void *block) {
    ScriptedHost &host = scriptedHost();
    ++host.counts["QOB_free"];
    if (block == nullptr) {
        return;
    }
    host.allocationSizes.erase(block);
    if (host.allocations.erase(block) != 1) {
        throw std::logic_error("QOB_free of a block that is not allocated");
    }
}

void GetLogFileName(const char *path, const char *module, char *name) {
    ScriptedHost &host = scriptedHost();
    host.logNamesAsked.emplace_back(path, module);
    std::snprintf(name, 4096, "%s.%s.log", path, module);
}

QobLog *qob_logfopen(uint32_t /*options*/, const char *name) {
    ScriptedHost &host = scriptedHost();
    host.logName = name;
    if (host.fails("qob_logfopen") || !host.logging) {
        return nullptr;
    }
    ++host.logsOpen;
    closedLogs().push_back(std::make_unique<QobLog>());
    return closedLogs().back().get();
}

int32_t qob_logfprintf(uint32_t /*options*/, QobLog *log, const char *format, ...) {
    if (log == nullptr) {
        throw std::logic_error("qob_logfprintf without a log");
    }
    char line[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(line, sizeof(line), format, values);
    va_end(values);
    scriptedHost().logLines.emplace_back(line);
    return 0;
}

void qob_logfclose(uint32_t /*options*/, QobLog *log) {
    ScriptedHost &host = scriptedHost();
    host.calls.emplace_back("qob_logfclose");
    if (log == nullptr) {
        ++host.nullLogCloses;
    } else if (log->open) {
        log->open = false;
        --host.logsOpen;
    }
}

int32_t cconvInitConvert(CconvContext *context, const CconvOutputRecord *outputRecord,
                         const void *outputDescription, uint32_t started) {
    ScriptedHost &host = scriptedHost();
    if (host.fails("cconvInitConvert")) {
        return -1;
    }
    context->converter[0] = host.conversions.size();
    ConversionCall call;
    call.record = *outputRecord;
    call.output = static_cast<const char *>(outputDescription);
    call.started = started;
    host.conversions.push_back(call);
    ++host.convertersOpen;
    return 0;
}

int32_t cconvChgCharset(CconvContext *context, CconvSourceRecord *source, const char *charsetName) {
    ScriptedHost &host = scriptedHost();
    ConversionCall &call = conversionOf(context);
    call.source = charsetName;
    call.sourceRecord = *source;
    source->sourceCode = host.sourceCodeLeft;
    return host.fails("cconvChgCharset") || host.unknownCharsets.count(charsetName) != 0 ? -1 : 0;
}

int32_t cconvConvert(CconvContext *context) {
    ScriptedHost &host = scriptedHost();
    ConversionCall &call = conversionOf(context);
    call.input.assign(static_cast<const char *>(context->input), context->inputLength);
    call.capacity = context->outputCapacity;
    call.wordsClear = context->word8 == 0 && context->word16 == 0 && context->produced == 0 &&
                      context->word40 == 0;
    if (host.fails("cconvConvert")) {
        return -1;
    }
    std::optional<std::string> text = call.input;
    if (call.record.lineEndConversion == 1) {
        text = call.output == "ISO-8859-1" ? host.tmpLineEnd : host.lineEnd;
    } else if (host.convert) {
        text = host.convert(call.source, call.input);
    }
    if (!text || text->size() > context->outputCapacity) {
        return -1;
    }
    std::memcpy(context->output, text->data(), text->size());
    context->produced = static_cast<uint32_t>(text->size());
    return 0;
}

int32_t cconvTermConvert(CconvContext * /*context*/) {
    ScriptedHost &host = scriptedHost();
    ++host.counts["cconvTermConvert"];
    --host.convertersOpen;
    return 0;
}

uint32_t QOB_GetGroupCharWidth(const char *charsetName) {
    ScriptedHost &host = scriptedHost();
    host.widthsAsked.emplace_back(charsetName);
    ++host.counts["QOB_GetGroupCharWidth"];
    return host.charWidth;
}

uint32_t QOB_CopyStripControlCode(void *dst, const void *src, uint32_t length, uint32_t charWidth,
                                  uint32_t sourceCode) {
    ScriptedHost &host = scriptedHost();
    host.strips.push_back({length, charWidth, sourceCode});
    ++host.counts["QOB_CopyStripControlCode"];
    const auto *from = static_cast<const char *>(src);
    auto *to = static_cast<char *>(dst);
    const auto kept = [&host](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return !host.stripControlCodes || byte >= 0x20 || byte == 0x1B || byte == '\t' ||
               byte == '\r' || byte == '\n';
    };
    return static_cast<uint32_t>(std::copy_if(from, from + length, to, kept) - to);
}

int32_t QOB_WriteStream(QobStream * /*stream*/, uint32_t length, const void *data) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back("QOB_WriteStream " + std::to_string(length));
    if (host.fails("QOB_WriteStream") || host.writeStreamFails) {
        return 0;
    }
    host.stream.append(static_cast<const char *>(data), length);
    return 1;
}

uint32_t CutStr(const void *data, uint32_t length, uint32_t room, const HostParams *params) {
    ScriptedHost &host = scriptedHost();
    host.cuts.push_back({std::string(static_cast<const char *>(data), length), room, params});
    ++host.counts["CutStr"];
    return room - std::min(room, host.cutShortBy);
}

static int32_t insertFile(InsertCall call, SessionRecord *session, QobFile *output) {
    ScriptedHost &host = scriptedHost();
    host.calls.push_back("insert " + call.name);
    const auto file = host.files.find(call.name);
    call.content = file == host.files.end() ? "" : file->second;
    call.session = *session;
    host.inserts.push_back(call);
    if (host.fails("insert")) {
        return host.insertResult != 0 ? host.insertResult : 4242;
    }
    const std::string text = host.insert ? host.insert(call) : "";
    if (output == nullptr) {
        host.stream += text;
    } else {
        host.files[output->name] += text;
        output->position += static_cast<int64_t>(text.size());
    }
    session->savedOutputCount += text.size();
    return host.insertResult;
}

int32_t QOB_GetInsertFileTextWithErrCallback(const char *name, QobFile *output,
                                             const HostParams *params, SessionRecord *session,
                                             void *errCallback) {
    InsertCall call;
    call.name = name;
    call.params = *params;
    call.sameParams = params == scriptedHost().hostParams;
    call.callback = errCallback;
    return insertFile(call, session, output);
}

int32_t QOB_GetInsertFileTextStreamWithErrCallback(const char *name, QobStream * /*output*/,
                                                   const HostParams *params, SessionRecord *session,
                                                   void *errCallback) {
    InsertCall call;
    call.name = name;
    call.params = *params;
    call.sameParams = params == scriptedHost().hostParams;
    call.toStream = true;
    call.callback = errCallback;
    return insertFile(call, session, nullptr);
}

} // extern "C"
