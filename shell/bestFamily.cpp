// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bestFamily.h"

#include <nlohmann/json.hpp>

#include "shell/bestView.h"
#include "shell/exitStatus.h"
#include "shell/familyView.h"

namespace shell {

FamilyChoice chooseFamily(const std::vector<ComparedFamily>& families,
                          const std::vector<std::string>& requirements,
                          const std::vector<std::string>& rules,
                          const statistics::Question& question) {
    if (families.empty())
        throw CommandError(kExitRefused, "None of these runs belongs to a family. Make families "
                                         "with: xp sweep NAME");
    FamilyChoice chosen;
    chosen.medians.reserve(families.size());
    for (const ComparedFamily& family : families)
        chosen.medians.push_back(medianRun(family));
    chosen.choice = chooseBy(chosen.medians, requirements, rules);
    if (chosen.choice.best.empty())
        return chosen;
    std::vector<std::string> figures;
    figures.reserve(chosen.choice.rules.ruleMetrics.size());
    for (const Metric& metric : chosen.choice.rules.ruleMetrics)
        figures.push_back(metric.figure);
    const auto place = static_cast<std::size_t>(chosen.choice.best.front() - chosen.medians.data());
    chosen.pairs = compareBest(families, families[place], figures, question);
    return chosen;
}

nlohmann::json familyChoiceJson(const FamilyChoice& chosen) {
    nlohmann::json json = choiceJson(chosen.choice);
    json["comparisons"] = pairsJson(chosen.pairs);
    return json;
}

}  // namespace shell
