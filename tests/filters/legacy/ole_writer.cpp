// SPDX-License-Identifier: MIT
// See ole_writer.h. Sectors of 512 bytes: the sector table, the directory, the mini table, the mini
// stream, the streams.
#include "ole_writer.h"

namespace qob::tests {
namespace {

constexpr std::size_t kSector = 512;
constexpr std::size_t kMiniSector = 64;
constexpr std::size_t kMiniCutoff = 4096;
constexpr uint32_t kTableSector = 0xFFFFFFFD;
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFree = 0xFFFFFFFF;

std::string padded(std::string bytes, std::size_t unit) {
    bytes.resize((bytes.size() + unit - 1) / unit * unit, '\0');
    return bytes;
}

// Appends a chain of `count` sectors to a table and returns its first one.
uint32_t addChain(std::vector<uint32_t> &table, std::size_t count) {
    const auto first = static_cast<uint32_t>(table.size());
    for (std::size_t i = 1; i < count; ++i) {
        table.push_back(static_cast<uint32_t>(table.size()) + 1);
    }
    if (count > 0) {
        table.push_back(kEndOfChain);
    }
    return count > 0 ? first : kEndOfChain;
}

std::string tableBytes(const std::vector<uint32_t> &table) {
    std::string bytes;
    for (const uint32_t next : table) {
        bytes += little32(next);
    }
    while (bytes.size() % kSector != 0) {
        bytes += little32(kFree);
    }
    return bytes;
}

std::string entry(const std::string &name, char type, uint32_t right, uint32_t child,
                  uint32_t start, std::size_t size) {
    std::string bytes = wide(name);
    const auto length = static_cast<uint32_t>(bytes.size()) + 2;
    bytes.resize(64, '\0');
    bytes += little16(length) + type + '\1' + little32(kFree) + little32(right) + little32(child);
    bytes.resize(116, '\0');
    return bytes + little32(start) + little32(static_cast<uint32_t>(size)) + little32(0);
}

} // namespace

std::string little16(uint32_t number) {
    return {static_cast<char>(number), static_cast<char>(number >> 8U)};
}

std::string little32(uint32_t number) {
    return little16(number) + little16(number >> 16U);
}

std::string wide(const std::string &ascii) {
    std::string bytes;
    for (const char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

std::string oleFile(const std::vector<OleStream> &streams) {
    std::string mini;
    std::vector<uint32_t> miniTable;
    std::vector<uint32_t> starts;
    std::size_t sectors = (streams.size() + 1 + 3) / 4; // of the directory
    for (const OleStream &stream : streams) {
        const bool small = stream.bytes.size() < kMiniCutoff;
        starts.push_back(
            small ? addChain(miniTable, (stream.bytes.size() + kMiniSector - 1) / kMiniSector) : 0);
        mini += small ? padded(stream.bytes, kMiniSector) : "";
        sectors += small ? 0 : padded(stream.bytes, kSector).size() / kSector;
    }
    mini = padded(mini, kSector);
    const std::string miniTableBytes = tableBytes(miniTable);
    sectors += mini.size() / kSector + miniTableBytes.size() / kSector;
    const std::size_t tableSectors = (sectors + 126) / 127;

    std::vector<uint32_t> table(tableSectors, kTableSector);
    const uint32_t directoryStart = addChain(table, (streams.size() + 1 + 3) / 4);
    const uint32_t miniTableStart = addChain(table, miniTableBytes.size() / kSector);
    const uint32_t miniStart = addChain(table, mini.size() / kSector);
    std::string directory =
        entry("Root Entry", 5, kFree, streams.empty() ? kFree : 1, miniStart, mini.size());
    std::string data;
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const std::string &bytes = streams[i].bytes;
        if (bytes.size() >= kMiniCutoff) {
            const std::string whole = padded(bytes, kSector);
            starts[i] = addChain(table, whole.size() / kSector);
            data += whole;
        }
        const uint32_t right =
            i + 1 < streams.size() ? static_cast<uint32_t>(i) + 2 : uint32_t{kFree};
        directory += entry(streams[i].name, 2, right, kFree, starts[i], bytes.size());
    }

    std::string header("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    header.resize(24, '\0');
    header += little16(0x3E) + little16(3) + little16(0xFFFE) + little16(9) + little16(6);
    header.resize(44, '\0');
    header += little32(static_cast<uint32_t>(tableSectors)) + little32(directoryStart) +
              little32(0) + little32(kMiniCutoff) + little32(miniTableStart) +
              little32(miniTable.empty() ? 0 : 1) + little32(kEndOfChain) + little32(0);
    for (uint32_t i = 0; header.size() < kSector; ++i) {
        header += little32(i < tableSectors ? i : uint32_t{kFree});
    }
    return header + tableBytes(table) + padded(directory, kSector) + miniTableBytes + mini + data;
}

} // namespace qob::tests
