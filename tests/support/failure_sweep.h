// SPDX-License-Identifier: MIT
// Runs one piece of work again and again, each time with another call of a host service failing,
// until a run meets no failure.
#ifndef QOB_TESTS_FAILURE_SWEEP_H
#define QOB_TESTS_FAILURE_SWEEP_H

#include <functional>
#include <set>
#include <string>

#include "support/filter_fixture.h"

// One run: prepares the fixture before the failure is planned, then works under it.
struct SweptWork {
    std::function<void(FilterFixture &)> prepare;
    std::function<int32_t(FilterFixture &)> work;
    std::set<int32_t> codes;              // what the work may return
    std::set<std::string> leftovers = {}; // temporary files that may stay behind
};

// What must hold after every run: a documented code, no file or allocation beyond those of the
// handle itself, no temporary file left.
inline void expectTidy(FilterFixture &f, const SweptWork &work, int32_t code) {
    EXPECT_EQ(work.codes.count(code), 1U) << "code " << code;
    const int own = 1 + (f.handle.outputFile != nullptr ? 1 : 0);
    EXPECT_EQ(f.host.openFiles(), own) << "open files";
    std::set<std::string> known = work.leftovers;
    known.insert({f.inputName, kOutputName});
    if (f.handle.htmlTempName[0] != '\0') {
        known.insert(f.handle.htmlTempName); // the driver's to remove
    }
    EXPECT_EQ(f.host.filesBut(known), std::vector<std::string>());
    EXPECT_EQ(f.host.convertersOpen, 0);
    f.host.failures.clear();
    myFreeMem(&f.handle);
    EXPECT_EQ(f.host.liveAllocations(), 0U) << "allocations";
}

// Fails call 1, 2, ... of `service`, alone or with all later ones. Returns how many calls a run
// without a failure makes.
inline int sweepService(const SweptWork &work, const std::string &service,
                        ScriptedHost::Failure failure = ScriptedHost::Failure::kOnce) {
    constexpr int kEndless = 2000;
    for (int n = 1; n < kEndless; ++n) {
        SCOPED_TRACE(service + ", failing call " + std::to_string(n));
        FilterFixture f;
        work.prepare(f);
        f.host.failCall(service, n, failure);
        expectTidy(f, work, work.work(f));
        if (f.host.count(service) < n) {
            return n - 1;
        }
    }
    ADD_FAILURE() << "the sweep of " << service << " does not end";
    return -1;
}

inline void sweepAllServices(const SweptWork &work) {
    for (const char *service :
         {"QOB_malloc", "QOB_realloc", "QOB_FileOpen", "QOB_FileRead", "QOB_FileWrite",
          "QOB_FileSeek", "QOB_FileTell", "QOB_FileClose", "QOB_FindFile", "QOB_ASC_tmpnam",
          "QOB_ASC_tmpnam1", "cconvInitConvert", "cconvChgCharset", "cconvConvert",
          "QOB_WriteStream", "insert"}) {
        sweepService(work, service, ScriptedHost::Failure::kOnce);
        sweepService(work, service, ScriptedHost::Failure::kFromThere);
    }
}

#endif
