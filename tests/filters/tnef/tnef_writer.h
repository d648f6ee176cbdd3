// SPDX-License-Identifier: MIT
// TNEF streams for the tests, byte by byte.
#ifndef QOB_TESTS_TNEF_WRITER_H
#define QOB_TESTS_TNEF_WRITER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qob::tests {

// The least significant byte first.
std::string little(uint64_t value, int bytes);

// UTF-16LE of UTF-8 text, with a zero at its end.
std::string utf16(std::string_view text);

// The text with the zero byte that 8-bit strings end in.
std::string zeroEnded(std::string_view text);

// The signature and the key.
std::string tnefStart();

// One attribute with its checksum. `tag` is the type above the identifier.
std::string attribute(uint32_t tag, std::string_view data);

constexpr uint32_t kSubjectTag = 0x00018004;
constexpr uint32_t kBodyTag = 0x0002800C;
constexpr uint32_t kAttachDataTag = 0x0006800F;
constexpr uint32_t kAttachTitleTag = 0x00018010;
constexpr uint32_t kAttachRenderingTag = 0x00069002;
constexpr uint32_t kMessagePropertiesTag = 0x00069003;
constexpr uint32_t kAttachPropertiesTag = 0x00069005;
constexpr uint32_t kCodePageTag = 0x00069007;

// One property with one value of a type that has a length (0x001E, 0x001F, 0x0102, 0x000D).
std::string property(uint16_t id, uint16_t type, std::string_view value);
// One property of type 0x0003.
std::string numberProperty(uint16_t id, uint32_t value);

std::string propertyList(const std::vector<std::string> &properties);

// The attributes of an attachment, its name as a property and its data as an attribute.
std::string attachment(std::string_view longName, std::string_view data);

// RTF as MAPI keeps it, in literals only.
std::string packedRtf(std::string_view rtf);

} // namespace qob::tests

#endif
