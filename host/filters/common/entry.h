// SPDX-License-Identifier: MIT
// What the two entry points of every format filter have in common: opening the input, making the
// output, reporting, and turning exceptions into result codes. A filter brings one Extractor and
// serves both entry points with it.
#ifndef QOB_FILTERS_ENTRY_H
#define QOB_FILTERS_ENTRY_H

#include <cstdint>

#include "input_file.h"
#include "qob_txeml.h"
#include "text_output.h"

namespace qob::filters {

// One running extraction. Everything it refers to outlives the Extractor's call.
struct Extraction {
    const char *inputPath;
    InputFile &input; // open, at the start of the file
    const HostParams &params;
    void *callback; // a QobErrorCallback, or null
    TextOutput &output;
};

// Writes the file's text to extraction.output. Returns EML_OK or the code of what went wrong; what
// the output met (its limit, a failed write) need not be returned. May throw.
using Extractor = int32_t (*)(Extraction &extraction);

// Tells the host's error callback, if there is one, that the file gave no text or not all of it.
// `reason` is one sentence without a full stop.
void report(const Extraction &extraction, int32_t code, const char *reason);

// The filter's own Extractor. Every filter library defines it; entry_points.cpp, which is part of
// each, serves both entry points with it.
int32_t extractInput(Extraction &extraction);

// GetTextWithErrCallback: creates `outputPath`. EML_ERR_INPUT when the input cannot be opened,
// EML_ERR_OUTPUT when the output cannot be created, EML_ERR_MEMORY, EML_ERR_LIMIT when the output
// limit cut the text, EML_ERR_SHORT_WRITE when the output took less than it was given, or the
// Extractor's code. The output file stays on EML_OK and EML_ERR_LIMIT only.
int32_t extractToFile(const char *inputPath, const char *outputPath, const HostParams *params,
                      void *callback, Extractor extractor) noexcept;

// GetTextStreamWithErrCallback: as extractToFile without the file; a reached limit, and a
// stream that takes nothing more, is EML_OK.
int32_t extractToStream(const char *inputPath, QobStream *stream, const HostParams *params,
                        void *callback, Extractor extractor) noexcept;

} // namespace qob::filters

#endif
