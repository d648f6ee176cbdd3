// SPDX-License-Identifier: MIT
// The page's own declaration has to be found before the page can be read, so it is looked for in
// the bytes, in the manner of the browsers: comments are skipped, attributes read as in any tag.
#include "html_charset.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace qob::filters {
namespace {

constexpr std::string_view kSpaces = " \t\r\n\f";

std::string lowered(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

bool startsWith(std::string_view text, std::string_view lowerPrefix) {
    return text.size() >= lowerPrefix.size() &&
           lowered(text.substr(0, lowerPrefix.size())) == lowerPrefix;
}

std::string_view upTo(std::string_view text, std::string_view ends) {
    return text.substr(0, text.find_first_of(ends));
}

void skip(std::string_view &text, std::size_t count) {
    text.remove_prefix(std::min(count, text.size()));
}

void skipAny(std::string_view &text, std::string_view characters) {
    skip(text, text.find_first_not_of(characters));
}

// The next attribute's value, its name in lower case; an empty name at the end of the tag.
std::pair<std::string, std::string_view> nextAttribute(std::string_view &rest) {
    skipAny(rest, " \t\r\n\f/");
    const std::string name = lowered(upTo(rest, " \t\r\n\f/>="));
    skip(rest, name.size());
    skipAny(rest, kSpaces);
    if (rest.empty() || rest.front() != '=') {
        return {name, {}};
    }
    skip(rest, 1);
    skipAny(rest, kSpaces);
    if (!rest.empty() && (rest.front() == '"' || rest.front() == '\'')) {
        const std::string_view value = upTo(rest.substr(1), rest.substr(0, 1));
        skip(rest, value.size() + 2);
        return {name, value};
    }
    const std::string_view value = upTo(rest, " \t\r\n\f>");
    skip(rest, value.size());
    return {name, value};
}

// The name after "charset=" in a content type.
std::string_view charsetParameter(std::string_view content) {
    const std::size_t at = lowered(content).find("charset");
    if (at == std::string::npos) {
        return {};
    }
    skip(content, at + std::string_view("charset").size());
    skipAny(content, kSpaces);
    if (content.empty() || content.front() != '=') {
        return {};
    }
    skip(content, 1);
    skipAny(content, " \t\r\n\f\"'");
    return upTo(content, " \t\r\n\f\"';,");
}

// The charset that a META element's attributes declare; `rest` stands after the element's name and
// is moved on to the end of its tag.
std::string_view charsetOfMeta(std::string_view &rest) {
    std::string_view declared;
    while (!rest.empty() && rest.front() != '>') {
        const auto [name, value] = nextAttribute(rest);
        if (declared.empty() && name == "charset") {
            declared = value;
        } else if (declared.empty() && name == "content") {
            declared = charsetParameter(value);
        }
    }
    return declared;
}

// A page that says so in ASCII is not in UTF-16.
std::string asciiCompatible(const std::string &charset) {
    return charset.rfind("UTF-16", 0) == 0 || charset.rfind("UTF-32", 0) == 0 ? "UTF-8" : charset;
}

} // namespace

MailPrefix mailPrefix(std::string_view start) {
    constexpr std::string_view kMeta = "<META CONTENT=\"text/html;charset=";
    constexpr std::string_view kRoot = "<HTML>";
    if (start.compare(0, kMeta.size(), kMeta) == 0) {
        const std::string_view rest = start.substr(kMeta.size());
        const std::size_t end = rest.find('>');
        if (end != std::string_view::npos) {
            return {std::string(upTo(rest, "\">")), kMeta.size() + end + 1};
        }
    }
    if (start.compare(0, kRoot.size(), kRoot) == 0) {
        return {{}, kRoot.size()};
    }
    return {};
}

std::string ownCharset(std::string_view start) {
    while (true) {
        skip(start, start.find('<'));
        if (start.empty()) {
            return {};
        }
        if (start.compare(0, 4, "<!--") == 0) {
            skip(start, start.find("-->"));
        } else if (startsWith(start, "<meta") && start.size() > 5 &&
                   std::string_view(" \t\r\n\f/").find(start[5]) != std::string_view::npos) {
            skip(start, 5);
            const std::string_view charset = charsetOfMeta(start);
            if (charsetOfLabel(charset)) {
                return std::string(charset);
            }
        } else {
            skip(start, 1);
        }
    }
}

std::string charsetOfPage(const MailPrefix &prefix, const Survey &survey,
                          std::string_view language) {
    if (const auto declared = declaredCharset(prefix.charset, survey)) {
        return *declared;
    }
    if (const auto marked = charsetOfMark(survey)) {
        return *marked;
    }
    if (!survey.hasZeroBytes) {
        const std::string_view start =
            std::string_view(survey.sample).substr(0, InputFile::kPieceSize);
        const auto own = charsetOfLabel(ownCharset(start));
        if (own && (*own != "US-ASCII" || survey.sevenBit)) {
            return asciiCompatible(*own);
        }
    }
    return guessCharset(survey, language);
}

} // namespace qob::filters
