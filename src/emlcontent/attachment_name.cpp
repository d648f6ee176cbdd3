// SPDX-License-Identifier: MIT
// Display names of attachments.
#include "emlcontent/attachment_name.h"

#include <algorithm>
#include <cstring>

#include "emlcomm/chars.h"
#include "emlcomm/line_reader.h"
#include "emlcontent/attachment_files.h"
#include "emlcontent/parameter_text.h"

namespace {

// What is read of the line below for a name that is folded onto it.
constexpr int32_t kFoldedNameLength = 290;
constexpr size_t kFoldedNameBuffer = 296;

constexpr std::string_view kNameParameter = "name=\"";
constexpr std::string_view kFilePrefix = "file";

} // namespace

namespace eml {

bool namesFile(std::string_view line) {
    return contains(line, "filename=") || contains(line, "FileName=");
}

void copyUnnamed(char *name, bool isMessage) {
    copyText(name, kAttachNameSize, isMessage ? "attachment.eml" : kUnnamedAttachment);
}

void copyFileName(ExtractionHandle *handle, std::string_view line, char *name) {
    ParameterField field(name, kAttachNameSize);
    if (!copyLastQuoted(line.data(), field)) {
        char folded[kFoldedNameBuffer] = {};
        LineReadFromSeek(handle, folded, kFoldedNameLength, handle->blockPos);
        for (const char c : skipBlanks(folded)) {
            if (c == '"') {
                break;
            }
            field.append(c);
        }
    }
    name[field.length()] = '\0';
}

bool replaceLineByName(ExtractionHandle *handle) {
    const std::string_view block(handle->readBuffer,
                                 static_cast<size_t>(std::max(handle->blockLength, 0)));
    const std::string_view text = block.substr(0, block.find('\0'));
    const size_t found = text.find(kNameParameter);
    if (found == std::string_view::npos ||
        static_cast<int64_t>(found) >= static_cast<int64_t>(handle->blockPos)) {
        return false;
    }
    const std::string_view parameter = text.substr(found);
    const size_t length = std::min(
        {parameter.find_first_of("\r\n;"), parameter.size(), kMaxLineLength - kFilePrefix.size()});
    std::memset(handle->lineBuffer, 0, kLineBufferSize);
    std::memcpy(handle->lineBuffer, kFilePrefix.data(), kFilePrefix.size());
    std::memcpy(handle->lineBuffer + kFilePrefix.size(), parameter.data(), length);
    handle->lineLength = static_cast<int32_t>(kFilePrefix.size() + length);
    return true;
}

} // namespace eml
