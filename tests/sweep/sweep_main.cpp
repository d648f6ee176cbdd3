// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <iostream>

#include "sweep_count.h"

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    if (SweepCount::total() > 0) {
        std::cout << "fault sweep: " << SweepCount::total() << " runs\n";
    }
    return result;
}
