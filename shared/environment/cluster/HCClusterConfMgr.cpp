// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/cluster/HCClusterConfMgr.h"

#include <algorithm>

#include "environment/cluster/HCClusterConf.h"
#include "environment/containers/heapIter.h"

HCClusterConfMgr::HCClusterConfMgr() = default;

HCClusterConfMgr::~HCClusterConfMgr() = default;

HCClusterConfMgr* HCClusterConfMgr::getInstance() {
    static HCClusterConfMgr manager;
    return &manager;
}

const HCClusterConf* HCClusterConfMgr::getClusterConf(const std::string& name) const {
    for (const auto& conf : m_confs) {
        if (conf->getName() == name)
            return conf.get();
    }
    return nullptr;
}

void HCClusterConfMgr::addClusterConf(HCClusterConf* ownedConf) {
    std::unique_ptr<HCClusterConf> conf(ownedConf);
    if (!conf)
        return;
    removeClusterConf(conf->getName());
    m_confs.push_back(std::move(conf));
}

bool HCClusterConfMgr::removeClusterConf(const std::string& name) {
    const auto found = std::find_if(m_confs.begin(), m_confs.end(),
                                    [&name](const auto& conf) { return conf->getName() == name; });
    if (found == m_confs.end())
        return false;
    m_confs.erase(found);
    return true;
}

HSTFwdIter<const HCClusterConf*>* HCClusterConfMgr::createClusterConfIter() const {
    return containers::heapIterOfOwned<const HCClusterConf*>(m_confs);
}
