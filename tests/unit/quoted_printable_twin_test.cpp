// SPDX-License-Identifier: MIT
// The quoted-printable decoder beside a slow, obvious one, on random and adversarial lines; and
// encoded text read back.
#include "support/part_file.h"

namespace {

// One input line and how it ended.
struct Line {
    std::string text;
    End end;
};

unsigned plainDigit(unsigned char c) {
    const std::string upper = "0123456789ABCDEF";
    const std::string lower = "0123456789abcdef";
    for (unsigned value = 0; value < 16; ++value) {
        if (c == static_cast<unsigned char>(upper[value]) ||
            c == static_cast<unsigned char>(lower[value])) {
            return value;
        }
    }
    return c;
}

std::string plainDecode(std::string encoded) {
    const size_t total = encoded.size();
    encoded += std::string(2, '\0');
    std::string decoded;
    size_t i = 0;
    while (i < total) {
        if (encoded[i] == '=') {
            const unsigned value = plainDigit(static_cast<unsigned char>(encoded[i + 1])) * 16 +
                                   plainDigit(static_cast<unsigned char>(encoded[i + 2]));
            decoded += static_cast<char>(value % 256);
            i = i + 3;
        } else {
            decoded += encoded[i];
            i = i + 1;
        }
    }
    return decoded;
}

// What a part's file holds after all lines, and what still waits for its line end.
struct PlainResult {
    std::string written;
    std::string waiting;
};
PlainResult plainLines(const std::vector<Line> &lines) {
    PlainResult result;
    for (const Line &line : lines) {
        if (!line.text.empty() && line.text.back() == '=') {
            result.waiting += line.text;
            if (line.end == End::kLineEnd) {
                result.waiting.pop_back();
            }
            continue;
        }
        result.waiting += line.text;
        if (line.end == End::kCut) {
            continue;
        }
        const std::string decoded = plainDecode(result.waiting);
        result.waiting.clear();
        result.written += decoded;
        const bool ownLineEnd =
            !decoded.empty() && (decoded.back() == '\r' || decoded.back() == '\n');
        if (!ownLineEnd) {
            result.written += "\r\n";
        }
    }
    return result;
}

void expectSameAsPlain(const std::vector<Line> &lines) {
    PartFile f;
    for (const Line &line : lines) {
        ASSERT_EQ(f.quotedLine(line.text, line.end), 0);
        ASSERT_LE(f.handle.qpBufferUsed, f.handle.qpBufferSize);
    }
    const PlainResult plain = plainLines(lines);
    ASSERT_EQ(f.written(), plain.written);
    const std::string waiting(f.handle.qpBuffer, f.handle.qpBufferUsed);
    ASSERT_EQ(waiting, plain.waiting);
    for (uint32_t i = f.handle.qpBufferUsed; i < f.handle.qpBufferSize; ++i) {
        ASSERT_EQ(f.handle.qpBuffer[i], '\0') << i;
    }
}

std::vector<Line> randomLines(RandomText &random, std::string_view alphabet) {
    std::vector<Line> lines(random.below(12));
    for (Line &line : lines) {
        line.text = random.text(random.lineLength(), alphabet);
        if (random.below(3) == 0) {
            line.text += "=";
        }
        line.end = random.below(4) == 0 ? End::kCut : End::kLineEnd;
    }
    return lines;
}

TEST(QuotedPrintableTwin, AgreesOnRandomLines) {
    constexpr std::string_view kAlphabets[] = {"=0123456789ABCDEFabcdef", "=a", "===0D A", ""};
    RandomText random(20240501);
    for (const std::string_view alphabet : kAlphabets) {
        for (int round = 0; round < 300; ++round) {
            SCOPED_TRACE(round);
            expectSameAsPlain(randomLines(random, alphabet));
            ASSERT_FALSE(testing::Test::HasFatalFailure());
        }
    }
}

TEST(QuotedPrintableTwin, AgreesOnEveryPairOfDigits) {
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const char digits[2] = {static_cast<char>(a), static_cast<char>(b)};
            const std::string decoded = plainDecode("=" + std::string(digits, 2));
            ASSERT_EQ(static_cast<char>(atoi_my(digits)), decoded.at(0)) << a << " " << b;
        }
    }
}

TEST(QuotedPrintableTwin, AgreesOnEveryShortLine) {
    // All lines of up to four characters of these, alone and before another line.
    constexpr std::string_view kCharacters("=4G\0 ", 5);
    std::vector<std::string> lines = {""};
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].size() < 4) {
            for (const char c : kCharacters) {
                lines.push_back(lines[i] + c);
            }
        }
    }
    ASSERT_EQ(lines.size(), 1U + 5 + 25 + 125 + 625);
    for (const std::string &line : lines) {
        for (const End end : {End::kLineEnd, End::kCut}) {
            expectSameAsPlain({{line, end}});
            expectSameAsPlain({{line, end}, {"1B", End::kLineEnd}});
            ASSERT_FALSE(testing::Test::HasFatalFailure());
        }
    }
}

TEST(QuotedPrintableTwin, AgreesAtTheLimitsOfTheBuffer) {
    for (const size_t first : {1U, 2U, 1000U, 2045U, 2046U, 2047U}) {
        for (size_t second = 2047 - std::min<size_t>(first, 1000) - 4; second <= 2047; ++second) {
            for (const End end : {End::kLineEnd, End::kCut}) {
                expectSameAsPlain({{std::string(first - 1, 'a') + "=", End::kLineEnd},
                                   {std::string(second - 1, 'b') + "=", end},
                                   {"41", End::kLineEnd},
                                   {std::string(second, 'c'), end},
                                   {"", End::kLineEnd}});
                ASSERT_FALSE(testing::Test::HasFatalFailure());
            }
            if (second > 1060 && second < 2040) {
                second += 97; // the limits lie at both ends
            }
        }
    }
}

// An ordinary encoder: 73 characters a line at the most, then a soft break.
std::vector<Line> encode(const std::string &text) {
    constexpr const char *kHex = "0123456789ABCDEF";
    std::vector<Line> lines(1, {"", End::kLineEnd});
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = byte > 32 && byte < 127 && c != '=';
        const std::string encoded =
            plain ? std::string(1, c) : std::string{'=', kHex[byte / 16], kHex[byte % 16]};
        if (lines.back().text.size() + encoded.size() > 73) {
            lines.back().text += "=";
            lines.push_back({"", End::kLineEnd});
        }
        lines.back().text += encoded;
    }
    return lines;
}

TEST(QuotedPrintableRoundTrip, GivesTheEncodedBytesBack) {
    RandomText random(20240502);
    for (const size_t length : {1U, 2U, 72U, 73U, 74U, 75U, 146U, 1000U, 20000U}) {
        SCOPED_TRACE(length);
        const std::string original = random.text(length, "") + "\n";
        PartFile f;
        for (const Line &line : encode(original)) {
            ASSERT_EQ(f.quotedLine(line.text, line.end), 0);
        }
        EXPECT_EQ(f.written(), original);
    }
}

} // namespace
