// SPDX-License-Identifier: MIT
// The number of runs that this process has made.
#ifndef QOB_TESTS_SWEEP_COUNT_H
#define QOB_TESTS_SWEEP_COUNT_H

class SweepCount {
public:
    static void add(int runs) { total() += runs; }
    static int &total() {
        static int runs = 0;
        return runs;
    }
};

#endif
