// SPDX-License-Identifier: MIT
// Opened converters: one per charset and thread, in its initial state between any two pieces of
// text. A codec belongs to the thread that opened it.
#ifndef QOB_CONF_CODEC_H
#define QOB_CONF_CODEC_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>

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

class SourceCodec {
public:
    // Null when ICU cannot open it.
    static std::unique_ptr<SourceCodec> open(const SourceName &name);

    SourceKind kind() const { return kind_; }
    std::uint32_t unitBytes() const { return unitBytes_; }
    std::uint32_t sourceCode() const { return sourceCode_; }
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
    explicit SourceCodec(SourceKind kind) : kind_(kind) {}
    bool openConverter(const char *icuName);
    void classify();
    void probe();
    void buildTable();

    SourceKind kind_;
    Converter converter_;
    std::unique_ptr<std::array<char16_t, 256>> table_;
    MalformedRule malformed_;
    std::uint32_t unitBytes_ = 1;
    std::uint32_t sourceCode_ = kSourceTag;
    bool swapsControls_ = false;
    bool fillsPrivate_ = false;
    bool stripsDecoded_ = false;
};

class OutputCodec {
public:
    // Null when ICU cannot open it.
    static std::unique_ptr<OutputCodec> open(const std::string &icuName);

    const std::string &icuName() const { return icuName_; }
    UConverter *converter() const { return converter_.get(); }
    bool hasLineSeparator() const { return hasLineSeparator_; }
    bool isHz() const { return isHz_; }

    // What stands for characters that the charset does not have; 0: U+FFFD, or '?' without it.
    void setReplacement(char16_t replacement);

private:
    std::string icuName_;
    Converter converter_;
    char16_t replacement_ = 0;
    char16_t ownReplacement_ = u'?';
    bool hasLineSeparator_ = false;
    bool isHz_ = false;
};

} // namespace qob

#endif
