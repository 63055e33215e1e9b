// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/statistics/verdict.h"

namespace CLI {
class App;
}

class Project;

namespace shell {

/// The options of verbs that compare families: how sure a verdict is to be.
class FamilyOptions {
public:
    /// Adds "--level" and "--margin" to `command`.
    void declare(CLI::App& command);

    statistics::Question question() const;

private:
    double m_levelPercent = 5;
    double m_marginPercent = 1;
};

/// Whether `names` are all those of families or sweeps, and not of runs; false for none.
bool areFamilies(const Project& project, const std::vector<std::string>& names);

}  // namespace shell
