// SPDX-License-Identifier: MIT
#include "message_run.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr const char *kInput = "/mail/in.eml";
constexpr const char *kOutput = "/out/text";

} // namespace

HostParams paramsOf(const SweptMessage &message) {
    HostParams params = {};
    std::strcpy(params.outputName, "UTF-8");
    std::strcpy(params.language, "English");
    params.flags = message.flags;
    params.options = message.options | EML_OPT_LOG;
    params.outputLimit = message.limit;
    return params;
}

MessageRun runMessage(const SweptMessage &message, Mode mode, const std::optional<Fault> &fault) {
    const HostParams params = paramsOf(message);
    SweepHost host;
    host.putFile(kInput, message.text);
    host.putFile(kOutput, kOldOutput);
    host.fault = fault;
    MessageRun run;
    if (mode == Mode::kFile) {
        run.code = GetTextWithErrCallback(kInput, kOutput, &params, nullptr, nullptr);
        const auto output = host.files.find(kOutput);
        run.output = output == host.files.end() ? std::nullopt : std::optional(*output->second);
    } else {
        run.code = GetTextStreamWithErrCallback(kInput, reinterpret_cast<QobStream *>(&host),
                                                &params, nullptr, nullptr);
        run.output = host.stream;
    }
    run.remains = remainsOf(host, {kInput, kOutput});
    run.created = host.created;
    run.calls = host.calls;
    run.allCalls = host.allCalls;
    run.site = host.site;
    return run;
}

std::vector<Fault> faultsOf(const std::array<int, kServiceCount> &calls) {
    std::vector<Fault> faults;
    for (size_t s = 0; s < kServiceCount; ++s) {
        const auto service = static_cast<Service>(s);
        const bool inPartToo = service == Service::kRead || service == Service::kWrite;
        for (int call = 1; call <= calls[s]; ++call) {
            for (const bool persistent : {false, true}) {
                faults.push_back({service, call, persistent, false});
                if (inPartToo) {
                    faults.push_back({service, call, persistent, true});
                }
            }
        }
    }
    return faults;
}

std::string toldOf(const Fault &fault) {
    return std::string(nameOf(fault.service)) + " " + std::to_string(fault.call) +
           (fault.persistent ? " and later" : "") + (fault.partial ? ", in part" : "");
}

Remains remainsOf(const SweepHost &host, const std::vector<std::string> &known) {
    Remains remains;
    for (const auto &[name, content] : host.files) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            remains.files.push_back(name);
        }
    }
    remains.openFiles = host.openFiles;
    remains.openLogs = host.openLogs;
    remains.openConverters = host.openConverters;
    remains.blocks = host.liveBlocks();
    remains.failedRemovals = host.failedRemovals;
    remains.misuse = host.misuse;
    return remains;
}
