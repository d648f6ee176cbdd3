// SPDX-License-Identifier: MIT
// The HTML filter: file -> charset decoder -> gate -> parser -> layout -> output, piece by piece.
// A first pass over the file finds its charset. Memory does not depend on the file, time grows with
// its length.
#include <string>
#include <string_view>

#include "charset.h"
#include "decoder.h"
#include "entry.h"
#include "html_charset.h"
#include "html_gate.h"
#include "html_parser.h"
#include "qob_host.h"
#include "text_layout.h"

namespace {

using qob::filters::Extraction;

void readPage(Extraction &extraction, const std::string &charset) {
    qob::filters::TextLayout layout(extraction.output);
    qob::filters::HtmlParser parser(layout);
    qob::filters::HtmlGate gate;
    qob::filters::Decoder decoder(charset);
    std::string utf8;
    std::string passed;
    bool last = false;
    while (!last && extraction.output.isOpen()) {
        const std::string_view piece = extraction.input.read();
        last = piece.empty();
        utf8.clear();
        passed.clear();
        decoder.decode(piece, last, utf8);
        gate.feed(utf8, passed);
        if (last) {
            gate.finish(passed);
        }
        parser.feed(passed);
    }
    parser.finish();
    layout.finish();
}

int32_t extractPage(Extraction &extraction) {
    const std::string start(extraction.input.read());
    const auto prefix = qob::filters::mailPrefix(start);
    const auto survey = qob::filters::survey(extraction.input, prefix.length);
    const std::string charset =
        qob::filters::charsetOfPage(prefix, survey, qob::filters::languageOf(extraction.params));
    if (!extraction.input.rewind(prefix.length)) {
        return EML_ERR_INPUT;
    }
    readPage(extraction, charset);
    return EML_OK;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractPage(extraction);
}
