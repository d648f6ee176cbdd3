// SPDX-License-Identifier: MIT
// The fault sweep where it hurts most: every message is moved so that each of its line ends in
// turn is the last byte of the first block of the body, where reading a line loads the next block.
// Allocations and reads fail there.
#include <gtest/gtest.h>

#include "emlcomm/limits.h"
#include "fault_rules.h"
#include "shifted_message.h"
#include "sweep_count.h"

namespace {

class BlockEndSweep : public testing::TestWithParam<SweptMessage> {};

// Allocations and reads that fail once.
std::vector<Fault> faultsAtBlockEnds(const CleanRun &clean) {
    std::vector<Fault> faults = faultsOf(clean.run.calls);
    std::erase_if(faults, [](const Fault &fault) {
        const bool chosen = fault.service == Service::kAllocate || fault.service == Service::kRead;
        return !chosen || fault.persistent;
    });
    return faults;
}

// The message moved so that the block ends with this byte of its body. Where that lies in a part
// header, the part may come out as another one, which leaves something else behind.
SweptMessage movedToBlockEnd(const SweptMessage &message, size_t end) {
    SweptMessage moved = shifted(message, kBlockSize - 1 - end);
    const Remains remains = runMessage(moved, Mode::kFile).remains;
    moved.leaves = {static_cast<int>(remains.files.size()), remains.openFiles};
    return moved;
}

TEST_P(BlockEndSweep, EndsAsTheRulesSay) {
    for (const size_t end : lineEndsIn(bodyOf(GetParam().text))) {
        const SweptMessage moved = movedToBlockEnd(GetParam(), end);
        const CleanRun clean = cleanRun(moved, Mode::kFile);
        for (const Fault &fault : faultsAtBlockEnds(clean)) {
            SCOPED_TRACE(toldOf(fault) + ", line end at byte " + std::to_string(end));
            expectRuled(moved, Mode::kFile, fault, clean, runMessage(moved, Mode::kFile, fault));
            SweepCount::add(1);
        }
        ASSERT_FALSE(HasFailure()) << "further line ends are not tried";
    }
}

INSTANTIATE_TEST_SUITE_P(, BlockEndSweep, testing::ValuesIn(shiftableMessages()),
                         [](const auto &row) { return row.param.name; });

} // namespace
