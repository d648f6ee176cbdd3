// SPDX-License-Identifier: MIT
// The file entry point: one message file into a new text file.
//
// Whatever happens, the input is closed, every buffer is released and the log is closed. On some
// ways out the log is closed twice or as null: the host accepts both.
#include "qob_txeml.h"

#include "emlcomm/driver.h"
#include "export.h"

namespace {

// The file that holds a failed call's text is worth nothing to the host.
int32_t endWithoutOutput(const ExtractionHandle *handle, int32_t code) {
    QOB_ASC_remove(handle->outputPath);
    return code;
}

bool stoppedAtLimit(const ExtractionHandle *handle) {
    // A cut that fell short of the limit, to spare a character, is not reported.
    return handle->options.limitOutput != 0 && handle->limitReached == 1 &&
           handle->outputCount >= handle->outputLimit;
}

// Everything from the open input on. Returns the call's result.
int32_t extractToFile(ExtractionHandle *handle) {
    handle->outputFile = QOB_FileOpen(handle->outputPath, "wb");
    if (handle->outputFile == nullptr) {
        eml::closeLog(handle);
        eml::closeFile(handle->inputFile);
        myFreeMem(handle);
        return EML_ERR_OUTPUT;
    }
    if (!eml::measureInput(handle)) {
        eml::closeFile(handle->outputFile);
        eml::closeFile(handle->inputFile);
        myFreeMem(handle);
        eml::closeLog(handle);
        return endWithoutOutput(handle, EML_ERR_INPUT);
    }
    if (eml::checkInput(handle) != 0) {
        eml::closeLog(handle);
        eml::closeFile(handle->inputFile);
        eml::closeFile(handle->outputFile);
        myFreeMem(handle);
        return endWithoutOutput(handle, EML_ERR_FORMAT);
    }
    handle->bigEndian = IsCPUBigEndian_eml();
    const int32_t code = ReadFile(handle);
    eml::closeFile(handle->inputFile);
    if (code != EML_OK) {
        eml::closeLog(handle);
        myFreeMem(handle);
        eml::closeFile(handle->outputFile);
        return endWithoutOutput(handle, code);
    }
    eml::closeFile(handle->outputFile);
    const int32_t result = stoppedAtLimit(handle) ? EML_ERR_LIMIT : handle->result;
    myFreeMem(handle);
    eml::closeLog(handle);
    return result;
}

} // namespace

QOB_EXPORT int32_t GetTextWithErrCallback(const char *inputPath, const char *outputPath,
                                          const HostParams *params, const void *callerRecord,
                                          void *callback) {
    char tmpName[kPathSize] = {};
    SessionRecord session = {};
    ExtractionHandle handle = {};

    eml::beginCall(&handle, &session, {inputPath, params, callerRecord, callback}, outputPath);
    handle.fileMode = 1;
    handle.outputPath = outputPath;
    // No file of this name is made: only its directory serves, for the attachments' names.
    if (eml::hasFlag(&handle, EML_FLAG_BOUND_TMPNAM)) {
        QOB_ASC_tmpnam1(session.path, tmpName);
    } else {
        QOB_ASC_tmpnam(tmpName);
    }
    EmlGetAttachTmpName(&handle, inputPath, tmpName);
    eml::openLog(&handle, outputPath);
    handle.inputFile = QOB_FileOpen(inputPath, "rb");
    if (handle.inputFile == nullptr) {
        eml::closeLog(&handle);
        return EML_ERR_INPUT;
    }
    eml::logStart(&handle);
    return extractToFile(&handle);
}
