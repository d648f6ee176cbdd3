// SPDX-License-Identifier: MIT
// A handle with one more file, into which a part is decoded, and the decoders' calls on it.
#ifndef QOB_TESTS_PART_FILE_H
#define QOB_TESTS_PART_FILE_H

#include <string>
#include <string_view>

#include "emlcomm/base64.h"
#include "emlcomm/quoted_printable.h"
#include "support/exact_text.h"
#include "support/filter_fixture.h"

inline constexpr const char *kPartName = "/tmp/part";

// How a line handed to the decoder ended in the input.
enum class End { kLineEnd, kCut };

struct PartFile : FilterFixture {
    PartFile() : part(QOB_FileOpen(kPartName, "wb")) {
        // Line ends tell where they came from.
        host.lineEnd = "<out>";
        host.tmpLineEnd = "\r\n";
        host.calls.clear();
        host.counts.clear();
    }
    ~PartFile() { QOB_FileClose(part); }
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    // Hands one input line to the quoted-printable decoder, into the part or converted.
    int32_t quotedLine(std::string_view text, End end = End::kLineEnd) {
        return quoted(text, end, part, 0);
    }
    int32_t convertedLine(std::string_view text, End end = End::kLineEnd) {
        return quoted(text, end, handle.outputFile, 1);
    }
    int32_t quoted(std::string_view text, End end, QobFile *target, uint32_t convert) {
        const std::vector<char> line = exactBytes(text);
        handle.lineLength = static_cast<int32_t>(text.size());
        handle.lineEndSeen = end == End::kLineEnd ? 1 : 0;
        return analyzeQF(&handle, line.data(), static_cast<uint32_t>(text.size()), target, convert);
    }

    // Hands one input line to the base64 body decoder while the input goes on with `following`.
    int32_t base64Line(std::string_view text, std::string_view following) {
        load(following);
        const std::vector<char> line = exactBytes(text);
        return analyzeBase64_tmpfile(&handle, line.data(), static_cast<uint32_t>(text.size()),
                                     part);
    }

    // What the part's file holds by now.
    std::string written() const { return host.files.at(kPartName); }

    QobFile *part;
};

#endif
