// SPDX-License-Identifier: MIT
// Every call of every host service fails once, alone and together with all later ones, in whole
// calls of both entry points on every message: each ends with a code that the rules allow, and
// leaves what the rules name.
#include <gtest/gtest.h>

#include "fault_rules.h"
#include "sweep_count.h"

namespace {

class FaultSweep : public testing::TestWithParam<std::tuple<SweptMessage, Mode>> {};

TEST_P(FaultSweep, EndsAsTheRulesSay) {
    const auto &[message, mode] = GetParam();
    const CleanRun clean = cleanRun(message, mode);
    expectClean(message, mode, clean.run);
    const std::vector<Fault> faults = faultsOf(clean.run.calls);
    EXPECT_GT(faults.size(), 20U);
    for (const Fault &fault : faults) {
        SCOPED_TRACE(toldOf(fault));
        expectRuled(message, mode, fault, clean, runMessage(message, mode, fault));
        SweepCount::add(1);
        if (HasFailure()) {
            FAIL() << "further faults are not tried";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, FaultSweep,
                         testing::Combine(testing::ValuesIn(sweptMessages()),
                                          testing::Values(Mode::kFile, Mode::kStream)),
                         [](const auto &row) {
                             return std::get<0>(row.param).name + nameOf(std::get<1>(row.param));
                         });

} // namespace
