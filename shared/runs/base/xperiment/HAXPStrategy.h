// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <boost/logic/tribool.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATOptGroupObserver.h"
#include "runs/base/xperiment/RunsExport.h"

class HATOptGroup;
class HATOptGroupSpec;
class HAXPFlow;
class HAXPFlowStep;
class HAXPFlowStepOptions;
class HAXPStepFilter;
class HAXPStratDB;

/// A named set of option values for the steps of one flow: what a run starts from.
///
/// It holds an entry of options and attributes for each step that it covers, in
/// the order in which the steps were added, and owns them: a group is good until
/// its step is removed or the strategy is filled anew. The declarations behind
/// the groups are the flow step's own and must outlive the strategy.
///
/// A strategy that isn't user-defined refuses new steps and copies; callers that
/// change its values, name or description guard themselves. An internal one is
/// the private copy that a run holds.
///
/// Not to be used from two threads at once. All failures are HEXAlgException.
class RUNS_API HAXPStrategy : public HATOptGroupObserver {
public:
    /// A strategy without a flow and without steps.
    HAXPStrategy();
    /// A strategy with an entry for each default step of `flow`, and none for the
    /// optional ones. A null flow gives an empty strategy.
    explicit HAXPStrategy(const HAXPFlow* flow);
    /// Doesn't tell the strategy database.
    ~HAXPStrategy() noexcept(false) override;

    HAXPStrategy(const HAXPStrategy&) = delete;
    HAXPStrategy& operator=(const HAXPStrategy&) = delete;

    const std::string& getName() const { return m_name; }
    /// Tells the strategy database, as setDescription() does.
    void setName(const std::string& name);
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& description);

    /// The file that the strategy was read from or saved to; may be empty.
    const std::string& getFilename() const { return m_filename; }
    void setFilename(const std::string& filename) { m_filename = filename; }

    bool isUserDefined() const { return m_userDefined; }
    void setUserDefined(bool userDefined) { m_userDefined = userDefined; }
    bool isInternal() const { return m_internal; }
    void setInternal(bool internal) { m_internal = internal; }

    /// Not owned; may be null.
    const HAXPFlow* getFlow() const { return m_flow; }
    /// Takes `flow`, drops every step and, if asked, adds the flow's default steps.
    /// @throws HEXAlgException default steps are asked for and the strategy isn't
    /// user-defined; it is empty then.
    void setFlow(const HAXPFlow* flow, bool addDefaultSteps);
    /// Whether its flow is; true without a flow.
    bool isEnabled() const;

    int stepCount() const;
    /// The tool options of the steps, in order.
    HSTFwdIter<HATOptGroup*>* createOptionsIter() const;
    /// The entries of the steps, in order.
    HSTFwdIter<HAXPFlowStepOptions*>* createFlowStepOptionsIter() const;
    /// The tool options, or the entry, of the first step whose id is `id`; null if none.
    HATOptGroup* getOptions(const std::string& id) const;
    HAXPFlowStepOptions* getRunStepOptions(const std::string& id) const;

    /// Tells `database` of changes from now on; null tells nobody. Not owned.
    void attach(HAXPStratDB* database);
    /// Attaches `observer` to the groups of every step, and to those of steps to
    /// come in place of the observer before. Groups keep whom they told before.
    void attach(HATOptGroupObserver* observer);

    /// Adds an entry for `step` with the step's defaults, also when there is one
    /// already, and returns it; the strategy owns it. With `markDirty` the strategy
    /// database is told.
    /// @throws HEXAlgException not user-defined, or a null step; nothing is added.
    HAXPFlowStepOptions* addStep(const HAXPFlowStep* step, bool markDirty);
    /// Removes the first entry whose id is `id` and tells nobody; an unknown id
    /// removes nothing.
    void removeStep(const std::string& id);

    /// Takes over the steps and values of `source`, so far as the step filter lets
    /// them in, and tells the strategy database. Name and description stay.
    /// @throws HEXAlgException not user-defined, a null source, or a step of `source`
    /// that isn't in its flow; nothing changes.
    void copyStrategy(const HAXPStrategy* source);
    /// Takes over steps, values, name and description of `source` and tells the
    /// strategy database. With `ignoreFilter` the step filter isn't asked.
    /// `deviceImage` true leaves out "write_bitstream", false leaves out
    /// "write_device_image", and indeterminate keeps both.
    /// @throws HEXAlgException as copyStrategy(). What the strategy database throws
    /// passes on, the copy made.
    void copyStrat(const HAXPStrategy* source, bool ignoreFilter,
                   boost::logic::tribool deviceImage);

    /// Whether `other` has something that this strategy doesn't match. Surplus steps
    /// of this strategy don't count, nor does one surplus step of `other`; two that
    /// differ in their declarations count unless the step filter keeps this
    /// strategy's step out of strategies (`ignoreFilter`: they always count).
    /// Strategies of different flows always differ.
    /// @throws HEXAlgException `other` is null.
    bool differsFrom(HAXPStrategy* other, bool ignoreFilter = false) const;

    /// Drops every step.
    void nukeVecs();

    /// Makes `filter` the one of the process. Not owned; it stays for good.
    /// @throws HEXAlgException there is one already, be it the same.
    static void installFilter(HAXPStepFilter* filter);
    /// The installed filter, or null: then every step is let in.
    static HAXPStepFilter* getStepFilter();

protected:
    /// A value in one of the groups changed: tells the strategy database.
    void optionsChangedCallback_(HATOptGroup* group) override;

    /// Adds an entry built from the two declarations, without any check.
    HAXPFlowStepOptions* addStep_(const HATOptGroupSpec* options, const HATOptGroupSpec* attrs);
    /// Takes over the steps and values of `source`, as copyStrat() does, and tells
    /// nobody. A source that is this strategy keeps what it may keep.
    void copyOptions_(const HAXPStrategy* source, bool ignoreFilter,
                      boost::logic::tribool deviceImage);

private:
    friend struct StepFilterReset;
    /// A run takes back the entry of a step that it couldn't add, and rebuilds its
    /// steps before it tells of a strategy that it took over.
    friend class HAXPExpRunBase;
    using Entries = std::vector<std::unique_ptr<HAXPFlowStepOptions>>;

    void initStrat_(const HAXPFlow* flow);
    void setDirty_();
    std::unique_ptr<HAXPFlowStepOptions> makeEntry_(const HATOptGroupSpec* options,
                                                    const HATOptGroupSpec* attrs);
    Entries copyEntries_(const HAXPStrategy& source, bool ignoreFilter,
                         boost::logic::tribool deviceImage);
    void setEntries_(Entries entries);
    /// copyStrat() without telling anybody.
    void takeOver_(const HAXPStrategy* source, bool ignoreFilter,
                   boost::logic::tribool deviceImage);
    void dropEntriesFrom_(int count);
    /// Removes the entry with these tool options, if there is one.
    void dropEntry_(const HATOptGroup* options);

    static HAXPStepFilter* sp_stepFilter;

    /// The tool options of m_stepOptions, entry by entry.
    std::vector<HATOptGroup*> m_options;
    Entries m_stepOptions;
    std::string m_name;
    std::string m_description;
    std::string m_filename;
    const HAXPFlow* m_flow = nullptr;
    HAXPStratDB* m_database = nullptr;
    HATOptGroupObserver* m_observer = nullptr;
    bool m_userDefined = true;
    bool m_internal = false;
};
