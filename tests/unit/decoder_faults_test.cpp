// SPDX-License-Identifier: MIT
// Every host service fails, call by call, below the output writer, the conversions and the
// decoders: each time the result is the one promised and nothing stays allocated, open or set up.
#include <cstring>
#include <functional>

#include "emlcomm/charset.h"
#include "emlcomm/output.h"
#include "support/part_file.h"

namespace {

using Failure = ScriptedHost::Failure;

// One routine, ready to run on a fresh fixture.
struct Routine {
    const char *name;
    std::function<int64_t(PartFile &)> run;
    int64_t cleanResult;
    // The first so many allocations end the call with EML_ERR_MEMORY; a later one, as every other
    // failure, does not.
    int vitalAllocations = 0;
    bool reallocationIsVital = false;
    bool failsToZero = false; // reports a length, and any failure as 0
};

void closeOutput(PartFile &f) {
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.host.counts.clear();
}

int64_t nullLabels(PartFile &f) {
    int32_t flags[4] = {};
    return WriterHder_Null(&f.handle, &flags[0], &flags[1], &flags[2], &flags[3], 1);
}

// Fills the accumulation buffer, so that the line needs more.
int64_t growingLine(PartFile &f, std::string_view line, uint32_t convert) {
    f.handle.qpBufferUsed = f.handle.qpBufferSize - 1;
    QobFile *target = convert == 0 ? f.part : f.handle.outputFile;
    return f.quoted(line, End::kLineEnd, target, convert);
}

int64_t base64Lines(PartFile &f) {
    f.host.counts.clear();
    return analyzeBase64_tmpfile(&f.handle, "QUJDREVG", 8, f.part);
}

// The line that ends in a pad looks at the next byte, which lies behind the block.
int64_t base64LastLine(PartFile &f) {
    f.handle.blockPos = f.handle.blockLength;
    f.host.counts.clear();
    return analyzeBase64_tmpfile(&f.handle, "QQ==", 4, f.part);
}

char converted[64];

const std::vector<Routine> kRoutines = {
    {"myfwrite", [](PartFile &f) { return myfwrite(&f.handle, "text", 1, 4, f.handle.outputFile); },
     0},
    {"WriteHder", [](PartFile &f) { return WriteHder(&f.handle, "From: ", 6); }, 0, 1},
    {"WriterHder_Null", nullLabels, 0, 1},
    {"WriteCRLFToFile", [](PartFile &f) { return WriteCRLFToFile(&f.handle); }, 0},
    {"WriteCRLFToFile opening",
     [](PartFile &f) {
         closeOutput(f);
         return WriteCRLFToFile(&f.handle);
     },
     0},
    {"WriteCRLFToFile_tmp", [](PartFile &f) { return WriteCRLFToFile_tmp(&f.handle, f.part); }, 0},
    {"TransChar", [](PartFile &f) { return TransChar(&f.handle, "text", converted, 4); }, 4, 0,
     false, true},
    {"TransCharutf8", [](PartFile &f) { return TransCharutf8(&f.handle, "text", converted, 4, 1); },
     4, 0, false, true},
    {"TransCRLF", [](PartFile &f) { return TransCRLF(&f.handle, converted); }, 5, 0, false, true},
    {"analyzeQF", [](PartFile &f) { return f.quotedLine("a=3Db"); }, 0, 3},
    {"analyzeQF converting", [](PartFile &f) { return f.convertedLine("a=3Db"); }, 0, 3},
    {"analyzeQF growing", [](PartFile &f) { return growingLine(f, "a=3Db", 0); }, 0, 3, true},
    {"analyzeQF growing, converting", [](PartFile &f) { return growingLine(f, "a=3Db", 1); }, 0, 3,
     true},
    {"analyzeQF soft break", [](PartFile &f) { return growingLine(f, "abc=", 0); }, 0, 0, true},
    {"WriteStrToFile", [](PartFile &f) { return WriteStrToFile(&f.handle, "text", 4); }, 4, 0,
     false, true},
    {"WriteStrToFile opening",
     [](PartFile &f) {
         closeOutput(f);
         return WriteStrToFile(&f.handle, "text", 4);
     },
     4, 0, false, true},
    {"analyzeBase64_tmpfile", base64Lines, 0, 2},
    {"analyzeBase64_tmpfile last line", base64LastLine, 0, 2},
    {"analyzeBase64", [](PartFile &f) { return analyzeBase64(&f.handle, "QUJD", 4); }, 0, 2},
    {"analyzeBase64_aaaa",
     [](PartFile &f) { return analyzeBase64_aaaa(&f.handle, "QUJDR", 5, f.part); }, 0, 4},
    {"analyzeBase64_tmpfileutf8",
     [](PartFile &f) { return analyzeBase64_tmpfileutf8(&f.handle, "QUJD", 4, f.part); }, 0, 1},
};

constexpr const char *kServices[] = {"QOB_malloc",       "QOB_realloc",     "QOB_FileOpen",
                                     "QOB_FileWrite",    "QOB_WriteStream", "QOB_FileSeek",
                                     "QOB_FileRead",     "QOB_FileTell",    "QOB_FileClose",
                                     "cconvInitConvert", "cconvChgCharset", "cconvConvert"};

// Failed writes are never noticed; whatever else keeps text from being converted is a length of 0.
int64_t expectedResult(const Routine &routine, const std::string &service, int n) {
    if (service == "QOB_malloc" && n <= routine.vitalAllocations) {
        return EML_ERR_MEMORY;
    }
    if (service == "QOB_realloc" && routine.reallocationIsVital) {
        return EML_ERR_MEMORY;
    }
    const bool unnoticed = service == "QOB_FileWrite" || service == "QOB_WriteStream";
    return routine.failsToZero && !unnoticed ? 0 : routine.cleanResult;
}

// The fixture that each run starts from, in file mode or stream mode.
void prepare(PartFile &f, bool stream) {
    f.load(std::string(16384, 'x') + "\r\n");
    std::strcpy(f.handle.charsetName, "EUC-JP");
    if (stream) {
        f.useStream();
    }
    f.host.counts.clear();
}

// Runs the routine with call n of the service failing. False once the routine makes fewer calls.
bool failingRun(const Routine &routine, bool stream, const std::string &service, int n,
                Failure failure) {
    PartFile f;
    prepare(f, stream);
    const size_t allocations = f.host.liveAllocations();
    f.host.failCall(service, n, failure);
    const int64_t result = routine.run(f);
    const bool reached = f.host.count(service) >= n;
    EXPECT_EQ(result, reached ? expectedResult(routine, service, n) : routine.cleanResult);
    EXPECT_EQ(f.host.liveAllocations(), allocations);
    EXPECT_EQ(f.host.convertersOpen, 0);
    const int files = 2 + (f.handle.outputFile != nullptr ? 1 : 0); // input and part
    EXPECT_EQ(f.host.openFiles(), files);
    EXPECT_TRUE(f.host.removed.empty());
    return reached;
}

int sweep(const Routine &routine, bool stream) {
    int runs = 0;
    for (const char *service : kServices) {
        for (const Failure failure : {Failure::kOnce, Failure::kFromThere}) {
            int n = 1;
            for (; n < 100; ++n) {
                SCOPED_TRACE(std::string(routine.name) + ": " + service + " " + std::to_string(n));
                if (!failingRun(routine, stream, service, n, failure)) {
                    break;
                }
                ++runs;
            }
            EXPECT_LT(n, 100) << routine.name << " never runs clean";
        }
    }
    return runs;
}

TEST(DecoderFaults, GiveThePromisedResultAndLeaveNothingBehind) {
    for (const Routine &routine : kRoutines) {
        EXPECT_GE(sweep(routine, false), 2) << routine.name;
    }
}

TEST(DecoderFaults, AreTheSameInStreamMode) {
    for (const Routine &routine : kRoutines) {
        const bool opensOutput = std::string(routine.name).find("opening") != std::string::npos;
        if (!opensOutput) {
            EXPECT_GE(sweep(routine, true), 2) << routine.name;
        }
    }
}

TEST(DecoderFaults, AreAllInTheTable) {
    // The number of allocations of a clean run, so that no vital one goes unseen.
    const std::map<std::string, int> expected = {
        {"WriteHder", 2},      {"TransChar", 1},
        {"analyzeQF", 3},      {"analyzeQF converting", 4},
        {"WriteStrToFile", 2}, {"analyzeBase64_tmpfile", 2},
        {"analyzeBase64", 3},  {"analyzeBase64_aaaa", 5},
        {"TransCRLF", 0},      {"analyzeBase64_tmpfileutf8", 1}};
    size_t seen = 0;
    for (const Routine &routine : kRoutines) {
        const auto row = expected.find(routine.name);
        if (row != expected.end()) {
            PartFile f;
            prepare(f, false);
            EXPECT_EQ(routine.run(f), routine.cleanResult) << routine.name;
            EXPECT_EQ(f.host.count("QOB_malloc"), row->second) << routine.name;
            ++seen;
        }
    }
    EXPECT_EQ(seen, expected.size());
}

} // namespace
