// SPDX-License-Identifier: MIT
// The filter for calendars and cards: entries and people as labelled lines. The file is read in
// pieces, several times to find its charset; memory does not depend on its length.
#include <algorithm>
#include <optional>
#include <string>

#include "charset.h"
#include "content_line.h"
#include "decoder.h"
#include "entry.h"
#include "items.h"
#include "qob_host.h"
#include "qob_limits.h"
#include "qob_notice.h"
#include "unfolder.h"

namespace {

using namespace qob::filters;

// UTF-8 in which folds divide characters.
bool isFoldedUtf8(InputFile &input) {
    if (!input.rewind(0)) {
        return false;
    }
    StrictDecoder utf8("UTF-8");
    Unfolder unfolder;
    bool valid = true;
    const auto look = [&](std::string_view line) { valid = utf8.accepts(line, true) && valid; };
    for (std::string_view piece = input.read(); valid && !piece.empty(); piece = input.read()) {
        unfolder.feed(piece, look);
    }
    unfolder.finish(look);
    return valid;
}

// The charset that a property of an older card declares for its own 8-bit text.
std::optional<std::string> charsetOfParameters(const Survey &survey) {
    constexpr std::string_view kParameter = "CHARSET=";
    const std::string capitals = inCapitals(survey.sample);
    const std::size_t at = capitals.find(kParameter);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    const std::string_view label = std::string_view(capitals).substr(at + kParameter.size(), 64);
    return declaredCharset(label.substr(0, label.find_first_of(";:,\r\n")), survey);
}

std::string charsetOf(Extraction &extraction) {
    const Survey survey = qob::filters::survey(extraction.input, 0);
    if (const auto marked = charsetOfMark(survey)) {
        return *marked;
    }
    if (!survey.sevenBit && (survey.validUtf8 || isFoldedUtf8(extraction.input))) {
        return "UTF-8";
    }
    if (const auto declared = charsetOfParameters(survey)) {
        return *declared;
    }
    return guessCharset(survey, languageOf(extraction.params));
}

bool hasWideUnits(const std::string &charset) {
    return charset.rfind("UTF-16", 0) == 0 || charset.rfind("UTF-32", 0) == 0;
}

int32_t readItems(Extraction &extraction, const std::string &charset, Items &items) {
    // Where line ends are not single bytes, the charset comes off first, else the folds do.
    const bool wide = hasWideUnits(charset);
    Decoder fileDecoder(wide ? charset : "UTF-8");
    Decoder lineDecoder(wide ? "UTF-8" : charset);
    Unfolder unfolder;
    std::string narrow;
    std::string utf8;
    const auto take = [&](std::string_view line) {
        utf8.clear();
        lineDecoder.decode(line, true, utf8);
        items.line(utf8);
    };
    bool last = false;
    int32_t code = EML_OK;
    while (!last && code == EML_OK && extraction.output.isOpen()) {
        std::string_view piece = extraction.input.read();
        last = piece.empty();
        if (wide) {
            narrow.clear();
            fileDecoder.decode(piece, last, narrow);
            piece = narrow;
        }
        unfolder.feed(piece, take);
        code = qob_limits_time();
    }
    unfolder.finish(take);
    items.finish();
    return code;
}

int32_t extractCalendar(Extraction &extraction) {
    const std::string charset = charsetOf(extraction);
    if (!extraction.input.rewind(0)) {
        return EML_ERR_INPUT;
    }
    Items items(extraction.output, charset);
    const int32_t code = readItems(extraction, charset, items);
    if (code == EML_OK && !items.found()) {
        report(extraction, QOB_ERR_DAMAGED, "the file has no calendar and no card in it");
        return QOB_ERR_DAMAGED;
    }
    return code;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractCalendar(extraction);
}
