// SPDX-License-Identifier: MIT
// See rtf_charset.h.
#include "rtf_charset.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "charset.h"
#include "decoder.h"

namespace qob::filters {
namespace {

struct FontCharset {
    int32_t charset;
    int32_t page;
};

constexpr auto kFontCharsets = std::to_array<FontCharset>({
    {0, 1252},   {1, kUnknownPage}, {2, kPictureFontPage}, {77, 10000}, {78, 932},   {79, 949},
    {80, 936},   {81, 950},         {83, 10005},           {84, 10004}, {85, 10006}, {86, 10081},
    {87, 10021}, {88, 10029},       {89, 10007},           {128, 932},  {129, 949},  {130, 1361},
    {134, 936},  {136, 950},        {161, 1253},           {162, 1254}, {163, 1258}, {177, 1255},
    {178, 1256}, {186, 1257},       {204, 1251},           {222, 874},  {238, 1250}, {254, 437},
    {255, 850},
});

struct PageName {
    int32_t page;
    const char *name;
};

// Code pages whose converter is not called windows-NUMBER or cpNUMBER.
constexpr auto kPageNames = std::to_array<PageName>({
    {932, "windows-31j"},
    {936, "gb18030"},
    {10000, "macintosh"},
    {10001, "windows-31j"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10029, "x-mac-centraleurroman"},
    {10081, "x-mac-turkish"},
    {20127, "windows-1252"},
    {28591, "windows-1252"},
    {54936, "gb18030"},
    {65001, "UTF-8"},
});

constexpr std::u16string_view kSymbolsFrom20 =
    u" !\u2200#\u2203%&\u220B()\u2217+,\u2212./0123456789:;<=>?"
    u"\u2245\u0391\u0392\u03A7\u0394\u0395\u03A6\u0393\u0397\u0399\u03D1\u039A\u039B\u039C\u039D"
    u"\u039F\u03A0\u0398\u03A1\u03A3\u03A4\u03A5\u03C2\u03A9\u039E\u03A8\u0396[\u2234]\u22A5_"
    u"\u203E\u03B1\u03B2\u03C7\u03B4\u03B5\u03C6\u03B3\u03B7\u03B9\u03D5\u03BA\u03BB\u03BC\u03BD"
    u"\u03BF\u03C0\u03B8\u03C1\u03C3\u03C4\u03C5\u03D6\u03C9\u03BE\u03C8\u03B6{|}\u223C";
constexpr std::u16string_view kSymbolsFromA0 =
    u"\u20AC\u03D2\u2032\u2264\u2044\u221E\u0192\u2663\u2666\u2665\u2660\u2194\u2190\u2191\u2192"
    u"\u2193\u00B0\u00B1\u2033\u2265\u00D7\u221D\u2202\u2022\u00F7\u2260\u2261\u2248\u2026\u23D0"
    u"\u23AF\u21B5\u2135\u2111\u211C\u2118\u2297\u2295\u2205\u2229\u222A\u2283\u2287\u2284\u2282"
    u"\u2286\u2208\u2209\u2220\u2207\u00AE\u00A9\u2122\u220F\u221A\u22C5\u00AC\u2227\u2228\u21D4"
    u"\u21D0\u21D1\u21D2\u21D3\u25CA\u2329\u00AE\u00A9\u2122\u2211\u239B\u239C\u239D\u23A1\u23A2"
    u"\u23A3\u23A7\u23A8\u23A9\u23AA\uFFFD\u232A\u222B\u2320\u23AE\u2321\u239E\u239F\u23A0\u23A4"
    u"\u23A5\u23A6\u23AB\u23AC\u23AD";
static_assert(kSymbolsFrom20.size() == 0x7F - 0x20 && kSymbolsFromA0.size() == 0xFF - 0xA0);

// Plain characters of RTF and bytes of \' share one run, so a charset in which the former mean
// something else cannot be meant.
bool keepsAscii(const std::string &charset) {
    constexpr std::string_view kSample = "Az09 .";
    if (openConverter(charset) == nullptr) {
        return false;
    }
    std::string text;
    Decoder(charset).decode(kSample, true, text);
    return text == kSample;
}

} // namespace

int32_t pageOfFontCharset(int32_t charset) {
    const auto *const found =
        std::find_if(kFontCharsets.begin(), kFontCharsets.end(),
                     [charset](const FontCharset &row) { return row.charset == charset; });
    return found != kFontCharsets.end() ? found->page : kUnknownPage;
}

std::string charsetOfPage(int32_t page) {
    for (const PageName &row : kPageNames) {
        if (row.page == page && openConverter(row.name) != nullptr) {
            return row.name;
        }
    }
    if (page > 0) {
        const std::string number = std::to_string(page);
        for (const char *prefix : {"windows-", "cp"}) {
            const auto charset = charsetOfLabel(prefix + number);
            if (charset && keepsAscii(*charset)) {
                return *charset;
            }
        }
    }
    return "windows-1252";
}

char16_t symbolCharacter(uint8_t byte) {
    if (byte >= 0x20 && byte < 0x7F) {
        return kSymbolsFrom20[byte - 0x20U];
    }
    if (byte >= 0xA0 && byte < 0xFF) {
        return kSymbolsFromA0[byte - 0xA0U];
    }
    return 0xFFFD;
}

} // namespace qob::filters
