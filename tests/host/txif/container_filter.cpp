// SPDX-License-Identifier: MIT
// A filter for containers that does what its input says, one command a line behind the first one
// (a signature of an archive):
//
//   member NAME   begins a member
//   text LINE     writes the line into it
//   bytes COUNT   writes that many letters into it
//   end           hands it over
//   abandon       drops it
//   say TEXT      writes text of the container itself, without a line end
//   letters COUNT the same, so many letters
//   wait MS       moves the clock of the test program
//
// A code ends the run with it; what was begun of a member is handed over first.
#include <algorithm>
#include <string>

#include "fake_clock.h"
#include "members.h"

namespace {

using qob::filters::Extraction;
using qob::filters::Members;

std::string wholeInput(Extraction &extraction) {
    std::string all;
    for (std::string_view piece = extraction.input.read(); !piece.empty();
         piece = extraction.input.read()) {
        all += piece;
    }
    return all;
}

int32_t obey(Extraction &extraction, Members &members, std::string_view line) {
    const std::string command(line.substr(0, line.find(' ')));
    const std::string argument(line.substr(std::min(line.size(), command.size() + 1)));
    if (command == "member") {
        return members.begin(argument);
    }
    if (command == "text") {
        return members.write(argument + "\n");
    }
    if (command == "bytes") {
        return members.write(std::string(std::stoul(argument), 'x'));
    }
    if (command == "end") {
        return members.end();
    }
    if (command == "abandon") {
        members.abandon();
    } else if (command == "say") {
        extraction.output.append(argument);
    } else if (command == "letters") {
        extraction.output.append(std::string(std::stoul(argument), 'x'));
    } else if (command == "wait") {
        advanceClockOfProgram(std::stoll(argument));
    }
    return EML_OK;
}

int32_t extractContainer(Extraction &extraction) {
    const std::string script = wholeInput(extraction);
    Members members(extraction);
    std::size_t at = script.find('\n');
    while (at != std::string::npos && ++at < script.size()) {
        const std::size_t end = script.find('\n', at);
        const std::string_view line = std::string_view(script).substr(at, end - at);
        if (const int32_t code = obey(extraction, members, line); code != EML_OK) {
            members.end();
            return code;
        }
        at = end;
    }
    return EML_OK;
}

} // namespace

int32_t qob::filters::extractInput(Extraction &extraction) {
    return ::extractContainer(extraction);
}
