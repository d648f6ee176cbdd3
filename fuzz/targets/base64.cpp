// SPDX-License-Identifier: MIT
// The base64 decoders, line by line.
//
//  1. A body line writes exactly what the plain decoder below writes, pads counted as it counts
//     them.
//  2. Every decoder returns 0 or 3005, and 3000 for nothing but memory.
//  3. No byte behind the line is read, and none behind a buffer written (address checker).
//  4. Everything allocated is freed.
#include "emlcomm/base64.h"

#include <algorithm>
#include <memory>

#include "emlcomm/line_reader.h"
#include "routine_handle.h"

namespace {

// One line after the other, an obvious way: values first, then groups, then the count.
class PlainDecoder {
public:
    std::string decode(std::string_view line, bool dataEnds) {
        const bool counted = dataEnds && !line.empty() && line.back() == '=';
        std::vector<unsigned> values(line.size() + 4, 0);
        for (size_t i = 0; i < line.size(); ++i) {
            values[i] = valueOf(line[i], counted);
        }
        std::string bytes(line.size() + 4, '\0');
        const size_t groups = line.size() <= 4 ? 1 : (line.size() + 3) / 4;
        for (size_t group = 0; group < groups; ++group) {
            decodeGroup(&values[4 * group], &bytes[3 * group], group + 1 == groups);
        }
        const int64_t length = static_cast<int64_t>(line.size() / 4 * 3) - pads_;
        return bytes.substr(0, static_cast<size_t>(std::max<int64_t>(length, 0)));
    }

private:
    unsigned valueOf(char c, bool counted) {
        static constexpr std::string_view kAlphabet =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        const size_t position = kAlphabet.find(c);
        if (position != std::string_view::npos) {
            return static_cast<unsigned>(position);
        }
        if (c == '=') {
            pads_ += counted ? 1 : 0;
            return counted ? 0 : 64;
        }
        return c == '\0' && !counted ? 65 : 0;
    }

    void decodeGroup(const unsigned *v, char *out, bool last) const {
        out[0] = static_cast<char>(v[0] * 4 | v[1] / 16);
        if (last && pads_ == 2) {
            return;
        }
        out[1] = static_cast<char>(v[1] * 16 | v[2] / 4);
        if (last && pads_ == 1) {
            return;
        }
        out[2] = static_cast<char>(v[2] * 64 | v[3]);
    }

    int64_t pads_ = 0;
};

// The line in memory of exactly its size.
std::unique_ptr<char[]> exactCopy(std::string_view line) {
    auto copy = std::make_unique<char[]>(line.size());
    std::copy(line.begin(), line.end(), copy.get());
    return copy;
}

// Every line of the input, read as the walkers read it, into a file.
void decodeBody(RoutineHandle &routine) {
    ExtractionHandle *handle = &routine.handle;
    PlainDecoder plain;
    std::string expected;
    routine.openTarget();
    while (eml::refillBlock(handle) == eml::Refill::kReady) {
        require(eml::readLine(handle) == EML_OK, "memory is there");
        const std::string_view line = eml::currentLine(handle);
        const bool dataEnds = EnterRead(handle, handle->blockLength) == 0;
        expected += plain.decode(line, dataEnds);
        require(analyzeBase64_tmpfile(handle, exactCopy(line).get(),
                                      static_cast<uint32_t>(line.size()), routine.target) == EML_OK,
                "a body line decodes");
    }
    require(routine.closeTarget() == expected, "the decoded body is the plain decoder's");
}

// The first line as an encoded word, and as the variants that nobody calls take it.
void decodeOthers(RoutineHandle &routine, std::string_view text) {
    ExtractionHandle *handle = &routine.handle;
    const std::string_view word = text.substr(0, kMaxLineLength);
    const std::unique_ptr<char[]> copy = exactCopy(word);
    const auto length = static_cast<uint32_t>(word.size());
    const auto known = [](int32_t code) { return code == EML_OK || code == EML_ERR_LIMIT; };
    require(known(analyzeBase64(handle, copy.get(), length)), "an encoded word decodes");
    require(handle->base64PadCount == 0, "a conversion clears the pad count");
    routine.openTarget();
    require(known(analyzeBase64_aaaa(handle, copy.get(), length, routine.target)),
            "a line with a carried character decodes");
    require(known(analyzeBase64_aaaa(handle, copy.get(), length, routine.target)),
            "the next line decodes");
    require(analyzeBase64_tmpfileutf8(handle, copy.get(), length, routine.target) == EML_OK,
            "values are written");
    require(routine.closeTarget().size() == word.size(), "one value for each character");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input = readInput(data, size);
    input.settings.host.failing = Service::kNone;
    MemoryHost host(input.settings.host);
    RoutineHandle routine(host, input.settings);
    routine.load(input.text, 0);
    decodeBody(routine);
    decodeOthers(routine, input.text);
    return 0;
}
