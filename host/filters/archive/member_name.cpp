// SPDX-License-Identifier: MIT
// See member_name.h.
#include "member_name.h"

#include <array>

#include "charset.h"
#include "decoder.h"
#include "qob_scope.h"

namespace qob::archive {
namespace {

bool isValid(const std::string &charset, std::string_view bytes) {
    return filters::StrictDecoder(charset).accepts(bytes, true);
}

std::string decoded(const std::string &charset, std::string_view bytes) {
    std::string utf8;
    filters::Decoder(charset).decode(bytes, true, utf8);
    return utf8;
}

// Where names of ZIP archives are not marked as UTF-8, they are in the charset of the system that
// wrote them: in East Asia a multi-byte one, elsewhere most likely the format's own.
std::string charsetOfZipName(std::string_view stored, std::string_view language) {
    if (!language.empty()) {
        std::string local = filters::charsetOfLanguage(language);
        const filters::ConverterPtr converter = filters::openConverter(local);
        if (converter != nullptr && ucnv_getMaxCharSize(converter.get()) > 1 &&
            isValid(local, stored)) {
            return local;
        }
    }
    return "IBM437";
}

bool endsWithNoCase(std::string_view text, std::string_view ending) {
    if (text.size() <= ending.size()) {
        return false;
    }
    text.remove_prefix(text.size() - ending.size());
    for (std::size_t i = 0; i < ending.size(); ++i) {
        const char c = text[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != ending[i]) {
            return false;
        }
    }
    return true;
}

// A name that the host made up: in one of its private directories, or outside of all.
bool isTemporary(std::string_view directory, std::string_view name) {
    constexpr std::string_view kPrivate = "qob-XXXXXX";
    const std::size_t slash = directory.rfind('/');
    const std::string_view last = directory.substr(slash == std::string_view::npos ? 0 : slash + 1);
    return name.starts_with("qob-") || (last.starts_with("qob-") && last.size() == kPrivate.size());
}

struct Ending {
    std::string_view packed;
    std::string_view unpacked;
};

constexpr std::array kEndings = {Ending{".tgz", ".tar"},  Ending{".tbz2", ".tar"},
                                 Ending{".tbz", ".tar"},  Ending{".txz", ".tar"},
                                 Ending{".svgz", ".svg"}, Ending{".gz", ""},
                                 Ending{".bz2", ""},      Ending{".xz", ""}};

} // namespace

Utf8Names::Utf8Names()
    : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      outer_(locale_ != nullptr ? uselocale(locale_) : nullptr) {}

Utf8Names::~Utf8Names() {
    if (locale_ != nullptr) {
        uselocale(outer_);
        freelocale(locale_);
    }
}

std::string memberName(std::string_view stored, Packing packing, std::string_view language) {
    if (isValid("UTF-8", stored)) {
        return std::string(stored);
    }
    if (packing == Packing::kZip) {
        return decoded(charsetOfZipName(stored, language), stored);
    }
    return decoded(packing == Packing::kGzip ? "windows-1252" : "UTF-8", stored);
}

std::string nameWithoutPacking(const char *path) {
    const std::string_view real = qob_scope_real_path(path);
    const std::size_t slash = real.rfind('/');
    const std::string_view name = real.substr(slash == std::string_view::npos ? 0 : slash + 1);
    if (isTemporary(real.substr(0, slash), name)) {
        return {};
    }
    for (const Ending &ending : kEndings) {
        if (endsWithNoCase(name, ending.packed)) {
            return std::string(name.substr(0, name.size() - ending.packed.size())) +
                   std::string(ending.unpacked);
        }
    }
    return {};
}

} // namespace qob::archive
