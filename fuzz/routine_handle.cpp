// SPDX-License-Identifier: MIT
// Handles for single routines.
#include "routine_handle.h"

#include <algorithm>
#include <cstring>

#include "emlcomm/driver.h"
#include "emlcomm/input_check.h"
#include "emlcomm/line_reader.h"

namespace {

constexpr const char *kInputName = "/mail/in.eml";
constexpr const char *kOutputName = "/out/text";
constexpr const char *kTargetName = "/tmp/target";

} // namespace

RoutineHandle::RoutineHandle(MemoryHost &memoryHost, const Settings &settings)
    : host(memoryHost), params(paramsOf(settings)) {
    eml::beginCall(&handle, &session, {kInputName, &params, nullptr, nullptr}, kOutputName);
    handle.fileMode = 1;
    handle.outputPath = kOutputName;
    IsEMLFile(&handle);
    handle.outputFile = QOB_FileOpen(kOutputName, "wb");
    handle.lineBuffer = eml::newBuffer(kLineBufferSize).release();
    handle.convBuffer = eml::newBuffer(kConvBufferSize).release();
    handle.qpBuffer = eml::newBuffer(kQpBufferSize).release();
    handle.qpBufferSize = kQpBufferSize;
}

RoutineHandle::~RoutineHandle() {
    eml::closeFile(target);
    eml::closeFile(handle.outputFile);
    eml::closeFile(handle.inputFile);
    myFreeMem(&handle);
    host.requireBalance();
    require(host.openFiles.empty(), "every file is closed");
}

void RoutineHandle::load(const std::string &text, int32_t start) {
    auto file = std::make_shared<MemoryFile>();
    file->text = text;
    host.files[kInputName] = file;
    eml::closeFile(handle.inputFile);
    handle.inputFile = QOB_FileOpen(kInputName, "rb");
    handle.fileSize = static_cast<int32_t>(text.size());
    handle.blockStart = start;
    handle.blockPos = 0;
    QOB_FileSeek(handle.inputFile, start, 0);
    eml::loadBlock(&handle, std::min(handle.fileSize - start, kBlockSize));
}

QobFile *RoutineHandle::openTarget() {
    target = QOB_FileOpen(kTargetName, "wb");
    return target;
}

std::string RoutineHandle::closeTarget() {
    eml::closeFile(target);
    return host.textOf(kTargetName);
}

std::string RoutineHandle::output() const {
    return host.textOf(kOutputName);
}
