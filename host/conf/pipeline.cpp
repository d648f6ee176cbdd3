// SPDX-License-Identifier: MIT
// The three steps of a conversion, and what happens when the result does not fit.
#include "pipeline.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include <unicode/utf16.h>

#include "hz.h"

namespace qob {
namespace {

constexpr std::size_t kChunk = 1024;        // UTF-16 units decoded at a time
constexpr std::ptrdiff_t kWindow = 1 << 30; // bytes; ICU refuses buffers of 2 GiB and more
constexpr char16_t kByteOrderMark = 0xFEFF;

// Returns a converter to its initial state unless the conversion did so itself by ending well.
class StateGuard {
public:
    explicit StateGuard(UConverter *converter) : converter_(converter) {}
    StateGuard(const StateGuard &) = delete;
    StateGuard &operator=(const StateGuard &) = delete;
    ~StateGuard() {
        if (!ended_) {
            ::ucnv_reset(converter_);
        }
    }
    void ended() { ended_ = true; }

private:
    UConverter *converter_;
    bool ended_ = false;
};

std::u16string_view lineEnd(const Piece &piece) {
    switch (piece.newlineMode) {
    case 2:
        return u"\r\n";
    case 4:
        return u"\r";
    case 5:
        return piece.output->hasLineSeparator() ? u"\u2028" : u"\n";
    default:
        return u"\n";
    }
}

// Step 1: takes the next chunk of characters out of the input.
class Decoder {
public:
    explicit Decoder(const Piece &piece)
        : codec_(*piece.source), next_(piece.input.data()), end_(next_ + piece.input.size()),
          guard_(codec_.converter()) {}

    // False when ICU failed. *text is valid until the next call.
    bool read(std::u16string_view *text) {
        return codec_.table() != nullptr ? readTable(text) : readIcu(text);
    }
    bool done() const { return done_; }

private:
    bool readTable(std::u16string_view *text) {
        const std::array<char16_t, 256> &table = *codec_.table();
        const char16_t malformed = codec_.malformed().substitute;
        std::size_t length = 0;
        for (; length < kChunk && next_ != end_; ++next_) {
            const char16_t character = table[static_cast<unsigned char>(*next_)];
            chunk_[length++] = character == 0xFFFD ? malformed : character;
        }
        done_ = next_ == end_;
        if (done_) {
            guard_.ended();
        }
        *text = {chunk_.data(), length};
        return true;
    }

    bool readIcu(std::u16string_view *text) {
        const bool last = end_ - next_ <= kWindow;
        UErrorCode status = U_ZERO_ERROR;
        UChar *to = chunk_.data();
        ::ucnv_toUnicode(codec_.converter(), &to, to + kChunk, &next_,
                         last ? end_ : next_ + kWindow, nullptr, static_cast<UBool>(last), &status);
        *text = {chunk_.data(), static_cast<std::size_t>(to - chunk_.data())};
        if (status == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(status) && !last)) {
            return true;
        }
        done_ = true;
        if (U_FAILURE(status)) {
            return false;
        }
        guard_.ended();
        return true;
    }

    SourceCodec &codec_;
    const char *next_;
    const char *end_;
    StateGuard guard_;
    std::array<UChar, kChunk>
        chunk_; // NOLINT(cppcoreguidelines-pro-type-member-init): filled first
    bool done_ = false;
};

// Step 2: line ends, and what the charset's table got wrong. Remembers a CR across chunks.
class Corrector {
public:
    Corrector(const SourceCodec &codec, std::u16string_view lineEnd)
        : codec_(codec), lineEnd_(lineEnd) {}

    // The result is valid until the next call.
    std::u16string_view correct(std::u16string_view text) {
        std::size_t length = 0;
        if (atStart_ && !text.empty()) {
            atStart_ = false;
            if (text[0] == kByteOrderMark) {
                text.remove_prefix(1);
            }
        }
        for (const char16_t given : text) {
            if (given >= 0x20 && given < 0x7F) {
                afterCr_ = false;
                chunk_[length++] = given;
            } else {
                length = special(given, length);
            }
        }
        return {chunk_.data(), length};
    }

private:
    // Appends what stands for a control code or a character outside ASCII.
    std::size_t special(char16_t character, std::size_t length) {
        if (codec_.swapsControls()) {
            character = swapped(character);
        }
        const bool skipped = character == u'\n' && afterCr_;
        afterCr_ = character == u'\r';
        if (skipped) {
            return length;
        }
        if (character == u'\r' || character == u'\n') {
            return length + lineEnd_.copy(chunk_.data() + length, lineEnd_.size());
        }
        if (codec_.stripsDecoded() &&
            (character == 0x7F || (character < 0x20 && character != '\t'))) {
            return length;
        }
        const bool filler = codec_.fillsPrivate() && character >= 0xF880 && character <= 0xF8FF;
        chunk_[length] = filler ? codec_.malformed().substitute : character;
        return length + 1;
    }

    static char16_t swapped(char16_t character) {
        switch (character) {
        case 0x1C:
            return 0x1A;
        case 0x7F:
            return 0x1C;
        case 0x1A:
            return 0x7F;
        default:
            return character;
        }
    }

    const SourceCodec &codec_;
    std::u16string_view lineEnd_;
    std::array<char16_t, 2 * kChunk>
        chunk_; // NOLINT(cppcoreguidelines-pro-type-member-init): as above
    bool afterCr_ = false;
    bool atStart_ = true;
};

enum class Fit { Yes, No, Failed };

// Step 3: appends text to the room.
class Encoder {
public:
    explicit Encoder(const Piece &piece)
        : converter_(piece.output->converter()), start_(piece.room), next_(piece.room),
          limit_(piece.room + piece.capacity), isHz_(piece.output->isHz()), guard_(converter_) {}

    // `last` returns to the charset's initial state. *taken tells how many units went in.
    Fit write(std::u16string_view text, bool last, std::size_t *taken = nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        const UChar *from = text.data();
        const char *limit = limit_ - next_ <= kWindow ? limit_ : next_ + kWindow;
        ::ucnv_fromUnicode(converter_, &next_, limit, &from, from + text.size(), nullptr,
                           static_cast<UBool>(last), &status);
        if (taken != nullptr) {
            *taken = static_cast<std::size_t>(from - text.data());
        }
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            return Fit::No;
        }
        if (U_FAILURE(status)) {
            return Fit::Failed;
        }
        if (!last) {
            return Fit::Yes;
        }
        guard_.ended();
        return !isHz_ || tidyHz(start_, &next_, limit_) ? Fit::Yes : Fit::No;
    }
    std::int64_t produced() const { return next_ - start_; }

private:
    UConverter *converter_;
    char *start_;
    char *next_;
    char *limit_;
    bool isHz_;
    StateGuard guard_;
};

Fit convert(const Piece &piece, std::u16string_view newline, std::int64_t *produced) {
    Decoder decoder(piece);
    Corrector corrector(*piece.source, newline);
    Encoder encoder(piece);
    while (!decoder.done()) {
        std::u16string_view text;
        if (!decoder.read(&text)) {
            return Fit::Failed;
        }
        const Fit fit = encoder.write(corrector.correct(text), decoder.done());
        if (fit != Fit::Yes) {
            return fit;
        }
    }
    *produced = encoder.produced();
    return Fit::Yes;
}

bool decodeWhole(const Piece &piece, std::u16string *whole) {
    Decoder decoder(piece);
    Corrector corrector(*piece.source, u"\n");
    while (!decoder.done()) {
        std::u16string_view text;
        if (!decoder.read(&text)) {
            return false;
        }
        whole->append(corrector.correct(text));
    }
    return true;
}

// The longest beginning of the text that fits with the return to the initial state. How far the
// first try got is at most a few characters too far, so it is shortened one by one from there.
std::int64_t convertCut(const Piece &piece) {
    std::u16string text;
    if (!decodeWhole(piece, &text)) {
        return -1;
    }
    text.resize(std::min<std::size_t>(text.size(), kWindow / sizeof(char16_t)));
    std::size_t length = text.size();
    Fit fit = Encoder(piece).write(text, true, &length);
    while (fit == Fit::No && length > 0) {
        if (length < text.size()) {
            U16_SET_CP_START(text, 0, length);
        }
        Encoder encoder(piece);
        fit = encoder.write(std::u16string_view(text).substr(0, length), true);
        if (fit == Fit::Yes) {
            return encoder.produced();
        }
        U16_BACK_1(text, 0, length);
    }
    return fit == Fit::Failed ? -1 : 0;
}

} // namespace

std::int64_t convertPiece(const Piece &piece) {
    if (piece.input.empty()) {
        return 0;
    }
    std::int64_t produced = 0;
    const std::u16string_view newline = lineEnd(piece);
    Fit fit = convert(piece, newline, &produced);
    if (fit == Fit::No && newline != u"\n") {
        fit = convert(piece, u"\n", &produced);
    }
    if (fit == Fit::No) {
        return convertCut(piece);
    }
    return fit == Fit::Failed ? -1 : produced;
}

} // namespace qob
