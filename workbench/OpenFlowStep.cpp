// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenFlowStep.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/strings/HUTConvert.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/DesignInputs.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/inputSteps.h"
#include "workbench/reportScript.h"
#include "workbench/stepTables.h"

namespace {

std::unique_ptr<HATAttrSpec> makeOptionSpec(const workbench::OptionTable& option) {
    auto spec = std::make_unique<HATAttrSpec>(option.type, HATAttrSpec::kOption);
    spec->setName(option.name);
    spec->setDescription(option.description);
    for (const char* value : option.values)
        spec->addEnumRange(value, value, value);
    if (option.type == HATAttrTypes::kEnum) {
        spec->setEnumDefault(option.defaultText);
    } else if (option.type == HATAttrTypes::kInt) {
        int value = 0;
        HUTConvert::stringToInteger(option.defaultText, value);
        spec->setIntDefault(value);
    }
    return spec;
}

/// Whether a shell takes `c` as it stands, in any place of a word.
bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           static_cast<unsigned char>(c) >= 0x80U || std::strchr("_@+=:,./-", c) != nullptr;
}

/// A command line under construction: each word that isn't plain stands in double
/// quotes. What even those don't keep from a shell the entry rules have refused.
class CommandWords {
public:
    explicit CommandWords(const HAXPFlowStep& step) : m_step(step) {}

    CommandWords& add(const std::string& word) {
        const bool plain = std::all_of(word.begin(), word.end(), isPlain);
        HAXPUtilsBase::addStr(m_text, plain ? word : m_step.quote(word));
        return *this;
    }
    CommandWords& addIfSet(const std::string& name, const std::string& value) {
        return value.empty() ? *this : add(name).add(value);
    }
    const std::string& text() const { return m_text; }

private:
    const HAXPFlowStep& m_step;
    std::string m_text;
};

void addSynthesis(const OpenRunInfo& info, CommandWords& pre, CommandWords& post) {
    const DesignInputs& inputs = info.getInputs();
    pre.add("--top").add(inputs.top).add("--device").add(inputs.device);
    pre.add("--json").add(info.getFile(HAXPTypes::FILE_KDS_DCP));
    for (const std::string& define : inputs.defines)
        pre.add("--define").add(define);
    for (const std::string& dir : inputs.includeDirs)
        pre.add("--include").add(dir);
    for (const std::string& source : inputs.sources)
        post.add(source);
}

void addDesign(const DesignInputs& inputs, CommandWords& pre) {
    pre.add("--netlist").add(inputs.netlist).addIfSet("--top", inputs.top);
    pre.addIfSet("--pcf", inputs.constraints);
    pre.add("--device").add(inputs.device).add("--package").add(inputs.package);
}

/// What the user wants to happen around the step.
void addRunStep(const HAXPExpRunBase& run, const HAXPExpRunStep& step, CommandWords& pre) {
    if (workbench::hasScriptedReports(step))
        pre.add("--reports").add(workbench::kReportScript);
    const std::string before = step.getPreHook();
    const std::string behind = step.getPostHook();
    pre.addIfSet("--pre-hook", before).addIfSet("--post-hook", behind);
    if (!before.empty() || !behind.empty())
        pre.add("--run").add(run.getName());
}

}  // namespace

OpenFlowStep::OpenFlowStep(const workbench::StepTable& table)
    : HAXPFlowStep(table.name, table.abbrev, table.program, table.id, ""), m_table(table),
      m_outputType(std::string(table.id) + " outputs"), m_generated(m_outputType.getName()) {
    isVisible(true);
    hasTclHooks(true);
    canDisable(table.canDisable);
    for (const HAXPTypes::FileType type : table.outputTypes)
        m_generated.addFileType(type);
    m_generated.addFileType(m_outputType);
    setGenFilter(&m_generated);
}

OpenFlowStep::~OpenFlowStep() = default;

HSTVector<std::string> OpenFlowStep::getOutputNames() const {
    HSTVector<std::string> names;
    for (const char* name : m_table.outputs)
        names.push_back(name);
    return names;
}

void OpenFlowStep::configOptions_(HATOptGroupSpec* optionsSpec) {
    for (const workbench::OptionTable& option : m_table.options)
        optionsSpec->registerAttrSpec(makeOptionSpec(option).release(),
                                      std::string(m_table.id) + "." + option.name,
                                      option.switchText);
}

void OpenFlowStep::configReports_() {
    for (const workbench::ReportTable& report : m_table.reports) {
        auto spec = std::make_unique<HAXPFileSpec>(report.name);
        spec->addFileType(report.type);
        addReportSpec(spec.release());
    }
}

void OpenFlowStep::initSrcFilter_() {
    for (const workbench::InputKind kind : workbench::filesOfStep(getFlowStepId()))
        getSrcFilter()->addSFType(workbench::srcFileTypeOf(kind));
}

void OpenFlowStep::updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                              const std::string& runDir) const {
    const xperiment::StepState state = xperiment::readStepState(runDir, getStatusTrackingStr());
    if (state.code == HDGUIStatus::statusRunning) {
        HAXPFlowStep::updStatus_(status, handle, runDir);
        return;
    }
    handle->setStartStamp(state.startStamp);
    handle->setEndStamp(state.endStamp);
    status->setCode(state.code);
}

void OpenFlowStep::writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup*,
                                     HAXPExpRunBase* run) const {
    const auto* info = dynamic_cast<const OpenRunInfo*>(run->getExpInfoBase());
    if (info == nullptr)
        return;
    CommandWords before(*this);
    CommandWords behind(*this);
    const std::string& id = getFlowStepId();
    if (id == "synth_design") {
        addSynthesis(*info, before, behind);
    } else if (id == "init_design") {
        addDesign(info->getInputs(), before);
    } else if (id == "place_design") {
        addDesign(info->getInputs(), before);
        before.add("--freq").add(info->getInputs().frequencyMhz);
    } else if (id == "route_design") {
        before.add("--asc").add(info->getFile(HAXPTypes::FILE_ROUTE_DCP));
    } else if (id == "write_bitstream") {
        before.add("--asc").add(info->getFile(HAXPTypes::FILE_ROUTE_DCP));
        before.add("--bin").add(info->getFile(HAXPTypes::FILE_BG_BIN));
    }
    if (const HAXPExpRunStep* step = run->getRunStep(this))
        addRunStep(*run, *step, before);
    pre = before.text();
    post = behind.text();
}
