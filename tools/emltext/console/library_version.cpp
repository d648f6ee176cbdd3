// SPDX-License-Identifier: MIT
// Looking for the version in the bytes of the library.
#include "console/library_version.h"

#include <array>
#include <fstream>
#include <iterator>

#include "qob_extract.h"

namespace emltext {

std::optional<std::string> versionIn(std::string_view library) {
    constexpr std::string_view kMark = "@(#)";
    constexpr std::string_view kName = "@(#)qob_txeml ";
    const std::size_t start = library.find(kName);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view text = library.substr(start + kMark.size());
    const std::size_t end = text.find('\0');
    return end == std::string_view::npos ? std::nullopt
                                         : std::optional<std::string>(text.substr(0, end));
}

std::optional<std::string> libraryVersion() {
    std::array<char, 4096> path{};
    if (qob_message_filter_path(path.data()) != EML_OK) {
        return std::nullopt;
    }
    std::ifstream file(path.data(), std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    return versionIn(content);
}

} // namespace emltext
