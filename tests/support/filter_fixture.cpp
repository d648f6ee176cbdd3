// SPDX-License-Identifier: MIT
#include "support/filter_fixture.h"

#include <algorithm>
#include <cstring>

#include "emlcomm/line_reader.h"

HostParams defaultParams() {
    HostParams params = {};
    std::strcpy(params.outputName, "UTF-8");
    std::strcpy(params.language, "English");
    params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;
    return params;
}

FilterFixture::FilterFixture() : params(defaultParams()) {
    host.hostParams = &params;
    handle.hostParams = &params;
    handle.sessionRecord = &session;
    std::strcpy(session.path, kOutputName);
    handle.outputPath = kOutputName;
    handle.fileMode = 1;
    TransOption(&handle.options, params.options);
    std::strcpy(handle.defaultCharset, "ISO-8859-1");
    std::strcpy(handle.attachTmpName, "/tmp/in.emlin.eml");
    handle.lineBuffer = eml::newBuffer(kLineBufferSize).release();
    handle.convBuffer = eml::newBuffer(kConvBufferSize).release();
    handle.qpBuffer = eml::newBuffer(kQpBufferSize).release();
    handle.qpBufferSize = kQpBufferSize;
    handle.outputFile = QOB_FileOpen(kOutputName, "wb");
    host.calls.clear();
    host.counts.clear();
}

FilterFixture::~FilterFixture() {
    host.failures.clear();
    myFreeMem(&handle);
    if (handle.inputFile != nullptr) {
        QOB_FileClose(handle.inputFile);
    }
    if (handle.outputFile != nullptr) {
        QOB_FileClose(handle.outputFile);
    }
}

void FilterFixture::load(std::string_view text) {
    host.files[inputName] = text;
    if (handle.inputFile == nullptr) {
        handle.inputFile = QOB_FileOpen(inputName.c_str(), "rb");
    }
    handle.fileSize = static_cast<int32_t>(text.size());
    handle.blockStart = 0;
    handle.blockPos = 0;
    handle.lastBlock = handle.fileSize < kBlockSize ? 1 : 0;
    QOB_FileSeek(handle.inputFile, 0, 0);
    eml::loadBlock(&handle, std::min(handle.fileSize, kBlockSize));
    host.calls.clear();
    host.counts.clear();
}

void FilterFixture::useStream() {
    handle.fileMode = 0;
    handle.streamMode = 1;
    handle.outputStream = reinterpret_cast<QobStream *>(&host);
    QOB_FileClose(handle.outputFile);
    handle.outputFile = nullptr;
    handle.outputPath = nullptr;
}

void FilterFixture::setLimit(uint32_t bytes) {
    handle.options.limitOutput = 1;
    handle.outputLimit = bytes;
}

std::string FilterFixture::output() const {
    if (handle.streamMode == 1) {
        return host.stream;
    }
    const auto file = host.files.find(kOutputName);
    return file == host.files.end() ? "" : file->second;
}

Extraction extractToFile(ScriptedHost &host, const HostParams &params, std::string_view message,
                         void *callback) {
    host.hostParams = &params;
    host.files[kInputName] = message;
    Extraction extraction;
    extraction.code = GetTextWithErrCallback(kInputName, kOutputName, &params, nullptr, callback);
    extraction.outputKept = host.files.count(kOutputName) == 1;
    if (extraction.outputKept) {
        extraction.text = host.files[kOutputName];
    }
    return extraction;
}

Extraction extractToStream(ScriptedHost &host, const HostParams &params, std::string_view message,
                           void *callback) {
    host.hostParams = &params;
    host.files[kInputName] = message;
    host.stream.clear();
    Extraction extraction;
    extraction.code = GetTextStreamWithErrCallback(kInputName, reinterpret_cast<QobStream *>(&host),
                                                   &params, nullptr, callback);
    extraction.outputKept = true;
    extraction.text = host.stream;
    return extraction;
}
