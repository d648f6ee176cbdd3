// SPDX-License-Identifier: MIT
// The text filter: a plain text file in whatever charset it is, copied into the output charset with
// the host's line ends. Two passes, the first to find the charset, so the memory needed does not
// depend on the file.
#include <string>

#include "charset.h"
#include "decoder.h"
#include "entry.h"
#include "plain_lines.h"
#include "qob_host.h"

namespace {

using qob::filters::Extraction;

int32_t extractText(Extraction &extraction) {
    namespace filters = qob::filters;
    const filters::Survey survey = filters::survey(extraction.input, 0);
    const std::string charset = filters::charsetOfMark(survey).value_or(
        filters::guessCharset(survey, filters::languageOf(extraction.params)));
    if (!extraction.input.rewind(0)) {
        return EML_ERR_INPUT;
    }
    filters::Decoder decoder(charset);
    filters::PlainLines lines(extraction.output);
    bool last = false;
    std::string utf8;
    while (!last && extraction.output.isOpen()) {
        const std::string_view piece = extraction.input.read();
        last = piece.empty();
        utf8.clear();
        decoder.decode(piece, last, utf8);
        lines.append(utf8);
    }
    return EML_OK;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractText(extraction);
}
