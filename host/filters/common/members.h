// SPDX-License-Identifier: MIT
// What a container brings: each member under its name, with the text that the host extracts from it
// by recursion. Serves every filter that unpacks files; the limits of the extraction are asked
// here.
#ifndef QOB_FILTERS_MEMBERS_H
#define QOB_FILTERS_MEMBERS_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "entry.h"
#include "qob_notice.h"

namespace qob::filters {

class Members {
public:
    // `packedSize` is the container's size in bytes, for the ratio of unpacked to packed; 0: of the
    // input file, as it is. The extraction must outlive the object.
    explicit Members(Extraction &extraction, uint64_t packedSize = 0);
    // Removes the file of a member that was begun and not handed over.
    ~Members();
    Members(const Members &) = delete;
    Members &operator=(const Members &) = delete;

    // Begins a member. `name` is UTF-8, as the container has it; directories in it, "..", control
    // codes and the like are of no meaning: the name is only ever printed, and its ending helps to
    // tell the type. EML_OK, a QOB_ERR_* limit, or EML_ERR_SHORT_WRITE without a temporary file.
    int32_t begin(std::string_view name);

    // More of the member's bytes. EML_OK, a limit, or EML_ERR_SHORT_WRITE.
    int32_t write(std::string_view bytes);

    // Writes the member's name on a line of its own (unless labels are off) and hands the file to
    // the host (unless attachments are off); its text follows, then an empty line. EML_OK also when
    // the member has no text or failed and the extraction goes on without it (EML_FLAG_KEEP_GOING):
    // the host reports that under the member's name. Otherwise the code to stop with. A member of
    // which a limit cut the rest is to be ended too: what is there is extracted.
    int32_t end();

    // Drops a member that was begun: nothing is printed.
    void abandon();

private:
    static void relay(void *context, const QobNotice *notice);
    std::string namedReason(const char *reason) const;
    int32_t closeFile();
    int32_t handOver();

    Extraction &extraction_;
    uint64_t packedSize_;
    QobErrorCallback callback_;
    std::unique_ptr<SessionRecord> session_; // its number is that of the next member
    std::string name_;                       // as it is printed
    std::string path_;                       // of the file; empty: no member was begun
    QobFile *file_ = nullptr;
};

// A member's name as it may be printed: valid UTF-8 on one line, U+FFFD for what is not, at most
// 1,024 bytes.
std::string printableName(std::string_view name);

} // namespace qob::filters

#endif
