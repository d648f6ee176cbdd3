// SPDX-License-Identifier: MIT
// Marks the definitions that leave a library of the reference host.
#ifndef QOB_HOST_EXPORT_H
#define QOB_HOST_EXPORT_H

#define QOB_HOST_EXPORT extern "C" __attribute__((visibility("default")))

#endif
