// SPDX-License-Identifier: MIT
// The signatures and heuristics behind content_signs.h. They are kept narrow: a wrong "message" or
// "document" loses text, while text that is not recognised is still read as plain text.
#include "content_signs.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace qob {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF"sv;
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE"sv;
constexpr std::string_view kUtf16BigMark = "\xFE\xFF"sv;
constexpr std::string_view kUtf32BigMark = "\x00\x00\xFE\xFF"sv;
constexpr std::string_view kBlanks = " \t\r\n\f"sv;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// `prefix` is in lower case.
bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char want, char have) { return want == lower(have); });
}

std::string_view skipBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

std::string_view skipUtf8Mark(std::string_view text) {
    return text.starts_with(kUtf8Mark) ? text.substr(kUtf8Mark.size()) : text;
}

struct Signature {
    std::string_view bytes;
    const char *kind;
};

// Each holds a byte that mail headers cannot start with, or is long enough to be no accident.
constexpr std::array kUnreadable = {
    Signature{"\x89PNG\r\n\x1A\n"sv, "a PNG image"},
    Signature{"\xFF\xD8\xFF"sv, "a JPEG image"},
    Signature{"GIF87a"sv, "a GIF image"},
    Signature{"GIF89a"sv, "a GIF image"},
    Signature{"II*\0"sv, "a TIFF image"},
    Signature{"MM\0*"sv, "a TIFF image"},
    Signature{"\0\0\1\0"sv, "an icon"},
    Signature{"\xD7\xCD\xC6\x9A"sv, "a Windows metafile"},
    Signature{"\x28\xB5\x2F\xFD"sv, "a Zstandard archive"},
    Signature{"Rar!\x1A\x07"sv, "a RAR archive"},
    Signature{"MSCF\0\0\0\0"sv, "a cabinet archive"},
    Signature{"%!PS-Adobe"sv, "a PostScript document"},
    Signature{"\x7F"
              "ELF"sv,
              "a program"},
    Signature{"MZ\x90\0"sv, "a program"},
    Signature{"ID3\2"sv, "an audio file"},
    Signature{"ID3\3"sv, "an audio file"},
    Signature{"ID3\4"sv, "an audio file"},
    Signature{"OggS\0"sv, "an audio file"},
    Signature{"fLaC\0"sv, "an audio file"},
    Signature{"\x1A\x45\xDF\xA3"sv, "a video file"},
    Signature{"\x30\x80\x06\x09"sv, "signed or encrypted data (CMS)"},
};

// Tags that begin a document; HTML parts of mail come without <html> quite often.
constexpr std::array kHtmlStarts = {"<!doctype html"sv,
                                    "<html"sv,
                                    "<head"sv,
                                    "<meta"sv,
                                    "<title"sv,
                                    "<body"sv,
                                    "<style"sv,
                                    "<base"sv,
                                    "<link"sv,
                                    "<div"sv,
                                    "<table"sv,
                                    "<font"sv,
                                    "<center"sv,
                                    "<span"sv,
                                    "<p"sv,
                                    "<br"sv,
                                    "<h1"sv,
                                    "<h2"sv,
                                    "<b"sv,
                                    "<a"sv,
                                    "<script"sv,
                                    "<iframe"sv};

bool isTagEnd(std::string_view rest) {
    return rest.empty() || rest[0] == '>' || rest[0] == '/' ||
           kBlanks.find(rest[0]) != std::string_view::npos;
}

// The text behind a prolog element that begins with `open` and ends with `close`; nothing when the
// end is out of sight.
std::string_view behind(std::string_view text, std::string_view open, std::string_view close) {
    const std::size_t end = text.find(close, open.size());
    return end == std::string_view::npos ? std::string_view{}
                                         : skipBlanks(text.substr(end + close.size()));
}

// UTF-16 with a byte order mark as its ASCII characters, everything else as '?'.
std::string narrowed(std::string_view head) {
    const bool big = head.starts_with(kUtf16BigMark);
    std::string text;
    text.reserve(head.size() / 2);
    for (std::size_t i = 2; i + 1 < head.size(); i += 2) {
        const auto high = static_cast<unsigned char>(head[big ? i : i + 1]);
        const char low = head[big ? i + 1 : i];
        text.push_back(high == 0 ? low : '?');
    }
    return text;
}

bool htmlStartsHere(std::string_view text) {
    text = skipBlanks(text);
    for (;;) {
        if (text.starts_with("<?xml")) {
            text = behind(text, "<?xml", "?>");
        } else if (text.starts_with("<!--")) {
            text = behind(text, "<!--", "-->");
        } else {
            break;
        }
    }
    return std::any_of(kHtmlStarts.begin(), kHtmlStarts.end(), [text](std::string_view tag) {
        return startsWithNoCase(text, tag) && isTagEnd(text.substr(tag.size()));
    });
}

// Fields that a message's header begins with; the names are in lower case.
constexpr std::array kKnownFields = {"from"sv,         "to"sv,
                                     "cc"sv,           "bcc"sv,
                                     "subject"sv,      "date"sv,
                                     "sender"sv,       "reply-to"sv,
                                     "received"sv,     "return-path"sv,
                                     "message-id"sv,   "mime-version"sv,
                                     "delivered-to"sv, "x-mailer"sv,
                                     "in-reply-to"sv,  "content-type"sv,
                                     "references"sv,   "resent-from"sv,
                                     "resent-date"sv,  "dkim-signature"sv,
                                     "envelope-to"sv,  "x-originalarrivaltime"sv};

// The field name of a header line, or nothing when the line is none.
std::string_view fieldName(std::string_view line) {
    std::size_t length = 0;
    while (length < line.size() && line[length] > ' ' && line[length] < '\x7F' &&
           line[length] != ':') {
        ++length;
    }
    const std::string_view name = line.substr(0, length);
    const std::size_t colon = line.find_first_not_of(" \t", length);
    return colon != std::string_view::npos && line[colon] == ':' ? name : std::string_view{};
}

bool isKnownField(std::string_view name) {
    return std::any_of(kKnownFields.begin(), kKnownFields.end(), [name](std::string_view known) {
        return name.size() == known.size() && startsWithNoCase(name, known);
    });
}

// Takes one line off the front of `text`, without its line end.
std::string_view takeLine(std::string_view &text) {
    const std::size_t end = text.find_first_of("\r\n");
    const std::string_view line = text.substr(0, end);
    if (end == std::string_view::npos) {
        text = {};
    } else {
        text.remove_prefix(text.substr(end).starts_with("\r\n") ? end + 2 : end + 1);
    }
    return line;
}

bool isTextControl(unsigned char c) {
    constexpr std::string_view kAllowed = "\b\t\n\v\f\r\x0E\x0F\x1A\x1B"sv;
    return c >= 0x20 || kAllowed.find(static_cast<char>(c)) != std::string_view::npos;
}

// UTF-16 without a mark, mostly of one script with zero high bytes: zero bytes at one parity only,
// many of them, and text in between.
bool looksLikeBareUtf16(std::string_view head) {
    std::array<std::size_t, 2> zeros{};
    for (std::size_t i = 0; i < head.size(); ++i) {
        if (head[i] == '\0') {
            ++zeros[i % 2];
        } else if (!isTextControl(static_cast<unsigned char>(head[i]))) {
            return false;
        }
    }
    const std::size_t more = std::max(zeros[0], zeros[1]);
    const std::size_t fewer = std::min(zeros[0], zeros[1]);
    return fewer == 0 && more * 8 >= head.size();
}

} // namespace

bool looksLikePdf(std::string_view head) {
    return skipBlanks(skipUtf8Mark(head)).starts_with("%PDF-");
}

const char *unreadableKind(std::string_view head) {
    if (head.starts_with("RIFF") && head.size() >= 12) {
        const std::string_view form = head.substr(8, 4);
        if (form == "WEBP" || form == "WAVE" || form == "AVI ") {
            return form == "WEBP" ? "a WebP image" : "an audio or video file";
        }
    }
    if (head.size() >= 12 && head.substr(4, 4) == "ftyp" && head[0] == '\0') {
        return "an audio, video or HEIF image file";
    }
    for (const Signature &sign : kUnreadable) {
        if (head.starts_with(sign.bytes)) {
            return sign.kind;
        }
    }
    return nullptr;
}

bool looksLikeHtml(std::string_view head) {
    if (head.starts_with(kUtf16LittleMark) || head.starts_with(kUtf16BigMark)) {
        return htmlStartsHere(narrowed(head));
    }
    return htmlStartsHere(skipUtf8Mark(head));
}

bool looksLikeMessage(std::string_view head) {
    std::string_view rest = skipBlanks(skipUtf8Mark(head));
    if (rest.starts_with("From ") || rest.starts_with(">From ")) {
        takeLine(rest); // the envelope line of a mailbox
    }
    std::size_t fields = 0;
    bool known = false;
    bool proseFollows = false;
    while (!rest.empty() && !proseFollows) {
        const std::string_view line = takeLine(rest);
        if (line.empty()) {
            break;
        }
        const bool folded = line[0] == ' ' || line[0] == '\t';
        const std::string_view name = folded ? std::string_view{} : fieldName(line);
        proseFollows = folded ? fields == 0 : name.empty();
        fields += name.empty() ? 0U : 1U;
        known = known || isKnownField(name);
    }
    return known && (fields > 1 || !proseFollows);
}

bool looksBinary(std::string_view head) {
    if (head.starts_with(kUtf16LittleMark) || head.starts_with(kUtf16BigMark) ||
        head.starts_with(kUtf32BigMark)) {
        return false;
    }
    if (head.find('\0') != std::string_view::npos) {
        return !looksLikeBareUtf16(head);
    }
    const auto odd = static_cast<std::size_t>(std::count_if(head.begin(), head.end(), [](char c) {
        return !isTextControl(static_cast<unsigned char>(c));
    }));
    // One stray control byte in twenty is more than damaged text has.
    return odd * 20 > head.size();
}

} // namespace qob
