// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/familyComparison.h"

#include <algorithm>

#include "environment/strings/HUTConvert.h"
#include "shell/sweep.h"

namespace shell {

namespace {

ComparedFamily& familyCalled(std::vector<ComparedFamily>& families, const std::string& name) {
    const auto found = std::find_if(families.begin(), families.end(),
                                    [&name](const auto& family) { return family.name == name; });
    if (found != families.end())
        return *found;
    families.push_back({name, {}, {}, {}});
    return families.back();
}

FamilyRow rowOf(const FamilyPair& pair, const reports::Figure& figure,
                const statistics::Question& question) {
    const statistics::Family base = samplesOf(*pair.base, figure.name);
    const statistics::Family other = samplesOf(*pair.other, figure.name);
    return {figure, statistics::summarise(statistics::valuesOf(base)),
            statistics::summarise(statistics::valuesOf(other)),
            statistics::judge(other, base, question)};
}

}  // namespace

std::optional<long> seedOf(const ComparedRun& run) {
    for (const ComparedOption& option : run.options) {
        int seed = 0;
        if (option.name == kSeedOption && HUTConvert::stringToInteger(option.value, seed))
            return seed;
    }
    return std::nullopt;
}

std::vector<ComparedFamily> familiesOf(const std::vector<ComparedRun>& runs) {
    std::vector<ComparedFamily> families;
    for (const ComparedRun& run : runs) {
        if (run.family.empty())
            continue;
        ComparedFamily& family = familyCalled(families, run.family);
        const std::string reason = whyNotJudged(run);
        if (reason.empty())
            family.runs.push_back(run);
        else
            family.leftOut.push_back({&run, reason});
    }
    for (ComparedFamily& family : families) {
        for (const OptionRow& option : differingOptions(family.runs)) {
            if (option.name != kSeedOption)
                family.differing.push_back(option.name);
        }
    }
    return families;
}

statistics::Family samplesOf(const ComparedFamily& family, const std::string& name) {
    statistics::Family samples;
    for (const ComparedRun& run : family.runs) {
        if (const reports::Figure* figure = figureOf(run, name))
            samples.push_back({seedOf(run), figure->value});
    }
    return samples;
}

std::vector<FamilyPair> compareFamilies(const std::vector<ComparedFamily>& families,
                                        const statistics::Question& question) {
    std::vector<FamilyPair> pairs;
    statistics::Question share = question;
    share.level /= static_cast<double>(std::max<std::size_t>(families.size(), 2) - 1);
    for (std::size_t i = 1; i < families.size(); ++i) {
        FamilyPair pair{&families.front(), &families[i], {}};
        std::vector<ComparedRun> runs = pair.base->runs;
        runs.insert(runs.end(), pair.other->runs.begin(), pair.other->runs.end());
        for (const reports::Figure& figure : figureRows(runs))
            pair.rows.push_back(rowOf(pair, figure, share));
        pairs.push_back(pair);
    }
    return pairs;
}

std::vector<FamilyPair> compareBest(const std::vector<ComparedFamily>& families,
                                    const ComparedFamily& best,
                                    const std::vector<std::string>& names,
                                    const statistics::Question& question) {
    std::vector<FamilyPair> pairs;
    const auto count = static_cast<double>(families.size());
    statistics::Question share = question;
    share.level /= std::max(count * (count - 1) / 2, 1.0);
    for (const ComparedFamily& family : families) {
        if (&family == &best)
            continue;
        FamilyPair pair{&family, &best, {}};
        for (const reports::Figure& figure : figureRows(best.runs)) {
            if (std::find(names.begin(), names.end(), figure.name) != names.end())
                pair.rows.push_back(rowOf(pair, figure, share));
        }
        pairs.push_back(pair);
    }
    return pairs;
}

ComparedRun medianRun(const ComparedFamily& family) {
    ComparedRun run;
    run.name = family.name;
    run.isDone = !family.runs.empty();
    run.status = "none of its runs can be judged";
    // Its runs are all stale, not missing.
    run.isStale = family.runs.empty() && !family.leftOut.empty() &&
                  std::any_of(family.leftOut.begin(), family.leftOut.end(),
                              [](const auto& left) { return left.run->isStale; });
    for (const reports::Figure& figure : figureRows(family.runs)) {
        reports::Figure median = figure;
        median.value = statistics::median(statistics::valuesOf(samplesOf(family, figure.name)));
        run.figures.push_back(median);
    }
    return run;
}

}  // namespace shell
