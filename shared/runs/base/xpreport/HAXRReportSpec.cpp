// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpec.h"

#include <algorithm>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupObserver.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xpreport/reportConfigUtil.h"

namespace {

constexpr char kCommandPrefix[] = "report ";

char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Reports that are known by their initials.
bool isAbbreviation(const std::string& text) {
    return text == "drc" || text == "cdc" || text == "io" || text == "ssn";
}

void capitalizeWords(std::string& text) {
    char before = ' ';
    for (char& c : text) {
        if (before == ' ')
            c = toUpper(c);
        before = c;
    }
}

/// Puts `ownedGroup` in the place of the group held, which it lets go.
void replaceGroup(std::unique_ptr<HATOptGroup>& held, HATOptGroup* ownedGroup) {
    static_cast<void>(held.release());
    held.reset(ownedGroup);
}

}  // namespace

HAXRReportSpec::HAXRReportSpec(const std::string& name, const std::string& shortDescription,
                               HATOptGroup* ownedOptions, const std::string& displayName)
    : HAXRReportSpec(name, HAXRTypes::getReportType(name), shortDescription, ownedOptions,
                     VersionInfo{}, displayName) {}

HAXRReportSpec::HAXRReportSpec(const std::string& name, HAXRTypes::ReportType type,
                               const std::string& shortDescription, HATOptGroup* ownedOptions,
                               const VersionInfo& version, const std::string& displayName)
    : m_options(ownedOptions), m_type(type), m_version(version), m_name(name),
      m_shortDescription(shortDescription), m_displayName(displayName) {
    modifyDisplayName();
}

HAXRReportSpec::HAXRReportSpec(const HAXRReportSpec& other)
    : m_options(reportConfigUtil::getOptGroupCopy(other.getOptions(), other.m_name, false)),
      m_outputOptions(
          reportConfigUtil::getOptGroupCopy(other.getOutputOptions(), other.m_name, true)),
      m_type(other.m_type), m_version(other.m_version), m_name(other.m_name),
      m_shortDescription(other.m_shortDescription), m_displayName(other.m_displayName) {}

HAXRReportSpec::~HAXRReportSpec() = default;

void HAXRReportSpec::setOptions(HATOptGroup* ownedOptions) {
    replaceGroup(m_options, ownedOptions);
}

void HAXRReportSpec::setOutputOptions(HATOptGroup* ownedOptions) {
    replaceGroup(m_outputOptions, ownedOptions);
}

HSTFwdIter<HATAttrSpec*>* HAXRReportSpec::createReportOptionsIter() const {
    return m_options ? m_options->createAttrSpecIter() : nullptr;
}

HSTFwdIter<HATAttrSpec*>* HAXRReportSpec::createReportOutputOptionsIter() const {
    return m_outputOptions ? m_outputOptions->createAttrSpecIter() : nullptr;
}

void HAXRReportSpec::attach(HATOptGroupObserver* observer) {
    m_observer = observer;
    if (m_options)
        m_options->attach(observer);
}

void HAXRReportSpec::setDirty() {
    if (m_observer != nullptr)
        m_observer->optionsChangedCallback(m_options.get());
}

void HAXRReportSpec::setDisplayName(const std::string& name, bool notify) {
    if (name == m_displayName)
        return;
    m_displayName = name;
    if (notify)
        setDirty();
}

void HAXRReportSpec::modifyDisplayName() {
    std::replace(m_displayName.begin(), m_displayName.end(), '_', ' ');
    if (m_displayName.rfind(kCommandPrefix, 0) == 0)
        m_displayName.erase(0, sizeof kCommandPrefix - 1);
    if (isAbbreviation(m_displayName))
        HSTStringUtils::to_upper(m_displayName);
    else
        capitalizeWords(m_displayName);
}

bool HAXRReportSpec::isEqual(const HAXRReportSpec* other) const {
    if (other == nullptr)
        throw HEXAlgException("NULL report spec");
    HSTVector<HADAStaleOption*> differences;
    const bool equal = reportConfigUtil::compareOptGroups(m_options.get(), other->m_options.get(),
                                                          "", differences);
    for (const HADAStaleOption* difference : differences)
        delete difference;
    return equal;
}
