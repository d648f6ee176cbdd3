// SPDX-License-Identifier: MIT
// A host in memory for the unit tests: it serves every host service of the filter, records each
// call, and can make the n-th call of any service fail.
//
// The youngest ScriptedHost of a thread is in force on it; when it is gone, the one before it is.
// Files live in `files`; a file that is open for writing shows what was written so far. Text
// conversion copies bytes by default and can be scripted; insertion writes what `insert` says.
#ifndef QOB_TESTS_SCRIPTED_HOST_H
#define QOB_TESTS_SCRIPTED_HOST_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qob_host.h"

// One conversion as the filter asked for it.
struct ConversionCall {
    std::string source;            // name given to cconvChgCharset
    std::string output;            // the output description, read as a name
    std::string input;             // bytes given to cconvConvert
    CconvOutputRecord record = {}; // as given to cconvInitConvert
    uint32_t started = 0;
    CconvSourceRecord sourceRecord = {};
    uint32_t capacity = 0;
    bool wordsClear = false; // the context's words that must be 0 on entry were
};

// What a text was stripped for, and what a piece was cut to, as the filter asked for it.
struct StripCall {
    uint32_t length;
    uint32_t charWidth;
    uint32_t sourceCode;
};
struct CutCall {
    std::string data;
    uint32_t room;
    const HostParams *params;
};

// One insertion as the filter asked for it.
struct InsertCall {
    std::string name;
    std::string content; // of the file at the time of the call
    HostParams params = {};
    bool sameParams = false; // the host's own record was passed, not a copy
    SessionRecord session = {};
    bool toStream = false;
    void *callback = nullptr;
};

class ScriptedHost {
public:
    ScriptedHost();
    ~ScriptedHost();
    ScriptedHost(const ScriptedHost &) = delete;
    ScriptedHost &operator=(const ScriptedHost &) = delete;

    // ---- what the tests set ----

    std::map<std::string, std::string> files;
    // Conversion: what `input` in charset `source` becomes, nullopt for a failed conversion. The
    // default copies it.
    std::function<std::optional<std::string>(const std::string &source, const std::string &input)>
        convert;
    std::set<std::string> unknownCharsets; // cconvChgCharset refuses these
    std::string lineEnd = "\n";            // of the output charset
    std::string tmpLineEnd = "\n";         // of ISO-8859-1 output, for temporary files
    uint32_t charWidth = 1;
    uint32_t sourceCodeLeft = 1; // what cconvChgCharset leaves in the source record
    bool stripControlCodes = true;
    // Insertion: the text to write into the output, and the result.
    std::function<std::string(const InsertCall &)> insert;
    int32_t insertResult = 0;
    // CutStr: how many bytes are cut off the room, to spare a character.
    uint32_t cutShortBy = 0;
    bool logging = false;
    std::string tmpDirectory = "/tmp/";
    bool writeStreamFails = false;
    const HostParams *hostParams = nullptr; // the record that inserts are compared with

    // Makes call number n (from 1) of a service fail, or that and every later one.
    enum class Failure { kOnce, kFromThere };
    void failCall(const std::string &service, int n, Failure failure = Failure::kOnce);
    // The same for calls that match, such as the n-th write to a file whose name ends so.
    void failWritesTo(const std::string &nameEnding, int n);
    // Writes that fail, by failCall or failWritesTo, take this many bytes instead of none.
    int32_t shortWriteLength = 0;

    // ---- what the tests look at ----

    std::string stream;                // everything written through QOB_WriteStream
    std::vector<std::string> calls;    // "QOB_FileOpen in.eml rb", in order
    std::map<std::string, int> counts; // calls of each service
    std::vector<ConversionCall> conversions;
    std::vector<InsertCall> inserts;
    std::vector<std::string> logLines;
    std::string logName;
    std::vector<std::pair<std::string, std::string>> logNamesAsked; // path, module
    int logsOpen = 0;
    int nullLogCloses = 0;
    std::vector<std::string> removed; // names given to QOB_ASC_remove
    std::vector<size_t> reallocSizes;
    std::vector<std::string> widthsAsked; // charset names given to QOB_GetGroupCharWidth
    std::vector<StripCall> strips;
    std::vector<CutCall> cuts;

    int count(const std::string &service) const;
    size_t liveAllocations() const { return allocations.size(); }
    int openFiles() const { return openFileCount; }
    // Names of files other than those given, sorted.
    std::vector<std::string> filesBut(const std::set<std::string> &known) const;
    // Whether `call` (its beginning) was recorded.
    bool called(std::string_view call) const;

    // ---- for the services ----

    bool fails(const std::string &service);
    std::map<void *, std::unique_ptr<char[]>> allocations;
    std::map<void *, size_t> allocationSizes;
    int convertersOpen = 0;
    int openFileCount = 0;
    int tmpNames = 0;

    struct PlannedFailure {
        int n;
        Failure failure;
    };
    std::map<std::string, PlannedFailure> failures;
    std::string failingWriteEnding;
    int failingWrite = 0;
    int matchingWrites = 0;
    ScriptedHost *const previous;
};

// The scripted host in force on this thread.
ScriptedHost &scriptedHost();

#endif
