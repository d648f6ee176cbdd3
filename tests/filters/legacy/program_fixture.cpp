// SPDX-License-Identifier: MIT
// See program_fixture.h.
#include "program_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace qob::tests {

ProgramTest::ProgramTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qob-programs-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no directory for the test");
    }
    directory_ = pattern;
    setenv("QOB_HELPER_DIR", directory_.c_str(), 1);
}

ProgramTest::~ProgramTest() {
    unsetenv("QOB_HELPER_DIR");
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

std::string ProgramTest::addProgram(std::string_view name, std::string_view script) {
    const std::string path = directory_ + '/' + std::string(name);
    std::ofstream(path) << "#!/bin/sh\n" << script << '\n';
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

} // namespace qob::tests
