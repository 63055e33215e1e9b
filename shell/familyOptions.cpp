// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/familyOptions.h"

#include <algorithm>

#include <CLI/App.hpp>

#include "shell/runPlan.h"
#include "workbench/Project.h"

namespace shell {

void FamilyOptions::declare(CLI::App& command) {
    command
        .add_option("--level", m_levelPercent,
                    "Families: how often chance may be called a difference, in percent")
        ->check(CLI::Range(0.01, 50.0))
        ->capture_default_str();
    command
        .add_option("--margin", m_marginPercent,
                    "Families: a difference that doesn't matter, in percent of the median")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
}

statistics::Question FamilyOptions::question() const {
    statistics::Question question;
    question.level = m_levelPercent / 100;
    question.margin = m_marginPercent / 100;
    return question;
}

bool areFamilies(const Project& project, const std::vector<std::string>& names) {
    return !names.empty() && std::all_of(names.begin(), names.end(), [&](const auto& name) {
        return project.findRun(name) == nullptr && !runsOfFamily(project, name).empty();
    });
}

}  // namespace shell
