// SPDX-License-Identifier: MIT
// What the tests of header reading share.
#ifndef QOB_TESTS_HEADER_READING_H
#define QOB_TESTS_HEADER_READING_H

#include <string>
#include <string_view>

#include "emlcomm/header_reader.h"
#include "support/filter_fixture.h"

// One row of a table: a header and the text that it gives.
struct HeaderRow {
    const char *promise;
    const char *header;
    const char *text;
};

// Reads one header in file mode and keeps what came out.
struct HeaderRun {
    explicit HeaderRun(std::string_view header) {
        f.load(header);
        code = EMLReadHeader(&f.handle);
        text = f.output();
    }
    FilterFixture f;
    int32_t code = -1;
    std::string text;
};

inline void expectHeader(const HeaderRow &row) {
    SCOPED_TRACE(row.promise);
    const HeaderRun run(row.header);
    EXPECT_EQ(run.code, EML_OK);
    EXPECT_EQ(run.text, row.text);
}

// Every piece of text that was converted, as CHARSET{bytes}; ISO-8859-1 as L.
inline std::string convertedPieces(const ScriptedHost &host) {
    std::string pieces;
    for (const ConversionCall &call : host.conversions) {
        if (call.record.textConversion == 1) {
            pieces += (call.source == "ISO-8859-1" ? "L" : call.source) + "{" + call.input + "}";
        }
    }
    return pieces;
}

#endif
