// SPDX-License-Identifier: MIT
// What a failing host service may do to a call: the codes it may end with, the text that may be
// missing, and the files that may stay behind. One row for each rule, with its reason.
#ifndef QOB_TESTS_FAULT_RULES_H
#define QOB_TESTS_FAULT_RULES_H

#include <set>

#include "message_run.h"

// What a failure does to the text.
enum class Effect {
    kNone,     // neither code nor text change
    kOmits,    // text is missing; what is left stands in its order
    kMisreads, // bytes of a file are not what they are: any text
};

struct ServiceRule {
    Service service;
    std::set<int32_t> codes; // beside the code of a run without a fault
    Effect effect;
    const char *reason;
};

const ServiceRule &ruleOf(Service service);

// A run without a fault, and the text that it would have given without an output limit.
struct CleanRun {
    MessageRun run;
    std::string wholeText;
};
CleanRun cleanRun(const SweptMessage &message, Mode mode);

// The code that exactly this fault must end with, where a rule names one.
std::optional<int32_t> certainCode(const SweptMessage &message, Mode mode, const Fault &fault,
                                   const CleanRun &clean, const FaultSite &site);

// A reason for one more file to stay behind than in a run without a fault.
struct LeftoverRule {
    const char *reason;
    bool (*applies)(const SweptMessage &message, const Fault &fault, int32_t code);
};
const std::vector<LeftoverRule> &leftoverRules();

// Checks one run with a fault against all rules; adds failures to the running test.
void expectRuled(const SweptMessage &message, Mode mode, const Fault &fault, const CleanRun &clean,
                 const MessageRun &run);

// A run without a fault gives its code, and leaves what its message says.
void expectClean(const SweptMessage &message, Mode mode, const MessageRun &run);

// Nothing that no rule may leave: blocks, logs, converters, misuse of the host.
void expectReleased(const Remains &remains);

#endif
