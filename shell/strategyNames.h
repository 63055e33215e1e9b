// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

class HAXPFlow;

/// Strategies as users name them: NAME, or FLOW/NAME where two flows have one of that
/// name. `Kind` is one of strategyKinds.h.
namespace shell {

/// Both flows, synthesis in front.
std::vector<const HAXPFlow*> allFlows();

/// "synth" or "impl".
std::string flowWord(const HAXPFlow& flow);

/// The flow that `word` means, by its short word or its id; null for none.
const HAXPFlow* findFlow(const std::string& word);

/// A name taken apart; without a flow it is looked for in all of them.
struct StrategyReference {
    const HAXPFlow* flow = nullptr;
    std::string name;
};

/// Takes what stands before the first slash for a flow, if it is one.
StrategyReference readReference(const std::string& text);

/// The name of the strategy that `text` means, NAME or FLOW/NAME, for a run of `flow`.
/// @throws CommandError it is one of another flow.
std::string strategyNameFor(const HAXPFlow& flow, const std::string& text);

/// @throws CommandError that there are several called `text`, which are `found`.
[[noreturn]] void failAmbiguous(const std::string& word, const std::string& text,
                                const std::vector<std::string>& found);

/// @throws CommandError that there is none, with the one of `known` that may be meant.
[[noreturn]] void failUnknown(const std::string& verb, const std::string& word,
                              const std::string& text, const std::vector<std::string>& known);

/// @throws CommandError a strategy that comes with xp can't be changed; `verb` is that of
/// its kind, `fullName` its own.
[[noreturn]] void failShipped(const std::string& verb, const std::string& word,
                              const std::string& fullName);

/// "impl/Fast".
template <class Strategy> std::string fullName(const Strategy& strategy) {
    return flowWord(*strategy.getFlow()) + "/" + strategy.getName();
}

/// All that `text` may mean.
template <class Kind>
std::vector<typename Kind::Strategy*> findStrategies(const std::string& text) {
    std::vector<typename Kind::Strategy*> found;
    const auto add = [&found](typename Kind::Strategy* strategy) {
        if (strategy != nullptr)
            found.push_back(strategy);
    };
    for (const HAXPFlow* flow : allFlows())
        add(Kind::find(*flow, text));
    const StrategyReference reference = readReference(text);
    if (found.empty() && reference.flow != nullptr)
        add(Kind::find(*reference.flow, reference.name));
    return found;
}

/// The names of all strategies, with and without their flows.
template <class Kind> std::vector<std::string> knownNames() {
    std::vector<std::string> names;
    for (const HAXPFlow* flow : allFlows()) {
        for (const auto* strategy : Kind::all(*flow)) {
            names.push_back(fullName(*strategy));
            if (std::find(names.begin(), names.end(), strategy->getName()) == names.end())
                names.push_back(strategy->getName());
        }
    }
    return names;
}

/// The only one of `found`. @throws CommandError there is none, or there are several.
template <class Kind>
typename Kind::Strategy& onlyOne(const std::vector<typename Kind::Strategy*>& found,
                                 const std::string& text) {
    if (found.empty())
        failUnknown(Kind::kVerb, Kind::kWord, text, knownNames<Kind>());
    if (found.size() > 1) {
        std::vector<std::string> names;
        names.reserve(found.size());
        for (const auto* strategy : found)
            names.push_back(fullName(*strategy));
        failAmbiguous(Kind::kWord, text, names);
    }
    return *found.front();
}

/// The strategy that `text` means. @throws CommandError none does, or several.
template <class Kind> typename Kind::Strategy& chosenStrategy(const std::string& text) {
    return onlyOne<Kind>(findStrategies<Kind>(text), text);
}

/// The same for one that is to be changed. @throws CommandError it comes with xp.
template <class Kind> typename Kind::Strategy& chosenUsersStrategy(const std::string& text) {
    typename Kind::Strategy& strategy = chosenStrategy<Kind>(text);
    if (!strategy.isUserDefined())
        failShipped(Kind::kVerb, Kind::kWord, fullName(strategy));
    return strategy;
}

/// Two strategies of one flow; a name that both flows know is taken for that of the other
/// one's flow. @throws CommandError as chosenStrategy().
template <class Kind>
std::pair<typename Kind::Strategy*, typename Kind::Strategy*>
chosenPair(const std::string& first, const std::string& second) {
    std::vector<std::pair<typename Kind::Strategy*, typename Kind::Strategy*>> pairs;
    for (auto* a : findStrategies<Kind>(first)) {
        for (auto* b : findStrategies<Kind>(second)) {
            if (a->getFlow() == b->getFlow())
                pairs.emplace_back(a, b);
        }
    }
    if (pairs.size() == 1)
        return pairs.front();
    return {&chosenStrategy<Kind>(first), &chosenStrategy<Kind>(second)};
}

}  // namespace shell
