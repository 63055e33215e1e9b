// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPDataMgr;
class HAXPFlowStep;
class HAXPFlowType;

/// A flow: an ordered list of steps, the kinds of flow that it stands for, and the
/// data manager that it lends to its runs.
///
/// It owns its steps and its data manager. It is built at start-up and then only
/// read, from any thread, without a lock. It lives as long as the process.
class RUNS_API HAXPFlow {
public:
    using StatReportFiles = std::map<HAXPTypes::FileType, std::string>;

    /// `flowId` is the stable id, also in strategy files; `name` is for display.
    HAXPFlow(const std::string& name, const std::string& version, const std::string& flowId);

    /// Destroys the data manager first, then the steps.
    ~HAXPFlow();

    HAXPFlow(const HAXPFlow&) = delete;
    HAXPFlow& operator=(const HAXPFlow&) = delete;

    const std::string& getName() const { return m_name; }
    const std::string& getVersion() const { return m_version; }
    const std::string& getFlowId() const { return m_flowId; }

    /// The name of the flow's queue marker: its name with an underscore for each blank.
    const std::string& getQueStr() const { return m_queStr; }
    /// The file name of that marker, for the layer that queues a run in its directory.
    std::string getQueueMarkerName() const;

    const std::string& getFlowScript() const { return m_flowScript; }
    void setFlowScript(const std::string& script) { m_flowScript = script; }
    bool isLegacy() const { return m_legacy; }
    void setLegacy(bool legacy) { m_legacy = legacy; }
    bool isVisible() const { return m_visible; }
    void setVisible(bool visible) { m_visible = visible; }
    bool isLaunchedLocally() const { return m_launchedLocally; }
    void setLaunchedLocally(bool locally) { m_launchedLocally = locally; }

    /// The data manager, owned by the flow; null until one is set.
    HAXPDataMgr* getDataMgr() const { return m_dataMgr.get(); }

    /// Takes `ownedDataMgr` over.
    /// @throws HEXAlgException "data mgr already set for flow"; the caller keeps it.
    void setDataMgr(HAXPDataMgr* ownedDataMgr);

    /// False for the legacy flow called "QSY", true for every other, legacy or not.
    bool isEnabled() const;

    /// Configures the step's options, reports and source filter, then takes it over
    /// as the flow's last. It is in neither list of steps below.
    /// @throws HEXAlgException "FlowStepId needs to be unique in flow", or for null;
    /// the flow stays as it was. What configuring throws passes on, the step partly
    /// configured and outside the flow. The caller then keeps the step.
    void addFlowStep(HAXPFlowStep* ownedStep);

    /// The same, for a step that every run of the flow has.
    void addDefaultFlowStep(HAXPFlowStep* ownedStep);

    /// The same, for a step that a user may add; makes it optional.
    void addOptionalFlowStep(HAXPFlowStep* ownedStep);

    int defaultFlowStepCount() const { return static_cast<int>(m_defaultSteps.size()); }
    int optionalFlowStepCount() const { return static_cast<int>(m_optionalSteps.size()); }

    /// The steps, in order of addition. The caller deletes the iterator.
    HSTFwdIter<HAXPFlowStep*>* createDefaultFlowStepIter() const;
    HSTFwdIter<HAXPFlowStep*>* createOptionalFlowStepIter() const;
    HSTFwdIter<HAXPFlowStep*>* createAllFlowStepIter() const;

    /// Whether this very step is one of the flow's.
    bool contains(const HAXPFlowStep* step) const;

    /// The step with this flowStepId, compared exactly; null without one.
    HAXPFlowStep* getFlowStepForFSId(const std::string& flowStepId) const;

    /// The first step with this abbreviation; null without one.
    HAXPFlowStep* getFlowStepForAbbrev(const std::string& abbrev, bool ignoreCase) const;

    /// The flow types that the flow stands for. Both forms are kept apart: adding one
    /// doesn't add the other. The universal forms never throw: what fails isn't added,
    /// and isn't supported.
    void addSupportedFlowType(HAXPTypes::FlowType type);
    void addSupportedFlowType(const HAXPFlowType& type);
    bool supportsFlowType(HAXPTypes::FlowType type) const;
    bool supportsFlowType(const HAXPFlowType& type) const;

    /// The file with the statistics of a report; the last one given for a type counts.
    void addRQSStatReportFile(HAXPTypes::FileType type, const std::string& file);

    /// Makes `files` a copy of them.
    void getRQSStatReportFiles(StatReportFiles& files) const;

private:
    std::string m_name;
    std::string m_version;
    std::string m_flowId;
    std::string m_queStr;
    HSTVector<HAXPFlowStep*> m_defaultSteps;
    HSTVector<HAXPFlowStep*> m_optionalSteps;
    HSTVector<std::unique_ptr<HAXPFlowStep>> m_allSteps;
    std::set<HAXPTypes::FlowType> m_flowTypes;
    std::set<std::string> m_universalFlowTypes;
    std::unique_ptr<HAXPDataMgr> m_dataMgr;
    bool m_legacy = false;
    bool m_visible = true;
    bool m_launchedLocally = false;
    std::string m_flowScript;
    StatReportFiles m_statReportFiles;
};
