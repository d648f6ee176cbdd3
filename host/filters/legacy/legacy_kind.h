// SPDX-License-Identifier: MIT
// What kind of document a container holds, and whether it needs a password.
#ifndef QOB_FILTERS_LEGACY_KIND_H
#define QOB_FILTERS_LEGACY_KIND_H

#include "ole_file.h"

namespace qob::filters {

enum class LegacyKind { kNone, kWord, kExcel, kPowerPoint, kEncrypted };

LegacyKind legacyKind(OleFile &file);

} // namespace qob::filters

#endif
