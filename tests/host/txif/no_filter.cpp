// SPDX-License-Identifier: MIT
// A shared library without the entry points of a filter.
extern "C" __attribute__((visibility("default"))) int notAFilter();

int notAFilter() {
    return 0;
}
