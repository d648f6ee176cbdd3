// SPDX-License-Identifier: MIT
// Charset to UTF-8, piece by piece, on ICU.
#ifndef QOB_FILTERS_DECODER_H
#define QOB_FILTERS_DECODER_H

#include <unicode/ucnv.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qob::filters {

struct ConverterCloser {
    void operator()(UConverter *converter) const { ucnv_close(converter); }
};
using ConverterPtr = std::unique_ptr<UConverter, ConverterCloser>;

// Opens an ICU converter, null for a name that ICU does not know.
ConverterPtr openConverter(const std::string &charset);

// Turns a file's bytes into UTF-8. State is kept between the pieces, so a piece may end anywhere.
// Malformed input becomes U+FFFD; a byte order mark at the start is left out.
class Decoder {
public:
    // Reads a charset that ICU does not know as windows-1252.
    explicit Decoder(const std::string &charset);

    // Appends the text of `bytes` to `utf8`; `last` also turns what is held back.
    void decode(std::string_view bytes, bool last, std::string &utf8);

private:
    void appendUnits(const char16_t *units, std::size_t count, std::string &utf8);

    ConverterPtr source_;
    std::vector<char16_t> units_;
    char16_t lead_ = 0; // the first half of a pair whose second half is not here yet
    bool started_ = false;
};

// Tells whether bytes are text of a charset to the letter.
class StrictDecoder {
public:
    explicit StrictDecoder(const std::string &charset);

    // False once something malformed has been met. `last` makes a character that is cut off by the
    // end malformed.
    bool accepts(std::string_view bytes, bool last);

    bool sawNonAscii() const { return sawNonAscii_; }
    bool sawPrivateUse() const { return sawPrivateUse_; }

private:
    void look(const char16_t *units, std::size_t count);

    ConverterPtr source_;
    std::vector<char16_t> units_;
    bool valid_;
    bool sawNonAscii_ = false;
    bool sawPrivateUse_ = false;
};

} // namespace qob::filters

#endif
