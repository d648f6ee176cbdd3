// SPDX-License-Identifier: MIT
// Charset names: TranType on every content of its field.
//
//  1. The result is 0 and the name is what the plain twin below makes of it.
//  2. Names stay terminated within 31 characters, and no byte outside the field is touched
//     (address checker).
//  3. A normalised name stays as it is when it is normalised again.
//  4. TransCharset writes a converter name of at most 19 characters, or nothing.
#include "emlcomm/charset.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "routine_handle.h"

namespace {

struct Row {
    std::string_view begins;
    std::string_view name;
};
constexpr Row kRows[] = {
    {"ISO-2022-JP", "ISO-2022-JP"}, {"GB2312", "ChineseGBK"},     {"GBK", "ChineseGBK"},
    {"BIG5", "ChineseBIG5"},        {"UTF-8", "UTF-8"},           {"KS_C_5601-1987", "KoreanKSC"},
    {"EUC-KR", "KoreanKSC"},        {"ISO-8859-1", "ISO-8859-1"}, {"UTF-7", "UTF-7"},
    {"HZ-GB-2312", "HZ-GB-2312"}};

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return text;
}

// `field` is the whole field, bytes behind the terminator included.
std::string plainTwin(const std::string &field) {
    const std::string name = field.substr(0, field.find('\0'));
    const size_t start = std::min(name.find_first_not_of(" \t\r\n"), name.size());
    const std::string rest = upper(name.substr(start));
    for (const Row &row : kRows) {
        if (rest.compare(0, row.begins.size(), row.begins) == 0) {
            return std::string(row.name);
        }
    }
    // Two bytes behind the terminator, left over from a longer name, tell which Unicode it is.
    const bool marked =
        rest == "UNICODE" && upper(field.substr(start + rest.size() + 1, 2)) == "UT";
    return marked ? "UTF-16" : name.substr(start);
}

void checkTranType(const std::string &content) {
    ExtractionHandle handle = {};
    std::string field = content.substr(0, kCharsetNameSize);
    field.resize(kCharsetNameSize, '\0');
    field[kPartCharsetSize - 1] = '\0'; // names have at most 31 characters
    const auto name = std::make_unique<char[]>(kCharsetNameSize);
    std::copy(field.begin(), field.end(), name.get());
    require(TranType(&handle, name.get()) == 0, "normalising never fails");
    require(std::strlen(name.get()) < kPartCharsetSize, "a name stays within 31 characters");
    const std::string once(name.get());
    require(once == plainTwin(field), "the name is the plain twin's");
    TranType(&handle, name.get());
    require(once == name.get(), "a normalised name stays");
}

void checkTransCharset(const std::string &alias) {
    constexpr size_t kRoom = 20;
    const auto out = std::make_unique<char[]>(kRoom);
    std::fill_n(out.get(), kRoom, '?');
    TransCharset(alias.c_str(), out.get());
    require(out[0] == '?' || std::memchr(out.get(), '\0', kRoom) != nullptr,
            "an alias gives a terminated name or nothing");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FuzzInput input = readInput(data, size);
    checkTranType(input.text);
    checkTransCharset(input.text);
    return 0;
}
