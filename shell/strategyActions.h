// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "shell/exitStatus.h"
#include "shell/setting.h"
#include "shell/strategyKinds.h"
#include "shell/strategyNames.h"
#include "workbench/entryRules.h"
#include "workbench/strategies.h"

/// What a user does with strategies, for xp and its Tcl alike. `Kind` is one of
/// strategyKinds.h. Each action holds the lock of the user's strategies while it works, and
/// changes nothing when it throws: a CommandError or HEXUserException with the whole message.
namespace shell {

/// What create, copy and set are to give a strategy.
struct StrategyWishes {
    std::vector<Setting> settings;
    std::optional<std::string> description;

    bool isEmpty() const { return settings.empty() && !description; }

    /// Fulfils them on a strategy that nobody knows yet.
    template <class Kind> void apply(typename Kind::Strategy& strategy) const {
        for (const Setting& setting : settings)
            Kind::setOption(strategy, setting);
        if (description)
            strategy.setDescription(*description);
    }
};

/// A strategy that is gone, and the file that went with it.
struct DeletedStrategy {
    std::string fullName;
    std::string file;
};

template <class Kind>
nlohmann::json strategyJson(const typename Kind::Strategy& strategy, bool withAllOptions) {
    return {{"flow", flowWord(*strategy.getFlow())},
            {"name", strategy.getName()},
            {"shipped", !strategy.isUserDefined()},
            {"description", strategy.getDescription()},
            {"file", strategy.getFilename()},
            {Kind::kContentsKey, Kind::json(strategy, withAllOptions)}};
}

/// @throws CommandError the flow has one called `name` already.
template <class Kind>
void requireFreeName(const HAXPFlow& flow, const std::string& name,
                     const std::string& advice = "Choose another name.") {
    if (Kind::find(flow, name) != nullptr)
        throw CommandError(kExitRefused, fmt::format("There is a {} {}/{} already. {}", Kind::kWord,
                                                     flowWord(flow), name, advice));
}

template <class Kind>
typename Kind::Strategy& createStrategy(const std::string& name, const HAXPFlow& flow,
                                        const StrategyWishes& wishes) {
    workbench::requireStrategyName(name);
    const workbench::StrategyLock lock;
    requireFreeName<Kind>(flow, name);
    const typename Kind::Owned wanted = Kind::makeNew(flow);
    wishes.apply<Kind>(*wanted);
    return *Kind::admit(*wanted, name);
}

template <class Kind>
typename Kind::Strategy& copyStrategy(const std::string& from, const std::string& name,
                                      const StrategyWishes& wishes) {
    workbench::requireStrategyName(name);
    const workbench::StrategyLock lock;
    const typename Kind::Strategy& source = chosenStrategy<Kind>(from);
    requireFreeName<Kind>(*source.getFlow(), name);
    const typename Kind::Owned wanted = Kind::makeCopy(source);
    wishes.apply<Kind>(*wanted);
    return *Kind::admit(*wanted, name);
}

template <class Kind>
typename Kind::Strategy& renameStrategy(const std::string& from, const std::string& name) {
    workbench::requireStrategyName(name);
    const workbench::StrategyLock lock;
    typename Kind::Strategy& strategy = chosenUsersStrategy<Kind>(from);
    requireFreeName<Kind>(*strategy.getFlow(), name);
    Kind::rename(strategy, name);
    return strategy;
}

template <class Kind> void changeStrategy(const std::string& name, const StrategyWishes& wishes) {
    const workbench::StrategyLock lock;
    typename Kind::Strategy& strategy = chosenUsersStrategy<Kind>(name);
    const typename Kind::Owned wanted = Kind::makeCopy(strategy);
    wishes.apply<Kind>(*wanted);
    Kind::takeOver(strategy, *wanted);
}

/// @throws CommandError the file is still there: what was deleted would come back.
template <class Kind> void removeStrategyFile(const DeletedStrategy& strategy) {
    if (HUTFile::exists(strategy.file) && !HUTFile(strategy.file).rm())
        throw CommandError(kExitRefused,
                           fmt::format("The {} {} stays, as its file {} can't be removed: {}. "
                                       "Get the right to write there, then try again.",
                                       Kind::kWord, strategy.fullName, strategy.file,
                                       std::strerror(errno)));
}

/// All are looked up first: one that is refused leaves the others alone. `tell` hears of
/// each that is gone.
template <class Kind, class Tell>
void deleteStrategies(const std::vector<std::string>& names, Tell tell) {
    const workbench::StrategyLock lock;
    std::vector<typename Kind::Strategy*> chosen;
    for (const std::string& name : names) {
        auto* strategy = &chosenUsersStrategy<Kind>(name);
        if (std::find(chosen.begin(), chosen.end(), strategy) == chosen.end())
            chosen.push_back(strategy);
    }
    for (auto* strategy : chosen) {
        const DeletedStrategy deleted{fullName(*strategy), strategy->getFilename()};
        Kind::remove(*strategy);
        removeStrategyFile<Kind>(deleted);
        tell(deleted);
    }
}

/// The strategies of the file, `as` in the place of the name of its only one. Nothing is
/// taken unless all can be.
template <class Kind>
std::vector<typename Kind::Strategy*> importStrategies(const std::string& file,
                                                       const std::optional<std::string>& as) {
    if (as)
        workbench::requireStrategyName(*as);
    const workbench::StrategyLock lock;
    const std::vector<typename Kind::Owned> read = Kind::read(file);
    if (as && read.size() != 1)
        throw CommandError(kExitRefused,
                           fmt::format("{} holds {} of them, which can't all be called {}. "
                                       "Import it without --as.",
                                       file, read.size(), *as));
    const auto nameFor = [&as](const typename Kind::Strategy& strategy) {
        return as ? *as : strategy.getName();
    };
    for (const auto& strategy : read) {
        const std::string name = nameFor(*strategy);
        workbench::requireStrategyName(name);
        requireFreeName<Kind>(*strategy->getFlow(), name,
                              fmt::format("Take it under another name: xp {} import {} --as NAME",
                                          Kind::kVerb, file));
    }
    std::vector<typename Kind::Strategy*> made;
    made.reserve(read.size());
    for (const auto& strategy : read)
        made.push_back(Kind::admit(*strategy, nameFor(*strategy)));
    return made;
}

}  // namespace shell
