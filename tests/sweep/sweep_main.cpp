// SPDX-License-Identifier: MIT
// Runs the sweeps and says how many runs they made. QOB_SWEEP_LEAST is the number below which the
// program fails, so that no sweep becomes empty unnoticed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "sweep_count.h"

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    if (SweepCount::total() > 0) {
        std::cout << "fault sweep: " << SweepCount::total() << " runs\n";
    }
    const char *least = std::getenv("QOB_SWEEP_LEAST");
    if (least != nullptr && SweepCount::total() < std::atoi(least)) {
        std::cout << "fault sweep: these are fewer than " << least << '\n';
        result = 1;
    }
    return result;
}
