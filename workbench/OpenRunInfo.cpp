// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenRunInfo.h"

#include <algorithm>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/ice40/metrics.h"

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

bool isNewer(const std::string& path, long time) {
    long stamp = 0;
    return !path.empty() && HUTFile::getFileStamp(path.c_str(), stamp) && stamp > time;
}

}  // namespace

struct OpenRunInfo::Extra {
    DesignInputs inputs;
    std::string launchedTo;
    ice40::StepMetrics metrics;
};

OpenRunInfo::OpenRunInfo(HAXPExpRunBase* run, const std::string& name)
    : HAXPExpInfoBase(run, name), m_extra(std::make_unique<Extra>()) {}

OpenRunInfo::~OpenRunInfo() = default;

const DesignInputs& OpenRunInfo::getInputs() const {
    return m_extra->inputs;
}

void OpenRunInfo::setInputs(const DesignInputs& inputs) {
    m_extra->inputs = inputs;
    setFiles(HAXPTypes::FILE_RUN_SRCS, inputs.sources);
    if (!inputs.constraints.empty())
        setFile(HAXPTypes::FILE_RUN_CONSTRS, inputs.constraints);
    if (isSynthFlow()) {
        setFile(HAXPTypes::FILE_KDS_DCP, inputs.top + ".json");
        setFile(HAXPTypes::FILE_KDS_UTIL, "synth_design.stat.json");
        return;
    }
    setFile(HAXPTypes::FILE_INPUT_DCP, inputs.netlist);
    setFile(HAXPTypes::FILE_PLACE_DCP, "place_design.json");
    setFile(HAXPTypes::FILE_PLACE_UTIL, "place_design.report.json");
    setFile(HAXPTypes::FILE_ROUTE_DCP, inputs.top + ".asc");
    setFile(HAXPTypes::FILE_ROUTE_STATUS, "route_design.report.json");
    setFile(HAXPTypes::FILE_ROUTE_TIMINGSUMMARY, "route_design.timing.rpt");
    setFile(HAXPTypes::FILE_BG_BIN, inputs.top + ".bin");
}

void OpenRunInfo::setLaunch(long launchTime, const std::string& toStep) {
    setLaunchTime_(launchTime);
    m_extra->launchedTo = toStep;
}

const std::string& OpenRunInfo::getLaunchedTo() const {
    return m_extra->launchedTo;
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
        const std::string name = ice40::metricsFileName(step->getFlowStep()->getFlowStepId());
        if (ice40::readMetrics(dir + HUTFile::getDirSeparator() + name, metrics, ignored))
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
    if (hasNewerInput_())
        staleReasons_()
            .addOrUpdate(HADAStaleReason::SS_DESIGN_SRCS_CHANGED)
            ->setRunType(isImplFlow() ? HADAStaleReason::RT_IMPL : HADAStaleReason::RT_SYNTH);
}

bool OpenRunInfo::hasNewerInput_() const {
    const DesignInputs& inputs = m_extra->inputs;
    const long launched = getLaunchTime();
    const auto newer = [launched](const std::string& path) { return isNewer(path, launched); };
    if (isSynthFlow())
        return std::any_of(inputs.sources.begin(), inputs.sources.end(), newer);
    return newer(inputs.netlist) || newer(inputs.constraints);
}
