// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

class HCClusterConf;
template <class T> class HSTFwdIter;

/// The cluster configurations that a run can name.
///
/// The layer above fills it at start; it takes no lock.
class ENVIRONMENT_API HCClusterConfMgr {
public:
    HCClusterConfMgr();
    ~HCClusterConfMgr();

    HCClusterConfMgr(const HCClusterConfMgr&) = delete;
    HCClusterConfMgr& operator=(const HCClusterConfMgr&) = delete;

    /// The manager of the process, made at the first call.
    static HCClusterConfMgr* getInstance();

    /// The configuration of that name, or null. Valid until it is replaced or
    /// removed.
    const HCClusterConf* getClusterConf(const std::string& name) const;

    /// Takes the configuration over; one of the same name goes.
    void addClusterConf(HCClusterConf* ownedConf);

    /// Removes the configuration of that name; false when there is none.
    bool removeClusterConf(const std::string& name);

    /// The configurations in the order in which they came. The caller deletes
    /// the iterator.
    HSTFwdIter<const HCClusterConf*>* createClusterConfIter() const;

private:
    std::vector<std::unique_ptr<HCClusterConf>> m_confs;
};
