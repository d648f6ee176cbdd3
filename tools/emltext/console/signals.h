// SPDX-License-Identifier: MIT
// Signals that ask the command to end: the first to finish what it is at, the second to end at
// once.
#pragma once

namespace emltext {

// Catches SIGINT, SIGTERM and SIGHUP, unless they are ignored, and ignores SIGPIPE and SIGXFSZ: a
// reader that goes away and a file that may not grow are failed writes.
void catchSignals();

// The first signal that asked for the end, or 0.
int signalCaught();

// Whether a second one came.
bool mustEndAtOnce();

} // namespace emltext
