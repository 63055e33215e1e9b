// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlowStep.h"

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXDataException.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFileSpec.h"

// Options and attributes stand in HAXPFlowStepOptionsSpec.cpp, markers and status in
// HAXPFlowStepStatus.cpp.

HAXPFlowStep::HAXPFlowStep(const std::string& name, const std::string& abbrev,
                           const std::string& invokeStr, const std::string& flowStepId,
                           const std::string& msgFileName)
    : m_srcFilter(std::make_unique<HDDASrcFilter>()), m_invokeStr(invokeStr),
      m_msgFileName(msgFileName), m_name(name), m_abbrev(abbrev), m_flowStepId(flowStepId) {}

HAXPFlowStep::~HAXPFlowStep() {
    m_reportSpecs.clear();
    m_optionsSpec.reset();
    m_attrsSpec.reset();
    m_srcFilter.reset();
}

const std::string& HAXPFlowStep::getStatusTrackingStr() const {
    return m_statusTrackingStr.empty() ? m_invokeStr : m_statusTrackingStr;
}

const std::string& HAXPFlowStep::getCompleteAbbrev() const {
    return m_completeAbbrev.empty() ? m_abbrev : m_completeAbbrev;
}

void HAXPFlowStep::configReports() {
    if (!m_reportSpecs.empty())
        throw HEXDataException("reports already configured for flow step");
    configReports_();
}

void HAXPFlowStep::addReportSpec(HAXPFileSpec* ownedSpec) {
    if (ownedSpec == nullptr)
        throw HEXAlgException("NULL report spec");
    for (const auto& spec : m_reportSpecs)
        if (spec->getName() == ownedSpec->getName())
            throw HEXAlgException("duplicate spec can't be registered");
    if (ownedSpec->fileTypeCount() <= 0)
        throw HEXAlgException("report spec needs at least 1 fileType");
    m_reportSpecs.reserve(m_reportSpecs.size() + 1);
    ownedSpec->setId(reportSpecCount());
    m_reportSpecs.emplace_back(ownedSpec);
}

HSTFwdIter<HAXPFileSpec*>* HAXPFlowStep::createReportSpecIter() const {
    return containers::heapIterOfOwned<HAXPFileSpec*>(m_reportSpecs);
}

void HAXPFlowStep::addRunInfo(const RunInfo& info) {
    m_runInfos.push_back(info);
}

void HAXPFlowStep::addFileTypeInfo(const std::string& key, const FileTypeInfo& info) {
    m_fileTypeInfos[key] = info;
}

void HAXPFlowStep::writePrePostOptions(std::string& pre, std::string& post, HATOptGroup* options,
                                       HAXPExpRunBase* run) const {
    pre.clear();
    post.clear();
    writePrePostOpts_(pre, post, options, run);
}

std::string HAXPFlowStep::quote(const std::string& text) const {
    return '"' + text + '"';
}

std::string HAXPFlowStep::quote_if(const std::string& text) const {
    return text.find(' ') == std::string::npos ? text : quote(text);
}

void HAXPFlowStep::writePrePostOpts_(std::string&, std::string&, HATOptGroup*,
                                     HAXPExpRunBase*) const {}

void HAXPFlowStep::initSrcFilter_() {}
