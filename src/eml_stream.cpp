// SPDX-License-Identifier: MIT
// The stream entry point: one message file into the host's output stream.
//
// As the file entry point, but nothing is created or deleted, temporary names are never bound to
// the session record here, and reaching the output limit is not reported.
#include "emlcomm/driver.h"
#include "export.h"
#include "qob_txeml.h"

namespace {

// Everything from the open input on. Returns the call's result.
int32_t extractToStream(ExtractionHandle *handle) {
    if (!eml::measureInput(handle)) {
        eml::closeFile(handle->inputFile);
        eml::closeLog(handle);
        return EML_ERR_INPUT;
    }
    if (eml::checkInput(handle) != 0) {
        eml::closeLog(handle);
        eml::closeFile(handle->inputFile);
        return EML_ERR_FORMAT;
    }
    handle->bigEndian = IsCPUBigEndian_eml();
    const int32_t code = ReadFile(handle);
    eml::closeFile(handle->inputFile);
    if (code != EML_OK) {
        eml::closeLog(handle);
        myFreeMem(handle);
        return code;
    }
    myFreeMem(handle);
    eml::closeLog(handle);
    return handle->result;
}

} // namespace

QOB_EXPORT int32_t GetTextStreamWithErrCallback(const char *inputPath, QobStream *stream,
                                                const HostParams *params, const void *callerRecord,
                                                void *callback) {
    char tmpName[kPathSize] = {};
    SessionRecord session = {};
    ExtractionHandle handle = {};

    eml::beginCall(&handle, &session, {inputPath, params, callerRecord, callback}, inputPath);
    handle.streamMode = 1;
    handle.outputStream = stream;
    QOB_ASC_tmpnam(tmpName);
    EmlGetAttachTmpName(&handle, inputPath, tmpName);
    eml::openLog(&handle, inputPath);
    handle.inputFile = QOB_FileOpen(inputPath, "rb");
    if (handle.inputFile == nullptr) {
        eml::closeLog(&handle);
        return EML_ERR_INPUT;
    }
    eml::logStart(&handle);
    return extractToStream(&handle);
}
