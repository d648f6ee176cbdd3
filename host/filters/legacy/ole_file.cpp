// SPDX-License-Identifier: MIT
// See ole_file.h. Numbers are little endian; sector n lies at (n + 1) x the sector's size.
#include "ole_file.h"

#include <algorithm>

namespace qob::filters {
namespace {

constexpr std::array<uint8_t, 8> kSignature{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::size_t kHeaderSize = 512;
constexpr std::size_t kEntrySize = 128;
constexpr uint32_t kMaxRegularSector = 0xFFFFFFFA;
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kNoEntry = 0xFFFFFFFF;
constexpr uint32_t kMiniSectorSize = 64;
// Directories of real documents have some dozens of entries.
constexpr std::size_t kMaxNodes = 65536;
constexpr std::size_t kMaxBeginning = 65536;
// Steps along chains, over all; a file made of long chains ends here.
constexpr uint32_t kMaxTableReads = 500000;

constexpr uint8_t kStorage = 1;
constexpr uint8_t kStream = 2;
constexpr uint8_t kRoot = 5;

uint32_t number16(const uint8_t *bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8U;
}

uint32_t number32(const uint8_t *bytes) {
    return number16(bytes) | number16(bytes + 2) << 16U;
}

} // namespace

struct OleFile::Node {
    OleEntry entry;
    uint8_t type;
    uint32_t left;
    uint32_t right;
    uint32_t child;
};

namespace {

std::string nameOf(const uint8_t *bytes) {
    const uint32_t length = std::min<uint32_t>(number16(bytes + 64), 64);
    std::string name;
    for (uint32_t i = 0; i + 2 < length; i += 2) {
        const uint32_t unit = number16(bytes + i);
        name += unit > 0 && unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return name;
}

} // namespace

OleFile::OleFile(const char *path) : file_(QOB_FileOpen(path, "rb")) {
    if (file_ != nullptr) {
        fileSize_ = QOB_FileTellSize(file_);
    }
}

OleFile::~OleFile() {
    if (file_ != nullptr) {
        QOB_FileClose(file_);
    }
}

bool OleFile::open() {
    std::vector<Node> nodes;
    if (file_ == nullptr || !readHeader() || !readDirectory(nodes)) {
        return false;
    }
    collectRoot(nodes);
    return true;
}

const OleEntry *OleFile::find(std::string_view name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [name](const OleEntry &entry) { return entry.name == name; });
    return found != entries_.end() ? &*found : nullptr;
}

bool OleFile::readAt(uint64_t offset, void *bytes, std::size_t length) {
    if (offset > INT32_MAX || QOB_FileSeek(file_, static_cast<int32_t>(offset), 0) != 0) {
        return false;
    }
    const auto count = static_cast<int32_t>(length);
    return QOB_FileRead(bytes, 1, count, file_) == count;
}

bool OleFile::readHeader() {
    std::array<uint8_t, kHeaderSize> header;
    if (!readAt(0, header.data(), header.size()) ||
        !std::equal(kSignature.begin(), kSignature.end(), header.begin())) {
        return false;
    }
    const uint32_t shift = number16(header.data() + 0x1E);
    if (shift != 9 && shift != 12) {
        return false;
    }
    sectorSize_ = 1U << shift;
    maxSectors_ = static_cast<uint32_t>(fileSize_ / sectorSize_) + 1;
    directoryStart_ = number32(header.data() + 0x30);
    miniCutoff_ = number32(header.data() + 0x38);
    miniTableStart_ = number32(header.data() + 0x3C);
    tableOfTables_ = number32(header.data() + 0x44);
    for (std::size_t i = 0; i < tableSectors_.size(); ++i) {
        tableSectors_[i] = number32(header.data() + 0x4C + 4 * i);
    }
    return true;
}

bool OleFile::readSector(uint32_t sector, std::vector<uint8_t> &bytes) {
    if (sector >= kMaxRegularSector) {
        return false;
    }
    bytes.resize(sectorSize_);
    return readAt((uint64_t{sector} + 1) * sectorSize_, bytes.data(), bytes.size());
}

bool OleFile::readEntryOf(uint32_t tableSector, uint32_t index, uint32_t &value) {
    std::array<uint8_t, 4> bytes;
    if (tableSector >= kMaxRegularSector || ++tableReads_ > kMaxTableReads ||
        !readAt((uint64_t{tableSector} + 1) * sectorSize_ + uint64_t{index} * 4, bytes.data(),
                bytes.size())) {
        return false;
    }
    value = number32(bytes.data());
    return true;
}

// Which sector holds the index-th part of the sector table.
uint32_t OleFile::sectorOfTable(uint32_t index) {
    if (index < tableSectors_.size()) {
        return tableSectors_[index];
    }
    const uint32_t perSector = sectorSize_ / 4 - 1;
    uint32_t left = index - static_cast<uint32_t>(tableSectors_.size());
    uint32_t sector = tableOfTables_;
    for (; left >= perSector; left -= perSector) {
        if (!readEntryOf(sector, perSector, sector)) {
            return kEndOfChain;
        }
    }
    uint32_t value = kEndOfChain;
    return readEntryOf(sector, left, value) ? value : kEndOfChain;
}

uint32_t OleFile::nextSector(uint32_t sector) {
    const uint32_t perSector = sectorSize_ / 4;
    uint32_t next = kEndOfChain;
    if (sector >= maxSectors_ ||
        !readEntryOf(sectorOfTable(sector / perSector), sector % perSector, next)) {
        return kEndOfChain;
    }
    return next;
}

uint32_t OleFile::sectorInChain(uint32_t start, uint64_t index) {
    uint32_t sector = start;
    for (uint64_t i = 0; i < index && sector < maxSectors_; ++i) {
        if (i > maxSectors_) {
            return kEndOfChain;
        }
        sector = nextSector(sector);
    }
    return sector;
}

bool OleFile::readDirectory(std::vector<Node> &nodes) {
    std::vector<uint8_t> bytes;
    uint32_t sector = directoryStart_;
    for (uint32_t steps = 0; sector < kMaxRegularSector && steps < maxSectors_; ++steps) {
        if (!readSector(sector, bytes)) {
            break;
        }
        for (std::size_t at = 0; at + kEntrySize <= bytes.size() && nodes.size() < kMaxNodes;
             at += kEntrySize) {
            const uint8_t *raw = bytes.data() + at;
            nodes.push_back(
                {{nameOf(raw), raw[66] == kStream, number32(raw + 116), number32(raw + 120)},
                 raw[66],
                 number32(raw + 68),
                 number32(raw + 72),
                 number32(raw + 76)});
        }
        sector = nodes.size() < kMaxNodes ? nextSector(sector) : kEndOfChain;
    }
    return !nodes.empty() && nodes.front().type == kRoot;
}

// The root's children are a tree that hangs at its child; a damaged one may have circles.
void OleFile::collectRoot(const std::vector<Node> &nodes) {
    miniStreamStart_ = nodes.front().entry.start;
    std::vector<bool> seen(nodes.size(), false);
    std::vector<uint32_t> waiting{nodes.front().child};
    while (!waiting.empty()) {
        const uint32_t index = waiting.back();
        waiting.pop_back();
        if (index == kNoEntry || index >= nodes.size() || seen[index]) {
            continue;
        }
        seen[index] = true;
        const Node &node = nodes[index];
        if (node.type == kStorage || node.type == kStream) {
            entries_.push_back(node.entry);
        }
        waiting.push_back(node.left);
        waiting.push_back(node.right);
    }
}

std::string OleFile::beginning(const OleEntry &stream, std::size_t length) {
    length = static_cast<std::size_t>(
        std::min<uint64_t>({uint64_t{length}, stream.size, uint64_t{kMaxBeginning}}));
    if (stream.size < miniCutoff_) {
        return beginningOfMini(stream, length);
    }
    std::string found;
    std::vector<uint8_t> bytes;
    uint32_t sector = stream.start;
    for (uint32_t steps = 0; found.size() < length && steps < maxSectors_; ++steps) {
        if (!readSector(sector, bytes)) {
            break;
        }
        const std::size_t part = std::min(bytes.size(), length - found.size());
        found.append(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(part));
        sector = nextSector(sector);
    }
    return found;
}

// Small streams share one stream, in sectors of 64 bytes with a table of their own.
std::string OleFile::beginningOfMini(const OleEntry &stream, std::size_t length) {
    std::string found;
    uint32_t mini = stream.start;
    const uint32_t perSector = sectorSize_ / kMiniSectorSize;
    for (uint32_t steps = 0; found.size() < length && mini < kMaxRegularSector; ++steps) {
        if (steps > maxSectors_) {
            break;
        }
        const uint32_t sector = sectorInChain(miniStreamStart_, mini / perSector);
        std::array<char, kMiniSectorSize> bytes;
        if (sector >= maxSectors_ || !readAt((uint64_t{sector} + 1) * sectorSize_ +
                                                 uint64_t{mini % perSector} * kMiniSectorSize,
                                             bytes.data(), bytes.size())) {
            break;
        }
        found.append(bytes.data(), std::min(bytes.size(), length - found.size()));
        mini = nextMiniSector(mini);
    }
    return found;
}

uint32_t OleFile::nextMiniSector(uint32_t sector) {
    const uint32_t perSector = sectorSize_ / 4;
    uint32_t next = kEndOfChain;
    const uint32_t table = sectorInChain(miniTableStart_, sector / perSector);
    return table < maxSectors_ && readEntryOf(table, sector % perSector, next) ? next : kEndOfChain;
}

} // namespace qob::filters
