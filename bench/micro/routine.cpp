// SPDX-License-Identifier: MIT
#include "routine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "emlcomm/driver.h"
#include "emlcomm/line_reader.h"

namespace {

int32_t throwAway(void *context, const void *data, uint32_t length) {
    static_cast<void>(context);
    static_cast<void>(data);
    static_cast<void>(length);
    return 1;
}

} // namespace

Routine::Routine(const char *outputCharset)
    : nowhere(QOB_FileOpen("/dev/null", "wb")), sink_{&throwAway, nullptr} {
    eml::copyText(params.outputName, sizeof params.outputName, outputCharset);
    eml::copyText(params.language, sizeof params.language, "English");
    params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;
    eml::beginCall(&handle, &session, {"in.eml", &params, nullptr, nullptr}, "in.eml");
    handle.streamMode = 1;
    handle.outputStream = qob_stream_open(&sink_, &params);
    handle.lineBuffer = eml::newBuffer(kLineBufferSize).release();
    handle.convBuffer = eml::newBuffer(kConvBufferSize).release();
    handle.qpBuffer = eml::newBuffer(kQpBufferSize).release();
    handle.qpBufferSize = kQpBufferSize;
}

Routine::~Routine() {
    myFreeMem(&handle);
    eml::closeFile(handle.inputFile);
    eml::closeFile(nowhere);
    qob_stream_close(handle.outputStream);
}

void Routine::openInput(const std::string &path) {
    handle.inputFile = QOB_FileOpen(path.c_str(), "rb");
    if (handle.inputFile == nullptr) {
        std::fprintf(stderr, "bench: cannot read %s\n", path.c_str());
        std::exit(1);
    }
    handle.fileSize = static_cast<int32_t>(QOB_FileTellSize(handle.inputFile));
}

void Routine::rewind() {
    handle.blockStart = 0;
    handle.blockPos = 0;
    handle.lastBlock = handle.fileSize < kBlockSize ? 1 : 0;
    QOB_FileSeek(handle.inputFile, 0, 0);
    eml::loadBlock(&handle, std::min(handle.fileSize, kBlockSize));
}

std::string repeated(std::string_view text, size_t size) {
    std::string whole;
    while (whole.size() < size) {
        whole += text;
    }
    return whole;
}
