// SPDX-License-Identifier: MIT
// The structure of a TNEF stream: its attributes one after the other, and the MAPI properties that
// two of them consist of. Only places in the file are recorded, no content is read.
//
// This is read here and not by libytnef, which gives a whole message up for a subject or a file
// name of more than 100 bytes or a value of more than 512 KiB, and says so on the standard output.
#ifndef QOB_FILTERS_TNEF_STREAM_H
#define QOB_FILTERS_TNEF_STREAM_H

#include <cstdint>

#include "tnef_file.h"

namespace qob::tnef {

// A piece of text somewhere in the file.
struct Text {
    Range range;
    bool isUtf16 = false; // else in the code page of the container

    bool isEmpty() const { return range.size == 0; }
};

// What a message consists of.
struct MessageParts {
    Text subject;
    Text plainBody;
    Range compressedRtf;
    Text htmlBody;
    uint32_t htmlCodePage = 0; // 0: not told
    uint32_t codePage = 0;     // of 8-bit texts; 0: not told
};

// What an attachment consists of.
struct AttachmentParts {
    Text longName;
    Text shortName; // as MAPI has it
    Text title;     // the name as TNEF itself has it
    Text displayName;
    Range data;
    Range object; // a message or a document in place of the data
    Range binary; // the data as MAPI has it
};

class TnefStream {
public:
    explicit TnefStream(TnefFile &file);

    // Reads the message's parts, from the whole stream.
    MessageParts message();

    // The first attachment behind a call of message(), or the next one. False behind the last.
    bool nextAttachment(AttachmentParts &parts);

    // The stream is none, ends early, or has properties that cannot be read.
    bool isDamaged() const { return damaged_; }

private:
    struct Attribute {
        uint16_t id = 0;
        Range data;
    };

    void restart();
    bool next(Attribute &attribute);
    void addToMessage(const Attribute &attribute, MessageParts &parts);
    void addProperties(Range list, MessageParts &parts);
    void addToAttachment(const Attribute &attribute, AttachmentParts &parts);
    void addProperties(Range list, AttachmentParts &parts);

    TnefFile &file_;
    Cursor cursor_;
    bool damaged_ = false;
    bool inAttachment_ = false; // the attribute that begins an attachment has been read
};

} // namespace qob::tnef

#endif
