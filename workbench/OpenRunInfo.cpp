// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenRunInfo.h"

#include <set>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/OpenFlowStep.h"
#include "workbench/ice40/metrics.h"
#include "workbench/reportScript.h"
#include "workbench/sourceReferences.h"

namespace {

/// Puts the numbers of `later` over those of `all`.
void merge(const ice40::StepMetrics& later, ice40::StepMetrics& all) {
    for (const auto& count : later.counts)
        all.counts[count.first] = count.second;
    if (!later.clocks.empty())
        all.clocks = later.clocks;
    if (later.icetimeMhz)
        all.icetimeMhz = later.icetimeMhz;
    all.seconds += later.seconds;
    all.step = later.step;
    all.tool = later.tool;
}

/// Notes `path` in the run's reason `summary` when it is newer than `launch`.
void noteIfNewer(const std::string& path, long launch, HADAStaleReason::StaleSummary summary,
                 HADAStaleReason::RunType type, HADAStaleReasons& reasons) {
    long stamp = 0;
    if (path.empty() || !HUTFile::getFileStamp(path.c_str(), stamp) || stamp <= launch)
        return;
    HADAStaleReason* reason = reasons.addOrUpdate(summary);
    reason->setRunType(type);
    reason->addOrUpdateFile({path, "", HADAFileSetChangeSummary::FSCS_MODIFIED, stamp});
}

}  // namespace

struct OpenRunInfo::Extra {
    DesignInputs inputs;
    /// Tells the reports the top module.
    HADAFileSet sources{"sources", HDDATypes::FST_DESIGN_SRCS};
    std::string launchedTo;
    workbench::InputRecord launchedInputs;
    ice40::StepMetrics metrics;
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

const ice40::StepMetrics& OpenRunInfo::getMetrics() const {
    return m_extra->metrics;
}

void OpenRunInfo::readMetrics() {
    m_extra->metrics = ice40::StepMetrics();
    std::string dir;
    getRun()->getRunDir(dir);
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
        if (ice40::readMetrics(path, metrics, ignored))
            merge(metrics, m_extra->metrics);
    }
}

void OpenRunInfo::clearMetrics() {
    m_extra->metrics = ice40::StepMetrics();
}

void OpenRunInfo::updStaleReasons() {
    removeAllStaleReasons();
    if (getLaunchTime() == 0)
        return;
    updStaleOptionReasons();
    addNewerFiles_();
    addOtherInputs_();
}

void OpenRunInfo::addNewerFiles_() {
    const DesignInputs& inputs = m_extra->inputs;
    const long launch = getLaunchTime();
    if (isSynthFlow()) {
        for (const auto& files :
             {inputs.sources, workbench::referencedFiles(inputs.sources, inputs.includeDirs)}) {
            for (const std::string& path : files)
                noteIfNewer(path, launch, HADAStaleReason::SS_DESIGN_SRCS_CHANGED,
                            HADAStaleReason::RT_SYNTH, staleReasons_());
        }
        return;
    }
    noteIfNewer(inputs.netlist, launch, HADAStaleReason::SS_DESIGN_SRCS_CHANGED,
                HADAStaleReason::RT_IMPL, staleReasons_());
    noteIfNewer(inputs.constraints, launch, HADAStaleReason::SS_CONSTRS_CHANGED,
                HADAStaleReason::RT_IMPL, staleReasons_());
}

void OpenRunInfo::addOtherInputs_() {
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
        HADAStaleOption option;
        option.setStaleOptionDetails("design", name, was, is);
        staleReasons_()
            .addOrUpdate(HADAStaleReason::SS_DESIGN_SRCS_CHANGED, &option)
            ->setRunType(isImplFlow() ? HADAStaleReason::RT_IMPL : HADAStaleReason::RT_SYNTH);
    }
}
