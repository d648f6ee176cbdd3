// SPDX-License-Identifier: MIT
// One conversion through the public services, the way the e-mail filter makes it.
#ifndef QOB_TESTS_CONF_CONVERT_H
#define QOB_TESTS_CONF_CONVERT_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qob_conf_language.h"
#include "qob_host.h"

struct Settings {
    const char *output = "UTF-8";
    std::uint32_t newline = 1;
    std::uint32_t code = 0;
    std::uint16_t replacement = 0;
    bool lineEnd = false;
    bool first = true;
    bool strip = false;         // control codes, as the filter does before each conversion
    std::int64_t capacity = -1; // -1: 4 x length + 1
};

// The converted text, or nothing when a service refused. The output is a block of exactly the
// capacity, so that a sanitizer sees a write beyond it; the context starts as garbage, as it does
// on a stack.
inline std::optional<std::string> convert(const char *charset, std::string_view text,
                                          const Settings &settings = {}) {
    CconvOutputRecord record{};
    record.outputCode = settings.code;
    record.firstConversion = settings.first ? 1 : 0;
    record.textConversion = settings.lineEnd ? 0 : 1;
    record.lineEndConversion = settings.lineEnd ? 1 : 0;
    record.replacement[0] = record.replacement[1] = settings.replacement;
    record.newlineMode = settings.newline;
    const auto context = std::make_unique<CconvContext>();
    std::memset(context.get(), 0xA5, sizeof *context);
    if (cconvInitConvert(context.get(), &record, settings.output, settings.first ? 0 : 1) != 0) {
        return std::nullopt;
    }
    CconvSourceRecord source{1, 0, 1};
    if (cconvChgCharset(context.get(), &source, charset) != 0) {
        cconvTermConvert(context.get());
        return std::nullopt;
    }
    std::vector<char> input(text.begin(), text.end());
    if (settings.strip) {
        input.resize(QOB_CopyStripControlCode(input.data(), text.data(),
                                              static_cast<std::uint32_t>(text.size()),
                                              QOB_GetGroupCharWidth(charset), source.sourceCode));
    }
    const auto capacity =
        settings.capacity < 0 ? 4 * input.size() + 1 : static_cast<std::size_t>(settings.capacity);
    std::vector<char> output(capacity);
    context->input = input.data();
    context->inputLength = static_cast<std::uint32_t>(input.size());
    context->word8 = context->word16 = context->word40 = 0;
    context->output = output.data();
    context->outputCapacity = static_cast<std::uint32_t>(capacity);
    context->produced = 0;
    const bool converted = cconvConvert(context.get()) == 0;
    const std::uint32_t produced = context->produced;
    cconvTermConvert(context.get());
    if (!converted || produced > capacity) {
        return std::nullopt;
    }
    return std::string(output.data(), produced);
}

// A language for one test.
class Language {
public:
    explicit Language(const char *language) : former_(qob_conf_language()) {
        qob_conf_set_language(language);
    }
    Language(const Language &) = delete;
    Language &operator=(const Language &) = delete;
    ~Language() { qob_conf_set_language(former_.c_str()); }

private:
    std::string former_;
};

#endif
