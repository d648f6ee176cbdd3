// SPDX-License-Identifier: MIT
// The quoted-printable decoder, line by line, soft breaks joined.
//
//  1. A body decodes to exactly what the plain decoder below makes of it, line ends included.
//  2. What is held back is zero from qpBufferUsed to qpBufferSize, and never more than was given.
//  3. The result is 0, or 3000 for nothing but memory.
//  4. No byte behind the line is read (address checker). Everything allocated is freed.
//  5. An encoded word comes out converted, at most 4 bytes for each of its own.
#include "emlcomm/quoted_printable.h"

#include <algorithm>
#include <memory>

#include "emlcomm/line_reader.h"
#include "routine_handle.h"

namespace {

unsigned digitValue(char c) {
    const std::string_view upper = "0123456789ABCDEF";
    const std::string_view lower = "0123456789abcdef";
    const size_t found = std::min(upper.find(c), lower.find(c));
    return found == std::string_view::npos ? static_cast<unsigned char>(c)
                                           : static_cast<unsigned>(found);
}

std::string plainDecode(std::string text) {
    const size_t length = text.size();
    text += std::string(2, '\0'); // what an escape reads behind the end
    std::string decoded;
    for (size_t i = 0; i < length; ++i) {
        if (text[i] == '=') {
            decoded += static_cast<char>(16 * digitValue(text[i + 1]) + digitValue(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

class PlainDecoder {
public:
    explicit PlainDecoder(std::string_view lineEnd) : lineEnd_(lineEnd) {}

    std::string take(std::string_view line, bool lineEnded) {
        const bool soft = !line.empty() && line.back() == '=';
        held_ += soft && lineEnded ? line.substr(0, line.size() - 1) : line;
        if (soft || !lineEnded) {
            return "";
        }
        std::string decoded = plainDecode(held_);
        held_.clear();
        const bool ownLineEnd =
            !decoded.empty() && (decoded.back() == '\r' || decoded.back() == '\n');
        return ownLineEnd ? decoded : decoded + std::string(lineEnd_);
    }
    const std::string &held() const { return held_; }

private:
    std::string_view lineEnd_;
    std::string held_ = {};
};

void requireSoundBuffer(const ExtractionHandle &handle, const PlainDecoder &plain) {
    require(std::string_view(handle.qpBuffer, handle.qpBufferUsed) == plain.held(),
            "the text held back is the plain decoder's");
    require(handle.qpBufferUsed <= handle.qpBufferSize, "the text held back fits");
    require(std::all_of(handle.qpBuffer + handle.qpBufferUsed,
                        handle.qpBuffer + handle.qpBufferSize, [](char c) { return c == '\0'; }),
            "the buffer behind the text held back is zero");
}

std::unique_ptr<char[]> exactCopy(std::string_view line) {
    auto copy = std::make_unique<char[]>(line.size());
    std::copy(line.begin(), line.end(), copy.get());
    return copy;
}

void decodeBody(RoutineHandle &routine) {
    ExtractionHandle *handle = &routine.handle;
    PlainDecoder plain(routine.host.behaviour.tmpLineEnd);
    std::string expected;
    routine.openTarget();
    while (eml::refillBlock(handle) == eml::Refill::kReady) {
        require(eml::readLine(handle) == EML_OK, "memory is there");
        const std::string_view line = eml::currentLine(handle);
        expected += plain.take(line, handle->lineEndSeen == 1);
        require(analyzeQF(handle, exactCopy(line).get(), static_cast<uint32_t>(line.size()),
                          routine.target, 0) == EML_OK,
                "a body line decodes");
        requireSoundBuffer(*handle, plain);
    }
    require(routine.closeTarget() == expected, "the decoded body is the plain decoder's");
}

// The text as one encoded word of a line that is longer, or shorter, or was cut.
void decodeWord(RoutineHandle &routine, std::string_view text) {
    ExtractionHandle *handle = &routine.handle;
    const uint8_t lineLength = takeByte(text);
    const std::string_view word = text.substr(0, kMaxLineLength);
    const uint64_t held = handle->qpBufferUsed;
    handle->lineLength = lineLength;
    handle->lineEndSeen = lineLength % 2;
    handle->encodedWordFlag = 1;
    const int32_t code = analyzeQF(handle, exactCopy(word).get(),
                                   static_cast<uint32_t>(word.size()), handle->outputFile, 1);
    require(code == EML_OK, "an encoded word decodes");
    require(routine.output().size() <= 4 * (held + word.size()), "a byte becomes 4 at the most");
    require(analyzeQF_Con(handle, word.data(), static_cast<uint32_t>(word.size())) == 0,
            "the decimal variant decodes");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input = readInput(data, size);
    input.settings.host.failing = Service::kNone;
    MemoryHost host(input.settings.host);
    RoutineHandle routine(host, input.settings);
    routine.load(input.text, 0);
    decodeBody(routine);
    decodeWord(routine, input.text);
    return 0;
}
