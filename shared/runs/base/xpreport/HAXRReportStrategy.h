// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/options/HATOptGroupObserver.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPFlow;
class HAXRReportSpec;
class HAXRReportStratDB;
struct VersionInfo;

/// A named set of reports for the steps of one flow: which reports each step is
/// to produce, and with which option values.
///
/// It takes over the specifications that are added. removeStep() and nukeSteps()
/// delete them; the destructor doesn't, so whoever deletes a strategy calls
/// nukeSteps() first. Several reports of one name may stand in a step.
///
/// A strategy that isn't user-defined belongs to the installation and refuses
/// new reports and copies; callers that change its values, name or description
/// guard themselves.
///
/// Not to be used from two threads at once. All refusals are HEXAlgException,
/// thrown before anything changed. What the strategy database throws when it is
/// told of a change passes to the caller, and the change stays.
class RUNS_API HAXRReportStrategy : public HATOptGroupObserver {
public:
    /// specCount() of a step that has no entry.
    static constexpr std::uint32_t noEntry = ~std::uint32_t{0};

    /// A strategy without reports. `flow` isn't owned and may be null: then
    /// nothing can be added.
    explicit HAXRReportStrategy(const HAXPFlow* flow);
    /// Leaves the specifications alone and tells nobody.
    ~HAXRReportStrategy() noexcept(false) override;

    HAXRReportStrategy(const HAXRReportStrategy&) = delete;
    HAXRReportStrategy& operator=(const HAXRReportStrategy&) = delete;

    const std::string& getName() const { return m_name; }
    /// Tells the strategy database, as setDescription() does.
    void setName(const std::string& name);
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& description);

    /// The file that the strategy came from or goes to; may be empty.
    const std::string& getFilename() const { return m_filename; }
    void setFilename(const std::string& filename) { m_filename = filename; }

    /// Not owned; may be null.
    const HAXPFlow* getFlow() const { return m_flow; }

    bool isUserDefined() const { return m_userDefined; }
    void setUserDefined(bool userDefined) { m_userDefined = userDefined; }
    bool isInternal() const { return m_internal; }
    void setInternal(bool internal) { m_internal = internal; }
    /// Set for good, but for what a copy brings along.
    bool isModified() const { return m_modified; }
    void setModified() { m_modified = true; }
    /// A mark for runs that know their report strategy by its name alone.
    bool isSetReportStrategyNameOnly() const { return m_nameOnly; }
    void setReportStrategyNameOnly(bool nameOnly) { m_nameOnly = nameOnly; }

    /// The number of steps with an entry.
    int stepCount() const { return static_cast<int>(m_stepSpecs.size()); }
    /// The number of reports of a step; noEntry when it has no entry.
    std::uint32_t specCount(const std::string& stepId) const;

    /// The ids of the steps in the order in which they got their first report,
    /// also of those removed by removeStep(). The caller deletes the iterator,
    /// before a report is added.
    HSTFwdIter<std::string>* createFlowStepIter() const;
    /// The reports of a step, in the order of adding; null when it has no entry.
    /// The caller deletes the iterator, before the reports of the step change.
    HSTFwdIter<HAXRReportSpec*>* createReportSpecIter(const std::string& stepId) const;

    /// Tells `database` of changes from now on; null tells nobody. Not owned.
    void attach(HAXRReportStratDB* database);
    /// Attaches `observer` to every report, and to those to come in place of the
    /// observer before, at first this strategy itself. Options keep whom they
    /// told before. Not owned; outlives the reports.
    void attach(HATOptGroupObserver* observer);

    /// Takes `ownedSpec` over as the last report of the step and returns it. With
    /// `notify` the strategy database is told. Without a flow it returns null and
    /// the report stays with the caller, as it does with a refusal. Whether its
    /// display name is unique is for the caller to ask.
    /// @throws HEXAlgException not user-defined, a null report, or a step that
    /// the flow doesn't have.
    HAXRReportSpec* addSpec(const std::string& stepId, HAXRReportSpec* ownedSpec, bool notify);

    /// Gives the report `spec` of the step back to the caller; a stranger changes
    /// nothing. The step keeps its entry. With `notify` the strategy database is
    /// told. Does nothing without a flow.
    /// @throws HEXAlgException as addSpec(), and for a step without an entry.
    void removeSpec(const std::string& stepId, HAXRReportSpec* spec, bool notify);

    /// Deletes the reports of the step and its entry and tells nobody; a step
    /// without one changes nothing. Its id stays in createFlowStepIter().
    void removeStep(const std::string& stepId);

    /// Deletes all reports and forgets all steps, and tells nobody.
    void nukeSteps();

    /// The first report of this name in the step, both compared ignoring case;
    /// null without one.
    HAXRReportSpec* findReportSpec(const std::string& stepId, const std::string& reportName) const;
    /// The same of exactly this version; any version for (0, 0).
    HAXRReportSpec* findReportSpec(const std::string& stepId, const std::string& reportName,
                                   const VersionInfo& version) const;

    /// Whether no report of the step has exactly this display name.
    /// @throws HEXAlgException the step has no entry.
    bool isUniqueReportSpecDisplayName(const std::string& stepId,
                                       const std::string& displayName) const;

    /// Takes over the flow of `other` and copies of its reports in place of what
    /// is here, and tells the strategy database once for each report and once
    /// more. Name and description stay. Of a source without a flow only the flow
    /// is taken. A source that is this strategy keeps its reports.
    /// @throws HEXAlgException not user-defined, or a null source.
    void copyStrategy(const HAXRReportStrategy* other);
    /// The same, and takes name and description before the last time that the
    /// strategy database is told.
    void copyStrat(const HAXRReportStrategy* other);

    /// Whether flow, steps or reports differ: a report matches one of the same
    /// name that its options are equal to, by HAXRReportSpec::isEqual(), each
    /// one once and in any order. Names, descriptions, display names and versions
    /// don't count. The flag has no effect.
    /// @throws HEXAlgException `other` is null.
    bool differsFrom(const HAXRReportStrategy* other, bool ignoreFilter = false) const;

protected:
    /// A value of a report's options changed: tells the strategy database.
    void optionsChangedCallback_(HATOptGroup* group) override;

    void initStrat_(const HAXPFlow* flow);
    void setDirty_();
    /// Takes over flow, mark and reports of `other`, as copyStrategy() does, and
    /// tells the strategy database once for each report, when all are in place.
    void copyOptions_(const HAXRReportStrategy* other);

private:
    using Specs = HSTVector<HAXRReportSpec*>;

    /// Whether a report of the step may be added or removed; false without a flow.
    bool mayChange_(const std::string& stepId, const HAXRReportSpec* spec) const;
    void append_(const std::string& stepId, HAXRReportSpec* ownedSpec);
    const Specs* findSpecs_(const std::string& stepId) const;

    std::map<std::string, Specs> m_stepSpecs;
    /// Each id once.
    std::vector<std::string> m_stepOrder;
    std::string m_name;
    std::string m_description;
    std::string m_filename;
    HAXRReportStratDB* m_database = nullptr;
    HATOptGroupObserver* m_observer = nullptr;
    const HAXPFlow* m_flow = nullptr;
    bool m_userDefined = true;
    bool m_internal = false;
    bool m_modified = false;
    bool m_nameOnly = false;
};
