// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/Abandoner.h"

#include <algorithm>
#include <utility>

#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/runStop.h"

namespace workbench {

Abandoner::Abandoner(AbandonRule rule, const EstimateError& error, Runs runs)
    : m_rule(std::move(rule)), m_error(error), m_runs(std::move(runs)) {}

Abandoner::~Abandoner() = default;

void Abandoner::add(const Runs& runs) {
    for (HAXPExpRun* run : runs) {
        forget(*run);
        m_runs.push_back(run);
    }
}

void Abandoner::forget(const HAXPExpRun& run) {
    for (Runs* runs : {&m_runs, &m_given})
        runs->erase(std::remove(runs->begin(), runs->end(), &run), runs->end());
    m_results.erase(&run);
    m_estimates.erase(&run);
}

std::vector<Abandoner::Event> Abandoner::look(const Runs& running) {
    std::vector<Event> events;
    const std::optional<BestResult> leader = best();
    for (HAXPExpRun* run : running) {
        const bool isGiven = std::find(m_given.begin(), m_given.end(), run) != m_given.end();
        if (isGiven || !run->isAtWork())
            continue;
        if (m_estimates.count(run) == 0) {
            const std::optional<double> estimate = placedFigure(*run, *m_rule.figure);
            if (!estimate)
                continue;
            m_estimates[run] = *estimate;
        }
        // With its result there is nothing left to save.
        if (isRouted(*run))
            continue;
        const std::optional<Abandonment> found = decide(m_rule, m_estimates[run], leader, m_error);
        if (!found)
            continue;
        m_given.push_back(run);
        Event event{run, found->text, ""};
        try {
            // First: who sees it stopped knows why.
            markAbandoned(*run, *found);
            stop_(*run);
        } catch (const HEXUserException& error) {
            event.fault = error.what();
        }
        events.push_back(event);
    }
    return events;
}

std::optional<BestResult> Abandoner::best() const {
    std::optional<BestResult> leader;
    for (HAXPExpRun* run : m_runs) {
        const std::optional<double> result = resultOf_(*run);
        const bool isBetter =
            result && (!leader || (m_rule.figure->isHigherBetter ? *result > leader->value
                                                                 : *result < leader->value));
        if (isBetter)
            leader = BestResult{run->getName(), *result};
    }
    return leader;
}

void Abandoner::stop_(HAXPExpRun& run) {
    stopRun(run);
}

std::optional<double> Abandoner::resultOf_(HAXPExpRun& run) const {
    const auto known = m_results.find(&run);
    if (known != m_results.end())
        return known->second;
    if (run.getStatus()->getCode() != HDGUIStatus::statusDone)
        return std::nullopt;
    const std::optional<double> result = finalFigure(run, *m_rule.figure);
    if (result)
        m_results[&run] = *result;
    return result;
}

}  // namespace workbench
