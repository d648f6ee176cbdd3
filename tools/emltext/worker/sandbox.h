// SPDX-License-Identifier: MIT
// The sandbox of a worker process: no network, no files but those of the system's libraries and its
// own temporary directory, no hand on other processes. What is open stays usable. Nothing here
// needs privileges, and nothing can be undone. Processes that are started inside are inside.
//
// Files are kept by Landlock, the rest by a filter of system calls. Where the kernel's Landlock is
// older than 6.12, signals to other processes of the same user are not kept from being sent.
#pragma once

#include <string>

namespace emltext {

// Puts the calling process, which must have one thread, into the sandbox. `writable` is the only
// directory that can be written. Empty, or the reason why the sandbox is not or not wholly there;
// what could be shut is shut then.
std::string enterSandbox(const std::string &writable);

// Empty when enterSandbox works here, else the reason. Tries it in a process of its own.
std::string whyNoSandbox();

// Parts of enterSandbox, with results like it.
std::string restrictFiles(const std::string &writable); // sandbox_files.cpp
std::string restrictCalls();                            // sandbox_calls.cpp

} // namespace emltext
