// SPDX-License-Identifier: MIT
// One pass from bytes to bytes. Each charset has a function for the bytes outside ASCII; whatever
// such a function does not know for certain is left to the pipeline, and with it the whole piece:
// controls, malformed and unassigned bytes, shifts, characters of more than one unit.
#include "direct.h"

#include <cstring>
#include <string_view>

#include "byte_runs.h"

namespace qob {
namespace {

constexpr std::size_t kMostPerByte = 3; // bytes that one byte can become

struct Cursor {
    const char *next;
    const char *end;
    char *out;
    std::string_view lineEnd;

    std::string_view rest() const { return {next, static_cast<std::size_t>(end - next)}; }
    unsigned char byte(std::ptrdiff_t at) const { return static_cast<unsigned char>(next[at]); }
    void copy(std::size_t length) {
        std::memcpy(out, next, length);
        out += length;
        next += length;
    }
    void append(char16_t character) {
        if (character >= 0x800) {
            *out++ = static_cast<char>(0xE0U | character >> 12U);
            *out++ = static_cast<char>(0x80U | (character >> 6U & 0x3FU));
        } else {
            *out++ = static_cast<char>(0xC0U | character >> 6U);
        }
        *out++ = static_cast<char>(0x80U | (character & 0x3FU));
    }
    void appendLineEnd() {
        for (const char byte : lineEnd) {
            *out++ = byte;
        }
    }
};

// Converts printable ASCII, a TAB or a line end. False when something else is next.
bool takeAscii(Cursor &text) {
    if (const std::size_t printable = printableLength(text.rest()); printable != 0) {
        text.copy(printable);
        return true;
    }
    switch (*text.next) {
    case '\t':
        text.copy(1);
        return true;
    case '\r':
        text.next += text.rest().starts_with("\r\n") ? 2 : 1;
        text.appendLineEnd();
        return true;
    case '\n':
        ++text.next;
        text.appendLineEnd();
        return true;
    default:
        return false;
    }
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80;
}

// Bytes of the well-formed character outside ASCII at the text's start, 0 for none. U+F880 to
// U+F8FF are none: some of ICU's charsets use them for the unassigned.
std::ptrdiff_t characterLength(const Cursor &text) {
    const unsigned char lead = text.byte(0);
    const std::ptrdiff_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || text.end - text.next < length) {
        return 0;
    }
    bool wellFormed = isContinuation(text.byte(1));
    const unsigned start = static_cast<unsigned>(lead) << 8U | text.byte(1);
    if (length == 3) {
        const bool overlong = start < 0xE0A0;
        const bool surrogate = start >= 0xEDA0 && start < 0xEE80;
        const bool filler = start == 0xEFA2 || start == 0xEFA3;
        wellFormed &= isContinuation(text.byte(2)) && !overlong && !surrogate && !filler;
    } else if (length == 4) {
        const bool inRange = start >= 0xF090 && start < 0xF490;
        wellFormed &= isContinuation(text.byte(2)) && isContinuation(text.byte(3)) && inRange;
    }
    return wellFormed ? length : 0;
}

bool takeUtf8(Cursor &text) {
    Cursor ahead = text;
    while (ahead.next != ahead.end && ahead.byte(0) >= 0x80) {
        const std::ptrdiff_t length = characterLength(ahead);
        if (length == 0) {
            return false;
        }
        ahead.next += length;
    }
    const auto length = static_cast<std::size_t>(ahead.next - text.next);
    text.copy(length);
    return length != 0;
}

// kLead or kUnusual when the text does not begin with a character that the codec can tell.
char16_t nextCharacter(Cursor &text, SourceCodec &codec) {
    const unsigned char first = text.byte(0);
    const char16_t single = codec.single(first);
    if (single != SourceCodec::kLead || text.end - text.next < 2) {
        ++text.next;
        return single;
    }
    const char16_t character = codec.pair(first, text.byte(1));
    text.next += 2;
    return character;
}

bool takeCharacters(Cursor &text, SourceCodec &codec) {
    Cursor ahead = text; // a copy of its own stays in registers
    while (ahead.next != ahead.end && ahead.byte(0) >= 0x80) {
        const char16_t character = nextCharacter(ahead, codec);
        if (character >= SourceCodec::kLead) {
            return false;
        }
        ahead.append(character);
    }
    const bool taken = ahead.next != text.next;
    text = ahead;
    return taken;
}

bool isJis(unsigned char byte) {
    return byte > 0x20 && byte < 0x7F;
}

// JIS X 0208 between its escape and the return to ASCII.
bool takeJapanese7Bit(Cursor &text, SourceCodec &codec) {
    if (!text.rest().starts_with("\x1B$B")) {
        return false;
    }
    Cursor ahead = text;
    ahead.next += 3;
    while (ahead.end - ahead.next >= 2 && isJis(ahead.byte(0)) && isJis(ahead.byte(1))) {
        const char16_t character = codec.pair(ahead.byte(0), ahead.byte(1));
        if (character >= SourceCodec::kLead) {
            return false;
        }
        ahead.next += 2;
        ahead.append(character);
    }
    if (!ahead.rest().starts_with("\x1B(B")) {
        return false;
    }
    ahead.next += 3;
    text = ahead;
    return true;
}

template <class TakeOther> bool convertRuns(Cursor &text, TakeOther takeOther) {
    while (text.next != text.end) {
        if (!takeAscii(text) && !takeOther(text)) {
            return false;
        }
    }
    return true;
}

bool convertToUtf8(Cursor &text, SourceCodec &codec) {
    switch (codec.direct()) {
    case DirectForm::Utf8:
        if (text.rest().starts_with("\xEF\xBB\xBF")) {
            text.next += 3;
        }
        return convertRuns(text, takeUtf8);
    case DirectForm::Characters:
        return convertRuns(text, [&codec](Cursor &at) { return takeCharacters(at, codec); });
    case DirectForm::Japanese7Bit:
        return convertRuns(text, [&codec](Cursor &at) { return takeJapanese7Bit(at, codec); });
    default:
        return convertRuns(text, [](Cursor &) { return false; });
    }
}

// "" when only ICU can tell.
std::string_view lineEnd(const Piece &piece) {
    switch (piece.newlineMode) {
    case 2:
        return "\r\n";
    case 4:
        return "\r";
    case 5:
        return piece.output->isUtf8() ? "\u2028" : piece.output->hasLineSeparator() ? "" : "\n";
    default:
        return "\n";
    }
}

} // namespace

bool convertDirectly(const Piece &piece, std::int64_t *produced) {
    if (piece.source->direct() == DirectForm::None || !piece.output->holdsAscii() ||
        piece.capacity < kMostPerByte * piece.input.size()) {
        return false;
    }
    Cursor text{piece.input.data(), piece.input.data() + piece.input.size(), piece.room,
                lineEnd(piece)};
    if (text.lineEnd.empty()) {
        return false;
    }
    const bool converted = piece.output->isUtf8()
                               ? convertToUtf8(text, *piece.source)
                               : convertRuns(text, [](Cursor &) { return false; });
    if (converted) {
        *produced = text.out - piece.room;
    }
    return converted;
}

} // namespace qob
