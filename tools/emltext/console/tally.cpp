// SPDX-License-Identifier: MIT
// Numbers for people.
#include "console/tally.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace emltext {
namespace {

constexpr std::size_t kLeastBar = 10;
constexpr std::size_t kLongestBar = 40;

std::string grouped(uint64_t number) {
    constexpr std::size_t kGroup = 3;
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > kGroup;) {
        at -= kGroup;
        text.insert(at, ",");
    }
    return text;
}

std::string withOneDigit(double number, const char *unit) {
    std::array<char, 48> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%.1f %s", number, unit));
    return text.data();
}

std::string bytesText(uint64_t bytes) {
    constexpr double kStep = 1000;
    constexpr std::array<const char *, 4> kUnits = {"kB", "MB", "GB", "TB"};
    if (static_cast<double>(bytes) < kStep) {
        return std::to_string(bytes) + " bytes";
    }
    double number = static_cast<double>(bytes) / kStep;
    std::size_t unit = 0;
    while (number >= kStep && unit + 1 < kUnits.size()) {
        number /= kStep;
        ++unit;
    }
    return withOneDigit(number, kUnits.at(unit));
}

// "0:42", "1:05:09"
std::string clockText(double seconds) {
    constexpr uint64_t kMinute = 60;
    constexpr double kTooLong = 360000;
    const auto whole = static_cast<uint64_t>(std::clamp(seconds, 0.0, kTooLong));
    const uint64_t hours = whole / (kMinute * kMinute);
    const uint64_t minutes = whole / kMinute % kMinute;
    std::array<char, 48> text{};
    if (hours == 0) {
        static_cast<void>(std::snprintf(text.data(), text.size(), "%u:%02u",
                                        static_cast<unsigned>(minutes),
                                        static_cast<unsigned>(whole % kMinute)));
    } else {
        static_cast<void>(
            std::snprintf(text.data(), text.size(), "%u:%02u:%02u", static_cast<unsigned>(hours),
                          static_cast<unsigned>(minutes), static_cast<unsigned>(whole % kMinute)));
    }
    return text.data();
}

double perSecond(uint64_t count, const Tally &tally) {
    constexpr double kShortest = 0.001;
    return static_cast<double>(count) / std::max(kShortest, tally.elapsed.count());
}

std::string bar(double share, std::size_t length) {
    const auto full = static_cast<std::size_t>(share * static_cast<double>(length));
    return "[" + std::string(full, '#') + std::string(length - full, '.') + "] ";
}

std::string timeLeft(const Tally &tally, uint64_t done) {
    if (tally.messages == 0) {
        return {};
    }
    const double left = static_cast<double>(*tally.total - done);
    return ", " + clockText(left / perSecond(tally.messages, tally)) + " left";
}

} // namespace

std::string progressLine(const Tally &tally, std::size_t width) {
    constexpr double kMega = 1e6;
    const uint64_t done = tally.messages + tally.messagesBefore;
    const bool known = tally.total && *tally.total >= done && *tally.total > 0;
    std::string text = grouped(done);
    if (known) {
        text += "/" + grouped(*tally.total);
    }
    text += " messages, " + withOneDigit(perSecond(tally.bytesIn, tally) / kMega, "MB/s") + ", " +
            grouped(tally.failed + tally.failedBefore) + " failed";
    if (known) {
        text += timeLeft(tally, done);
        const std::size_t around = text.size() + 3;
        if (width >= around + kLeastBar) {
            const double share = static_cast<double>(done) / static_cast<double>(*tally.total);
            text = bar(share, std::min(kLongestBar, width - around)) + text;
        }
    }
    return text.substr(0, width);
}

std::string summaryLine(const Tally &tally, bool interrupted) {
    std::string line = "emltext: ";
    if (interrupted) {
        line += "interrupted after ";
    }
    line += grouped(tally.messages) + (tally.messages == 1 ? " message, " : " messages, ") +
            grouped(tally.failed) + " failed, " + bytesText(tally.bytesIn) + " read, " +
            bytesText(tally.bytesOut) + " of text, " + withOneDigit(tally.elapsed.count(), "s");
    if (tally.messagesBefore != 0) {
        line += "; " + grouped(tally.messagesBefore) + " were finished before, " +
                grouped(tally.failedBefore) + " of them failed";
    }
    return line;
}

} // namespace emltext
