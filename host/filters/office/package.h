// SPDX-License-Identifier: MIT
// The zip file that an office document is: its members by name, in any order, in bounded memory.
//
// Members that the caller names at the start (small ones that are needed out of order) are kept in
// memory as far as there is room; the others are read from the file when they are asked for. A file
// whose directory is lost is read from its start as far as it goes. Everything unpacked is counted
// against the limits of the extraction; once one is reached, nothing more is unpacked.
#ifndef QOB_FILTERS_OFFICE_PACKAGE_H
#define QOB_FILTERS_OFFICE_PACKAGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qob_txeml.h"

struct archive;
struct archive_entry;

namespace qob::filters::office {

// A member's name as it is compared: with '/' between folders and none at the start, ASCII letters
// in lower case.
std::string memberKey(std::string_view name);

class Package {
public:
    // Says of a member's key whether the member should be kept in memory.
    using Wanted = bool (*)(std::string_view key);
    // Takes a piece of a member; false when no more is wanted.
    using Taker = std::function<bool(std::string_view)>;

    // Reads the directory of the file and the wanted members. The path must outlive the object.
    Package(const char *path, Wanted wanted);

    // The members' keys in the order of the file; of several with one name the first.
    const std::vector<std::string> &keys() const { return keys_; }
    bool has(std::string_view name) const;

    // The member's name with its letters as they are, for people; "" when there is none.
    std::string_view nameOf(std::string_view key) const;

    // Gives the member's bytes to `take`, in pieces of at most 2 MiB. A member that is not there
    // has none; what a damaged member still has is given.
    void read(std::string_view name, const Taker &take) { read(name, Counting::kHere, take); }
    // The same for a taker that counts the bytes against the limits by itself.
    void readUncounted(std::string_view name, const Taker &take) {
        read(name, Counting::kByTaker, take);
    }

    // EML_OK, or the limit of the extraction that ended the reading.
    int32_t limit() const { return limit_; }
    // A member or the directory could not be read to its end.
    bool damaged() const { return damaged_; }
    // A member is there that needs a password.
    bool encrypted() const { return encrypted_; }

private:
    struct ArchiveCloser {
        void operator()(archive *handle) const;
    };

    struct Member {
        std::size_t position; // in the file, counted from 0
        std::string name;
        std::unique_ptr<std::string> kept; // its bytes, when they are in memory
    };

    enum class Counting { kHere, kByTaker };

    void read(std::string_view name, Counting counting, const Taker &take);
    bool open(bool byDirectory);
    void survey(Wanted wanted);
    void addMember(archive_entry *entry, Wanted wanted);
    std::unique_ptr<std::string> keep();
    archive_entry *next();
    bool seek(std::size_t position);
    void readEntry(Counting counting, const Taker &take);
    bool counted(std::size_t bytes);
    const Member *find(std::string_view name) const;

    const char *path_;
    uint64_t packedSize_ = 0;
    std::unique_ptr<archive, ArchiveCloser> archive_;
    bool byDirectory_ = true;
    std::size_t nextPosition_ = 0; // of the header that is read next
    std::vector<std::string> keys_;
    std::unordered_map<std::string, Member> members_;
    std::size_t keptBytes_ = 0;
    int32_t limit_ = EML_OK;
    bool damaged_ = false;
    bool encrypted_ = false;
};

} // namespace qob::filters::office

#endif
