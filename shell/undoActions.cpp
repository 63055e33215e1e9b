// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/undoActions.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"

namespace shell {

workbench::UndoLimits changeLimits(workbench::UndoStore& store, std::size_t entries,
                                   std::uint64_t megabytes) {
    workbench::UndoLimits limits = store.getLimits();
    if (entries > 0)
        limits.entries = entries;
    if (megabytes > 0)
        limits.megabytes = megabytes;
    store.setLimits(limits);
    return limits;
}

nlohmann::json entriesJson(const std::vector<workbench::UndoEntry>& entries) {
    nlohmann::json all = nlohmann::json::array();
    for (const workbench::UndoEntry& entry : entries) {
        nlohmann::json runs = nlohmann::json::array();
        for (const workbench::UndoRun& run : entry.runs)
            runs.push_back(
                {{"run", run.name},
                 {"from", run.fromStep.empty() ? nlohmann::json() : nlohmann::json(run.fromStep)}});
        all.push_back({{"id", entry.id},
                       {"verb", entry.verb},
                       {"time", entry.time},
                       {"bytes", entry.bytes},
                       {"runs", runs}});
    }
    return all;
}

void addDependants(const Project& project, std::vector<HAXPExpRun*>& runs) {
    for (HAXPExpRun* run : project.getRuns()) {
        const bool isChosen = std::find(runs.begin(), runs.end(), run) != runs.end();
        const HAXPExpRun* synthesis = project.getSynthesisOf(*run);
        if (!isChosen && std::find(runs.begin(), runs.end(), synthesis) != runs.end())
            runs.push_back(run);
    }
}

}  // namespace shell
