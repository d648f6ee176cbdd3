// SPDX-License-Identifier: MIT
// What the groups and control words of an RTF document mean: which text belongs to it, and in which
// code page each byte is.
#ifndef QOB_FILTERS_RTF_READER_H
#define QOB_FILTERS_RTF_READER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "document_lines.h"
#include "rtf_run.h"
#include "rtf_scanner.h"
#include "rtf_words.h"

namespace qob::filters {

class RtfReader : public RtfEvents {
public:
    explicit RtfReader(DocumentLines &lines) : lines_(lines), run_(lines) {}

    void openGroup() override;
    void closeGroup() override;
    void word(std::string_view name, std::optional<int32_t> number) override;
    void symbol(char c) override;
    void text(std::string_view bytes) override;
    void hexByte(char byte) override;
    void binary() override;

    // The file is at its end.
    void finish();

    // The document's group was closed; what follows is no part of it.
    bool isOver() const { return over_; }

private:
    enum class Destination : uint8_t { kText, kSkip, kFontTable, kTwoForms };

    struct Group {
        Destination destination = Destination::kText;
        Destination aroundForms = Destination::kText; // of the group around two forms
        bool hidden = false;
        bool deleted = false;
        bool aside = false;
        bool note = false;
        uint16_t skipCount = 1;
        int32_t font = kNoFont;
    };

    struct Font {
        int32_t page = 0;
        bool bySymbolName = false; // the name decides about the page
    };

    static constexpr int32_t kNoFont = INT32_MIN;

    bool isVisible() const;
    bool takeFallback();
    int32_t currentPage() const;
    void bytes(std::string_view bytes);
    void apply(const RtfWord &word, std::optional<int32_t> number);
    void applyToText(const RtfWord &word, std::optional<int32_t> number);
    void applyToDocument(const RtfWord &word, std::optional<int32_t> number);
    bool enterDestination(const RtfWord &word, bool ignorable);
    void unicode(int32_t number);
    void chooseFont(int32_t font);
    void declareFont(RtfAction action, int32_t number);
    void fontName(std::string_view bytes);
    void endFontName();

    DocumentLines &lines_;
    RtfRun run_;
    Group group_;
    std::vector<Group> groups_;  // around group_
    uint64_t groupsNotKept_ = 0; // opened beyond the depth that is kept
    bool starred_ = false;       // the group's first word is marked as ignorable
    bool over_ = false;
    uint32_t fallbackLeft_ = 0; // characters that stand for one that was written already
    int32_t documentPage_ = 0;
    int32_t defaultFont_ = kNoFont;
    int32_t declaredFont_ = kNoFont;
    std::string fontName_;
    std::unordered_map<int32_t, Font> fonts_;
};

} // namespace qob::filters

#endif
