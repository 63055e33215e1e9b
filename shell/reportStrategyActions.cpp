// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/reportStrategyActions.h"

#include <fmt/format.h>

#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "shell/strategyActions.h"
#include "workbench/reportStrategyOptions.h"

namespace shell {

AddedReport addStrategyReport(const std::string& strategy, const WantedReport& wanted) {
    const workbench::StrategyLock lock;
    auto& changed = chosenUsersStrategy<ReportStrategyKind>(strategy);
    const auto copy = ReportStrategyKind::makeCopy(changed);
    const std::string called =
        workbench::addReport(*copy, wanted.step, wanted.report, wanted.version, wanted.shownAs);
    // The first of its name has no number, but would be meant by "#1" alone later on.
    const std::string number = called == wanted.report ? "#1" : "";
    for (const Setting& setting : wanted.settings)
        workbench::setReportOption(
            *copy, fmt::format("{}.{}{}.{}", wanted.step, called, number, setting.name),
            setting.value);
    ReportStrategyKind::takeOver(changed, *copy);
    return {called, &changed};
}

const HAXRReportStrategy& removeStrategyReport(const std::string& strategy, const std::string& step,
                                               const std::string& report) {
    const workbench::StrategyLock lock;
    auto& changed = chosenUsersStrategy<ReportStrategyKind>(strategy);
    const auto copy = ReportStrategyKind::makeCopy(changed);
    workbench::removeReport(*copy, step, report);
    ReportStrategyKind::takeOver(changed, *copy);
    return changed;
}

}  // namespace shell
