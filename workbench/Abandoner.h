// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/abandon.h"

class HAXPExpRun;

namespace workbench {

/// Gives up runs of a launch that can't win any more.
///
/// Whoever follows the launch calls look() after each look at the runs. A run is judged when
/// its placement is done and its routing isn't; again whenever a better result comes in. Runs
/// aren't owned. Belongs to one thread.
class WORKBENCH_API Abandoner {
public:
    using Runs = std::vector<HAXPExpRun*>;

    /// That a run was given up, or should have been.
    struct Event {
        HAXPExpRun* run;
        /// Why it was given up.
        std::string text;
        /// Why it couldn't be stopped; it goes on then. Empty when it was.
        std::string fault;
    };

    /// The best result is sought among `runs`, those of the launch and those that are up to
    /// date already.
    Abandoner(AbandonRule rule, const EstimateError& error, Runs runs);
    virtual ~Abandoner();

    Abandoner(const Abandoner&) = delete;
    Abandoner& operator=(const Abandoner&) = delete;

    /// Adds runs that are launched, perhaps again, to those that the best result is sought among.
    void add(const Runs& runs);
    /// That `run`, which isn't at work, is about to be deleted.
    void forget(const HAXPExpRun& run);

    /// Stops those of `running` that are out, each marked as that first. May hold the caller
    /// for some seconds for each that is stopped. `running` are up to date.
    std::vector<Event> look(const Runs& running);

    /// The best result among the runs that are done; nothing when there is none.
    std::optional<BestResult> best() const;

protected:
    /// Stops `run`. @throws HEXUserException something of it survives.
    virtual void stop_(HAXPExpRun& run);

private:
    std::optional<double> resultOf_(HAXPExpRun& run) const;

    AbandonRule m_rule;
    EstimateError m_error;
    Runs m_runs;
    /// Results and estimates don't change once they are there.
    mutable std::map<const HAXPExpRun*, double> m_results;
    std::map<const HAXPExpRun*, double> m_estimates;
    /// Those that couldn't be stopped aren't tried again.
    Runs m_given;
};

}  // namespace workbench
