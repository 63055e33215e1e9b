// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "workbench/history/launchRecord.h"
#include "workbench/history/nights.h"

class Project;

/// What a project remembers of its launches, as xp and its Tcl ask for it.
namespace shell {

/// Something that wasn't as in the launch before.
struct LaunchChange {
    std::string name;
    std::string before;
    std::string after;
};

/// A launch as it is listed.
struct ListedLaunch {
    const workbench::LaunchRecord* record;
    /// Since the launch before of its run.
    std::vector<LaunchChange> changes;
};

/// Seconds since the epoch of a date, "2026-11-20", or of so many days or hours ago, "7d" or
/// "12h". @throws CommandError it is something else.
long readSince(const std::string& text);

/// The launches of the runs, families or sweeps `names`, removed ones too, or of all; the oldest
/// first. Those that ended since the last look are remembered first.
/// @throws CommandError or HEXUserException neither project nor history knows one of the names.
std::vector<workbench::LaunchRecord> launchesOf(const Project& project,
                                                const std::vector<std::string>& names);

/// Those of `launches` since then, the newest first, `limit` of them; all for 0. They point into
/// `launches`.
std::vector<ListedLaunch> listLaunches(const std::vector<workbench::LaunchRecord>& launches,
                                       long since, std::size_t limit);

/// The same for the nights of `launches`, each judged by all that was before, shown or not.
std::vector<workbench::Night> listNights(const std::vector<workbench::LaunchRecord>& launches,
                                         long since, std::size_t limit);

nlohmann::json launchesJson(const std::vector<ListedLaunch>& launches);
nlohmann::json nightsJson(const std::vector<workbench::Night>& nights);

}  // namespace shell
