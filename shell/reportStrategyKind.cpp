// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <nlohmann/json.hpp>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "shell/strategyKinds.h"
#include "workbench/optionText.h"
#include "workbench/reportStrategyOptions.h"
#include "workbench/strategies.h"

namespace shell {

using workbench::StrategyReport;

namespace {

bool isChangedIn(const StrategyReport& report, const HATAttrSpec& option) {
    return !report.spec->getOptions()->isDefault(&option);
}

std::string valueIn(const StrategyReport& report, const HATAttrSpec& option) {
    return workbench::optionText(*report.spec->getOptions(), option);
}

nlohmann::json strategyReportOptions(const StrategyReport& report, bool all) {
    nlohmann::json options = nlohmann::json::array();
    for (const HATAttrSpec* option : report.options()) {
        if (all || isChangedIn(report, *option))
            options.push_back({{"option", option->getName()},
                               {"value", valueIn(report, *option)},
                               {"default", workbench::defaultText(*option)},
                               {"changed", isChangedIn(report, *option)}});
    }
    return options;
}

}  // namespace

std::vector<HAXRReportStrategy*> ReportStrategyKind::all(const HAXPFlow& flow) {
    return workbench::reportStrategiesOf(flow);
}

HAXRReportStrategy* ReportStrategyKind::find(const HAXPFlow& flow, const std::string& name) {
    return workbench::findReportStrategy(flow, name);
}

ReportStrategyKind::Owned ReportStrategyKind::makeNew(const HAXPFlow& flow) {
    // Options are looked up in the report catalogue, which is read with the strategies.
    workbench::restoreStrategies();
    return Owned(new HAXRReportStrategy(&flow));
}

ReportStrategyKind::Owned ReportStrategyKind::makeCopy(const HAXRReportStrategy& source) {
    Owned copy(new HAXRReportStrategy(source.getFlow()));
    copy->copyStrat(&source);
    copy->setModified();
    return copy;
}

void ReportStrategyKind::setOption(HAXRReportStrategy& strategy, const Setting& setting) {
    workbench::setReportOption(strategy, setting.name, setting.value);
}

HAXRReportStrategy* ReportStrategyKind::admit(const HAXRReportStrategy& source,
                                              const std::string& name) {
    return HAXPMgr::getGlobal()->copyReportStrategy(&source, name);
}

void ReportStrategyKind::takeOver(HAXRReportStrategy& strategy, const HAXRReportStrategy& source) {
    strategy.copyStrat(&source);
}

void ReportStrategyKind::rename(HAXRReportStrategy& strategy, const std::string& name) {
    HAXPMgr::getGlobal()->renameReportStrategy(&strategy, name);
}

void ReportStrategyKind::remove(HAXRReportStrategy& strategy) {
    HAXPMgr::getGlobal()->deleteReportStrategy(&strategy);
}

std::string ReportStrategyKind::summary(const HAXRReportStrategy& strategy) {
    std::string text;
    std::string step;
    for (const StrategyReport& report : workbench::reportsOf(strategy)) {
        if (report.step != step)
            text += (text.empty() ? "" : "; ") + report.step + ": " + report.name;
        else
            text += " " + report.name;
        step = report.step;
    }
    return text;
}

Rows ReportStrategyKind::rows(const HAXRReportStrategy& strategy) {
    Rows rows{{"", "Step", "Report", "Version", "Shown as", "Option", "Value", "Default"}, {}};
    for (const StrategyReport& report : workbench::reportsOf(strategy)) {
        const std::string shown = report.spec->getDisplayName();
        for (const HATAttrSpec* option : report.options())
            rows.rows.push_back({isChangedIn(report, *option) ? "*" : " ", report.step, report.name,
                                 report.version(), shown, option->getName(),
                                 valueIn(report, *option), workbench::defaultText(*option)});
        if (report.options().empty())
            rows.rows.push_back({" ", report.step, report.name, report.version(), shown});
    }
    return rows;
}

nlohmann::json ReportStrategyKind::json(const HAXRReportStrategy& strategy, bool all) {
    nlohmann::json reports = nlohmann::json::array();
    for (const StrategyReport& report : workbench::reportsOf(strategy))
        reports.push_back({{"step", report.step},
                           {"report", report.name},
                           {"version", report.version()},
                           {"shown_as", report.spec->getDisplayName()},
                           {"options", strategyReportOptions(report, all)}});
    return reports;
}

std::vector<Difference> ReportStrategyKind::differences(HAXRReportStrategy& first,
                                                        HAXRReportStrategy& second) {
    std::vector<Difference> all;
    for (const auto& found : workbench::differences(first, second))
        all.push_back({found.step, found.name, found.first, found.second});
    return all;
}

std::vector<ReportStrategyKind::Owned> ReportStrategyKind::read(const std::string& path) {
    workbench::restoreStrategies();
    return workbench::readReportStrategyFile(path);
}

void ReportStrategyKind::write(HAXRReportStrategy& strategy, const std::string& path,
                               bool replace) {
    workbench::writeReportStrategyFile(strategy, path, replace);
}

}  // namespace shell
