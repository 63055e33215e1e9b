// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runDetails.h"

#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTFwdKeyIter.h"
#include "environment/files/HUTFile.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "shell/reportView.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

/// A file that a run reads or leaves, and whether it is there.
struct RunFile {
    std::string type;
    std::string path;
    bool exists;
};

std::vector<RunFile> filesOf(const HAXPExpRun& run) {
    std::vector<RunFile> files;
    const OpenRunInfo& info = run.getInfo();
    const std::unique_ptr<HSTFwdKeyIter<HAXPTypes::FileType>> types(info.createFileTypeIter());
    while (types->hasNext()) {
        const HAXPTypes::FileType type = types->next();
        HSTVector<std::string> names;
        info.getFiles(type, names);
        for (const std::string& name : names) {
            // A report that isn't published leaves an empty name.
            if (name.empty())
                continue;
            const std::string path = name.front() == '/' ? name : run.pathOf(name);
            files.push_back({HAXPTypes::getFileTypeId(type), path, HUTFile::isFile(path)});
        }
    }
    return files;
}

std::string line(const char* title, const std::string& value) {
    return value.empty() ? std::string() : fmt::format("{:<14}{}\n", title, value);
}

std::string lines(const char* title, const std::vector<std::string>& values) {
    std::string text;
    for (const std::string& value : values)
        text += line(text.empty() ? title : "", value);
    return text;
}

/// A text of several lines under its title: the later ones are moved in.
std::string movedIn(const std::string& text) {
    std::string moved;
    for (const char c : text)
        moved += c == '\n' ? std::string("\n") + std::string(14, ' ') : std::string(1, c);
    return moved;
}

std::string synthesisName(const Project& project, const HAXPExpRun& run) {
    const HAXPExpRun* synthesis = project.getSynthesisOf(run);
    return synthesis == nullptr ? std::string() : synthesis->getName();
}

std::string toStepWord(const HAXPExpRun& run) {
    const HAXPExpRunStep* last = run.getToStep();
    return last == nullptr ? std::string() : last->getFlowStep()->getFlowStepId();
}

/// The strategy that the run took its values from, as it is now; null when there is none
/// of that name any more.
HAXPStrategy* currentStrategy(const HAXPExpRun& run) {
    const HAXPStrategy& own = *run.getStrategy();
    return workbench::findStrategy(*own.getFlow(), own.getName());
}

std::vector<workbench::OptionDifference> strategyDifferences(const HAXPExpRun& run) {
    HAXPStrategy* current = currentStrategy(run);
    return current == nullptr ? std::vector<workbench::OptionDifference>()
                              : workbench::differences(*run.getStrategy(), *current);
}

std::string strategyText(const HAXPExpRun& run) {
    const std::string& name = run.getStrategy()->getName();
    if (name.empty() || currentStrategy(run) != nullptr)
        return workbench::printable(name);
    return workbench::printable(name) + "  (gone; the run keeps its values)";
}

std::vector<std::string> differenceTexts(const HAXPExpRun& run) {
    std::vector<std::string> texts;
    for (const auto& found : strategyDifferences(run))
        texts.push_back(workbench::printable(fmt::format("{}.{} = {}  (strategy {})", found.step,
                                                         found.name, found.first, found.second)));
    return texts;
}

nlohmann::json differencesJson(const HAXPExpRun& run) {
    nlohmann::json all = nlohmann::json::array();
    for (const auto& found : strategyDifferences(run))
        all.push_back({{"step", found.step},
                       {"option", found.name},
                       {"value", found.first},
                       {"strategy_value", found.second}});
    return all;
}

}  // namespace

std::vector<OptionChoice> changedOptions(const HAXPStrategy& strategy) {
    std::vector<OptionChoice> choices;
    const std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> entries(
        strategy.createFlowStepOptionsIter());
    while (entries->hasNext()) {
        const HAXPFlowStepOptions* entry = entries->next();
        for (const HATOptGroup* group : {entry->getOptions(), entry->getAttrs()}) {
            for (const auto& spec : group->getOptionsSpec()->getAttrSpecs()) {
                if (!spec->isReadOnly() && !group->isDefault(spec.get()))
                    choices.push_back({entry->getOptGrpId(), spec->getName(),
                                       workbench::optionText(*group, *spec),
                                       workbench::defaultText(*spec)});
            }
        }
    }
    return choices;
}

nlohmann::json optionsJson(const HAXPStrategy& strategy) {
    nlohmann::json all = nlohmann::json::array();
    for (const OptionChoice& option : changedOptions(strategy))
        all.push_back({{"step", option.step},
                       {"option", option.name},
                       {"value", option.value},
                       {"default", option.defaultValue}});
    return all;
}

std::string projectText(const Project& project) {
    const DesignInputs& inputs = project.getInputs();
    std::string text = line("Project", project.getName()) + line("Directory", project.getDir()) +
                       line("Top module", inputs.top) + lines("Sources", inputs.sources) +
                       line("Constraints", inputs.constraints) +
                       lines("Includes", inputs.includeDirs) + lines("Defines", inputs.defines) +
                       line("Device", inputs.device + " in " + inputs.package) +
                       line("Clock goal", inputs.frequencyMhz + " MHz");
    std::vector<std::string> runs;
    for (const HAXPExpRun* run : project.getRuns())
        runs.push_back(run->getName());
    return text + lines("Runs", runs);
}

nlohmann::json projectJson(const Project& project) {
    const DesignInputs& inputs = project.getInputs();
    nlohmann::json runs = nlohmann::json::array();
    for (const HAXPExpRun* run : project.getRuns())
        runs.push_back(run->getName());
    return {{"project", project.getName()},
            {"directory", project.getDir()},
            {"top", inputs.top},
            {"sources", inputs.sources},
            {"constraints", inputs.constraints},
            {"includes", inputs.includeDirs},
            {"defines", inputs.defines},
            {"device", inputs.device},
            {"package", inputs.package},
            {"frequency_mhz", inputs.frequencyMhz},
            {"runs", runs}};
}

std::string runText(const Project& project, HAXPExpRun& run) {
    const std::string dir = run.getDir();
    std::string text =
        line("Run", run.getName()) + line("Flow", flowWord(run)) +
        line("Strategy", strategyText(run)) + line("Synthesis", synthesisName(project, run)) +
        line("Status", statusWord(run)) + line("Abandoned", abandonedText(run)) +
        line("Step", stepWord(run)) + line("Ends at", toStepWord(run)) + line("Directory", dir) +
        line("Log", logPath(run)) + line("Bitstream", bitstreamPath(run));
    std::vector<std::string> options;
    for (const OptionChoice& option : changedOptions(*run.getStrategy()))
        options.push_back(fmt::format("{}.{} = {}  (default {})", option.step, option.name,
                                      option.value, option.defaultValue));
    text += lines("Options", options) + lines("Differs", differenceTexts(run));
    std::vector<std::string> files;
    for (const RunFile& file : filesOf(run)) {
        if (file.exists)
            files.push_back(file.path);
    }
    text += lines("Files", files);
    std::vector<std::string> stale;
    for (const std::string& reason : staleTexts(project, run))
        stale.push_back(movedIn(reason));
    return text + lines("Stale", stale) +
           lines("Reports", reportLines(reportsOf(project, run, false)));
}

nlohmann::json runJson(const Project& project, HAXPExpRun& run) {
    nlohmann::json json = statusJson(project, {&run})["runs"][0];
    json["synthesis"] = synthesisName(project, run);
    json["ends_at"] = toStepWord(run);
    json["abandoned"] =
        abandonedText(run).empty() ? nlohmann::json() : nlohmann::json(abandonedText(run));
    json["options"] = optionsJson(*run.getStrategy());
    json["strategy_exists"] = currentStrategy(run) != nullptr;
    json["strategy_differences"] = differencesJson(run);
    json["stale_reasons"] = staleTexts(project, run);
    json["report_strategy"] = run.getReportStrategyName();
    json["reports"] = nlohmann::json::array();
    for (const ReportEntry& report : reportsOf(project, run, true))
        json["reports"].push_back(reportJson(report));
    json["files"] = nlohmann::json::array();
    for (const RunFile& file : filesOf(run))
        json["files"].push_back(
            {{"type", file.type}, {"path", file.path}, {"exists", file.exists}});
    return json;
}

}  // namespace shell
