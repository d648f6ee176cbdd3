// SPDX-License-Identifier: MIT
// What is written for each message: its text among the others', a file of its own, or a JSON
// object.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "console/options.h"
#include "job.h"
#include "output/byte_sink.h"
#include "worker/worker_pool.h"

namespace emltext {

class MessageOutput {
public:
    MessageOutput() = default;
    virtual ~MessageOutput() = default;
    MessageOutput(const MessageOutput &) = delete;
    MessageOutput &operator=(const MessageOutput &) = delete;

    // Whether take() wants messages in the order of their sequence.
    virtual bool isOrdered() const = 0;

    // Where a worker shall write the text of the job, or errno: then it need not begin.
    struct Place {
        std::string path; // "": standard output
        int error = 0;
    };
    virtual Place place(const Job &job) = 0;

    // Writes down what became of a message, and removes its text file. Changes the outcome when the
    // message is lost on the way. False when nothing can be written any more; failure() tells why.
    virtual bool take(Finished &finished) = 0;

    // Makes the output final. False when that failed.
    virtual bool commit() = 0;

    // Bytes written so far, for whoever goes on with the output later.
    virtual uint64_t size() const { return 0; }

    struct Failure {
        std::string name;   // of the output
        std::string reason; // why it took no more
    };
    virtual Failure failure() const = 0;
};

// Whether a message's text is worth keeping: it is there in full, or up to the limit.
bool gaveText(int32_t code);

// A note of attachment 0 in the outcome, whose code becomes its code.
void failWith(Outcome &outcome, int32_t code, int error);

// The texts one after the other, each beginning on a line of its own.
std::unique_ptr<MessageOutput> textOutput(std::unique_ptr<ByteSink> sink, const Options &options,
                                          std::string spoolDirectory);

// The text of the only message, which its worker writes to standard output by itself.
std::unique_ptr<MessageOutput> directOutput();

// A file for each message below the directory, which must exist.
std::unique_ptr<MessageOutput> treeOutput(const std::string &directory);

// A line for each message. `size` bytes are there already.
std::unique_ptr<MessageOutput> jsonLinesOutput(std::unique_ptr<ByteSink> sink,
                                               std::string spoolDirectory, uint64_t size);

} // namespace emltext
