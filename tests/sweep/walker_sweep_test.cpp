// SPDX-License-Identifier: MIT
// The fault sweep over exported routines called directly: the walkers and readers in states that
// no message brings about, and the routines that nothing in the filter calls.
#include <gtest/gtest.h>

#include <cstring>

#include "emlcomm/base64.h"
#include "emlcomm/body_reader.h"
#include "emlcomm/driver.h"
#include "emlcomm/header_reader.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcomm/quoted_printable.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/part_walkers.h"
#include "fault_rules.h"
#include "sweep_count.h"

namespace {

constexpr const char *kInput = "/mail/in.eml";
constexpr const char *kOutput = "/out/text";

// A handle as it is when a walker begins: input and output open, buffers there, a block loaded.
struct Walk {
    SweepHost host;
    HostParams params = {};
    SessionRecord session = {};
    ExtractionHandle handle = {};

    Walk(const std::string &text, uint32_t flags) {
        params.flags = flags;
        std::strcpy(params.language, "English");
        host.putFile(kInput, text);
        handle.hostParams = &params;
        handle.sessionRecord = &session;
        handle.outputPath = kOutput;
        handle.fileMode = 1;
        handle.inputFile = QOB_FileOpen(kInput, "rb");
        handle.outputFile = QOB_FileOpen(kOutput, "wb");
        handle.fileSize = static_cast<int32_t>(text.size());
        handle.lastBlock = 1;
        std::strcpy(handle.boundary, "B");
        std::strcpy(handle.charsetName, "UTF-8");
        std::strcpy(handle.defaultCharset, "ISO-8859-1");
        std::strcpy(handle.attachTmpName, "/tmp/in.emlin.eml");
        handle.lineBuffer = eml::newBuffer(kLineBufferSize).release();
        handle.convBuffer = eml::newBuffer(kConvBufferSize).release();
        handle.qpBuffer = eml::newBuffer(kQpBufferSize).release();
        handle.qpBufferSize = kQpBufferSize;
        eml::loadBlock(&handle, std::min(handle.fileSize, kBlockSize));
        host.forgetCalls();
    }

    // Gives back what is the handle's own.
    void end() {
        host.fault.reset();
        myFreeMem(&handle);
        eml::closeFile(handle.inputFile);
        eml::closeFile(handle.outputFile);
    }
};

struct WalkerCase {
    std::string name;
    std::string text;
    int32_t (*work)(ExtractionHandle &);
    std::set<int32_t> codes; // that a fault may bring about, beside the code without one
    int32_t code = 0;        // without a fault
    Leftovers leaves = {};
    uint32_t flags = kUsualFlags;
};

void PrintTo(const WalkerCase &c, std::ostream *out) {
    *out << c.name;
}

// Lines as the digest walker copies them, in a message of the other digest code.
int32_t walkTwin(ExtractionHandle &handle, int32_t encoding) {
    handle.contentType = EML_CT_DIGEST_TWIN;
    handle.partTransferEncoding = encoding;
    return Mix_attach_list(&handle);
}

int32_t writeLabels(ExtractionHandle &handle) {
    int32_t from = 0;
    int32_t to = 0;
    int32_t cc = 0;
    int32_t bcc = 0;
    return static_cast<int32_t>(WriterHder_Null(&handle, &from, &to, &cc, &bcc, 4));
}

int32_t readAllLines(ExtractionHandle &handle,
                     int32_t (*read)(ExtractionHandle *, char *, int32_t)) {
    int32_t length = 1;
    while (length > 0 && length != EML_ERR_MEMORY) {
        length = read(&handle, handle.lineBuffer, handle.blockLength);
    }
    return length;
}

int32_t closeOutputAnd(ExtractionHandle &handle, int32_t (*work)(ExtractionHandle *)) {
    eml::closeFile(handle.outputFile);
    return work(&handle);
}

const std::string kTwinEntry = "From: x\nSubject: t\nContent-Type: text/plain; charset=utf-8; "
                               "boundary=\"N\"\n\nSGVsbG8=\n\n--B--\n";
const std::string kLinesOfABlock = std::string(9, 'a') + linesOf(16, 1023, 'x') + "end\n";

const std::set<int32_t> kMemoryOnly = {EML_ERR_MEMORY};
const std::set<int32_t> kOfAttachments = {EML_ERR_INPUT, EML_ERR_MEMORY, EML_ERR_SHORT_WRITE,
                                          kHostError};
const std::set<int32_t> kOfText = {EML_ERR_INPUT, EML_ERR_MEMORY, EML_ERR_SHORT_WRITE,
                                   EML_ERR_NOBUF, kHostError};
const Leftovers kLeftByTheEnd = {1, 0, "encoded text that no boundary ends stays"};

const WalkerCase kCases[] = {
    {"DigestTwinRaw", kTwinEntry, [](ExtractionHandle &h) { return walkTwin(h, 0); },
     kOfAttachments, 1},
    {"DigestTwinBase64", kTwinEntry, [](ExtractionHandle &h) { return walkTwin(h, EML_TE_BASE64); },
     kOfAttachments, 1},
    {"DigestTwinQuotedPrintable",
     kTwinEntry,
     [](ExtractionHandle &h) { return walkTwin(h, EML_TE_QUOTED_PRINTABLE); },
     kOfAttachments,
     1,
     {},
     EML_FLAG_ATTACHMENTS},
    {"DigestEntryReadAgain", "Subject:\n\nOne\n--B--\n",
     [](ExtractionHandle &h) {
         h.rereadPending = 1;
         h.blockPos = 9;
         return Mix_attach_list(&h);
     },
     kOfAttachments, 1},
    {"DigestReader", "--B\nFrom: x\n\nOne\n--B--\n",
     [](ExtractionHandle &h) {
         h.contentType = EML_CT_DIGEST_TWIN;
         return EMLReadContent(&h);
     },
     kMemoryOnly},
    {"AttachmentReadAgainBehindTheBlock", kLinesOfABlock + "\n--B--\n",
     [](ExtractionHandle &h) {
         h.partContentType = EML_CT_MESSAGE_RFC822;
         h.rereadPending = 1;
         h.rereadPos = kBlockSize - 4;
         return Mix_attach(&h);
     },
     kOfAttachments},
    {"AttachmentInANestedPart", "filename=\"x\"\n\nSGVs=\n\nbG8=\n\n--B--\n",
     [](ExtractionHandle &h) {
         h.contentType = EML_CT_MULTIPART_MIXED;
         h.inNestedPart = 1;
         h.nestedTransferEncoding = EML_TE_QUOTED_PRINTABLE;
         h.partContentType = EML_CT_APPLICATION;
         return Mix_attach(&h);
     },
     kOfAttachments},
    {"TextPartInNeitherMode", "\n<p>a=3Db</p>\n--B\n",
     [](ExtractionHandle &h) {
         h.fileMode = 0;
         h.partContentType = EML_CT_TEXT_HTML;
         h.partTransferEncoding = EML_TE_QUOTED_PRINTABLE;
         return Mix_Content_OnePart(&h);
     },
     kOfText},
    {"TextPartOfAnotherType", "\nR0lG\n--B\n",
     [](ExtractionHandle &h) {
         h.partContentType = EML_CT_IMAGE_GIF;
         return Mix_Content_OnePart(&h);
     },
     kOfText},
    {"TextPartWithoutACharset",
     "Content-Transfer-Encoding: base64\n charset=\"utf-8\"\n"
     "Content-Transfer-Encoding: base64\n\nSGVsbG8=\n",
     [](ExtractionHandle &h) {
         h.charsetName[0] = '\0';
         h.partContentType = EML_CT_TEXT_PLAIN;
         return Mix_Content_OnePart(&h);
     },
     kOfText, 0, kLeftByTheEnd},
    {"AlternativeWithoutABoundary", "any line\nends nothing\n",
     [](ExtractionHandle &h) {
         h.boundary[0] = '\0';
         h.partContentType = EML_CT_TEXT_PLAIN;
         return Mix_Content_alter(&h);
     },
     kOfText},
    {"MessageAlternativeOfAnotherType", "\nHello\n--B\nmore\n--B--\n",
     [](ExtractionHandle &h) {
         h.contentType = EML_CT_MULTIPART_MIXED;
         h.partContentType = EML_CT_TEXT_HTML;
         return Mix_Content_Only(&h);
     },
     kOfText},
    {"HeaderOpensItsOutput",
     "From: a\nTo: b\n\n",
     [](ExtractionHandle &h) { return closeOutputAnd(h, EMLReadHeader); },
     {EML_ERR_OUTPUT, EML_ERR_MEMORY, EML_ERR_FORMAT}},
    {"HeaderWithoutALine",
     "From: a\n\n",
     [](ExtractionHandle &h) {
         eml::freeBuffer(h.lineBuffer);
         return EMLReadHeader(&h);
     },
     {},
     EML_ERR_FORMAT},
    {"UntypedBodyOpensItsOutput",
     "Hello\n",
     [](ExtractionHandle &h) {
         h.boundary[0] = '\0';
         return closeOutputAnd(h, EMLReadContent);
     },
     {EML_ERR_INPUT, EML_ERR_MEMORY}},
    {"LineEndOpensItsOutput",
     "x",
     [](ExtractionHandle &h) {
         return closeOutputAnd(h, [](ExtractionHandle *handle) {
             WriteCRLFToFile(handle);
             return static_cast<int32_t>(WriteCRLFToFile(handle));
         });
     },
     {EML_ERR_OUTPUT_LOST}},
    {"TextOpensItsOutput",
     "x",
     [](ExtractionHandle &h) {
         return closeOutputAnd(h, [](ExtractionHandle *handle) {
             WriteStrToFile(handle, "text", 4);
             return 0;
         });
     },
     {}},
    {"EmptyLabels", "x", writeLabels, kMemoryOnly},
    {"Base64WithACarry", "x",
     [](ExtractionHandle &h) {
         const int32_t first = analyzeBase64_aaaa(&h, "SGVsb", 5, h.outputFile);
         return first != 0 ? first : analyzeBase64_aaaa(&h, "G8=", 3, h.outputFile);
     },
     kMemoryOnly},
    {"Base64Values", "x",
     [](ExtractionHandle &h) { return analyzeBase64_tmpfileutf8(&h, "SGVs", 4, h.outputFile); },
     kMemoryOnly},
    {"LinesWithTheirEnds", kLinesOfABlock,
     [](ExtractionHandle &h) { return readAllLines(h, MemLineRead_EndCrlf); }, kMemoryOnly},
    {"LinesWithOneEndByte",
     kLinesOfABlock,
     [](ExtractionHandle &h) { return readAllLines(h, MemLineRead_tmp); },
     {}},
    {"Lines", kLinesOfABlock, [](ExtractionHandle &h) { return readAllLines(h, MemEveryLineRead); },
     kMemoryOnly},
    {"FilledLines", kLinesOfABlock,
     [](ExtractionHandle &h) { return readAllLines(h, MemLineRead); }, kMemoryOnly},
    {"WholeMessage",
     "From: a\nContent-Type: text/plain\n\nHello\n",
     [](ExtractionHandle &h) {
         h.boundary[0] = '\0';
         h.lastBlock = 0;
         myFreeMem(&h);
         return ReadFile(&h);
     },
     {EML_ERR_INPUT, EML_ERR_MEMORY, EML_ERR_NOBUF, EML_ERR_FORMAT}},
};

class WalkerSweep : public testing::TestWithParam<std::tuple<WalkerCase, Mode>> {};

struct WalkerRun {
    int32_t code;
    Remains remains;
    std::array<int, kServiceCount> calls;
    bool faultReached;
};

WalkerRun runWalker(const WalkerCase &walker, Mode mode, const std::optional<Fault> &fault) {
    Walk walk(walker.text, walker.flags);
    if (mode == Mode::kStream) {
        walk.handle.fileMode = 0;
        walk.handle.streamMode = 1;
        walk.handle.outputStream = reinterpret_cast<QobStream *>(&walk.host);
        eml::closeFile(walk.handle.outputFile);
        walk.host.forgetCalls();
    }
    walk.host.fault = fault;
    const int32_t code = walker.work(walk.handle);
    const auto calls = walk.host.calls;
    const bool reached = walk.host.site.has_value();
    walk.end();
    return {code, remainsOf(walk.host, {kInput, kOutput}), calls, reached};
}

void expectTidy(const WalkerCase &walker, const WalkerRun &run) {
    expectReleased(run.remains);
    EXPECT_EQ(run.remains.openFiles, walker.leaves.openFiles);
    EXPECT_LE(static_cast<int>(run.remains.files.size()),
              walker.leaves.files + run.remains.failedRemovals)
        << testing::PrintToString(run.remains.files);
}

TEST_P(WalkerSweep, EndsAsTheRulesSay) {
    const auto &[walker, mode] = GetParam();
    const WalkerRun clean = runWalker(walker, mode, std::nullopt);
    EXPECT_EQ(clean.code, walker.code);
    expectTidy(walker, clean);
    EXPECT_EQ(static_cast<int>(clean.remains.files.size()), walker.leaves.files);
    for (const Fault &fault : faultsOf(clean.calls)) {
        SCOPED_TRACE(toldOf(fault));
        const WalkerRun run = runWalker(walker, mode, fault);
        EXPECT_TRUE(run.faultReached);
        EXPECT_TRUE(run.code == walker.code || run.code == EML_OK ||
                    walker.codes.contains(run.code))
            << run.code;
        expectTidy(walker, run);
        SweepCount::add(1);
    }
}

INSTANTIATE_TEST_SUITE_P(, WalkerSweep,
                         testing::Combine(testing::ValuesIn(kCases),
                                          testing::Values(Mode::kFile, Mode::kStream)),
                         [](const auto &row) {
                             return std::get<0>(row.param).name + nameOf(std::get<1>(row.param));
                         });

} // namespace
