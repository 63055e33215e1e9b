// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <vector>

#include "workbench/DesignInputs.h"
#include "workbench/WorkbenchExport.h"

namespace workbench {

/// What of a design's inputs a launch used, by name: what must be the same for its
/// results to stand. Paths are absolute.
using InputRecord = std::map<std::string, std::vector<std::string>>;

/// The entry for the launch of the synthesis that an implementation starts from, in seconds.
inline constexpr char kSynthesisLaunch[] = "synthesis launch";

/// The record of what a synthesis, or else an implementation, takes from `inputs`.
WORKBENCH_API InputRecord recordInputs(const DesignInputs& inputs, bool isSynthesis);

/// Whether the values of the entry `name` are paths.
WORKBENCH_API bool isPathInput(const std::string& name);

/// One entry of a record in words, for a text that tells what changed.
WORKBENCH_API std::string recordText(const InputRecord& record, const std::string& name);

}  // namespace workbench
