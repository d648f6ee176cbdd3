// SPDX-License-Identifier: MIT
// See archive_writer.h.
#include "archive_writer.h"

#include <locale.h>

#include <memory>
#include <stdexcept>

namespace qob::tests {
namespace {

la_ssize_t append(archive * /*writer*/, void *bytes, const void *data, std::size_t length) {
    static_cast<std::string *>(bytes)->append(static_cast<const char *>(data), length);
    return static_cast<la_ssize_t>(length);
}

struct WriteCloser {
    void operator()(archive *writer) const { archive_write_free(writer); }
};
struct EntryCloser {
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};
using WriteHandle = std::unique_ptr<archive, WriteCloser>;
using EntryHandle = std::unique_ptr<archive_entry, EntryCloser>;

// libarchive converts names into the charset of the thread's locale.
class LocaleGuard {
public:
    explicit LocaleGuard(const char *name)
        : locale_(newlocale(LC_CTYPE_MASK, name, nullptr)), outer_(uselocale(locale_)) {}
    ~LocaleGuard() {
        uselocale(outer_);
        freelocale(locale_);
    }
    LocaleGuard(const LocaleGuard &) = delete;
    LocaleGuard &operator=(const LocaleGuard &) = delete;

private:
    locale_t locale_;
    locale_t outer_;
};

void check(archive *writer, int result) {
    if (result != ARCHIVE_OK) {
        const char *reason = archive_error_string(writer);
        throw std::runtime_error(reason != nullptr ? reason : "the archive cannot be written");
    }
}

WriteHandle opened(const ArchiveStyle &style, std::string &bytes) {
    WriteHandle writer(archive_write_new());
    check(writer.get(), archive_write_set_format(writer.get(), style.format));
    check(writer.get(), archive_write_add_filter(writer.get(), style.filter));
    if (style.options != nullptr) {
        check(writer.get(), archive_write_set_options(writer.get(), style.options));
    }
    if (style.password != nullptr) {
        check(writer.get(), archive_write_set_passphrase(writer.get(), style.password));
    }
    check(writer.get(), archive_write_set_bytes_in_last_block(writer.get(), 1));
    check(writer.get(), archive_write_open(writer.get(), &bytes, nullptr, append, nullptr));
    return writer;
}

EntryHandle headerOf(const Entry &entry) {
    EntryHandle header(archive_entry_new());
    archive_entry_copy_pathname(header.get(), entry.name.c_str());
    archive_entry_set_filetype(header.get(), entry.type);
    archive_entry_set_perm(header.get(), 0644);
    archive_entry_set_size(header.get(), static_cast<la_int64_t>(entry.content.size()));
    if (entry.type == AE_IFLNK) {
        archive_entry_copy_symlink(header.get(), entry.linkTarget.c_str());
    } else if (!entry.linkTarget.empty()) {
        archive_entry_copy_hardlink(header.get(), entry.linkTarget.c_str());
    }
    return header;
}

} // namespace

std::string archiveOf(const std::vector<Entry> &entries, const ArchiveStyle &style) {
    const LocaleGuard locale(style.rawNames ? "C" : "C.UTF-8");
    std::string bytes;
    const WriteHandle writer = opened(style, bytes);
    for (const Entry &entry : entries) {
        check(writer.get(), archive_write_header(writer.get(), headerOf(entry).get()));
        if (archive_write_data(writer.get(), entry.content.data(), entry.content.size()) < 0) {
            check(writer.get(), ARCHIVE_FATAL);
        }
    }
    check(writer.get(), archive_write_close(writer.get()));
    return bytes;
}

std::string compressed(std::string_view bytes, int filter) {
    std::string packed;
    const WriteHandle writer = opened({ARCHIVE_FORMAT_RAW, filter}, packed);
    check(writer.get(), archive_write_header(writer.get(), headerOf({"data", ""}).get()));
    archive_write_data(writer.get(), bytes.data(), bytes.size());
    check(writer.get(), archive_write_close(writer.get()));
    return packed;
}

std::string compressedRun(char byte, std::size_t mebibytes, int filter) {
    const std::string piece(std::size_t{1} << 20U, byte);
    std::string packed;
    const WriteHandle writer = opened({ARCHIVE_FORMAT_RAW, filter}, packed);
    check(writer.get(), archive_write_header(writer.get(), headerOf({"data", ""}).get()));
    for (std::size_t i = 0; i < mebibytes; ++i) {
        archive_write_data(writer.get(), piece.data(), piece.size());
    }
    check(writer.get(), archive_write_close(writer.get()));
    return packed;
}

} // namespace qob::tests
