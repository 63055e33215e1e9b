// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenRunInfo.h"

#include <algorithm>
#include <map>
#include <set>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/OpenFlowStep.h"
#include "workbench/ice40/metrics.h"
#include "workbench/inputMeaning.h"
#include "workbench/inputSteps.h"
#include "workbench/reportScript.h"

namespace {

/// Puts the numbers of `later` over those of `all`.
void merge(const ice40::StepMetrics& later, ice40::StepMetrics& all) {
    for (const auto& count : later.counts)
        all.counts[count.first] = count.second;
    for (const auto& file : later.files)
        all.files[file.first] = file.second;
    if (!later.clocks.empty())
        all.clocks = later.clocks;
    if (later.icetimeMhz)
        all.icetimeMhz = later.icetimeMhz;
    all.seconds += later.seconds;
    all.step = later.step;
    all.tool = later.tool;
}

HADAFileSetChangeSummary::enumFSCSFileCollection collectionOf(workbench::FileChange::What what) {
    switch (what) {
    case workbench::FileChange::kAdded:
        return HADAFileSetChangeSummary::FSCS_ADDED;
    case workbench::FileChange::kRemoved:
        return HADAFileSetChangeSummary::FSCS_REMOVED;
    case workbench::FileChange::kMissing:
        return HADAFileSetChangeSummary::FSCS_MISSING;
    case workbench::FileChange::kUnreadable:
        return HADAFileSetChangeSummary::FSCS_OTHER_CHANGE;
    case workbench::FileChange::kMoved:
        return HADAFileSetChangeSummary::FSCS_REORDERED;
    default:
        return HADAFileSetChangeSummary::FSCS_MODIFIED;
    }
}

bool isConstraints(const workbench::FileChange& change) {
    return change.kind == workbench::InputKind::kConstraints;
}

bool hasBegun(const HAXPExpRunStep& step) {
    return step.getStatus()->getCode() != HDGUIStatus::statusNotStarted;
}

bool isStepDone(const HAXPExpRunStep& step) {
    return step.getStatus()->getCode() == HDGUIStatus::statusDone;
}

template <class Visit> void forEachStep(const HAXPExpRunBase& run, Visit visit) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext())
        visit(*steps->next());
}

const std::string& idOf(const HAXPExpRunStep& step) {
    return step.getFlowStep()->getFlowStepId();
}

}  // namespace

struct OpenRunInfo::Extra {
    DesignInputs inputs;
    /// Tells the reports the top module.
    HADAFileSet sources{"sources", HDDATypes::FST_DESIGN_SRCS};
    std::string launchedTo;
    workbench::InputRecord launchedInputs;
    workbench::InputFiles launchedFiles;
    workbench::ToolStamps launchedTools;
    /// As the last updStaleReasons() found them; empty when a launch took them over.
    workbench::InputFiles seenFiles;
    ice40::StepMetrics metrics;
    /// By step; as its metrics name it.
    std::map<std::string, std::string> madeBy;
    /// By step; what its inputs meant.
    std::map<std::string, std::map<std::string, std::string>> meanings;
    std::vector<workbench::FileChange> fileChanges;
    std::vector<workbench::FileChange> quietChanges;
    bool isNetlistMadeAnew = false;
    std::vector<workbench::SettingChange> settingChanges;
};

OpenRunInfo::OpenRunInfo(HAXPExpRunBase* run, const std::string& name)
    : HAXPExpInfoBase(run, name), m_extra(std::make_unique<Extra>()) {
    setSrcSet(&m_extra->sources, false);
}

OpenRunInfo::~OpenRunInfo() = default;

const DesignInputs& OpenRunInfo::getInputs() const {
    return m_extra->inputs;
}

void OpenRunInfo::setInputs(const DesignInputs& inputs) {
    m_extra->inputs = inputs;
    m_extra->sources.getSrcOptions().setTopName(inputs.top);
    nameOutputs_();
    setFile(HAXPTypes::FILE_REPORTS_TCL, workbench::kReportScript);
    setFiles(HAXPTypes::FILE_RUN_SRCS, inputs.sources);
    if (!inputs.constraints.empty())
        setFile(HAXPTypes::FILE_RUN_CONSTRS, inputs.constraints);
    if (isSynthFlow()) {
        setFile(HAXPTypes::FILE_KDS_DCP, inputs.top + ".json");
        return;
    }
    setFile(HAXPTypes::FILE_INPUT_DCP, inputs.netlist);
    setFile(HAXPTypes::FILE_PLACE_DCP, "place_design.json");
    setFile(HAXPTypes::FILE_ROUTE_DCP, inputs.top + ".asc");
    setFile(HAXPTypes::FILE_BG_BIN, inputs.top + ".bin");
}

void OpenRunInfo::nameOutputs_() {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(getRun()->createRunStepIter());
    while (steps->hasNext()) {
        if (const auto* step = dynamic_cast<const OpenFlowStep*>(steps->next()->getFlowStep()))
            setFilesUniversal(step->getOutputType(), step->getOutputNames());
    }
}

void OpenRunInfo::setLaunch(long launchTime, const std::string& toStep) {
    setLaunchTime_(launchTime);
    m_extra->launchedTo = toStep;
}

const std::string& OpenRunInfo::getLaunchedTo() const {
    return m_extra->launchedTo;
}

const workbench::InputRecord& OpenRunInfo::getLaunchedInputs() const {
    return m_extra->launchedInputs;
}

void OpenRunInfo::setLaunchedInputs(const workbench::InputRecord& record) {
    m_extra->launchedInputs = record;
}

workbench::InputRecord OpenRunInfo::recordInputs() const {
    return workbench::recordInputs(m_extra->inputs, isSynthFlow());
}

const workbench::InputFiles& OpenRunInfo::getLaunchedFiles() const {
    return m_extra->launchedFiles;
}

void OpenRunInfo::setLaunchedFiles(const workbench::InputFiles& files) {
    m_extra->launchedFiles = files;
}

const workbench::ToolStamps& OpenRunInfo::getLaunchedTools() const {
    return m_extra->launchedTools;
}

void OpenRunInfo::setLaunchedTools(const workbench::ToolStamps& tools) {
    m_extra->launchedTools = tools;
}

void OpenRunInfo::recordLaunch() {
    setLaunchedInputs(recordInputs());
    if (m_extra->seenFiles.empty())
        m_extra->seenFiles =
            workbench::lookAtInputs(m_extra->inputs, isSynthFlow(), m_extra->launchedFiles);
    setLaunchedFiles(m_extra->seenFiles);
    m_extra->seenFiles.clear();
    workbench::ToolStamps tools;
    forEachStep(*getRun(), [&](const HAXPExpRunStep& step) {
        for (const std::string& tool : workbench::toolsOfStep(idOf(step)))
            recordTool_(tool, isStepDone(step), tools);
    });
    setLaunchedTools(tools);
}

std::string OpenRunInfo::dirOf_() const {
    std::string dir;
    getRun()->getRunDir(dir);
    return dir;
}

const ice40::StepMetrics& OpenRunInfo::getMetrics() const {
    return m_extra->metrics;
}

void OpenRunInfo::readMetrics() {
    clearMetrics();
    const std::string dir = dirOf_();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(getRun()->createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (step->getStatus()->getCode() != HDGUIStatus::statusDone)
            continue;
        ice40::StepMetrics metrics;
        std::string ignored;
        std::string path = dir;
        path += HUTFile::getDirSeparator();
        path += ice40::metricsFileName(step->getFlowStep()->getFlowStepId());
        if (!ice40::readMetrics(path, metrics, ignored))
            continue;
        m_extra->madeBy[idOf(*step)] = metrics.tool;
        m_extra->meanings[idOf(*step)] = metrics.meanings;
        merge(metrics, m_extra->metrics);
    }
}

void OpenRunInfo::clearMetrics() {
    m_extra->metrics = ice40::StepMetrics();
    m_extra->madeBy.clear();
    m_extra->meanings.clear();
}

void OpenRunInfo::resetRun() {
    HAXPExpInfoBase::resetRun();
    setLaunch(0, "");
    setLaunchedInputs({});
    setLaunchedFiles({});
    setLaunchedTools({});
    clearMetrics();
}

void OpenRunInfo::updStaleReasons() {
    removeAllStaleReasons();
    m_extra->fileChanges.clear();
    m_extra->quietChanges.clear();
    m_extra->isNetlistMadeAnew = false;
    m_extra->settingChanges.clear();
    forEachStep(*getRun(), [](HAXPExpRunStep& step) { step.resetStaleReasons(); });
    if (getLaunchTime() == 0)
        return;
    updStaleOptionReasons();
    // Sources are looked at for their contents and for the files that they name.
    const workbench::FileWatch::Moment moment;
    addFileChanges_();
    addSettingChanges_();
    addToolChanges_();
}

const std::vector<workbench::FileChange>& OpenRunInfo::getFileChanges() const {
    return m_extra->fileChanges;
}

const std::vector<workbench::SettingChange>& OpenRunInfo::getSettingChanges() const {
    return m_extra->settingChanges;
}

const std::vector<workbench::FileChange>& OpenRunInfo::getQuietChanges() const {
    return m_extra->quietChanges;
}

bool OpenRunInfo::isNetlistMadeAnew() const {
    return m_extra->isNetlistMadeAnew;
}

void OpenRunInfo::recordTool_(const std::string& tool, bool isKept,
                              workbench::ToolStamps& tools) const {
    const auto before = m_extra->launchedTools.find(tool);
    const bool isKnown = before != m_extra->launchedTools.end();
    workbench::ToolStamp stamp;
    // What a step that isn't run again was made with is asked for when it isn't this one.
    if (isKept && isKnown)
        tools[tool] = before->second;
    else if (workbench::findTool(tool, isKnown ? before->second : stamp, stamp))
        tools.emplace(tool, stamp);
}

void OpenRunInfo::addFileChanges_() {
    const workbench::InputFiles& before = m_extra->launchedFiles;
    m_extra->seenFiles = workbench::lookAtInputs(m_extra->inputs, isSynthFlow(), before);
    const workbench::InputFiles& now = m_extra->seenFiles;
    const long launch = getLaunchTime();
    auto& all = m_extra->fileChanges;
    all = workbench::listChangesOf(m_extra->launchedInputs, recordInputs(), now, launch);
    const auto changed = before.empty() ? workbench::newerThan(launch, now)
                                        : workbench::changesOf(before, now, launch);
    all.insert(all.end(), changed.begin(), changed.end());
    dropQuietChanges_();
    const auto firstOther = std::stable_partition(all.begin(), all.end(), isConstraints);
    HADAFileSet constraints("constraints", HDDATypes::FST_CONSTRS);
    tellSteps_(constraints, {all.begin(), firstOther});
    HADAFileSet sources("sources", HDDATypes::FST_DESIGN_SRCS);
    tellSteps_(sources, {firstOther, all.end()});
}

/// Files that are gone or can't be read mean nothing, and that is a change.
void OpenRunInfo::dropQuietChanges_() {
    auto& all = m_extra->fileChanges;
    const auto isGone = [](const workbench::FileChange& change) {
        return change.what == workbench::FileChange::kMissing ||
               change.what == workbench::FileChange::kUnreadable;
    };
    const bool mayBeQuiet = std::none_of(all.begin(), all.end(), isGone);
    const auto firstQuiet =
        std::stable_partition(all.begin(), all.end(), [&](const workbench::FileChange& change) {
            return !mayBeQuiet || !isQuiet_(change);
        });
    m_extra->quietChanges.assign(firstQuiet, all.end());
    all.erase(firstQuiet, all.end());
}

bool OpenRunInfo::isQuiet_(const workbench::FileChange& change) const {
    if (isSynthFlow()) {
        const std::string& before = m_extra->meanings["synth_design"][ice40::meanings::kSources];
        return !before.empty() &&
               before == workbench::meaningOfSources(m_extra->inputs, m_extra->seenFiles, dirOf_());
    }
    return change.what == workbench::FileChange::kModified && meantTheSame_(change);
}

/// To every step that has begun and reads such files.
bool OpenRunInfo::meantTheSame_(const workbench::FileChange& change) const {
    const auto file = m_extra->seenFiles.find(change.path);
    if (file == m_extra->seenFiles.end())
        return false;
    const std::string now = workbench::meaningOfFile(change.path, file->second);
    bool isSame = !now.empty();
    forEachStep(*getRun(), [&](const HAXPExpRunStep& step) {
        const auto kinds = workbench::filesOfStep(idOf(step));
        if (hasBegun(step) && std::find(kinds.begin(), kinds.end(), change.kind) != kinds.end())
            isSame = isSame &&
                     m_extra->meanings[idOf(step)][workbench::inputKindName(change.kind)] == now;
    });
    return isSame;
}

/// The synthesis that was launched since has written its netlist, and it is that of the launch.
bool OpenRunInfo::isSameNetlistOfLaterSynthesis_() const {
    const std::string& path = m_extra->inputs.netlist;
    const auto now = m_extra->seenFiles.find(path);
    const auto before = m_extra->launchedFiles.find(path);
    if (now == m_extra->seenFiles.end() || before == m_extra->launchedFiles.end() ||
        !now->second.print.isPresent() ||
        now->second.print.stamp.modified.tv_sec < m_extra->inputs.netlistLaunch)
        return false;
    return now->second.print.isSameContent(before->second.print) ||
           meantTheSame_(
               {path, workbench::InputKind::kNetlist, workbench::FileChange::kModified, 0});
}

void OpenRunInfo::tellSteps_(HADAFileSet& set, const std::vector<workbench::FileChange>& changes) {
    if (changes.empty())
        return;
    HADAFileSetChangeSummary summary(&set);
    for (const workbench::FileChange& change : changes) {
        HDDASrcFile* file = set.findSrcFile(change.path);
        if (file == nullptr)
            file = set.addSrcFile(change.path, workbench::srcFileTypeOf(change.kind));
        summary.addFiles(collectionOf(change.what), file);
    }
    forEachStep(*getRun(),
                [&summary](HAXPExpRunStep& step) { step.updateStaleReasons(&summary, nullptr); });
}

void OpenRunInfo::addSettingChanges_() {
    const workbench::InputRecord& before = m_extra->launchedInputs;
    const workbench::InputRecord now = recordInputs();
    if (before.empty() || before == now)
        return;
    std::set<std::string> names;
    for (const workbench::InputRecord* record : {&before, &now}) {
        for (const auto& entry : *record)
            names.insert(entry.first);
    }
    for (const std::string& name : names) {
        const std::string was = workbench::recordText(before, name);
        const std::string is = workbench::recordText(now, name);
        if (was == is)
            continue;
        if (name == workbench::kSynthesisLaunch && isSameNetlistOfLaterSynthesis_()) {
            m_extra->isNetlistMadeAnew = true;
            continue;
        }
        forEachStep(*getRun(), [&](HAXPExpRunStep& step) {
            if (!hasBegun(step) || !workbench::takesSetting(idOf(step), name))
                return;
            step.updateStaleReasonsForSwParamChange();
            m_extra->settingChanges.push_back({idOf(step), false, name, was, is, 0});
        });
    }
}

void OpenRunInfo::addToolChanges_() {
    forEachStep(*getRun(), [this](HAXPExpRunStep& step) {
        if (!isStepDone(step))
            return;
        const std::string& id = idOf(step);
        for (const workbench::ToolChange& change :
             workbench::toolChanges(id, m_extra->launchedTools, m_extra->madeBy[id])) {
            step.updateStaleReasonsForSwParamChange();
            m_extra->settingChanges.push_back(
                {id, true, change.tool, change.before, change.after, change.since});
        }
    });
}
