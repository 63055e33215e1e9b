// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpecMgr.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecParser.h"

namespace {

using OwnedSpec = std::unique_ptr<HAXRReportSpec>;

bool isEarlier(const OwnedSpec& a, const OwnedSpec& b) {
    const VersionInfo& left = a->getVersion();
    const VersionInfo& right = b->getVersion();
    return std::tie(left.major, left.minor) < std::tie(right.major, right.minor);
}

HAXRReportSpec* copyOf(const HAXRReportSpec* spec) {
    return spec == nullptr ? nullptr : std::make_unique<HAXRReportSpec>(*spec).release();
}

}  // namespace

HAXRReportSpecMgr* HAXRReportSpecMgr::sp_theGlobal = nullptr;

HAXRReportSpecMgr::HAXRReportSpecMgr() = default;

HAXRReportSpecMgr::~HAXRReportSpecMgr() = default;

HAXRReportSpecMgr* HAXRReportSpecMgr::getGlobal() {
    if (sp_theGlobal == nullptr)
        sp_theGlobal = new HAXRReportSpecMgr;
    return sp_theGlobal;
}

void HAXRReportSpecMgr::parseReportSpecs() {
    const std::string& separator = HUTFile::getDirSeparator();
    const std::string path =
        HUTEnv::getMQIAppRoot() + separator + "reportstrategies" + separator + "report.xml";
    HAXRReportSpecParser(this, path).parseReportSpecs();
    populateLatestSpecs();
}

void HAXRReportSpecMgr::addReportSpec(HAXRReportSpec* ownedSpec) {
    OwnedSpec spec(ownedSpec);
    if (spec != nullptr)
        m_allSpecs[spec->getName()].push_back(std::move(spec));
}

void HAXRReportSpecMgr::populateLatestSpecs() {
    for (const auto& [name, versions] : m_allSpecs) {
        const auto latest = std::max_element(versions.begin(), versions.end(), isEarlier);
        if (latest != versions.end())
            m_latestSpecs.emplace(name, latest->get());
    }
}

HAXRReportSpec* HAXRReportSpecMgr::find(const std::string& name) const {
    const auto found = m_latestSpecs.find(name);
    if (found != m_latestSpecs.end())
        return found->second;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-372@%s",
                             name);
    return nullptr;
}

HAXRReportSpec* HAXRReportSpecMgr::find(const std::string& name, const VersionInfo& version) const {
    if (version.isLatest())
        return find(name);
    const auto found = m_allSpecs.find(name);
    if (found == m_allSpecs.end())
        return nullptr;
    const auto& versions = found->second;
    const auto spec = std::find_if(versions.begin(), versions.end(), [&](const OwnedSpec& entry) {
        return entry->getVersion() == version;
    });
    return spec == versions.end() ? nullptr : spec->get();
}

HAXRReportSpec* HAXRReportSpecMgr::getReportSpec(const std::string& name) const {
    return copyOf(find(name));
}

HAXRReportSpec* HAXRReportSpecMgr::getReportSpec(const std::string& name,
                                                 const VersionInfo& version) const {
    return copyOf(find(name, version));
}

HAXRReportSpec* HAXRReportSpecMgr::getStaticReportSpec(const std::string& description) const {
    auto noOptions = std::make_unique<HATOptGroupSpec>();
    noOptions->setOptGrpId("OPTIONS");
    noOptions->setOptGrpPrettyDisplayName("");
    auto group = std::make_unique<HATOptGroup>(std::move(noOptions));
    auto spec = std::make_unique<HAXRReportSpec>("", description, nullptr, "");
    spec->setOptions(group.release());
    return spec.release();
}

HSTKeyValIter<std::string, HAXRReportSpec*>* HAXRReportSpecMgr::createReportSpecIterator() const {
    return containers::heapKeyValIter<std::string, HAXRReportSpec*>(m_latestSpecs);
}
