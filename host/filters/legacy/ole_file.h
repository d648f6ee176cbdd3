// SPDX-License-Identifier: MIT
// The container of documents of before 2007: a small file system. Read as far as telling what kind
// of document is in it needs: the names in its root, and the beginnings of streams. The
// steps along its chains are counted, and nothing is kept of the file but its names.
#ifndef QOB_FILTERS_LEGACY_OLE_FILE_H
#define QOB_FILTERS_LEGACY_OLE_FILE_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qob_host.h"

namespace qob::filters {

struct OleEntry {
    std::string name; // ASCII; other characters are '?'
    bool isStream;
    uint32_t start; // first sector
    uint64_t size;  // bytes
};

class OleFile {
public:
    explicit OleFile(const char *path);
    ~OleFile();
    OleFile(const OleFile &) = delete;
    OleFile &operator=(const OleFile &) = delete;

    // Reads the directory. False when the file is no such container or its directory is damaged.
    bool open();

    // The entries of the root.
    const std::vector<OleEntry> &entries() const { return entries_; }
    const OleEntry *find(std::string_view name) const;

    // The first bytes of a stream, at most `length`; fewer when the stream or the file ends.
    std::string beginning(const OleEntry &stream, std::size_t length);

private:
    struct Node; // an entry of the directory, with its place in the tree

    bool readHeader();
    bool readDirectory(std::vector<Node> &nodes);
    void collectRoot(const std::vector<Node> &nodes);
    bool readAt(uint64_t offset, void *bytes, std::size_t length);
    bool readSector(uint32_t sector, std::vector<uint8_t> &bytes);
    uint32_t nextSector(uint32_t sector);
    uint32_t nextMiniSector(uint32_t sector);
    bool readEntryOf(uint32_t tableSector, uint32_t index, uint32_t &value);
    uint32_t sectorOfTable(uint32_t index);
    uint32_t sectorInChain(uint32_t start, uint64_t index);
    std::string beginningOfMini(const OleEntry &stream, std::size_t length);

    QobFile *file_;
    uint64_t fileSize_ = 0;
    uint32_t sectorSize_ = 0;
    uint32_t maxSectors_ = 0;
    uint32_t directoryStart_ = 0;
    uint32_t miniCutoff_ = 0;
    uint32_t miniTableStart_ = 0;
    uint32_t tableOfTables_ = 0; // first sector of the table's sectors beyond the header's
    std::array<uint32_t, 109> tableSectors_{};
    uint32_t miniStreamStart_ = 0;
    uint32_t tableReads_ = 0;
    std::vector<OleEntry> entries_;
};

} // namespace qob::filters

#endif
