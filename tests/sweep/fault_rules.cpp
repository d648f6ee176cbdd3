// SPDX-License-Identifier: MIT
#include "fault_rules.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr int32_t kOk = EML_OK;
constexpr int32_t kNoBuf = EML_ERR_NOBUF;
constexpr int32_t kInput = EML_ERR_INPUT;
constexpr int32_t kOutput = EML_ERR_OUTPUT;
constexpr int32_t kShort = EML_ERR_SHORT_WRITE;
constexpr int32_t kMemory = EML_ERR_MEMORY;
constexpr int32_t kFormat = EML_ERR_FORMAT;

// EML_OK stands in a row where a run without the fault may end at the output limit, which a run
// that loses text need not reach.
const ServiceRule kRules[] = {
    {Service::kAllocate,
     {kOk, kMemory, kNoBuf},
     Effect::kOmits,
     "3000 for buffers, blocks and insert records; 12 where collected text or HTML to convert is "
     "read back; none for conversions, header values and digest entries, which lose their text"},
    {Service::kReallocate,
     {kOk, kMemory},
     Effect::kOmits,
     "the accumulation cannot grow: 3000 in a text body, nothing where the result is not looked "
     "at"},
    {Service::kOpen,
     {kOk, kInput, kOutput, kMemory},
     Effect::kOmits,
     "22 input and text files, 23 output, 3000 HTML files of bodies and mixed parts; digest "
     "entries go on"},
    {Service::kRead,
     {kOk, kFormat},
     Effect::kMisreads,
     "never looked at: what was not read is zero bytes; 3002 when the cut leaves an empty line "
     "before any field"},
    {Service::kWrite,
     {kOk, kShort, kMemory},
     Effect::kOmits,
     "output and decoded writes are not looked at; 24 for raw lines of HTML and attachments; 3000 "
     "for a document of many blocks whose file was given up"},
    {Service::kSeek, {kOk, kFormat}, Effect::kMisreads, "never looked at: another place is read"},
    {Service::kTell,
     {kOk, kInput},
     Effect::kOmits,
     "22 for the input; a temporary file whose size cannot be told counts as empty"},
    {Service::kTellSize, {kNoBuf}, Effect::kOmits, "no buffer has room for HTML to convert"},
    {Service::kClose, {}, Effect::kNone, "never looked at"},
    {Service::kFind, {}, Effect::kNone, "a free name is found"},
    {Service::kRemove, {}, Effect::kNone, "never looked at"},
    {Service::kTmpName,
     {kInput, kMemory},
     Effect::kOmits,
     "as for a file that cannot be opened; the entry point does without a directory"},
    {Service::kBoundTmpName, {kInput, kMemory}, Effect::kOmits, "the same"},
    {Service::kConverterSetUp, {kOk}, Effect::kOmits, "the piece of text is omitted"},
    {Service::kCharsetChange, {kOk}, Effect::kOmits, "the piece of text is omitted"},
    {Service::kConversion, {kOk}, Effect::kOmits, "the piece of text is omitted"},
    {Service::kLogOpen, {}, Effect::kNone, "without a log nothing is logged"},
    {Service::kInsert,
     {kOk, kHostError},
     Effect::kOmits,
     "the host's code ends the call, or is its result, or a digest goes on"},
    {Service::kStreamWrite, {kOk}, Effect::kOmits, "not looked at but for untyped bodies"},
};

bool contains(const std::string &text, const char *part) {
    return text.find(part) != std::string::npos;
}

bool isDigest(const SweptMessage &message) {
    return contains(message.text, "multipart/digest");
}

bool keepsGoing(const SweptMessage &message) {
    return (message.flags & EML_FLAG_KEEP_GOING) != 0;
}

bool endsWith(const std::string &text, const std::string &end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Bodies that are read without a walk over parts.
bool isWithoutParts(const SweptMessage &message) {
    return !contains(message.text, "; boundary=\"B\"\n\n") &&
           !contains(message.text, ";\n boundary=\"B\"\n");
}

// Alternatives report an HTML file that cannot be opened as they report a text file.
bool hasAlternatives(const SweptMessage &message) {
    return contains(message.text, "multipart/alternative") ||
           contains(message.text, "multipart/related");
}

std::optional<int32_t> codeOfOpen(const SweptMessage &message, const CleanRun &clean,
                                  const FaultSite &site) {
    if (site.path == "/mail/in.eml") {
        return kInput;
    }
    if (site.path == "/out/text") {
        return kOutput;
    }
    if (isDigest(message)) {
        return clean.run.code; // the entry is left out
    }
    return endsWith(site.path, ".htm") && !hasAlternatives(message) ? kMemory : kInput;
}

// A buffer for a temporary file that is read back.
std::optional<int32_t> codeOfReadingBack(const SweptMessage &message, const CleanRun &clean) {
    if (isWithoutParts(message)) {
        return contains(message.text, "text/html") || contains(message.text, "multipart/mixed\n")
                   ? std::nullopt // text or an earlier block's HTML
                   : std::optional(kNoBuf);
    }
    if (contains(message.text, "s\nContent-Type: multipart/mixed") && clean.run.code == EML_OK) {
        return kOk; // the text is lost
    }
    return std::nullopt;
}

std::optional<int32_t> codeOfAllocation(const SweptMessage &message, const Fault &fault,
                                        const CleanRun &clean, const FaultSite &site) {
    constexpr size_t kInsertRecord = sizeof(HostParams) + 1;
    if (fault.call <= 3 || site.before == Service::kSeek) {
        return kMemory; // the line buffer, the conversion buffer, a block of the input
    }
    if (site.before == Service::kTell && !fault.persistent) {
        return codeOfReadingBack(message, clean);
    }
    if (site.before == Service::kTellSize) {
        return kNoBuf;
    }
    if (site.inConversion && !fault.persistent && clean.run.code == EML_OK) {
        return kOk; // a conversion without its input copy gives nothing
    }
    const bool isRecord = site.size == kInsertRecord && contains(message.text, "text/html");
    return isRecord && isWithoutParts(message) ? std::optional(kMemory) : std::nullopt;
}

std::optional<int32_t> codeOfReallocation(const SweptMessage &message, const Fault &fault,
                                          const CleanRun &clean, const FaultSite &site) {
    if (site.firstBlock && !fault.persistent) {
        return clean.run.code; // of an encoded word, which is left out
    }
    const bool plainBody =
        isWithoutParts(message) && contains(message.text, "Content-Type: text/plain;");
    return plainBody && !site.firstBlock ? std::optional(kMemory) : std::nullopt;
}

// Writes of raw lines of HTML parts and attachments are looked at; those of what opens a document,
// of line ends, of decoded bytes and of documents converted to UTF-8 are not.
std::optional<int32_t> codeOfWrite(const SweptMessage &message, const Fault &fault,
                                   const CleanRun &clean, const FaultSite &site) {
    const bool toOutput = site.path == "/out/text";
    const bool opening = site.data == "<HTML>" || site.data.compare(0, 5, "<META") == 0;
    const bool converted =
        (contains(message.text, "charset=utf-7") || contains(message.text, "charset=hz-gb-2312")) &&
        site.path == clean.run.created.back();
    const bool ignored = toOutput || opening || converted || site.data == "\n" || isDigest(message);
    if (ignored && !fault.persistent && clean.run.code == EML_OK) {
        return kOk;
    }
    const bool encoded =
        contains(message.text, "quoted-printable") || contains(message.text, "base64");
    const bool raw = !ignored && !encoded && site.size > 1;
    const bool looked = endsWith(site.path, ".htm") || contains(site.path, "in.emlin.eml");
    const bool plainAlternative = contains(message.text, "text/plain");
    return raw && looked && !isWithoutParts(message) && !plainAlternative ? std::optional(kShort)
                                                                          : std::nullopt;
}

// A name that cannot be made is a file that cannot be opened: the one that has the name in a run
// without a fault.
std::optional<int32_t> codeOfName(const SweptMessage &message, Mode mode, const Fault &fault,
                                  const CleanRun &clean) {
    const bool boundNames = (message.flags & EML_FLAG_BOUND_TMPNAM) != 0;
    const bool boundService = fault.service == Service::kBoundTmpName;
    const bool ofEntryPoint =
        fault.call == 1 && boundService == (boundNames && mode == Mode::kFile);
    if (ofEntryPoint) {
        return fault.persistent ? std::nullopt : std::optional(clean.run.code);
    }
    const int number = fault.call + (boundNames && mode == Mode::kStream ? 1 : 0);
    const std::string name = (boundService ? "/tmp/b" : "/tmp/t") + std::to_string(number);
    const std::vector<std::string> &created = clean.run.created;
    const bool html = std::find(created.begin(), created.end(), name + ".htm") != created.end();
    return codeOfOpen(message, clean, {.path = html ? name + ".htm" : name});
}

int mostFilesLeft(const SweptMessage &message, const Fault &fault, const MessageRun &run) {
    int files = message.leaves.files + run.remains.failedRemovals;
    for (const LeftoverRule &leftover : leftoverRules()) {
        files += leftover.applies(message, fault, run.code) ? 1 : 0;
    }
    return files;
}

// The output file that a call must have left, by its code.
void expectOutput(const SweptMessage &message, const Fault &fault, const MessageRun &run) {
    const bool inputNotOpened = fault.service == Service::kOpen && fault.call == 1;
    const bool outputNotOpened = run.code == EML_ERR_OUTPUT;
    if (inputNotOpened || outputNotOpened) {
        EXPECT_EQ(run.output, kOldOutput) << "nothing was created";
        return;
    }
    const bool stored =
        run.code == kHostError && fault.service == Service::kInsert && keepsGoing(message);
    const bool kept = run.code == EML_OK || run.code == EML_ERR_LIMIT || stored;
    // The last removal of a failed call is that of the output.
    const bool cannotBeDeleted = fault.service == Service::kRemove;
    if (kept || !cannotBeDeleted) {
        EXPECT_EQ(run.output.has_value(), kept);
    }
}

// Whether `part` is `whole` with pieces left out.
bool isWholeWithGaps(const std::string &part, const std::string &whole) {
    size_t at = 0;
    for (const char c : part) {
        at = whole.find(c, at);
        if (at == std::string::npos) {
            return false;
        }
        ++at;
    }
    return true;
}

void expectText(Effect effect, const CleanRun &clean, const MessageRun &run) {
    if (effect == Effect::kNone) {
        EXPECT_EQ(run.code, clean.run.code);
        if (clean.run.output) {
            EXPECT_EQ(run.output, clean.run.output);
        }
    } else if (effect == Effect::kOmits && run.output && run.output != kOldOutput) {
        EXPECT_TRUE(isWholeWithGaps(*run.output, clean.wholeText))
            << *run.output << "\n---- is no part of ----\n"
            << clean.wholeText;
    }
}

} // namespace

const ServiceRule &ruleOf(Service service) {
    return *std::find_if(std::begin(kRules), std::end(kRules),
                         [service](const ServiceRule &rule) { return rule.service == service; });
}

std::optional<int32_t> certainCode(const SweptMessage &message, Mode mode, const Fault &fault,
                                   const CleanRun &clean, const FaultSite &site) {
    switch (fault.service) {
    case Service::kOpen:
        return codeOfOpen(message, clean, site);
    case Service::kTell:
        if (fault.call == 1) {
            return kInput;
        }
        return clean.run.code == EML_OK ? std::optional(kOk) : std::nullopt;
    case Service::kTellSize:
        return kNoBuf;
    case Service::kAllocate:
        return codeOfAllocation(message, fault, clean, site);
    case Service::kReallocate:
        return codeOfReallocation(message, fault, clean, site);
    case Service::kWrite:
        return codeOfWrite(message, fault, clean, site);
    case Service::kTmpName:
    case Service::kBoundTmpName:
        return codeOfName(message, mode, fault, clean);
    case Service::kInsert:
        if (clean.run.code != EML_OK) {
            return std::nullopt;
        }
        return isDigest(message) && !keepsGoing(message) ? kOk : kHostError;
    default:
        return std::nullopt;
    }
}

const std::vector<LeftoverRule> &leftoverRules() {
    static const std::vector<LeftoverRule> kLeftovers = {
        {"a failed quoted-printable decoding leaves the text file of a body",
         [](const SweptMessage &message, const Fault &fault, int32_t code) {
             return (fault.service == Service::kAllocate ||
                     fault.service == Service::kReallocate) &&
                    code == EML_ERR_MEMORY && contains(message.text, "Content-Type: text/plain;") &&
                    contains(message.text, "quoted-printable") &&
                    !contains(message.text, "multipart/");
         }},
        {"a mixed part that is misread up to the end of the file leaves its encoded text",
         [](const SweptMessage &message, const Fault &fault, int32_t) {
             return ruleOf(fault.service).effect == Effect::kMisreads &&
                    contains(message.text, "multipart/") &&
                    contains(message.text, "Content-Transfer-Encoding:");
         }},
    };
    return kLeftovers;
}

void expectReleased(const Remains &remains) {
    EXPECT_EQ(remains.blocks, 0U) << "allocations";
    EXPECT_EQ(remains.openLogs, 0);
    EXPECT_EQ(remains.openConverters, 0);
    for (const std::string &misuse : remains.misuse) {
        ADD_FAILURE() << misuse;
    }
}

void expectRuled(const SweptMessage &message, Mode mode, const Fault &fault, const CleanRun &clean,
                 const MessageRun &run) {
    const ServiceRule &rule = ruleOf(fault.service);
    ASSERT_TRUE(run.site.has_value());
    EXPECT_TRUE(run.code == clean.run.code || rule.codes.contains(run.code))
        << "code " << run.code << "; " << rule.reason;
    const std::optional<int32_t> code = certainCode(message, mode, fault, clean, *run.site);
    EXPECT_EQ(run.code, code.value_or(run.code)) << rule.reason << "; " << run.site->path;
    if (mode == Mode::kFile) {
        expectOutput(message, fault, run);
    }
    expectText(rule.effect, clean, run);
    expectReleased(run.remains);
    EXPECT_LE(run.remains.openFiles, message.leaves.openFiles) << "open files";
    EXPECT_LE(static_cast<int>(run.remains.files.size()), mostFilesLeft(message, fault, run))
        << "left behind: " << testing::PrintToString(run.remains.files);
    // A failure does not make a call go round in circles.
    EXPECT_LE(run.allCalls, 3 * clean.run.allCalls + 1000);
}

CleanRun cleanRun(const SweptMessage &message, Mode mode) {
    SweptMessage unlimited = message;
    unlimited.options &= ~EML_OPT_LIMIT_OUTPUT;
    return {runMessage(message, mode), runMessage(unlimited, mode).output.value_or("")};
}

void expectClean(const SweptMessage &message, Mode mode, const MessageRun &run) {
    const bool limited = message.code == EML_ERR_LIMIT;
    EXPECT_EQ(run.code, mode == Mode::kStream && limited ? EML_OK : message.code);
    expectReleased(run.remains);
    EXPECT_EQ(static_cast<int>(run.remains.files.size()), message.leaves.files)
        << testing::PrintToString(run.remains.files) << message.leaves.reason;
    EXPECT_EQ(run.remains.openFiles, message.leaves.openFiles) << message.leaves.reason;
}
