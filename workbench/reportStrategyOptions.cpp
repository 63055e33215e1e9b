// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reportStrategyOptions.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTKeyValIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HUTConvert.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/VersionInfo.h"
#include "workbench/entryRules.h"
#include "workbench/fail.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/suggestion.h"

namespace workbench {

namespace {

using SpecIter = std::unique_ptr<HSTFwdIter<HAXRReportSpec*>>;

void append(std::string& list, const std::string& text) {
    list += (list.empty() ? "" : ", ") + text;
}

std::string orNone(const std::string& list) {
    return list.empty() ? "none" : list;
}

std::string versionText(const VersionInfo& version) {
    return std::to_string(version.major) + "." + std::to_string(version.minor);
}

/// The steps of `flow` of which a report script can make reports: all but the first of an
/// implementation, whose result isn't there yet, and those that write the device's image.
std::vector<std::string> reportSteps(const HAXPFlow& flow) {
    std::vector<std::string> ids;
    bool isFirst = !flow.supportsFlowType(HAXPTypes::FLOW_SYNTH);
    const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> steps(flow.createDefaultFlowStepIter());
    while (steps->hasNext()) {
        const std::string& id = steps->next()->getFlowStepId();
        if (!std::exchange(isFirst, false) && id != "write_bitstream" && id != "write_device_image")
            ids.push_back(id);
    }
    return ids;
}

void requireReportStep(const HAXRReportStrategy& strategy, const std::string& step) {
    const std::vector<std::string> known = reportSteps(*strategy.getFlow());
    if (std::find(known.begin(), known.end(), step) != known.end())
        return;
    std::string list;
    for (const std::string& id : known)
        append(list, id);
    fail("@60-70@%s%s", printable(step), withHint(step, list));
}

/// A copy of the catalogue's report. What the catalogue lacks is told with what it has.
std::unique_ptr<HAXRReportSpec> makeReportSpec(const std::string& name,
                                               const std::string& version) {
    const HAXRReportSpecMgr& catalogue = *HAXRReportSpecMgr::getGlobal();
    const HAXRReportSpec* latest = nullptr;
    std::string list;
    const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> reports(
        catalogue.createReportSpecIterator());
    while (reports->hasNext()) {
        const auto entry = reports->next();
        append(list, entry.first);
        if (entry.first == name)
            latest = entry.second;
    }
    if (latest == nullptr)
        fail("@60-71@%s%s", printable(name), withHint(name, orNone(list)));
    if (version.empty())
        return std::unique_ptr<HAXRReportSpec>(catalogue.getReportSpec(name));
    VersionInfo wanted;
    const std::size_t dot = version.find('.');
    const bool isVersion = dot != std::string::npos &&
                           HUTConvert::stringToInteger(version.substr(0, dot), wanted.major) &&
                           HUTConvert::stringToInteger(version.substr(dot + 1), wanted.minor);
    std::unique_ptr<HAXRReportSpec> spec(isVersion ? catalogue.getReportSpec(name, wanted)
                                                   : nullptr);
    if (spec == nullptr)
        fail("@60-72@%s%s%s", name, printable(version), versionText(latest->getVersion()));
    return spec;
}

bool isFreeDisplayName(const HAXRReportStrategy& strategy, const std::string& step,
                       const std::string& displayName) {
    return strategy.specCount(step) == HAXRReportStrategy::noEntry ||
           strategy.isUniqueReportSpecDisplayName(step, displayName);
}

void nameSpec(const HAXRReportStrategy& strategy, const std::string& step,
              const std::string& displayName, HAXRReportSpec& spec) {
    if (!displayName.empty()) {
        requireStrategyName(displayName);
        spec.setDisplayName(displayName, false);
        spec.modifyDisplayName();
        if (!isFreeDisplayName(strategy, step, spec.getDisplayName()))
            fail("@60-73@%s%s", step, spec.getDisplayName());
        return;
    }
    const std::string base = spec.getDisplayName();
    for (int number = 2; !isFreeDisplayName(strategy, step, spec.getDisplayName()); ++number)
        spec.setDisplayName(base + " " + std::to_string(number), false);
}

/// The reports of a step whose name is `name`, with or without its number.
std::vector<StrategyReport> namedReports(const HAXRReportStrategy& strategy,
                                         const std::string& step, const std::string& name) {
    std::vector<StrategyReport> found;
    std::string list;
    for (const StrategyReport& report : reportsOf(strategy)) {
        append(list, report.step + "." + report.name);
        if (report.step == step && (report.name == name || report.spec->getName() == name))
            found.push_back(report);
    }
    // A number, or a "#1", says which.
    const auto exact = std::find_if(found.begin(), found.end(), [&](const StrategyReport& report) {
        return report.name == name && name != report.spec->getName();
    });
    if (exact != found.end())
        return {*exact};
    if (found.empty())
        fail("@60-74@%s%s", printable(step + "." + name),
             withHint(step + "." + name, orNone(list)));
    return found;
}

/// The only one that `name` means; with several, the first as "#1".
StrategyReport chosenReport(const HAXRReportStrategy& strategy, const std::string& step,
                            const std::string& name) {
    const std::string first = "#1";
    if (name.size() > first.size() && name.substr(name.size() - first.size()) == first)
        return namedReports(strategy, step, name.substr(0, name.size() - first.size())).front();
    const std::vector<StrategyReport> found = namedReports(strategy, step, name);
    if (found.size() > 1)
        fail("@60-75@%s%s", step + "." + name, std::to_string(found.size()));
    return found.front();
}

std::string optionValue(const StrategyReport& report, const HATAttrSpec& option) {
    return optionText(*report.spec->getOptions(), option);
}

/// Every report and each of its options by name.
using OptionValues = std::map<std::pair<std::string, std::string>, std::string>;

OptionValues optionValues(const HAXRReportStrategy& strategy) {
    OptionValues values;
    for (const StrategyReport& report : reportsOf(strategy)) {
        values[{report.step, report.name}] = report.version();
        for (const HATAttrSpec* option : report.options())
            values[{report.step, report.name + "." + option->getName()}] =
                optionValue(report, *option);
    }
    return values;
}

std::string valueAt(const OptionValues& values, const OptionValues::key_type& key) {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

}  // namespace

std::string StrategyReport::version() const {
    return spec->getVersion().isLatest() ? "latest" : versionText(spec->getVersion());
}

std::vector<const HATAttrSpec*> StrategyReport::options() const {
    std::vector<const HATAttrSpec*> all;
    if (spec->getOptions() == nullptr)
        return all;
    for (const auto& option : spec->getOptions()->getOptionsSpec()->getAttrSpecs()) {
        if (!option->isReadOnly())
            all.push_back(option.get());
    }
    return all;
}

std::vector<StrategyReport> reportsOf(const HAXRReportStrategy& strategy) {
    std::vector<StrategyReport> reports;
    const std::unique_ptr<HSTFwdIter<std::string>> steps(strategy.createFlowStepIter());
    while (steps->hasNext()) {
        const std::string step = steps->next();
        const SpecIter specs(strategy.createReportSpecIter(step));
        std::map<std::string, int> counts;
        while (specs != nullptr && specs->hasNext()) {
            HAXRReportSpec* spec = specs->next();
            const int number = ++counts[spec->getName()];
            const std::string tail = number == 1 ? "" : "#" + std::to_string(number);
            reports.push_back({step, spec->getName() + tail, spec});
        }
    }
    return reports;
}

void setReportOption(const HAXRReportStrategy& strategy, const std::string& name,
                     const std::string& value) {
    const std::size_t first = name.find('.');
    const std::size_t second = name.find('.', first + 1);
    if (first == std::string::npos || second == std::string::npos)
        fail("@60-76@%s", printable(name));
    const StrategyReport report =
        chosenReport(strategy, name.substr(0, first), name.substr(first + 1, second - first - 1));
    const std::string optionName = name.substr(second + 1);
    std::string known;
    for (const HATAttrSpec* option : report.options()) {
        append(known, option->getName());
        if (option->getName() != optionName)
            continue;
        requireReportOption(optionName, value);
        std::string reason;
        if (!setOptionText(*report.spec->getOptions(), *option, value, reason))
            fail("@60-23@%s%s", printable(name), sentence(reason));
        return;
    }
    fail("@60-24@%s%s", printable(name), withHint(optionName, orNone(known)));
}

void requireReportValues(const HAXRReportStrategy& strategy) {
    for (const StrategyReport& report : reportsOf(strategy)) {
        for (const HATAttrSpec* option : report.options())
            requireReportOption(option->getName(), optionValue(report, *option));
    }
}

std::string addReport(HAXRReportStrategy& strategy, const std::string& step,
                      const std::string& name, const std::string& version,
                      const std::string& displayName) {
    requireReportStep(strategy, step);
    std::unique_ptr<HAXRReportSpec> spec = makeReportSpec(name, version);
    nameSpec(strategy, step, displayName, *spec);
    const HAXRReportSpec* added = strategy.addSpec(step, spec.get(), false);
    static_cast<void>(spec.release());
    for (const StrategyReport& report : reportsOf(strategy)) {
        if (report.spec == added)
            return report.name;
    }
    return name;
}

void removeReport(HAXRReportStrategy& strategy, const std::string& step, const std::string& name) {
    HAXRReportSpec* spec = chosenReport(strategy, step, name).spec;
    strategy.removeSpec(step, spec, false);
    delete spec;
}

std::vector<ReportDifference> differences(const HAXRReportStrategy& first,
                                          const HAXRReportStrategy& second) {
    const OptionValues a = optionValues(first);
    const OptionValues b = optionValues(second);
    OptionValues all = a;
    all.insert(b.begin(), b.end());
    std::vector<ReportDifference> found;
    for (const auto& entry : all) {
        const std::string inFirst = valueAt(a, entry.first);
        const std::string inSecond = valueAt(b, entry.first);
        if (inFirst != inSecond)
            found.push_back({entry.first.first, entry.first.second, inFirst, inSecond});
    }
    return found;
}

}  // namespace workbench
