// SPDX-License-Identifier: MIT
// The lexical layer of RTF: bytes in, groups, control words and text out. Takes any bytes in pieces
// of any size; needs the same memory whatever they are.
#ifndef QOB_FILTERS_RTF_SCANNER_H
#define QOB_FILTERS_RTF_SCANNER_H

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qob::filters {

class RtfEvents {
public:
    virtual ~RtfEvents() = default;
    virtual void openGroup() = 0;
    virtual void closeGroup() = 0;
    // A control word, without the backslash; names of more than kMaxWord letters come cut.
    virtual void word(std::string_view name, std::optional<int32_t> number) = 0;
    // A control symbol other than those that stand for text: '~', '-', '_', '*', ...
    virtual void symbol(char c) = 0;
    // Characters as they stand in the file.
    virtual void text(std::string_view bytes) = 0;
    // A byte written as two hexadecimal digits.
    virtual void hexByte(char byte) = 0;
    // Binary data was passed over.
    virtual void binary() = 0;
};

class RtfScanner {
public:
    static constexpr std::size_t kMaxWord = 32;

    explicit RtfScanner(RtfEvents &events) : events_(events) {}

    void scan(std::string_view piece);

    // The end of the file: a control word that is not ended yet is one.
    void finish();

private:
    enum class State {
        kText,
        kBackslash,
        kWord,
        kMinus,
        kNumber,
        kFirstDigit,
        kSecondDigit,
        kBinary
    };

    std::size_t scanText(std::string_view rest);
    std::size_t scanBinary(std::string_view rest);
    bool scanMarkup(char c);
    bool afterBackslash(char c);
    bool inWord(char c);
    bool afterMinus(char c);
    bool inNumber(char c);
    bool firstDigit(char c);
    bool secondDigit(char c);
    bool endWord(char c);
    void emitWord();

    RtfEvents &events_;
    State state_ = State::kText;
    std::array<char, kMaxWord> name_{};
    std::size_t nameLength_ = 0;
    bool negative_ = false;
    int64_t number_ = 0;
    uint32_t firstDigit_ = 0;
    uint64_t binaryLeft_ = 0;
};

} // namespace qob::filters

#endif
