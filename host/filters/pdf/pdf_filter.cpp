// SPDX-License-Identifier: MIT
// The PDF filter: the text of all pages in reading order, an empty line between two pages. A
// document that is damaged beyond reading or needs a password gives no text and is reported once.
//
// The time of the extraction is looked at before every page; the time for a single page, and the
// memory, are poppler's. It follows no loop of the page tree and has no more pages than the file
// has objects. Nothing that it prints or throws leaves this file.
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <unicode/unistr.h>

#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "entry.h"
#include "plain_lines.h"
#include "qob_host.h"
#include "qob_limits.h"
#include "qob_notice.h"

namespace {

using qob::filters::Extraction;

void silencePoppler() {
    static std::once_flag once;
    std::call_once(once, [] {
        poppler::set_debug_error_function([](const std::string &, void *) {}, nullptr);
    });
}

// The page's text as UTF-8, without the blanks, line ends and form feeds at its end.
std::string textOfPage(const poppler::page &page) {
    const poppler::ustring text =
        page.text(poppler::rectf(), poppler::page::non_raw_non_physical_layout);
    std::u16string units(text.begin(), text.end());
    const std::size_t last = units.find_last_not_of(u" \t\r\n\f");
    units.resize(last == std::u16string::npos ? 0 : last + 1);
    std::string utf8;
    icu::UnicodeString(units.data(), static_cast<int32_t>(units.size())).toUTF8String(utf8);
    return utf8;
}

int32_t failed(const Extraction &extraction, int32_t code, const char *reason) {
    qob::filters::report(extraction, code, reason);
    return code;
}

int32_t writePages(Extraction &extraction, const poppler::document &document) {
    qob::filters::PlainLines lines(extraction.output);
    const int count = document.pages();
    bool readAny = false;
    bool wroteAny = false;
    for (int i = 0; i < count && extraction.output.isOpen(); ++i) {
        if (const int32_t code = qob_limits_time(); code != EML_OK) {
            return code;
        }
        const std::unique_ptr<poppler::page> page(document.create_page(i));
        if (page == nullptr) {
            continue;
        }
        readAny = true;
        const std::string text = textOfPage(*page);
        if (!text.empty()) {
            lines.append(wroteAny ? "\n" : "");
            lines.append(text);
            lines.append("\n");
            wroteAny = true;
        }
    }
    return readAny ? int32_t{EML_OK} : int32_t{QOB_ERR_DAMAGED};
}

int32_t readDocument(Extraction &extraction) {
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_file(extraction.inputPath));
    if (document == nullptr) {
        return QOB_ERR_DAMAGED;
    }
    return document->is_locked() ? int32_t{QOB_ERR_ENCRYPTED} : writePages(extraction, *document);
}

int32_t extractDocument(Extraction &extraction) {
    silencePoppler();
    int32_t code = QOB_ERR_DAMAGED;
    try {
        code = readDocument(extraction);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (...) {
        code = QOB_ERR_DAMAGED;
    }
    if (code == QOB_ERR_DAMAGED) {
        return failed(extraction, code, "the PDF document is damaged and gave no text");
    }
    if (code == QOB_ERR_ENCRYPTED) {
        return failed(extraction, code, "the PDF document is encrypted and needs a password");
    }
    return code;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractDocument(extraction);
}
