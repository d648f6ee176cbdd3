// SPDX-License-Identifier: MIT
// See tnef_writer.h.
#include "tnef_writer.h"

#include "filter_fixture.h"

namespace qob::tests {
namespace {

std::string padded(std::string_view value) {
    return std::string(value) + std::string((4 - value.size() % 4) % 4, '\0');
}

} // namespace

std::string little(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text.push_back(static_cast<char>(i < 8 ? value >> (8 * i) : 0));
    }
    return text;
}

std::string utf16(std::string_view text) {
    return encoded("UTF-16LE", text) + std::string(2, '\0');
}

std::string zeroEnded(std::string_view text) {
    return std::string(text) + '\0';
}

std::string tnefStart() {
    return little(0x223E9F78, 4) + little(1, 2);
}

std::string attribute(uint32_t tag, std::string_view data) {
    const bool ofAttachment = tag == kAttachDataTag || tag == kAttachTitleTag ||
                              tag == kAttachRenderingTag || tag == kAttachPropertiesTag;
    uint32_t sum = 0;
    for (const char c : data) {
        sum += static_cast<unsigned char>(c);
    }
    return little(ofAttachment ? 2 : 1, 1) + little(tag, 4) + little(data.size(), 4) +
           std::string(data) + little(sum & 0xFFFFU, 2);
}

std::string property(uint16_t id, uint16_t type, std::string_view value) {
    return little(type, 2) + little(id, 2) + little(1, 4) + little(value.size(), 4) + padded(value);
}

std::string numberProperty(uint16_t id, uint32_t value) {
    return little(0x0003, 2) + little(id, 2) + little(value, 4);
}

std::string propertyList(const std::vector<std::string> &properties) {
    std::string list = little(properties.size(), 4);
    for (const std::string &one : properties) {
        list += one;
    }
    return list;
}

std::string attachment(std::string_view longName, std::string_view data) {
    return attribute(kAttachRenderingTag, std::string(14, '\0')) + attribute(kAttachDataTag, data) +
           attribute(kAttachPropertiesTag,
                     propertyList({property(0x3707, 0x001F, utf16(longName))}));
}

std::string packedRtf(std::string_view rtf) {
    std::string groups;
    for (std::size_t i = 0; i < rtf.size(); i += 8) {
        groups += '\0' + std::string(rtf.substr(i, 8));
    }
    return little(groups.size() + 12, 4) + little(rtf.size(), 4) + little(0x75465A4C, 4) +
           little(0, 4) + groups;
}

} // namespace qob::tests
