// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "workbench/timeLeft.h"

class HAXPExpRun;
class Project;

namespace workbench {
class History;
}

namespace shell {

/// What steps take by the history of a project, each asked for once. The history is opened
/// when the first is asked for.
class StepTimes {
public:
    /// `project` isn't owned.
    explicit StepTimes(const Project& project);
    ~StepTimes();

    StepTimes(const StepTimes&) = delete;
    StepTimes& operator=(const StepTimes&) = delete;

    /// Nothing when the step was never done, or the history can't be read.
    std::optional<double> expectedSeconds(const HAXPExpRun& run, const std::string& step);

    /// expectedSeconds() for as long as this object lives.
    workbench::ExpectedSeconds function();

    /// Asks anew: a run has ended, and the history knows more.
    void forget();

private:
    const Project& m_project;
    std::unique_ptr<workbench::History> m_history;
    bool m_isMissing = false;
    std::map<std::pair<const HAXPExpRun*, std::string>, std::optional<double>> m_known;
};

}  // namespace shell
