// SPDX-License-Identifier: MIT
// See legacy_documents.h. Just enough of each format that its readers take it.
#include "legacy_documents.h"

#include "filter_fixture.h"
#include "ole_writer.h"

namespace qob::tests {
namespace {

constexpr std::size_t kWholeSectors = 4096; // streams that stay out of the mini stream

uint32_t sizeOf(const std::string &bytes) {
    return static_cast<uint32_t>(bytes.size());
}

std::string large(std::string bytes) {
    bytes.resize(std::max(bytes.size(), kWholeSectors), '\0');
    return bytes;
}

void put(std::string &bytes, std::size_t at, const std::string &value) {
    bytes.replace(at, value.size(), value);
}

// A record of a workbook.
std::string record(uint32_t type, const std::string &body) {
    return little16(type) + little16(sizeOf(body)) + body;
}

std::string beginningOf(uint32_t substream) {
    return record(0x809, little16(0x600) + little16(substream) + little16(0x1FAA) + little16(1997) +
                             little32(0) + little32(6));
}

// A record of a presentation.
std::string atom(uint32_t version, uint32_t type, const std::string &body) {
    return little16(version) + little16(type) + little32(sizeOf(body)) + body;
}

std::string workbookGlobals(const std::string &strings, uint32_t sheetAt, bool encrypted) {
    const std::string name = "Sheet1";
    return beginningOf(5) + (encrypted ? record(0x2F, std::string(54, '\1')) : "") +
           record(0x42, little16(1200)) + record(0xE0, std::string(20, '\0')) +
           record(0x85, little32(sheetAt) + little16(0) + std::string{6, '\0'} + name) +
           record(0xFC, strings) + record(0x0A, "");
}

} // namespace

std::string wordDocument(std::string_view text, bool encrypted) {
    constexpr uint32_t kTextAt = 1536;
    const std::string units = encoded("UTF-16LE", text);
    const uint32_t characters = sizeOf(units) / 2;
    const std::string pieces =
        little32(0) + little32(characters) + little16(0) + little32(kTextAt) + little16(0);
    const std::string pieceTable = '\2' + little32(sizeOf(pieces)) + pieces;
    const std::string styles = little16(18) + little16(0) + little16(10) + std::string(14, '\0');
    std::string stream(kTextAt, '\0');
    put(stream, 0x00, little16(0xA5EC) + little16(0xC1) + little16(0) + little16(0x409));
    put(stream, 0x0A, little16(encrypted ? 0x1300 : 0x1200));
    put(stream, 0x0C, little16(0xBF));
    put(stream, 0x18, little32(kTextAt) + little32(kTextAt + sizeOf(units)));
    put(stream, 0x20, little16(14));
    put(stream, 0x3E, little16(22));
    put(stream, 0x40, little32(kTextAt + sizeOf(units)));
    put(stream, 0x4C, little32(characters));
    put(stream, 0x98, little16(93));
    put(stream, 0x1A2, little32(0) + little32(sizeOf(pieceTable)));
    put(stream, 0xA2, little32(sizeOf(pieceTable)) + little32(sizeOf(styles)));
    return oleFile(
        {{"WordDocument", large(stream + units)}, {"1Table", large(pieceTable + styles)}});
}

std::string excelDocument(const std::vector<std::string> &cells, bool encrypted) {
    const auto count = static_cast<uint32_t>(cells.size());
    std::string strings = little32(count) + little32(count);
    std::string sheet =
        beginningOf(0x10) +
        record(0x200, little32(0) + little32(count) + little16(0) + little16(2) + little16(0));
    for (uint32_t i = 0; i < count; ++i) {
        const std::string units = encoded("UTF-16LE", cells[i]);
        strings += little16(sizeOf(units) / 2) + '\1' + units;
        sheet += record(0xFD, little16(i / 2) + little16(i % 2) + little16(0) + little32(i));
    }
    sheet += record(0x0A, "");
    const auto sheetAt = sizeOf(workbookGlobals(strings, 0, encrypted));
    return oleFile({{"Workbook", large(workbookGlobals(strings, sheetAt, encrypted) + sheet)}});
}

std::string powerPointDocument(const std::vector<std::string> &texts, bool encrypted) {
    std::string slides;
    for (const std::string &text : texts) {
        slides += atom(0, 0xF9F, little32(1)) + atom(0, 0xFA0, encoded("UTF-16LE", text));
    }
    const std::string document = atom(0xF, 0x3E8, atom(0xF, 0xFF0, slides) + atom(0, 0x3EA, ""));
    const std::string user = atom(0, 0xFF6,
                                  little32(0x14) + little32(encrypted ? 0xF3D1C4DF : 0xE391C05F) +
                                      little32(sizeOf(document)) + little16(0) + little16(0x3F4) +
                                      "\3" + std::string(3, '\0'));
    return oleFile({{"Current User", user}, {"PowerPoint Document", large(document)}});
}

} // namespace qob::tests
