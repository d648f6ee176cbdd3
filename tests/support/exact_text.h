// SPDX-License-Identifier: MIT
// Text for tests of routines that look at bytes: blocks of exactly their size, so that the address
// checker sees a read one byte too far, and random text that is the same in every run.
#ifndef QOB_TESTS_EXACT_TEXT_H
#define QOB_TESTS_EXACT_TEXT_H

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

// The bytes of `text`, and nothing behind them.
inline std::vector<char> exactBytes(std::string_view text) {
    return {text.begin(), text.end()};
}

// The bytes of `text` and a terminator, and nothing behind them.
inline std::vector<char> exactString(std::string_view text) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.push_back('\0');
    return bytes;
}

class RandomText {
public:
    explicit RandomText(uint32_t seed) : engine_(seed) {}

    // 0 to most - 1.
    size_t below(size_t most) { return engine_() % most; }
    char byte() { return static_cast<char>(below(256)); }
    // `length` characters of the alphabet, or any bytes when it is empty.
    std::string text(size_t length, std::string_view alphabet) {
        std::string result(length, '\0');
        std::generate(result.begin(), result.end(), [this, alphabet] {
            return alphabet.empty() ? byte() : alphabet[below(alphabet.size())];
        });
        return result;
    }
    // A line's length: mostly short, now and then one at a limit.
    size_t lineLength() {
        constexpr size_t kSpecial[] = {0, 1, 2, 3, 4, 5, 75, 76, 77, 2046, 2047};
        return below(20) == 0 ? kSpecial[below(std::size(kSpecial))] : below(90);
    }

private:
    std::mt19937 engine_;
};

#endif
