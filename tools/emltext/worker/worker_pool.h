// SPDX-License-Identifier: MIT
// Worker processes. Each extracts one message after the other, under a time and a memory limit and,
// where the system offers it, without network and without files that are none of its business. A
// worker that crashes, hangs or runs out of memory costs its message and is replaced.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "console/options.h"
#include "job.h"

namespace emltext {

// A job that came back. `textPath` holds the text, whole or up to the failure; after a WorkerCode
// it does not exist.
struct Finished {
    Job job;
    Outcome outcome;
    std::string textPath;
};

// To be used by a process with one thread and no other children, which must ignore SIGPIPE.
class WorkerPool {
public:
    // Workers are started when jobs come, up to options.jobs. `options` must outlive the pool.
    // Throws std::system_error when there is no place for temporary files.
    explicit WorkerPool(const Options &options);
    // Ends all workers at once; what they were at is gone, and so are the temporary files.
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    // A private directory for text files that have no place of their own yet. It is removed with
    // the pool, or a moment later when this process is killed.
    const std::string &spoolDirectory() const;

    // True while submit() finds a worker free or may start one.
    bool hasRoom() const;

    // Jobs that were submitted and not yet returned by wait().
    std::size_t running() const;

    // Hands a job to a worker. `textPath` is created there, or replaced; "": text is written to
    // standard output right away. An input that cannot be opened, and a text file that cannot be
    // created, is an outcome like any other.
    void submit(Job job, std::string textPath);

    // What was finished, waiting until `timeout` for the first. May return early with nothing after
    // a signal.
    std::vector<Finished> wait(std::chrono::milliseconds timeout);

private:
    class Workers;
    std::unique_ptr<Workers> workers_;
};

} // namespace emltext
