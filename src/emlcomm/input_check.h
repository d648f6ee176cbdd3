// SPDX-License-Identifier: MIT
// The input check, which accepts every file and chooses the default charset.
#ifndef QOB_EMLCOMM_INPUT_CHECK_H
#define QOB_EMLCOMM_INPUT_CHECK_H

#include "emlcomm/handle.h"

// Sets defaultCharset from the host's language name. Always 0: the file is not looked at.
QOB_EXPORT int32_t IsEMLFile(ExtractionHandle *handle);

// 1 when a file of this name exists, else 0.
QOB_EXPORT int32_t EmlCheckFile(const char *path);

#endif
