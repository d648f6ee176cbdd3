// SPDX-License-Identifier: MIT
// Converters: one per charset and thread, in its initial state between any two pieces of text. A
// codec belongs to the thread that opened it. Those of the commonest charsets open their ICU
// converter only when a text comes that cannot do without.
#ifndef QOB_CONF_CODEC_H
#define QOB_CONF_CODEC_H

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include <unicode/ucnv.h>

#include "charset_names.h"

namespace qob {

struct ConverterCloser {
    void operator()(UConverter *converter) const { ::ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// How malformed bytes are read; the converter's callback looks here.
struct MalformedRule {
    char16_t substitute = 0xFFFD;
    bool loneEuro = false; // a lone byte 0x80 is the euro sign (code page 936)
};

// The first word of CconvSourceRecord: how QOB_CopyStripControlCode tells controls in this charset.
// Any value without the tag stands for a plain charset.
constexpr std::uint32_t kSourceTag = 0x51000000U;
constexpr std::uint32_t kSourceTagMask = 0xFFFFFF00U;
constexpr std::uint32_t kSourceShifts = 0x1U;       // ESC, SO and SI belong to the encoding
constexpr std::uint32_t kSourceLittleEndian = 0x2U; // of 16- and 32-bit units
constexpr std::uint32_t kSourceMark = 0x4U;         // a byte order mark tells the order
constexpr std::uint32_t kSourceOpaque = 0x8U;       // bytes below 0x20 are not control codes

// Which text a charset's bytes are known to stand for without ICU. In all forms but None, printable
// ASCII, TAB, CR and LF stand for themselves wherever a character can begin.
enum class DirectForm : std::uint8_t {
    None,
    Ascii,        // nothing more
    Utf8,         // well-formed UTF-8
    Characters,   // what single() and pair() tell
    Japanese7Bit, // between ESC $ B and ESC ( B, what pair() tells
};

class SourceCodec {
public:
    // What single() and pair() give beside characters. Below them is a character of U+0080 or more
    // that needs nothing put right.
    static constexpr char16_t kLead = 0xFFFE;    // the byte may begin a pair
    static constexpr char16_t kUnusual = 0xFFFF; // only the converter can tell

    // Null when ICU cannot open it.
    static std::unique_ptr<SourceCodec> open(const SourceName &name);

    SourceKind kind() const { return kind_; }
    DirectForm direct() const { return direct_; }
    std::uint32_t unitBytes() const { return unitBytes_; }
    std::uint32_t sourceCode() const { return sourceCode_; }

    // The character of a byte, or of two, remembered from the first time it was asked for. Bytes
    // are from 0x80, the first of a pair of Japanese7Bit from 0x21.
    char16_t single(unsigned char byte) {
        const char16_t known = singles_[byte & 0x7FU];
        return known != 0 ? known : learnSingle(byte);
    }
    char16_t pair(unsigned char first, unsigned char second) {
        const char16_t known = pairs_ == nullptr ? u'\0' : pairs_[pairIndex(first, second)];
        return known != 0 ? known : learnPair(first, second);
    }

    // Makes converter() and table() ready. False when ICU cannot open the converter.
    bool prepare();
    UConverter *converter() const { return converter_.get(); }
    // For charsets of one byte a character: the character of each byte. Else null.
    const std::array<char16_t, 256> *table() const { return table_.get(); }
    MalformedRule &malformed() { return malformed_; }
    const MalformedRule &malformed() const { return malformed_; }

    // What is to be put right in the decoded text.
    bool swapsControls() const { return swapsControls_; } // 0x1A, 0x1C and 0x7F stand for others
    bool fillsPrivate() const { return fillsPrivate_; }   // U+F880 to U+F8FF mean unassigned
    bool stripsDecoded() const { return stripsDecoded_; } // controls are known only when decoded

private:
    struct Freer {
        void operator()(char16_t *memory) const { std::free(memory); }
    };

    explicit SourceCodec(const SourceName &name) : icuName_(name.icuName), kind_(name.kind) {}
    bool useKnownFacts();
    bool openConverter(const char *icuName);
    void classify();
    void probe();
    void buildTable();
    static constexpr std::size_t kPairs = 0x8000;
    static std::size_t pairIndex(unsigned char first, unsigned char second) {
        return std::size_t{first & 0x7FU} << 8U | second;
    }
    char16_t learnSingle(unsigned char byte);
    char16_t learnPair(unsigned char first, unsigned char second);
    char16_t usualCharacter(std::string_view bytes);

    std::string icuName_;
    SourceKind kind_;
    DirectForm direct_ = DirectForm::None;
    Converter converter_;
    std::unique_ptr<std::array<char16_t, 256>> table_;
    MalformedRule malformed_;
    std::uint32_t unitBytes_ = 1;
    std::uint32_t sourceCode_ = kSourceTag;
    bool singleByte_ = false;
    bool swapsControls_ = false;
    bool fillsPrivate_ = false;
    bool stripsDecoded_ = false;
    std::array<char16_t, 128> singles_{};      // 0: not asked for yet
    std::unique_ptr<char16_t[], Freer> pairs_; // the same; null: no pair was
};

class OutputCodec {
public:
    // Null when ICU cannot open it.
    static std::unique_ptr<OutputCodec> open(const std::string &icuName);

    const std::string &icuName() const { return icuName_; }
    bool isUtf8() const { return isUtf8_; }
    bool holdsAscii() const { return holdsAscii_; } // as single bytes, wherever the text begins
    bool hasLineSeparator() const { return hasLineSeparator_; }
    bool isHz() const { return isHz_; }

    // Makes converter() ready. False when ICU cannot open it.
    bool prepare();
    UConverter *converter() const { return converter_.get(); }

    // What stands for characters that the charset does not have; 0: U+FFFD, or '?' without it. Only
    // after prepare().
    void setReplacement(char16_t replacement);

private:
    bool useKnownFacts();
    void probe();
    bool setErrorRules();

    std::string icuName_;
    Converter converter_;
    char16_t replacement_ = 0;
    char16_t ownReplacement_ = u'?';
    bool isUtf8_ = false;
    bool holdsAscii_ = false;
    bool hasLineSeparator_ = false;
    bool isHz_ = false;
};

} // namespace qob

#endif
