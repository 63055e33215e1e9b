// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <array>
#include <string>
#include <unordered_map>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPFlow;
class HAXPFlowType;
class HAXPStatSpec;
class HAXPStrategy;
class HAXRReportStrategy;

/// The catalogue of flows.
///
/// It is filled at start-up, before a second thread reads it, and takes no lock.
/// Flows live as long as the process: the catalogue hands them out and never
/// destroys them.
class RUNS_API HAXPMgr {
public:
    HAXPMgr();
    /// Leaves the flows alone.
    ~HAXPMgr();

    HAXPMgr(const HAXPMgr&) = delete;
    HAXPMgr& operator=(const HAXPMgr&) = delete;

    /// The one of the process, made at the first call and never destroyed.
    static HAXPMgr* getGlobal();

    /// A new flow, the last of the list. None of the texts need be unique.
    HAXPFlow* createFlow(const std::string& name, const std::string& version,
                         const std::string& flowId);

    int flowCount() const { return static_cast<int>(m_flows.size()); }

    /// The flows, in order of creation. The caller deletes the iterator.
    HSTFwdIter<HAXPFlow*>* createFlowIter() const;

    /// The first flow with this id, compared exactly; null without one.
    HAXPFlow* getFlowById(const std::string& flowId) const;

    /// The default flow of a type, null if none was set. `type` isn't checked.
    HAXPFlow* getDefaultFlow(HAXPTypes::FlowType type) const;
    HAXPFlow* getDefaultFlow(const HAXPFlowType& type) const;

    /// Sets the default flow of `type`, once: it can't be replaced. A null flow sets
    /// nothing.
    /// @throws HEXDataException "Default flow already set for flowType!"; the first
    /// flow stays.
    void setDefaultFlow(HAXPTypes::FlowType type, HAXPFlow* flow);

    /// The same for a universal flow type, where a null flow counts as set.
    /// @throws HEXDataException "Invalid universal flow type", also when there is a
    /// default already; the first flow stays.
    void setDefaultFlow(const HAXPFlowType& type, HAXPFlow* flow);

    /// False for null and for a legacy flow.
    bool isFlowSupported(const HAXPFlow* flow) const;

    /// The first strategy of `flow`: that of the tool, not a user's, when the parameter
    /// "runs.defaultToToolStrategy" is true. Null without one.
    HAXPStrategy* getDefaultStrategy(const HAXPFlow* flow) const;

    /// Those of HAXPStrategyMgr.
    int strategyCount(const HAXPFlow* flow) const;
    HSTFwdIter<HAXPStrategy*>* createStrategyIter(const HAXPFlow* flow) const;
    bool isUniqueStrategyName(const HAXPFlow* flow, const std::string& name) const;
    bool hasEquivalentStrategy(HAXPStrategy* strategy) const;
    HAXPStrategy* createStrategy(const HAXPFlow* flow, const std::string& name);
    HAXPStrategy* createInternalStrategy(const HAXPStrategy* source);
    HAXPStrategy* copyStrategy(const HAXPStrategy* source, const std::string& name);
    void renameStrategy(HAXPStrategy* strategy, const std::string& name);
    void deleteStrategy(HAXPStrategy* strategy);

    /// The first report strategy of `flow` that comes with the tool; null without one,
    /// and for a null flow.
    HAXRReportStrategy* getDefaultReportStrategy(const HAXPFlow* flow) const;

    /// Those of HAXPStrategyMgr; but a null flow has -1 report strategies and a null
    /// iterator.
    int reportStrategyCount(const HAXPFlow* flow) const;
    HSTFwdIter<HAXRReportStrategy*>* createReportStrategyIter(const HAXPFlow* flow) const;
    bool isUniqueReportStrategyName(const HAXPFlow* flow, const std::string& name) const;
    bool hasEquivalentReportStrategy(HAXRReportStrategy* strategy) const;
    HAXRReportStrategy* createReportStrategy(const HAXPFlow* flow, const std::string& name);
    HAXRReportStrategy* createInternalReportStrategy(const HAXRReportStrategy* source);
    HAXRReportStrategy* copyReportStrategy(const HAXRReportStrategy* source,
                                           const std::string& name);
    void renameReportStrategy(HAXRReportStrategy* strategy, const std::string& name);
    void deleteReportStrategy(HAXRReportStrategy* strategy);

    /// Those of HAXPStatMgr. The caller deletes the iterator.
    int statSpecCount() const;
    HSTFwdIter<HAXPStatSpec*>* createStatSpecIter() const;

private:
    static HAXPMgr* sp_theGlobal;

    HSTVector<HAXPFlow*> m_flows;
    std::array<HAXPFlow*, HAXPTypes::flowTypeCount> m_defaultFlows{};
    std::unordered_map<std::string, HAXPFlow*> m_universalDefaultFlows;
};
