// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/strategyNames.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "runs/base/xperiment/HAXPFlow.h"
#include "shell/exitStatus.h"
#include "shell/suggestion.h"
#include "workbench/openFlows.h"
#include "workbench/printable.h"

namespace shell {

std::vector<const HAXPFlow*> allFlows() {
    return {OpenFlows::getSynthesis(), OpenFlows::getImplementation()};
}

std::string flowWord(const HAXPFlow& flow) {
    return &flow == OpenFlows::getSynthesis() ? "synth" : "impl";
}

const HAXPFlow* findFlow(const std::string& word) {
    for (const HAXPFlow* flow : allFlows()) {
        if (word == flowWord(*flow) || word == flow->getFlowId())
            return flow;
    }
    return nullptr;
}

StrategyReference readReference(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash != std::string::npos) {
        if (const HAXPFlow* flow = findFlow(text.substr(0, slash)))
            return {flow, text.substr(slash + 1)};
    }
    return {nullptr, text};
}

std::string strategyNameFor(const HAXPFlow& flow, const std::string& text) {
    const StrategyReference reference = readReference(text);
    if (reference.flow != nullptr && reference.flow != &flow)
        throw CommandError(kExitRefused,
                           fmt::format("The run has the flow {0}, and {1} is of another one. "
                                       "Choose one of its own: xp strategy list --flow {0}",
                                       flowWord(flow), text));
    return reference.name;
}

void failAmbiguous(const std::string& word, const std::string& text,
                   const std::vector<std::string>& found) {
    throw CommandError(kExitRefused, fmt::format("There is more than one {} '{}'. Say {}.", word,
                                                 text, fmt::join(found, " or ")));
}

void failUnknown(const std::string& verb, const std::string& word, const std::string& text,
                 const std::vector<std::string>& known) {
    const std::string meant = suggestionFor(text, known);
    const std::string start =
        fmt::format("There is no {} '{}'. ", word, workbench::printable(text));
    throw CommandError(
        kExitRefused,
        start + (meant.empty() ? fmt::format("\"xp {} list\" lists them.", verb)
                               : fmt::format("Did you mean '{}'?", workbench::printable(meant))));
}

void failShipped(const std::string& verb, const std::string& word, const std::string& fullName) {
    throw CommandError(kExitRefused,
                       fmt::format("The {} {} comes with xp and can't be changed. Make a copy and "
                                   "change that: xp {} copy {} NEW",
                                   word, fullName, verb, fullName));
}

}  // namespace shell
