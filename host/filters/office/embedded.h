// SPDX-License-Identifier: MIT
// Files inside of an office document that have text of their own.
#ifndef QOB_FILTERS_OFFICE_EMBEDDED_H
#define QOB_FILTERS_OFFICE_EMBEDDED_H

#include <cstdint>

#include "entry.h"
#include "package.h"

namespace qob::filters::office {

// Hands the documents that are embedded in the package to the host, each under its name; pictures,
// sounds and objects without a format of their own are left out. EML_OK, or the code to stop with.
int32_t extractEmbedded(Package &package, Extraction &extraction);

} // namespace qob::filters::office

#endif
