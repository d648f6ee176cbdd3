// SPDX-License-Identifier: MIT
// Marks the definitions that leave the library; exports.map lists the same names.
#ifndef QOB_SRC_EXPORT_H
#define QOB_SRC_EXPORT_H

#define QOB_EXPORT extern "C" __attribute__((visibility("default")))

#endif
