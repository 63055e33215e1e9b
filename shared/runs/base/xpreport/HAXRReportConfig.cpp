// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportConfig.h"

#include <algorithm>
#include <exception>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/containers/heapIter.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRStaleOption.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/runReports.h"

using xpreport::holdsText;
using xpreport::required;

using ReportHandles = mqi::tcltasks::native_cache<HAXRReportConfig*>;

template class mqi::tcltasks::native_cache<HAXRReportConfig*>;

namespace {

const std::string& firstNonEmpty(const std::string& a, const std::string& b, const std::string& c) {
    if (!a.empty())
        return a;
    return b.empty() ? c : b;
}

/// The first step of `run`, in order, that `accept` takes; null if none.
template <class Accept> HAXPExpRunStep* firstRunStep(const HAXPExpRunBase& run, Accept accept) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* const step = steps->next();
        if (accept(*step))
            return step;
    }
    return nullptr;
}

bool needsCompleteReset(const HAXPExpRunBase& run) {
    const HAXPExpInfoBase* const info = run.getExpInfoBase();
    return info != nullptr && info->isCompleteRunResetRequired();
}

/// Whether reports of this step are made in the run alone.
bool isMadeInRunOnly(const std::string& stepName) {
    return HSTStringUtils::iequals(stepName, "init_design") ||
           HSTStringUtils::iequals(stepName, "write_bitstream") ||
           HSTStringUtils::iequals(stepName, "write_device_image");
}

void replaceLast(std::string& text, const std::string& from, const std::string& to) {
    const std::size_t at = text.rfind(from);
    if (at != std::string::npos)
        text.replace(at, from.size(), to);
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/// What the report `specName` with the main file `fileName` calls its `option`.
std::string outputName(const std::string& specName, const std::string& fileName,
                       const std::string& option) {
    std::string ext = "." + option;
    HSTStringUtils::to_lower(ext);
    std::string name = fileName;
    if (specName == "report_power" && ext == ".pb")
        replaceLast(name, "_power_", "_power_summary_");
    replaceLast(name, ".rpt", ext);
    return name;
}

}  // namespace

HAXRReportConfig::HAXRReportConfig(const std::string& name, const std::string& stepName,
                                   HAXRReportSpec* spec, HAXPExpRunBase* run, bool readOnly,
                                   const std::string& displayName)
    : m_reportSpec(&required(spec, "ReportConfig: null specification")),
      m_options(reportConfigUtil::getOptGroupCopy(spec->getOptions(), spec->getName(), false)),
      m_outputOptions(
          reportConfigUtil::getOptGroupCopy(spec->getOutputOptions(), spec->getName(), true)),
      m_run(&required(run, "ReportConfig: null run")), m_version(spec->getVersion()),
      m_type(HAXRTypes::getReportType(spec->getName())), m_readOnly(readOnly), m_name(name),
      m_specName(spec->getName()), m_stepName(stepName), m_shortDesc(spec->getShortDescription()),
      m_displayName(firstNonEmpty(displayName, spec->getDisplayName(), name)),
      m_specDisplayName(spec->getDisplayName()) {}

HAXRReportConfig::~HAXRReportConfig() {
    m_options.reset();
    m_outputOptions.reset();
    try {
        ReportHandles::release(this);
    } catch (const std::exception& error) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-380@%s%s",
                                 error.what(), m_name);
    }
}

void HAXRReportConfig::setDisplayName(const std::string& name, bool notify) {
    m_displayName = name;
    setDirtyIf_(notify);
}

HSTFwdIter<HATAttrSpec*>* HAXRReportConfig::createReportOptionsIter() const {
    return m_options == nullptr ? nullptr : m_options->createAttrSpecIter();
}

HSTFwdIter<HATAttrSpec*>* HAXRReportConfig::createReportOutputOptionsIter() const {
    return m_outputOptions == nullptr ? nullptr : m_outputOptions->createAttrSpecIter();
}

bool HAXRReportConfig::isMarkedForGeneration() const {
    return m_markedForGeneration && isEnabled() && getState() != REPORT_GENERATED;
}

void HAXRReportConfig::setEnabled(bool enable, bool notify) {
    if (enable && !canEnableReport())
        return;
    m_enabled = enable;
    setDirtyIf_(notify);
}

bool HAXRReportConfig::canEnableReport() const {
    return m_run->canAddReport(firstRunStep(*m_run, [this](const HAXPExpRunStep& step) {
        return step.getFlowStep() != nullptr && step.getFlowStep()->getFlowStepId() == m_stepName;
    }));
}

std::int32_t HAXRReportConfig::getState() const {
    if (m_state != REPORT_GENERATED)
        return m_state;
    if (needsCompleteReset(*m_run))
        return REPORT_STALE;
    const HAXPExpRunStep* const step = m_run->getFirstStaleOrOwnStep(m_stepName);
    return step != nullptr && step->isStale() ? REPORT_STALE : REPORT_GENERATED;
}

bool HAXRReportConfig::update(bool notify) {
    const std::int32_t before = getState();
    if (HUTFile::exists(failMarker_()))
        m_state = REPORT_FAILED;
    else if (!runDir_().empty() && HUTFile::exists(m_reportFullPath))
        m_state = m_staleOptions.empty() ? REPORT_GENERATED : REPORT_STALE;
    setDirtyIf_(notify);
    return getState() != before;
}

void HAXRReportConfig::reset(bool notify) {
    const std::string mainFile = pathOf_(m_reportFile);
    if (HUTFile::exists(mainFile)) {
        HUTFile(mainFile).rm();
        m_reportFile.clear();
        m_reportFullPath.clear();
        removeOutputFiles_();
    }
    const std::string marker = failMarker_();
    if (HUTFile::exists(marker))
        HUTFile(marker).rm();
    clearStaleOptions(notify);
    m_state = REPORT_NOT_GENERATED;
}

bool HAXRReportConfig::isGenerationRequired() const {
    if (isReadOnly() || !isEnabled() || needsCompleteReset(*m_run) ||
        getState() == REPORT_GENERATED || isMadeInRunOnly(m_stepName))
        return false;
    const HAXPExpRunStep* const step = m_run->getFirstStaleOrOwnStep(m_stepName);
    return step == nullptr || (!step->isStale() && step->isEnabled() &&
                               step->getStatus()->getCode() == HDGUIStatus::statusDone);
}

void HAXRReportConfig::setReportFile(const std::string& fileName, bool fileOnly) {
    m_reportFile = fileName;
    m_reportFullPath = pathOf_(fileName);
    if (!fileOnly && m_outputOptions != nullptr)
        nameOutputFiles_();
}

std::string HAXRReportConfig::getFile(const std::string& optionName) const {
    if (optionName.empty() || m_outputOptions == nullptr)
        return "";
    const HATAttrSpec* const option = m_outputOptions->getAttrSpecByName(optionName);
    return option != nullptr && holdsText(*option) ? m_outputOptions->getStrVal(option) : "";
}

std::string HAXRReportConfig::getFileForExtension(const std::string& optionName) const {
    const std::int32_t state = getState();
    if (state == REPORT_NOT_GENERATED || state == REPORT_FAILED)
        return "";
    const std::string file = getFile(optionName);
    return file.empty() ? file : pathOf_(file);
}

void HAXRReportConfig::addOrUpdateStaleReason(const std::string& optionName,
                                              const std::string& launchTimeVal,
                                              const std::string& newVal) {
    const std::int32_t state = getState();
    if ((state != REPORT_GENERATED && state != REPORT_STALE) || launchTimeVal == newVal)
        return;
    const StaleOptions::iterator found = findStaleOption_(optionName);
    if (found == m_staleOptions.end()) {
        m_staleOptions.push_back(std::make_unique<HAXRStaleOption>());
        m_staleOptions.back()->setStaleOptionDetails(optionName, launchTimeVal, newVal);
        m_state = REPORT_STALE;
    } else if ((*found)->getLaunchTimeVal() != newVal) {
        (*found)->setNewVal(newVal);
    } else {
        m_staleOptions.erase(found);
    }
    if (m_staleOptions.empty())
        update(false);
}

void HAXRReportConfig::clearStaleOptions(bool notify) {
    m_staleOptions.clear();
    setDirtyIf_(notify);
}

HSTFwdIter<HAXRStaleOption*>* HAXRReportConfig::createStaleOptionsIter() const {
    return containers::heapIterOfOwned<HAXRStaleOption*>(m_staleOptions);
}

bool HAXRReportConfig::IsEquivalent(const HAXRReportConfig* other) const {
    if (isReadOnly() || other == nullptr)
        return false;
    if (m_specName != other->m_specName || m_version != other->m_version)
        return false;
    HSTVector<HADAStaleOption*> differences;
    const bool same = reportConfigUtil::compareOptGroups(m_options.get(), other->m_options.get(),
                                                         "", differences);
    for (const HADAStaleOption* difference : differences)
        delete difference;
    return same;
}

void HAXRReportConfig::replaceRunSubStringInName(const std::string& from, const std::string& to) {
    if (from.empty())
        return;
    std::string name = m_name;
    replaceAll(name, from, to);
    if (name.empty())
        return;
    m_name = name;
    ReportHandles::rename(this, m_name);
}

void HAXRReportConfig::setDirtyCallback_() {
    m_run->setDirty();
}

void HAXRReportConfig::setDirtyIf_(bool notify) {
    if (notify)
        setDirty();
}

std::string HAXRReportConfig::runDir_() const {
    std::string dir;
    m_run->getRunDir(dir);
    return dir;
}

std::string HAXRReportConfig::pathOf_(const std::string& file) const {
    const std::string dir = runDir_();
    return dir.empty() ? dir : dir + HUTFile::getDirSeparator() + file;
}

std::string HAXRReportConfig::failMarker_() const {
    return pathOf_("." + m_name + ".fail");
}

void HAXRReportConfig::nameOutputFiles_() {
    for (const auto& option : m_outputOptions->getOptionsSpec()->getAttrSpecs()) {
        if (holdsText(*option))
            option->setStringDefault(outputName(m_specName, m_reportFile, option->getName()));
    }
}

void HAXRReportConfig::removeOutputFiles_() {
    if (m_outputOptions == nullptr)
        return;
    for (const auto& option : m_outputOptions->getOptionsSpec()->getAttrSpecs()) {
        if (!holdsText(*option))
            continue;
        const HUTFile file(pathOf_(m_outputOptions->getStrVal(option.get())));
        if (!file.exists())
            continue;
        file.rm();
        option->setStringDefault("");
    }
}

HAXRReportConfig::StaleOptions::iterator
HAXRReportConfig::findStaleOption_(const std::string& optionName) {
    return std::find_if(
        m_staleOptions.begin(), m_staleOptions.end(),
        [&optionName](const auto& option) { return option->getOptionName() == optionName; });
}
