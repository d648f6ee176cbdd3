// SPDX-License-Identifier: MIT
// The charset of unlabelled text. ICU's detector knows long texts well and short ones badly, where
// it also favours charsets that nobody uses in mail; the language of the extraction makes up for
// that.
#include "charset.h"

#include <unicode/uchar.h>
#include <unicode/ucsdet.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

#include "decoder.h"

namespace qob::filters {
namespace {

struct DetectorCloser {
    void operator()(UCharsetDetector *detector) const { ucsdet_close(detector); }
};

struct Match {
    std::string name; // the detector's
    int confidence;   // 0 to 100
};

// Below its top confidence the detector is only guessing by frequency.
constexpr int kCertain = 100;
constexpr int kCertainScore = 1000;
// What it weighs that text reads without a fault in the language's own charset; by experiment with
// greetings and one-word subjects, where ICU gives the right double-byte charset 10 and a wrong
// single-byte one up to 60.
constexpr int kPriorDoubleByte = 55;
constexpr int kPriorSingleByte = 20;
// Western European text is the commonest 8-bit text of all; this decides between ISO-8859-1 and
// its neighbours, which share most letters.
constexpr int kPriorWestern = 10;
constexpr char kWestern[] = "windows-1252";
// UTF-8 with a few damaged characters; ICU says 80 then, and 25 or less when it is nothing like it.
constexpr int kDamagedUtf8 = 80;

std::vector<Match> detect(const std::string &sample) {
    std::vector<Match> matches;
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UCharsetDetector, DetectorCloser> detector(ucsdet_open(&error));
    if (U_FAILURE(error)) {
        return matches;
    }
    ucsdet_enableInputFilter(detector.get(), static_cast<UBool>(true));
    ucsdet_setText(detector.get(), sample.data(), static_cast<int32_t>(sample.size()), &error);
    int32_t count = 0;
    const UCharsetMatch **found = ucsdet_detectAll(detector.get(), &count, &error);
    for (int32_t i = 0; U_SUCCESS(error) && i < count; ++i) {
        matches.push_back(
            {ucsdet_getName(found[i], &error), ucsdet_getConfidence(found[i], &error)});
    }
    return matches;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The words with 8-bit bytes, and a few around each. Without this, one foreign name in a long
// English text is lost on the detector. Blanks are no part of a character in any charset that is
// looked for here.
std::string tellingWords(const std::string &sample) {
    constexpr std::size_t kAround = 6;
    std::deque<std::string_view> before; // the last words, not kept yet
    std::string kept;
    std::size_t after = 0; // words still to be kept
    const std::string_view all = sample;
    for (std::size_t at = 0; at < all.size();) {
        std::size_t end = at;
        bool telling = false;
        while (end < all.size() && !isBlank(all[end])) {
            telling = telling || static_cast<unsigned char>(all[end]) >= 0x80;
            ++end;
        }
        while (end < all.size() && isBlank(all[end])) {
            ++end;
        }
        before.push_back(all.substr(at, end - at));
        at = end;
        after = telling ? kAround + 1 : after;
        if (after > 0) {
            for (const std::string_view word : before) {
                kept += word;
            }
            before.clear();
            --after;
        } else if (before.size() > kAround) {
            before.pop_front();
        }
    }
    return kept;
}

std::optional<std::string> iso2022Charset(const Survey &survey) {
    if (survey.sample.find('\x1B') == std::string::npos &&
        survey.sample.find('\x0E') == std::string::npos) {
        return std::nullopt;
    }
    for (const Match &match : detect(survey.sample)) {
        if (match.name.rfind("ISO-2022", 0) == 0) {
            return charsetOfLabel(match.name);
        }
    }
    return std::nullopt;
}

// How many ASCII characters the bytes hold as UTF-16 of one byte order, or -1 when they are no
// text in it.
int asciiAsUtf16(const std::string &bytes, std::size_t low) {
    int ascii = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto unit = static_cast<char16_t>(
            static_cast<unsigned char>(bytes[i + low]) |
            (static_cast<unsigned>(static_cast<unsigned char>(bytes[i + 1 - low])) << 8U));
        const bool control = unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r';
        if (control || u_charType(unit) == U_UNASSIGNED) {
            return -1;
        }
        ascii += unit < 0x80 ? 1 : 0;
    }
    return ascii;
}

// UTF-16 shows itself by zero bytes, which no other text should have: the high halves of blanks,
// line ends and Latin letters. Text of 7-bit bytes alone is mostly such letters then, or else it is
// ASCII with stray zero bytes.
std::optional<std::string> unmarkedUtf16(const Survey &survey) {
    if (!survey.hasZeroBytes) {
        return std::nullopt;
    }
    const int little = asciiAsUtf16(survey.sample, 0);
    const int big = asciiAsUtf16(survey.sample, 1);
    const auto units = static_cast<int>(survey.sample.size() / 2);
    const int needed = survey.sevenBit ? std::max(units / 2, 1) : 1;
    if (std::max(little, big) < needed) {
        return std::nullopt;
    }
    return little >= big ? "UTF-16LE" : "UTF-16BE";
}

// Reads the sample to the letter. Private use characters are the mark of a wrong charset.
bool readsWell(const Survey &survey, const std::string &charset) {
    StrictDecoder decoder(charset);
    return decoder.accepts(survey.sample, survey.sampleIsWhole) && !decoder.sawPrivateUse();
}

bool isMailCharset(const std::string &detected) {
    // EBCDIC, and UTF-16 and UTF-32, which have been looked for before.
    return detected.rfind("IBM42", 0) != 0 && detected.rfind("UTF-16", 0) != 0 &&
           detected.rfind("UTF-32", 0) != 0;
}

int scoreOf(const Match &match) {
    if (match.confidence >= kCertain ||
        (match.name == "UTF-8" && match.confidence >= kDamagedUtf8)) {
        return kCertainScore;
    }
    return match.name == "UTF-8" ? 0 : match.confidence;
}

} // namespace

std::string guessCharset(const Survey &survey, std::string_view language) {
    if (const auto utf16 = unmarkedUtf16(survey)) {
        return *utf16;
    }
    if (survey.sevenBit) {
        return iso2022Charset(survey).value_or("UTF-8");
    }
    if (survey.validUtf8) {
        return "UTF-8";
    }
    const std::string prior = charsetOfLanguage(language);
    const bool western = prior == kWestern;
    int priorScore = 0;
    if (readsWell(survey, prior)) {
        priorScore = western ? kPriorSingleByte : kPriorDoubleByte;
    }
    std::string best = prior;
    int bestScore = priorScore;
    for (const Match &match : detect(tellingWords(survey.sample))) {
        const std::string charset = charsetOfLabel(match.name).value_or("");
        if (charset.empty() || !isMailCharset(match.name)) {
            continue;
        }
        int score = scoreOf(match);
        if (charset == prior) {
            score += priorScore;
        } else if (charset == kWestern && priorScore == 0) {
            score += kPriorWestern;
        }
        if (score > bestScore) {
            best = charset;
            bestScore = score;
        }
    }
    return best;
}

} // namespace qob::filters
