// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/reportNames.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "shell/exitStatus.h"
#include "shell/strategyNames.h"
#include "shell/suggestion.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/RunReports.h"
#include "workbench/printable.h"
#include "workbench/strategies.h"

namespace shell {

namespace {

/// The names of `report`, the handiest first; a report of the run's own has no command.
std::vector<std::string> namesOfReport(const HAXRReportConfig& report) {
    const std::string head = reportConfigUtil::getStepAlias(report.getAssociatedStepName()) + ".";
    std::vector<std::string> names;
    for (const std::string& name : {report.getSpecName(), report.getDisplayName()}) {
        if (!name.empty())
            names.insert(names.end(), {name, head + name});
    }
    names.push_back(report.getName());
    return names;
}

/// Whether a shell takes `name` as one word, so that it can be typed as it is told.
bool isPlainWord(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_' || c == '.' || c == '-' || c == '+';
    });
}

}  // namespace

std::string shortName(const RunReports& reports, const HAXRReportConfig& report) {
    for (const std::string& name : namesOfReport(report)) {
        if (!isPlainWord(name))
            continue;
        const std::vector<HAXRReportConfig*> meant = reports.find(name);
        if (meant.size() == 1 && meant.front() == &report)
            return name;
    }
    return report.getName();
}

HAXRReportConfig& chosenReport(HAXPExpRun& run, const std::string& name) {
    const RunReports reports(run);
    if (!reports.find(name).empty())
        return reports.get(name);
    std::vector<std::string> known;
    for (const HAXRReportConfig* report : reports.all()) {
        for (const std::string& one : namesOfReport(*report)) {
            if (std::find(known.begin(), known.end(), one) == known.end())
                known.push_back(one);
        }
    }
    const std::string meant = suggestionFor(name, known);
    if (meant.empty())
        return reports.get(name);
    throw CommandError(kExitRefused,
                       fmt::format("The run {} has no report '{}'. Did you mean '{}'?",
                                   run.getName(), name, meant));
}

std::vector<HAXRReportConfig*> chosenReports(HAXPExpRun& run,
                                             const std::vector<std::string>& names) {
    if (names.empty())
        return RunReports(run).all();
    std::vector<HAXRReportConfig*> chosen;
    for (const std::string& name : names) {
        HAXRReportConfig* report = &chosenReport(run, name);
        if (std::find(chosen.begin(), chosen.end(), report) == chosen.end())
            chosen.push_back(report);
    }
    return chosen;
}

std::string chosenReportStrategy(const HAXPFlow& flow, const std::string& text) {
    if (workbench::findReportStrategy(flow, text) != nullptr)
        return text;
    const StrategyReference reference = readReference(text);
    if (reference.flow == &flow && workbench::findReportStrategy(flow, reference.name) != nullptr)
        return reference.name;
    std::vector<std::string> known;
    for (const HAXRReportStrategy* strategy : workbench::reportStrategiesOf(flow))
        known.push_back(workbench::printable(strategy->getName()));
    const std::string meant = suggestionFor(text, known);
    const std::string advice = !meant.empty() ? fmt::format("Did you mean '{}'?", meant)
                               : known.empty()
                                   ? "There are none for this flow."
                                   : fmt::format("Choose one of: {}.", fmt::join(known, ", "));
    throw CommandError(kExitRefused, fmt::format("There is no report strategy '{}' for the flow "
                                                 "{}. {}",
                                                 text, flowWord(flow), advice));
}

}  // namespace shell
