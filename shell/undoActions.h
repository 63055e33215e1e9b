// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "workbench/undo/UndoStore.h"

class HAXPExpRun;
class Project;

/// Removing runs and taking back what cleared them, for xp and its Tcl alike.
namespace shell {

/// Has `store` keep at most so much from now on; 0 leaves a limit as it is. Gives the limits.
/// @throws HEXUserException they can't be saved.
workbench::UndoLimits changeLimits(workbench::UndoStore& store, std::size_t entries,
                                   std::uint64_t megabytes);

/// A list of entries.
nlohmann::json entriesJson(const std::vector<workbench::UndoEntry>& entries);

/// Adds to `runs` the implementations that start from one of them.
void addDependants(const Project& project, std::vector<HAXPExpRun*>& runs);

}  // namespace shell
