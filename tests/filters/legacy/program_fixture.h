// SPDX-License-Identifier: MIT
// A directory of made-up programs that stand in for those of the system.
#ifndef QOB_TESTS_PROGRAM_FIXTURE_H
#define QOB_TESTS_PROGRAM_FIXTURE_H

#include <string>
#include <string_view>

#include "filter_fixture.h"

namespace qob::tests {

class ProgramTest : public FilterTest {
protected:
    ProgramTest();
    ~ProgramTest() override;

    // Makes a program of a shell script and returns its path.
    std::string addProgram(std::string_view name, std::string_view script);

    std::string programDirectory() const { return directory_; }

private:
    std::string directory_;
};

} // namespace qob::tests

#endif
