// SPDX-License-Identifier: MIT
// The base64 decoder beside a slow, obvious one, on every character and on random and adversarial
// lines; and encoded data read back.
#include <algorithm>
#include <cstring>
#include <numeric>

#include "support/part_file.h"

namespace {

// The alphabet, the pad and a terminator.
constexpr std::string_view
    kPlainAlphabet("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=\0", 66);

// Puts another alphabet in force for a test.
struct AlphabetInForce {
    explicit AlphabetInForce(const std::string &alphabet) {
        std::memcpy(Base64Alphatbet, alphabet.data(), sizeof(Base64Alphatbet));
    }
    AlphabetInForce(const AlphabetInForce &) = delete;
    AlphabetInForce &operator=(const AlphabetInForce &) = delete;
    ~AlphabetInForce() {
        std::memcpy(Base64Alphatbet, kPlainAlphabet.data(), sizeof(Base64Alphatbet));
    }
};

// The first of `count` positions of the alphabet in force that has the character; -1: none. The
// alphabet's bytes are compared as signed numbers, so that none from 0x80 on is ever found.
int plainPosition(char c, int count) {
    for (int position = 0; position < count; ++position) {
        if (static_cast<signed char>(Base64Alphatbet[position]) == static_cast<unsigned char>(c)) {
            return position;
        }
    }
    return -1;
}

// What a mapper makes of a value and of the pad count.
struct PlainValue {
    unsigned value;
    int pads;
};
PlainValue plainStreaming(char c, unsigned before) {
    const int position = c == '.' ? -1 : plainPosition(c, 66);
    return {position < 0 ? before : static_cast<unsigned>(position), 0};
}
PlainValue plainLast(char c, unsigned before) {
    const int position = plainPosition(c, 64);
    if (position >= 0) {
        return {static_cast<unsigned>(position), 0};
    }
    return {before, c == '=' ? 1 : 0};
}

void expectSameOnEveryCharacter() {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        ExtractionHandle handle = {};
        uint8_t value = 0xAA;
        convertAlphatbet(&handle, static_cast<char>(c), &value);
        EXPECT_EQ(value, plainStreaming(static_cast<char>(c), 0xAA).value);
        EXPECT_EQ(handle.base64PadCount, 0);
        value = 0xAA;
        convertAlphatbet64(&handle, static_cast<char>(c), &value);
        EXPECT_EQ(value, plainLast(static_cast<char>(c), 0xAA).value);
        EXPECT_EQ(handle.base64PadCount, plainLast(static_cast<char>(c), 0xAA).pads);
    }
}

// Alphabets that a host may have written: shuffled, with repeated characters, with '.', with '='
// among the sextets, with bytes from 0x80 on.
std::vector<std::string> changedAlphabets() {
    std::string reversed(kPlainAlphabet);
    std::reverse(reversed.begin(), reversed.begin() + 64);
    std::string dotted(kPlainAlphabet);
    dotted.replace(0, 2, "./");
    std::string padFirst(kPlainAlphabet);
    padFirst[0] = '=';
    std::string high(kPlainAlphabet);
    std::iota(high.begin(), high.begin() + 64, static_cast<char>(0x60));
    std::string lastOnly(kPlainAlphabet);
    lastOnly[65] = 'A';
    return {reversed, dotted, padFirst, high, lastOnly, std::string(66, 'Q')};
}

TEST(Base64Twin, AgreesOnEveryCharacter) {
    expectSameOnEveryCharacter();
    for (const std::string &alphabet : changedAlphabets()) {
        SCOPED_TRACE(alphabet);
        const AlphabetInForce changed(alphabet);
        expectSameOnEveryCharacter();
    }
}

// The decoded bytes of a line, all groups in full: group by group, with values behind the line 0.
std::string plainGroups(const std::vector<unsigned> &values) {
    std::vector<unsigned> padded = values;
    padded.resize(values.size() + 4, 0);
    std::string bytes;
    for (size_t i = 0; i < values.size(); i += 4) {
        const unsigned a = padded[i];
        const unsigned b = padded[i + 1];
        const unsigned c = padded[i + 2];
        const unsigned d = padded[i + 3];
        bytes += static_cast<char>(((a * 4) | (b / 16)) % 256);
        bytes += static_cast<char>(((b * 16) | (c / 4)) % 256);
        bytes += static_cast<char>(((c * 64) | d) % 256);
    }
    return bytes;
}

// How a line is mapped: as one that more text follows, or as the last.
enum class Mapping { kStreaming, kLast };

// The decoder over the lines of one part, as plainly as it can be said.
struct PlainPart {
    void line(const std::string &text, bool emptyLineFollows) {
        const bool last = !text.empty() && text.back() == '=' && emptyLineFollows;
        decode(text, last ? Mapping::kLast : Mapping::kStreaming);
    }
    void decode(const std::string &text, Mapping mapping) {
        std::vector<unsigned> values;
        for (const char c : text) {
            const PlainValue mapped =
                mapping == Mapping::kLast ? plainLast(c, 0) : plainStreaming(c, 0);
            values.push_back(mapped.value);
            pads += mapped.pads;
        }
        std::string bytes = plainGroups(values);
        // The pads leave out bytes of the last group, which stay zero.
        for (size_t i = 0; !bytes.empty() && (pads == 1 || pads == 2) && i < size_t(pads); ++i) {
            bytes[bytes.size() - 1 - i] = '\0';
        }
        const long count = static_cast<long>(text.size() / 4) * 3 - pads;
        if (count > 0) {
            written += bytes.substr(0, static_cast<size_t>(count));
        }
    }

    std::string written;
    int pads = 0;
};

// Random parts, decoded by both.
void expectSameOnRandomLines(RandomText &random, std::string_view characters, int rounds) {
    constexpr std::string_view kEndings[] = {"", "=", "==", "==="};
    constexpr std::string_view kFollowing[] = {"\r\nx", "\nx", "\r", "x", ""};
    for (int round = 0; round < rounds; ++round) {
        PartFile f;
        PlainPart plain;
        for (size_t lines = random.below(6); lines > 0; --lines) {
            const std::string text = random.text(random.lineLength(), characters) +
                                     std::string(kEndings[random.below(4)]);
            const std::string following(kFollowing[random.below(5)]);
            SCOPED_TRACE(testing::PrintToString(text) + " | " + following);
            plain.line(text, !following.empty() && following[0] != 'x');
            ASSERT_EQ(f.base64Line(text, following), 0);
            ASSERT_EQ(f.written(), plain.written);
            ASSERT_EQ(f.handle.base64PadCount, plain.pads);
        }
    }
}

TEST(Base64Twin, AgreesOnRandomLines) {
    RandomText random(20240503);
    for (const std::string_view characters :
         {kPlainAlphabet.substr(0, 64), kPlainAlphabet.substr(0, 65), std::string_view("Ab=. "),
          std::string_view("="), std::string_view()}) {
        expectSameOnRandomLines(random, characters, 200);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(Base64Twin, AgreesOnRandomLinesInAChangedAlphabet) {
    RandomText random(20240506);
    for (const std::string &alphabet : changedAlphabets()) {
        SCOPED_TRACE(alphabet);
        const AlphabetInForce changed(alphabet);
        expectSameOnRandomLines(random, kPlainAlphabet.substr(0, 65), 50);
        expectSameOnRandomLines(random, alphabet, 50);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(Base64Twin, AgreesOnEveryShortLine) {
    constexpr std::string_view kCharacters("Q/=.\0", 5);
    std::vector<std::string> lines = {""};
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].size() < 5) {
            for (const char c : kCharacters) {
                lines.push_back(lines[i] + c);
            }
        }
    }
    ASSERT_EQ(lines.size(), 1U + 5 + 25 + 125 + 625 + 3125);
    for (const bool emptyLineFollows : {true, false}) {
        PartFile f;
        for (const std::string &text : lines) {
            SCOPED_TRACE(testing::PrintToString(text));
            PlainPart plain;
            plain.line(text, emptyLineFollows);
            f.handle.base64PadCount = 0;
            const size_t before = f.written().size();
            ASSERT_EQ(f.base64Line(text, emptyLineFollows ? "\r\n" : "x"), 0);
            ASSERT_EQ(f.written().substr(before), plain.written);
            ASSERT_EQ(f.handle.base64PadCount, plain.pads);
        }
    }
}

TEST(Base64Twin, AgreesOnRandomWords) {
    RandomText random(20240504);
    for (int round = 0; round < 1000; ++round) {
        const std::string word =
            random.text(random.lineLength(), round % 2 == 0 ? kPlainAlphabet.substr(0, 65) : "");
        SCOPED_TRACE(testing::PrintToString(word));
        FilterFixture f;
        f.host.stripControlCodes = false;
        PlainPart plain;
        plain.decode(word, Mapping::kLast); // always, whatever follows
        const std::vector<char> text = exactBytes(word);
        ASSERT_EQ(analyzeBase64(&f.handle, text.data(), static_cast<uint32_t>(text.size())), 0);
        ASSERT_EQ(f.output(), plain.written);
    }
}

// An ordinary encoder: 76 characters a line, padded.
std::vector<std::string> encode(const std::string &data) {
    std::vector<std::string> lines;
    for (size_t i = 0; i < data.size(); i += 3) {
        if (i % 57 == 0) {
            lines.emplace_back();
        }
        const auto at = [&data](size_t position) {
            return position < data.size() ? static_cast<unsigned char>(data[position]) : 0U;
        };
        const unsigned bits = at(i) * 65536 + at(i + 1) * 256 + at(i + 2);
        std::string group = {kPlainAlphabet[bits / 262144], kPlainAlphabet[bits / 4096 % 64],
                             kPlainAlphabet[bits / 64 % 64], kPlainAlphabet[bits % 64]};
        if (i + 1 >= data.size()) {
            group[2] = '=';
        }
        if (i + 2 >= data.size()) {
            group[3] = '=';
        }
        lines.back() += group;
    }
    return lines;
}

TEST(Base64RoundTrip, GivesTheEncodedBytesBack) {
    RandomText random(20240505);
    for (const size_t length : {1U, 2U, 3U, 4U, 56U, 57U, 58U, 113U, 114U, 115U, 10000U}) {
        SCOPED_TRACE(length);
        const std::string original = random.text(length, "");
        PartFile f;
        const std::vector<std::string> lines = encode(original);
        for (size_t i = 0; i < lines.size(); ++i) {
            ASSERT_EQ(f.base64Line(lines[i], i + 1 < lines.size() ? lines[i + 1] : "\r\n"), 0);
        }
        EXPECT_EQ(f.written(), original);
    }
}

} // namespace
