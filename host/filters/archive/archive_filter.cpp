// SPDX-License-Identifier: MIT
// The archive filter: ZIP, 7-Zip and tar archives, and gzip, bzip2 and xz files. Each regular file
// in it becomes a member, whose text the host extracts under its name; directories, links and
// devices are passed over.
//
// What can be read of a damaged archive stays; damage and encryption are reported once each,
// however many members they concern. Memory does not depend on the members' size. Everything that
// is unpacked is counted by the host before it is used.
#include <algorithm>
#include <string>

#include "archive_reader.h"
#include "charset.h"
#include "entry.h"
#include "member_name.h"
#include "members.h"
#include "packing.h"
#include "qob_limits.h"
#include "qob_notice.h"
#include "seven_zip_list.h"

namespace qob::archive {
namespace {

using filters::Extraction;
using filters::Members;

constexpr char kDamagedWithoutText[] = "the archive is damaged and gave no text";

// Entries in a row that are damaged, after which the rest is given up.
constexpr int kDamagedInARow = 1000;

class ArchiveWalk {
public:
    // `head` is the file, or its first bytes.
    ArchiveWalk(Extraction &extraction, std::string_view head)
        : extraction_(extraction), packing_(packingOf(head)),
          isEmpty_(isEmptyWhenUnpacked(packing_, head)), packedSize_(extraction.input.size()),
          reader_(extraction.inputPath, packing_), members_(extraction, packedSize_) {}

    int32_t run() {
        const int32_t code = walk();
        if (reader_.outOfMemory()) {
            return EML_ERR_MEMORY;
        }
        damaged_ = damaged_ || reader_.endedEarly() || (reader_.gaveNothing() && !isEmpty_);
        reportOnce();
        return code != EML_OK ? code : codeWithoutMembers();
    }

private:
    // EML_OK at the end, wherever that is; else the code to stop with.
    int32_t walk() {
        int damagedInARow = 0;
        while (extraction_.output.isOpen() && damagedInARow < kDamagedInARow) {
            const Step step = reader_.nextEntry();
            if (const int32_t code = countOverhead(); code != EML_OK) {
                return code;
            }
            if (isLast(step)) {
                return EML_OK;
            }
            if (step == Step::kDamaged) {
                damaged_ = true;
                ++damagedInARow;
                continue;
            }
            damagedInARow = 0;
            if (const int32_t code = readEntry(); code != EML_OK || broken_) {
                return code;
            }
        }
        return EML_OK;
    }

    bool isLast(Step step) {
        damaged_ = damaged_ || step == Step::kBroken;
        encrypted_ = encrypted_ || step == Step::kEncrypted;
        return step != Step::kOk && step != Step::kDamaged;
    }

    int32_t countOverhead() { return count(reader_.takeOverhead()); }

    // What is unpacked without becoming a member's content.
    int32_t count(uint64_t bytes) const {
        const int32_t code = bytes > 0 ? qob_limits_unpacked(bytes, packedSize_) : int32_t{EML_OK};
        return code != EML_OK ? code : qob_limits_time();
    }

    int32_t readEntry() {
        if (reader_.isEncrypted()) {
            encrypted_ = encrypted_ || reader_.isRegularFile();
            return EML_OK;
        }
        return reader_.isRegularFile() ? extractMember() : passOver();
    }

    int32_t extractMember() {
        if (const int32_t code = members_.begin(nameOfMember()); code != EML_OK) {
            return code;
        }
        ++membersRead_;
        const int32_t stopped = writeContent();
        // What is there is extracted, even when damage or a limit cut the rest.
        const int32_t code = members_.end();
        return stopped != EML_OK ? stopped : code;
    }

    int32_t writeContent() {
        std::string_view bytes;
        uint64_t gap = 0;
        while (readMore(bytes, gap)) {
            if (const int32_t code = writeZeros(gap); code != EML_OK) {
                return code;
            }
            if (const int32_t code = writeBytes(bytes); code != EML_OK) {
                return code;
            }
        }
        return EML_OK;
    }

    int32_t writeZeros(uint64_t count) {
        static constexpr char kZeros[kBlockSize] = {};
        while (count > 0) {
            const auto part = static_cast<std::size_t>(std::min<uint64_t>(count, sizeof kZeros));
            if (const int32_t code = members_.write({kZeros, part}); code != EML_OK) {
                return code;
            }
            count -= part;
        }
        return EML_OK;
    }

    int32_t writeBytes(std::string_view bytes) {
        while (!bytes.empty()) {
            if (const int32_t code = members_.write(bytes.substr(0, kBlockSize)); code != EML_OK) {
                return code;
            }
            bytes.remove_prefix(std::min(bytes.size(), kBlockSize));
        }
        return EML_OK;
    }

    // Reads the content of what is no file, so that libarchive does not unpack it uncounted.
    int32_t passOver() {
        std::string_view bytes;
        uint64_t gap = 0;
        while (readMore(bytes, gap)) {
            if (const int32_t code = count(bytes.size()); code != EML_OK) {
                return code;
            }
        }
        return EML_OK;
    }

    bool readMore(std::string_view &bytes, uint64_t &gap) {
        const Step step = reader_.nextBytes(bytes, gap);
        damaged_ = damaged_ || step == Step::kDamaged || step == Step::kBroken;
        encrypted_ = encrypted_ || step == Step::kEncrypted;
        broken_ = step == Step::kBroken || step == Step::kEncrypted;
        return step == Step::kOk;
    }

    std::string nameOfMember() const {
        const std::string stored = reader_.name();
        if (stored.empty() && reader_.isBare()) {
            return nameWithoutPacking(extraction_.inputPath);
        }
        return memberName(stored, packing_, filters::languageOf(extraction_.params));
    }

    void reportOnce() const {
        if (encrypted_) {
            filters::report(extraction_, QOB_ERR_ENCRYPTED,
                            membersRead_ == 0 ? "the archive is encrypted and needs a password"
                                              : "some files in the archive are encrypted and need "
                                                "a password");
        }
        if (damaged_) {
            filters::report(
                extraction_, QOB_ERR_DAMAGED,
                membersRead_ == 0
                    ? kDamagedWithoutText
                    : "the archive is damaged; the text of what could be read is there");
        }
    }

    // Damage and encryption fail the archive only when nothing of it could be read.
    int32_t codeWithoutMembers() const {
        if (membersRead_ > 0) {
            return EML_OK;
        }
        if (damaged_) {
            return QOB_ERR_DAMAGED;
        }
        return encrypted_ ? int32_t{QOB_ERR_ENCRYPTED} : int32_t{EML_OK};
    }

    Extraction &extraction_;
    Packing packing_;
    bool isEmpty_; // and rightly so
    uint64_t packedSize_;
    ArchiveReader reader_;
    Members members_;
    uint64_t membersRead_ = 0;
    bool damaged_ = false;
    bool encrypted_ = false;
    bool broken_ = false; // nothing more can be read
};

// EML_OK, or the code with which a 7-Zip archive is refused, which is reported then.
int32_t checkList(Extraction &extraction) {
    switch (listLength(extraction.input)) {
    case ListLength::kFine:
        return EML_OK;
    case ListLength::kTooLong:
        filters::report(extraction, EML_ERR_MEMORY,
                        "the archive's list of files is longer than 1 MiB and was not read");
        return EML_ERR_MEMORY;
    default:
        filters::report(extraction, QOB_ERR_DAMAGED, kDamagedWithoutText);
        return QOB_ERR_DAMAGED;
    }
}

int32_t extractArchive(Extraction &extraction) {
    const Utf8Names names;
    if (packingOf(extraction.input.read()) == Packing::kSevenZip) {
        if (const int32_t code = checkList(extraction); code != EML_OK) {
            return code;
        }
    }
    if (!extraction.input.rewind(0)) {
        return EML_ERR_INPUT;
    }
    return ArchiveWalk(extraction, extraction.input.read()).run();
}

} // namespace
} // namespace qob::archive

int32_t qob::filters::extractInput(Extraction &extraction) {
    return qob::archive::extractArchive(extraction);
}
