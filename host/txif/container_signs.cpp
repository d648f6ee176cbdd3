// SPDX-License-Identifier: MIT
// The signatures behind container_signs.h, and the local headers of ZIP files.
#include "container_signs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace qob {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::string_view kZipMember = "PK\3\4"sv;

constexpr std::array kArchives = {"\x1F\x8B\x08"sv, "BZh91AY&SY"sv,
                                  "\xFD"
                                  "7zXZ\0"sv,
                                  "7z\xBC\xAF\x27\x1C"sv};

std::string_view skipUtf8Mark(std::string_view text) {
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF"sv;
    return text.starts_with(kUtf8Mark) ? text.substr(kUtf8Mark.size()) : text;
}

uint32_t littleEndian(std::string_view bytes) {
    uint32_t value = 0;
    for (std::size_t i = bytes.size(); i > 0; --i) {
        value = (value << 8U) | static_cast<unsigned char>(bytes[i - 1]);
    }
    return value;
}

struct ZipMember {
    std::string_view name;
    std::string_view content; // as stored, as far as it is in sight
    bool stored = false;
};

// Takes the member at the front of `rest` off it. False when there is none, or none in sight.
bool takeMember(std::string_view &rest, ZipMember &member) {
    constexpr std::size_t kHeaderSize = 30;
    constexpr uint32_t kSizeFollows = 8;
    if (rest.size() < kHeaderSize || !rest.starts_with(kZipMember)) {
        return false;
    }
    const bool sizeFollows = (littleEndian(rest.substr(6, 2)) & kSizeFollows) != 0;
    const uint32_t size = littleEndian(rest.substr(18, 4));
    const std::size_t nameLength = littleEndian(rest.substr(26, 2));
    const std::size_t extraLength = littleEndian(rest.substr(28, 2));
    member.stored = littleEndian(rest.substr(8, 2)) == 0;
    member.name = rest.substr(kHeaderSize, nameLength);
    if (member.name.size() < nameLength) {
        return false;
    }
    rest.remove_prefix(std::min(rest.size(), kHeaderSize + nameLength + extraLength));
    // The size of a member that was written into a pipe stands behind it.
    const std::size_t end = sizeFollows && size == 0 ? rest.find(kZipMember) : size;
    member.content = rest.substr(0, end);
    rest.remove_prefix(std::min(rest.size(), end));
    return true;
}

bool isOpenDocument(const ZipMember &member) {
    return member.stored && member.name == "mimetype" &&
           member.content.starts_with("application/vnd.oasis.opendocument");
}

// Names that every Office Open XML file has, or that no other file has in these folders.
bool isOfficeOpenXml(std::string_view name) {
    constexpr std::array kFolders = {"word/"sv, "xl/"sv, "ppt/"sv};
    if (name == "[Content_Types].xml" || name == "_rels/.rels") {
        return true;
    }
    return (name.ends_with(".xml") || name.ends_with(".rels")) &&
           std::any_of(kFolders.begin(), kFolders.end(),
                       [name](std::string_view folder) { return name.starts_with(folder); });
}

// The header's bytes sum up to what it says, its own field counted as blanks.
bool looksLikeTar(std::string_view head) {
    constexpr std::size_t kHeaderSize = 512;
    constexpr std::size_t kSum = 148;
    constexpr std::size_t kSumLength = 8;
    if (head.size() < kHeaderSize || head[0] == '\0') {
        return false;
    }
    uint32_t sum = kSumLength * ' ';
    for (std::size_t i = 0; i < kHeaderSize; ++i) {
        const bool counted = i < kSum || i >= kSum + kSumLength;
        sum += counted ? static_cast<unsigned char>(head[i]) : 0;
    }
    std::string_view digits = head.substr(kSum, kSumLength);
    digits.remove_prefix(std::min(digits.find_first_not_of(' '), digits.size()));
    digits = digits.substr(0, digits.find_first_of(" \0"sv));
    uint32_t said = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '7') {
            return false;
        }
        said = said * 8 + static_cast<uint32_t>(digit - '0');
    }
    return !digits.empty() && said == sum;
}

bool isLine(std::string_view text, std::string_view line) {
    const auto sameLetter = [](char want, char have) {
        return want == (have >= 'a' && have <= 'z' ? static_cast<char>(have - 'a' + 'A') : have);
    };
    if (text.size() < line.size() ||
        !std::equal(line.begin(), line.end(), text.begin(), sameLetter)) {
        return false;
    }
    text.remove_prefix(line.size());
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text.empty() || text[0] == '\r' || text[0] == '\n';
}

} // namespace

bool looksLikeZip(std::string_view head) {
    return head.starts_with(kZipMember) || head.starts_with("PK\5\6") ||
           head.starts_with("PK\7\10PK\3\4");
}

bool zipHoldsOfficeDocument(std::string_view head) {
    ZipMember member;
    if (!takeMember(head, member)) {
        return false;
    }
    if (isOpenDocument(member)) {
        return true;
    }
    do {
        if (isOfficeOpenXml(member.name)) {
            return true;
        }
    } while (takeMember(head, member));
    return false;
}

bool looksLikeArchive(std::string_view head) {
    return looksLikeTar(head) ||
           std::any_of(kArchives.begin(), kArchives.end(),
                       [head](std::string_view sign) { return head.starts_with(sign); });
}

bool looksLikeOldOffice(std::string_view head) {
    return head.starts_with("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv);
}

bool looksLikeRtf(std::string_view head) {
    head = skipUtf8Mark(head);
    head.remove_prefix(std::min(head.find_first_not_of(" \t\r\n"), head.size()));
    return head.starts_with("{\\rtf");
}

bool looksLikeTnef(std::string_view head) {
    return head.starts_with("\x78\x9F\x3E\x22"sv);
}

bool looksLikeCalendar(std::string_view head) {
    head = skipUtf8Mark(head);
    head.remove_prefix(std::min(head.find_first_not_of("\r\n"), head.size()));
    return isLine(head, "BEGIN:VCALENDAR") || isLine(head, "BEGIN:VCARD");
}

} // namespace qob
