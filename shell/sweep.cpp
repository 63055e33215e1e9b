// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/sweep.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include <fmt/format.h>

#include "environment/strings/HUTConvert.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/setting.h"
#include "shell/strategyNames.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/entryRules.h"
#include "workbench/optionText.h"
#include "workbench/runFamily.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

/// A part of a sweep: runs that differ in their seed alone.
struct FamilyPlan {
    std::string name;
    std::string strategy;
    std::string synthesis;
};

[[noreturn]] void refuseSeeds(const std::string& text) {
    throw CommandError(kExitUsage,
                       fmt::format("'{}' can't be seeds. Say numbers and ranges with commas "
                                   "between, each seed once: 1-6 or 1,3,7-9",
                                   text));
}

/// Digits only, in the range of an int as the tools have it; else -1.
long readSeed(const std::string& text) {
    int seed = 0;
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos ||
        !HUTConvert::stringToInteger(text, seed))
        return -1;
    return seed;
}

/// The words between the commas of `text`; "a," has an empty second one.
std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text + ",");
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, ',');)
        words.push_back(word);
    return words;
}

/// `name` with an underscore for each character that a run's name can't hold.
std::string fitForName(const std::string& name) {
    std::string fit;
    for (const char c : name) {
        const bool good = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' ||
                          c == '_' || c == '+' || c == '-';
        fit += good && static_cast<unsigned char>(c) < 0x80 ? c : '_';
    }
    return fit;
}

/// The synthesis with that strategy and no option of its own; null when there is none.
HAXPExpRun* synthesisWith(const Project& project, HAXPStrategy& strategy) {
    for (HAXPExpRun* run : project.getRuns()) {
        if (flowWord(*run) == "synth" && run->getStrategy()->getName() == strategy.getName() &&
            workbench::differences(*run->getStrategy(), strategy).empty())
            return run;
    }
    return nullptr;
}

std::string nameForSynthesis(const Project& project, const std::string& sweep,
                             const std::string& strategy) {
    const std::string name = "synth_" + fitForName(strategy);
    return project.findRun(name) == nullptr ? name : sweep + "_" + name;
}

/// The names of the syntheses that `request` starts from; those that are made go to `made`.
std::vector<std::string> synthesesFor(Project& project, const SweepRequest& request,
                                      std::vector<HAXPExpRun*>& made) {
    std::vector<std::string> names = request.syntheses;
    const HAXPFlow& flow = flowOf("synth");
    for (const std::string& text : request.synthesisStrategies) {
        const std::string name = strategyNameFor(flow, text);
        HAXPStrategy* strategy = workbench::findStrategy(flow, name);
        HAXPExpRun* run = strategy == nullptr ? nullptr : synthesisWith(project, *strategy);
        if (run == nullptr) {
            run = &project.createRun(nameForSynthesis(project, request.name, name), flow, name, "");
            made.push_back(run);
        }
        names.push_back(run->getName());
    }
    return names;
}

std::vector<FamilyPlan> planFamilies(const SweepRequest& request) {
    std::vector<FamilyPlan> families;
    const std::vector<std::string> syntheses =
        request.syntheses.empty() ? std::vector<std::string>{""} : request.syntheses;
    for (const std::string& synthesis : syntheses) {
        const std::string start =
            syntheses.size() > 1 ? request.name + "_" + synthesis : request.name;
        for (const std::string& strategy : request.strategies) {
            const std::string name = strategyNameFor(*request.flow, strategy);
            families.push_back({start + "_" + fitForName(name), name, synthesis});
        }
    }
    return families;
}

/// A name that is a run's and a family's or sweep's would mean two things.
void requireNoRun(const Project& project, const std::string& name) {
    workbench::requireRunName(name);
    if (project.findRun(name) != nullptr)
        throw CommandError(kExitRefused,
                           fmt::format("There is a run {} already, and the sweep would have a "
                                       "family of that name. Nothing is made; choose another "
                                       "name.",
                                       name));
}

HAXPExpRun& makeRun(Project& project, const SweepRequest& request, const FamilyPlan& family,
                    long seed) {
    HAXPExpRun& run = project.createRun(fmt::format("{}_s{}", family.name, seed), *request.flow,
                                        family.strategy, family.synthesis, request.reportStrategy);
    if (!request.toStep.empty())
        project.setToStep(run, request.toStep);
    for (const Setting& setting : readSettings(request.settings))
        project.setOption(run, setting.name, setting.value);
    project.setOption(run, kSeedOption, std::to_string(seed));
    project.setFamilyOf(run, {request.name, family.name});
    return run;
}

}  // namespace

std::optional<long> seedOf(const HAXPExpRun& run) {
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy())) {
        int seed = 0;
        if (option.fullName() == kSeedOption &&
            HUTConvert::stringToInteger(workbench::optionText(*option.group, *option.spec), seed))
            return seed;
    }
    return std::nullopt;
}

std::vector<long> readSeeds(const std::string& text) {
    std::vector<long> seeds;
    for (const std::string& word : wordsOf(text)) {
        const std::size_t dash = word.find('-');
        const long first = readSeed(word.substr(0, dash));
        const long last = dash == std::string::npos ? first : readSeed(word.substr(dash + 1));
        if (first < 0 || last < first || last - first >= static_cast<long>(kMostSweepRuns))
            refuseSeeds(text);
        for (long seed = first; seed <= last; ++seed) {
            if (std::find(seeds.begin(), seeds.end(), seed) != seeds.end())
                refuseSeeds(text);
            seeds.push_back(seed);
        }
    }
    return seeds;
}

std::vector<std::string> readNames(const std::string& text, const std::string& what) {
    std::vector<std::string> names;
    for (const std::string& name : wordsOf(text)) {
        if (name.empty() || std::find(names.begin(), names.end(), name) != names.end())
            throw CommandError(kExitUsage,
                               fmt::format("'{}' can't be {}. Say names with commas between, each "
                                           "once.",
                                           text, what));
        names.push_back(name);
    }
    return names;
}

std::vector<HAXPExpRun*> makeSweep(Project& project, const SweepRequest& wanted) {
    if (flowWord(*wanted.flow) != "impl")
        throw CommandError(kExitRefused, "A synthesis has no seed. Make each with xp create, and "
                                         "sweep implementations of them: --synth synth_1,synth_2");
    std::vector<HAXPExpRun*> runs;
    SweepRequest request = wanted;
    request.syntheses = synthesesFor(project, wanted, runs);
    const std::vector<FamilyPlan> families = planFamilies(request);
    if (families.size() * request.seeds.size() > kMostSweepRuns)
        throw CommandError(kExitRefused,
                           fmt::format("The sweep would have {} runs, and {} is the "
                                       "most. Choose fewer strategies or seeds.",
                                       families.size() * request.seeds.size(), kMostSweepRuns));
    requireNoRun(project, request.name);
    for (const FamilyPlan& family : families)
        requireNoRun(project, family.name);
    for (const FamilyPlan& family : families) {
        for (const long seed : request.seeds)
            runs.push_back(&makeRun(project, request, family, seed));
    }
    return runs;
}

}  // namespace shell
