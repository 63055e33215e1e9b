// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/inputFiles.h"

/// Which step takes what from the design: what decides how far back a change reaches.
namespace workbench {

/// The kinds of files that the step `stepId` reads; none for a step that starts from
/// what the one before it left.
WORKBENCH_API std::vector<InputKind> filesOfStep(const std::string& stepId);

/// Whether the step takes the entry `name` of an input record that isn't about files.
WORKBENCH_API bool takesSetting(const std::string& stepId, const std::string& name);

}  // namespace workbench
