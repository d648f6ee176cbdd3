// SPDX-License-Identifier: MIT
// Asks the converter for a line end the way filters do: a carriage return stands for one.
#include "output/line_end.h"

#include <array>
#include <memory>

#include "qob_extract.h"

namespace emltext {
namespace {

constexpr std::array<uint32_t, 3> kModes = {1, 2, 4}; // by QOB_NEWLINE_*

std::string converted(CconvContext &context) {
    CconvSourceRecord source{1, 0, 1};
    if (cconvChgCharset(&context, &source, "ISO-8859-1") != 0) {
        return {};
    }
    std::array<char, 32> bytes{};
    const char carriageReturn = '\r';
    context.input = &carriageReturn;
    context.inputLength = 1;
    context.output = bytes.data();
    context.outputCapacity = static_cast<uint32_t>(bytes.size());
    if (cconvConvert(&context) != 0) {
        return {};
    }
    return {bytes.data(), context.produced};
}

} // namespace

std::string lineEnd(const std::string &charset, uint32_t newline) {
    const auto context = std::make_unique<CconvContext>();
    CconvOutputRecord record{};
    record.firstConversion = 1;
    record.lineEndConversion = 1;
    record.newlineMode = kModes.at(newline);
    if (charset.empty() || cconvInitConvert(context.get(), &record, charset.c_str(), 0) != 0) {
        return {};
    }
    std::string bytes = converted(*context);
    cconvTermConvert(context.get());
    return bytes;
}

} // namespace emltext
