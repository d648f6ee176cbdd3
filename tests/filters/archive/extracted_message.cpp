// SPDX-License-Identifier: MIT
// See extracted_message.h.
#include "extracted_message.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

namespace qob::tests {
namespace {

constexpr std::string_view kBody = "See the attachments.\n";

std::string base64(std::string_view bytes) {
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8U |
                    (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            const bool filled = i + k <= bytes.size();
            text.push_back(filled ? kAlphabet[group >> (18 - 6 * k) & 63U] : '=');
        }
        if (i % 57 == 54) {
            text.push_back('\n');
        }
    }
    return text;
}

int32_t take(void *context, const void *data, uint32_t length) {
    static_cast<std::string *>(context)->append(static_cast<const char *>(data), length);
    return 1;
}

void collect(void *context, const QobNotice *notice) {
    static_cast<std::vector<AttachmentNotice> *>(context)->push_back(
        {notice->attachmentNumber, notice->code, notice->reason});
}

// A descriptor that reads the bytes.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : descriptor_(memfd_create("message", 0)) {
        if (descriptor_ < 0 ||
            write(descriptor_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
            throw std::runtime_error("no file for the message");
        }
        lseek(descriptor_, 0, SEEK_SET);
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace

std::string messageWith(const std::vector<Attached> &attachments) {
    std::string message = "From: ann@example.org\nSubject: Attachments\nMIME-Version: 1.0\n"
                          "Content-Type: multipart/mixed; boundary=\"part\"\n\n"
                          "--part\nContent-Type: text/plain\n\n" +
                          std::string(kBody);
    for (const Attached &one : attachments) {
        message += "--part\nContent-Type: application/octet-stream; name=\"" + one.name +
                   "\"\nContent-Disposition: attachment; filename=\"" + one.name +
                   "\"\nContent-Transfer-Encoding: base64\n\n" + base64(one.content) + "\n\n";
    }
    return message + "--part--\n";
}

Extracted extractedMessage(const std::vector<Attached> &attachments,
                           const std::function<void(QobExtractOptions &)> &adjust) {
    Extracted extracted;
    const QobErrorCallback callback{collect, &extracted.notices};
    const QobSink sink{take, &extracted.text};
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof options);
    options.callback = &callback;
    if (adjust) {
        adjust(options);
    }
    const MemoryFile message(messageWith(attachments));
    extracted.code =
        qob_extract_descriptor(message.descriptor(), "message.eml", &sink, &options, nullptr);
    const std::size_t body = extracted.text.find(kBody);
    extracted.text.erase(0, body == std::string::npos ? 0 : body + kBody.size());
    return extracted;
}

std::string extractedFile(const std::string &path) {
    std::string text;
    const QobSink sink{take, &text};
    qob_extract(path.c_str(), &sink, nullptr, nullptr);
    return text;
}

} // namespace qob::tests
