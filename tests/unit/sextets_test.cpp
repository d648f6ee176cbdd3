// SPDX-License-Identifier: MIT
// Groups of base64 characters decoded at once, beside a slow, obvious decoder.
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "emlcomm/sextets.h"

namespace {

constexpr std::string_view kSextets =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// All groups up to the first character that is no sextet.
std::string plainGroups(const std::string &text) {
    std::string bytes;
    for (size_t i = 0; i + 4 <= text.size(); i += 4) {
        size_t bits = 0;
        for (size_t place = i; place < i + 4; ++place) {
            const size_t value = kSextets.find(text[place]);
            if (value == std::string_view::npos) {
                return bytes;
            }
            bits = bits * 64 + value;
        }
        bytes += {static_cast<char>(bits / 65536), static_cast<char>(bits / 256 % 256),
                  static_cast<char>(bits % 256)};
    }
    return bytes;
}

using Decoder = size_t (*)(const char *, size_t, char *);

// Text and result in buffers of their exact sizes, so that a sanitizer sees every byte too much.
std::string decoded(Decoder decoder, const std::string &text) {
    const std::vector<char> exact(text.begin(), text.end());
    std::vector<char> out(text.size());
    return {out.data(), 3 * decoder(exact.data(), text.size() / 4, out.data())};
}

void expectSameAsPlain(const std::string &text) {
    ASSERT_EQ(decoded(eml::decodeSextets, text), plainGroups(text));
    ASSERT_EQ(decoded(eml::decodeSextetsByTable, text), plainGroups(text));
}

// Sextets of every value, from another one on for every seed.
std::string sextets(size_t length, size_t seed) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        text += kSextets[(seed + 7 * i + i / 64) % 64];
    }
    return text;
}

TEST(Sextets, AreDecodedAsPlainlyInTextOfEveryLength) {
    for (size_t length = 0; length <= 300; ++length) {
        SCOPED_TRACE(length);
        expectSameAsPlain(sextets(length, length));
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(Sextets, EndAtEveryOtherCharacterWhereverItStands) {
    for (size_t place = 0; place < 76; ++place) {
        for (int c = 0; c < 256; ++c) {
            std::string text = sextets(76, place);
            text[place] = static_cast<char>(c);
            SCOPED_TRACE(testing::PrintToString(text));
            expectSameAsPlain(text);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

} // namespace
