// SPDX-License-Identifier: MIT
// The TNEF filter (winmail.dat): the message's subject and body, then its attachments, whose text
// the host extracts under their names. Of the body's forms the plain one is taken, else RTF, else
// HTML.
//
// What can be read of a damaged container stays; the damage is reported once. Memory does not
// depend on the file's size, but for an RTF body (kLongestRtf).
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "charset.h"
#include "code_page.h"
#include "compressed_rtf.h"
#include "decoder.h"
#include "entry.h"
#include "members.h"
#include "plain_lines.h"
#include "qob_notice.h"
#include "tnef_file.h"
#include "tnef_stream.h"

namespace qob::tnef {
namespace {

using filters::Extraction;
using filters::Members;

// Bytes of a subject or a name that are read at most.
constexpr uint64_t kLongestLine = 4096;

// Calls `use` with the range's bytes piece by piece until it returns something else than EML_OK.
template <typename Use> int32_t forEachPiece(TnefFile &file, Range range, Use use) {
    while (range.size > 0) {
        const std::string_view piece = file.bytes(range);
        if (piece.empty()) {
            return file.stopped();
        }
        // `use` may read the file too, and its next pieces then are not where this one was.
        const uint64_t size = piece.size();
        if (const int32_t code = use(piece); code != EML_OK) {
            return code;
        }
        range = {range.offset + size, range.size - size};
    }
    return EML_OK;
}

class TnefMessage {
public:
    explicit TnefMessage(Extraction &extraction)
        : extraction_(extraction), file_(extraction.input), stream_(file_), members_(extraction) {}

    int32_t write() {
        parts_ = stream_.message();
        int32_t code = writeSubject();
        if (code == EML_OK) {
            code = writeBody();
        }
        if (code == EML_OK) {
            code = writeAttachments();
        }
        code = code != EML_OK ? code : file_.stopped();
        return code != EML_OK ? code : settleDamage();
    }

private:
    std::string charsetOf(const Text &text) const {
        if (text.isUtf16) {
            return "UTF-16LE";
        }
        std::string charset = charsetOfCodePage(parts_.codePage);
        if (!charset.empty()) {
            return charset;
        }
        const std::string_view language = filters::languageOf(extraction_.params);
        return language.empty() ? "windows-1252" : filters::charsetOfLanguage(language);
    }

    // A short text on one line, without the zero byte at its end.
    std::string lineOf(const Text &text) {
        std::string line;
        filters::Decoder(charsetOf(text)).decode(file_.bytes(text.range, kLongestLine), true, line);
        line.resize(std::min(line.size(), line.find('\0')));
        std::replace_if(
            line.begin(), line.end(), [](unsigned char c) { return c < 0x20; }, ' ');
        return line;
    }

    int32_t writeSubject() {
        if (const std::string subject = lineOf(parts_.subject); !subject.empty()) {
            extraction_.output.append("Subject: " + subject + "\n\n");
            wroteAny_ = true;
        }
        return file_.stopped();
    }

    bool hasText(const Text &text) {
        const std::string_view start = file_.bytes(text.range);
        return start.size() < text.range.size ||
               std::any_of(start.begin(), start.end(), [](unsigned char c) { return c > 0x20; });
    }

    int32_t writeBody() {
        if (hasText(parts_.plainBody)) {
            return writePlainBody();
        }
        if (parts_.compressedRtf.size > 0) {
            const std::string rtf = unpackRtf(read(parts_.compressedRtf, kLongestRtf));
            if (rtf.size() >= kLongestRtf) {
                filters::report(extraction_, EML_ERR_MEMORY,
                                "the RTF text of the message is longer than 32 MiB; the rest is "
                                "left out");
            }
            if (!rtf.empty()) {
                return writeMember("", rtf);
            }
            damaged_ = true;
        }
        return hasText(parts_.htmlBody) ? writeHtmlBody() : int32_t{EML_OK};
    }

    int32_t writePlainBody() {
        wroteAny_ = true;
        filters::Decoder decoder(charsetOf(parts_.plainBody));
        filters::PlainLines lines(extraction_.output);
        std::string utf8;
        const int32_t code =
            forEachPiece(file_, parts_.plainBody.range, [&](std::string_view piece) {
                utf8.clear();
                decoder.decode(piece, false, utf8);
                lines.append(utf8);
                return extraction_.output.status();
            });
        utf8.clear();
        decoder.decode({}, true, utf8);
        lines.append(utf8);
        if (!extraction_.output.atLineStart()) {
            lines.append("\n");
        }
        wrotePlainBody_ = true;
        return code;
    }

    // The HTML filter learns the charset from a first element, as from the e-mail filter.
    int32_t writeHtmlBody() {
        const Text &body = parts_.htmlBody;
        const std::string charset = body.isUtf16 ? "utf-8" : charsetOfCodePage(parts_.htmlCodePage);
        const std::string lead =
            charset.empty() ? "<HTML>\n" : "<META CONTENT=\"text/html;charset=" + charset + "\">\n";
        int32_t code = begin("");
        if (code != EML_OK) {
            return code;
        }
        code = members_.write(lead);
        filters::Decoder decoder("UTF-16LE");
        std::string utf8;
        if (code == EML_OK) {
            code = forEachPiece(file_, body.range, [&](std::string_view piece) {
                utf8.clear();
                if (body.isUtf16) {
                    decoder.decode(piece, false, utf8);
                }
                return members_.write(body.isUtf16 ? utf8 : piece);
            });
        }
        return end(code);
    }

    int32_t writeAttachments() {
        AttachmentParts parts;
        while (extraction_.output.isOpen() && stream_.nextAttachment(parts)) {
            if (const int32_t code = writeAttachment(parts); code != EML_OK) {
                return code;
            }
        }
        return EML_OK;
    }

    int32_t writeAttachment(const AttachmentParts &parts) {
        // A message or a document that is embedded may come with a picture of it as its data.
        Range content = parts.object;
        content = content.size > 0 ? content : parts.data;
        content = content.size > 0 ? content : parts.binary;
        if (content.size == 0) {
            return EML_OK;
        }
        if (const int32_t code = begin(nameOf(parts)); code != EML_OK) {
            return code;
        }
        return end(forEachPiece(file_, content,
                                [&](std::string_view piece) { return members_.write(piece); }));
    }

    std::string nameOf(const AttachmentParts &parts) {
        for (const Text *text :
             {&parts.longName, &parts.shortName, &parts.title, &parts.displayName}) {
            if (std::string name = lineOf(*text); !name.empty()) {
                return name;
            }
        }
        return {};
    }

    int32_t writeMember(std::string_view name, std::string_view content) {
        const int32_t code = begin(name);
        return code != EML_OK ? code : end(members_.write(content));
    }

    int32_t begin(std::string_view name) {
        const int32_t code = members_.begin(name);
        if (code == EML_OK) {
            wroteAny_ = true;
            if (std::exchange(wrotePlainBody_, false)) {
                extraction_.output.append("\n");
            }
        }
        return code;
    }

    // What is there of the member is extracted, even when a limit cut the rest.
    int32_t end(int32_t writeCode) {
        const int32_t code = members_.end();
        return writeCode != EML_OK ? writeCode : code;
    }

    std::string read(Range range, uint64_t limit) {
        std::string bytes;
        range.size = std::min(range.size, limit);
        forEachPiece(file_, range, [&](std::string_view piece) {
            bytes += piece;
            return int32_t{EML_OK};
        });
        return bytes;
    }

    int32_t settleDamage() const {
        if (!damaged_ && !stream_.isDamaged()) {
            return EML_OK;
        }
        filters::report(
            extraction_, QOB_ERR_DAMAGED,
            wroteAny_ ? "the TNEF container is damaged; the text of what could be read is there"
                      : "the TNEF container is damaged and gave no text");
        return wroteAny_ ? int32_t{EML_OK} : int32_t{QOB_ERR_DAMAGED};
    }

    Extraction &extraction_;
    TnefFile file_;
    TnefStream stream_;
    MessageParts parts_;
    Members members_;
    bool wroteAny_ = false;
    bool wrotePlainBody_ = false; // just before
    bool damaged_ = false;
};

int32_t extractMessage(Extraction &extraction) {
    return TnefMessage(extraction).write();
}

} // namespace
} // namespace qob::tnef

int32_t qob::filters::extractInput(Extraction &extraction) {
    return qob::tnef::extractMessage(extraction);
}
