// SPDX-License-Identifier: MIT
// One message through both entry points.
//
//  1. Both write the same text. One case is excepted: the encoded body of an untyped message
//     without a boundary is decoded into the output file, which stream mode has not got; there
//     the stream's text is the beginning of the file's.
//  2. Both come to the same code. The output limit, which only file mode reports, is excepted.
//  3. What holds for each of them alone holds here too.
//
// The host never fails here, as the two modes call its services in different numbers.
#include "message_run.h"

namespace {

bool begins(const std::string &text, const std::string &beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input = readInput(data, size);
    input.settings.host.failing = Service::kNone;
    const MessageRun toFile = runToFile(input);
    const MessageRun toStream = runToStream(input);
    if (losesBodyInStream(input)) {
        require(begins(toFile.text, toStream.text), "the stream has the beginning of the text");
    } else {
        require(toFile.text == toStream.text, "file and stream have the same text");
    }
    require(toFile.code == toStream.code || toFile.code == EML_ERR_LIMIT,
            "file and stream mode come to the same code");
    return 0;
}
