// SPDX-License-Identifier: MIT
// Settings and folding.
#include "input.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint8_t kSettingsMark = 0xFF;
constexpr size_t kSettingsSize = 8; // the mark included

// One for every byte from 0x80 on, and for control bytes from 0x0E on; the list is repeated.
// Boundaries are short and few, so that they match each other.
constexpr std::string_view kTokens[] = {
    "\n",
    "\r\n",
    "\r\n\r\n",
    "\n\n",
    "\r",
    "\n--b\n",
    "\n--b--\n",
    "\n--c\n",
    "\n--c--\n",
    "--b",
    "--c",
    "\n ",
    "\n\t",
    "\n.\n",
    "\n------=_NextPart_0\n",
    "From: a <b@c>\n",
    "To: ",
    "\nTo: a,\n",
    "\nCc: ",
    "\nBcc: ",
    "\nSubject: ",
    "\nDate: Thu, 1 Jan 1970 00:00:00 +0000\n",
    "\nContent-Type: ",
    "\nContent-Type:",
    "\nContent-Transfer-Encoding: ",
    "\nContent-Transfer-Encoding: base64\n",
    "\nContent-Transfer-Encoding: quoted-printable\n",
    "\nContent-Disposition: attachment; filename=\"a.txt\"\n",
    "\nContent-Disposition: attachment\n",
    "\nContent-Disposition: inline; FileName=\"",
    "\nContent-Description: x\n",
    "text/plain",
    "text/html",
    "multipart/mixed",
    "multipart/alternative",
    "multipart/related",
    "multipart/report",
    "multipart/digest",
    "multipart/appledouble",
    "message/rfc822",
    "message/delivery-status",
    "application/pdf",
    "image/jpeg",
    "; boundary=\"b\"",
    "; boundary=\"c\"",
    ";\n boundary=\"b\"\n",
    ";\n boundary=\"c\"\n",
    "; charset=",
    ";\n charset=\"utf-8\"\n",
    "; charset=\"iso-2022-jp\"",
    "; charset=utf-7",
    "; charset=\"hz-gb-2312\"",
    "; name=\"n\"",
    ";\n name=\"n.eml\"\n",
    "; name=",
    "filename*=utf-8''n",
    "=?utf-8?B?",
    "=?utf-8?Q?",
    "=?gb2312?b?",
    "=??q?",
    "?=",
    "=\n",
    "=0D=0A",
    "=E9=",
    "QUJD",
    "QQ==\n",
    "QQ==\n\n",
    "<HTML>",
    "<META ",
    "\"",
    "<",
    ">",
    "\n\xE6\x97\xA5\xF0\x9F\x98\x80",
    "X-MimeOLE: x\n",
};

// Bytes that stand for a run of filler: lines that reach the line buffer's end, and texts that
// reach the block's.
constexpr unsigned char kRunOf77 = 0x7F;
constexpr unsigned char kRunOf2040 = 0x0E;
constexpr unsigned char kRunOf16000 = 0x0F;

size_t runLength(unsigned char byte) {
    switch (byte) {
    case kRunOf77:
        return 77;
    case kRunOf2040:
        return 2040;
    case kRunOf16000:
        return 16000;
    default:
        return 0;
    }
}

bool standsForItself(unsigned char byte) {
    return (byte >= 0x20 && byte < 0x7F) || byte < 0x0E;
}

uint32_t bitsOf(uint8_t byte, std::initializer_list<uint32_t> masks) {
    uint32_t bits = 0;
    for (const uint32_t mask : masks) {
        bits |= (byte & 1U) != 0 ? mask : 0;
        byte = static_cast<uint8_t>(byte >> 1U);
    }
    return bits;
}

Settings readSettings(std::string_view bytes) {
    constexpr std::string_view kLanguages[] = {"English", "Japanese", "cn", "?"};
    constexpr std::string_view kLineEnds[] = {"\n", "\r\n", "\r", ""};
    Settings settings;
    const uint8_t general = takeByte(bytes);
    settings.folded = (general & 1U) != 0;
    settings.host.logging = (general & 2U) != 0;
    settings.host.insertFails = (general & 4U) != 0;
    settings.host.expanding = (general & 8U) == 0;
    settings.language = kLanguages[(general >> 4U) & 3U];
    settings.options = bitsOf(takeByte(bytes), {EML_OPT_LIMIT_OUTPUT, EML_OPT_1000,
                                                EML_OPT_MIRROR_COUNT, EML_OPT_ZERO_BEFORE_LINE_END,
                                                EML_OPT_8000000, EML_OPT_2000, EML_OPT_PLAIN});
    settings.flags =
        bitsOf(takeByte(bytes), {EML_FLAG_ATTACHMENTS, EML_FLAG_SHARE_COUNT, EML_FLAG_KEEP_GOING,
                                 EML_FLAG_NO_HANDOVER, EML_FLAG_NO_LABELS, EML_FLAG_BOUND_TMPNAM});
    const uint8_t lineEnds = takeByte(bytes);
    settings.options |= EML_OPT_NEWLINE_1 << (lineEnds & 7U) % 5;
    settings.host.lineEnd = kLineEnds[(lineEnds >> 3U) & 3U];
    settings.host.tmpLineEnd = kLineEnds[(lineEnds >> 5U) & 3U];
    settings.outputLimit = 4U * takeByte(bytes);
    const uint8_t failing = takeByte(bytes);
    const auto services = static_cast<uint8_t>(Service::kCount);
    settings.host.failing = static_cast<Service>((failing & 0x7FU) % services);
    settings.host.failingFromThere = (failing & 0x80U) != 0;
    settings.host.failingCall = takeByte(bytes);
    return settings;
}

} // namespace

uint8_t takeByte(std::string_view &bytes) {
    if (bytes.empty()) {
        return 0;
    }
    const auto byte = static_cast<uint8_t>(bytes.front());
    bytes.remove_prefix(1);
    return byte;
}

FuzzInput readInput(const uint8_t *data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char *>(data), size);
    FuzzInput input;
    if (size >= kSettingsSize && data[0] == kSettingsMark) {
        input.settings = readSettings(bytes.substr(1, kSettingsSize - 1));
        bytes.remove_prefix(kSettingsSize);
    }
    input.text = input.settings.folded ? foldIntoMail(bytes) : std::string(bytes);
    return input;
}

std::string foldIntoMail(std::string_view bytes) {
    std::string mail;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (const size_t run = runLength(byte); run > 0) {
            mail.append(run, 'a');
        } else if (standsForItself(byte)) {
            mail.push_back(c);
        } else {
            mail += kTokens[byte % std::size(kTokens)];
        }
        if (mail.size() > kLongestFolded) {
            mail.resize(kLongestFolded);
            break;
        }
    }
    return mail;
}

HostParams paramsOf(const Settings &settings) {
    HostParams params = {};
    std::copy_n("UTF-8", 5, params.outputName);
    std::copy(settings.language.begin(), settings.language.end(), params.language);
    params.options = settings.options;
    params.flags = settings.flags;
    params.outputLimit = settings.outputLimit;
    return params;
}
