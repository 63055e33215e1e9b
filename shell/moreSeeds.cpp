// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/moreSeeds.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/addOnce.h"
#include "shell/exitStatus.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/sweep.h"
#include "shell/terminal.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/optionText.h"
#include "workbench/runFamily.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

/// The options of `run` but its seed, as texts.
std::vector<ComparedOption> optionsOf(const HAXPExpRun& run) {
    std::vector<ComparedOption> options;
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy())) {
        if (option.fullName() != kSeedOption)
            options.push_back(
                {option.fullName(), workbench::optionText(*option.group, *option.spec)});
    }
    return options;
}

bool isSame(const std::vector<ComparedOption>& first, const std::vector<ComparedOption>& second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](const ComparedOption& a, const ComparedOption& b) {
                          return a.name == b.name && a.value == b.value;
                      });
}

/// The run that the others of its family are to be like.
HAXPExpRun& patternOf(const Project& project, const std::string& family) {
    const std::vector<HAXPExpRun*> runs = runsOfFamily(project, family);
    const std::vector<ComparedOption> options = optionsOf(*runs.front());
    for (const HAXPExpRun* run : runs) {
        if (!isSame(optionsOf(*run), options) ||
            project.getSynthesisOf(*run) != project.getSynthesisOf(*runs.front()))
            throw CommandError(
                kExitRefused,
                fmt::format("{} and {} of the family {} differ in more than their seed, so it "
                            "isn't known what more runs of it are to be like. \"xp diff {} {}\" "
                            "shows where; make them alike first.",
                            runs.front()->getName(), run->getName(), family,
                            runs.front()->getName(), run->getName()));
    }
    return *runs.front();
}

HAXPExpRun& makeLike(Project& project, const HAXPExpRun& pattern, long seed) {
    const workbench::RunFamily family = project.getFamilyOf(pattern);
    HAXPExpRun& run = project.createRun(fmt::format("{}_s{}", family.name, seed),
                                        flowOf(flowWord(pattern)), pattern.getStrategy()->getName(),
                                        project.getSynthesisOf(pattern)->getName(),
                                        pattern.getReportStrategyName());
    std::string toStep;
    if (pattern.getToStep() != nullptr)
        project.setToStep(run, pattern.getToStepId(toStep));
    const std::vector<ComparedOption> own = optionsOf(run);
    const std::vector<ComparedOption> wanted = optionsOf(pattern);
    for (std::size_t i = 0; i < wanted.size() && i < own.size(); ++i) {
        if (own[i].value != wanted[i].value)
            project.setOption(run, wanted[i].name, wanted[i].value);
    }
    project.setOption(run, kSeedOption, std::to_string(seed));
    project.setFamilyOf(run, family);
    return run;
}

}  // namespace

MoreSeeds moreSeedsFor(const std::vector<FamilyPair>& pairs, const std::string& figure) {
    MoreSeeds more;
    for (const FamilyPair& pair : pairs) {
        for (const FamilyRow& row : pair.rows) {
            if (row.figure.name != figure || row.verdict.outcome != statistics::Outcome::kCantTell)
                continue;
            more.label = row.figure.label;
            if (!row.verdict.moreSeeds) {
                more.hopeless.push_back(pair.other->name);
                continue;
            }
            addOnce(pair.base->name, more.families);
            addOnce(pair.other->name, more.families);
            more.count = std::max(more.count, *row.verdict.moreSeeds);
        }
    }
    return more;
}

std::string moreSeedsQuestion(const MoreSeeds& more, const std::vector<long>& seeds) {
    return fmt::format("{} of {} can't be told apart: about {} more seed{} of each needed. Make "
                       "{} runs (seeds {}) and launch them?",
                       more.label, fmt::join(more.families, ", "), more.count,
                       more.count == 1 ? "" : "s", more.runs(),
                       seeds.size() == 1 ? std::to_string(seeds.front())
                                         : fmt::format("{}-{}", seeds.front(), seeds.back()));
}

std::vector<long> nextSeeds(const Project& project, const MoreSeeds& more) {
    long last = 0;
    for (const std::string& family : more.families) {
        for (const HAXPExpRun* run : runsOfFamily(project, family))
            last = std::max(last, seedOf(*run).value_or(0));
    }
    const auto isTaken = [&](long seed) {
        return std::any_of(more.families.begin(), more.families.end(), [&](const auto& family) {
            return project.findRun(fmt::format("{}_s{}", family, seed)) != nullptr;
        });
    };
    std::vector<long> seeds;
    while (seeds.size() < more.count) {
        if (!isTaken(++last))
            seeds.push_back(last);
    }
    return seeds;
}

std::vector<HAXPExpRun*> makeMoreSeeds(Project& project, const MoreSeeds& more,
                                       const std::vector<long>& seeds) {
    if (more.families.size() * seeds.size() > kMostSweepRuns)
        throw CommandError(kExitRefused,
                           fmt::format("That would be {} runs, and {} is the most at once. Make "
                                       "some of them with: xp sweep",
                                       more.families.size() * seeds.size(), kMostSweepRuns));
    std::vector<HAXPExpRun*> runs;
    for (const std::string& family : more.families) {
        const HAXPExpRun& pattern = patternOf(project, family);
        for (const long seed : seeds)
            runs.push_back(&makeLike(project, pattern, seed));
    }
    return runs;
}

bool canAsk() {
    return isatty(STDIN_FILENO) != 0 && Terminal::error().isTerminal();
}

bool agrees(const std::string& question) {
    fmt::print(stderr, "{} [y/N] ", question);
    std::fflush(stderr);
    std::string answer;
    if (!std::getline(std::cin, answer)) {
        fmt::print(stderr, "\n");
        return false;
    }
    return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace shell
