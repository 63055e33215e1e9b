// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/DesignInputs.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/inputFiles.h"

/// What changed files mean to the tools: a changed comment changes nothing.
///
/// What was found out is remembered by content for the life of the process. Threads may ask
/// at once.
namespace workbench {

/// What yosys makes of the sources of `inputs` now, which are `files`, before it synthesises,
/// in the terms of ice40::elaborationMeaning(). Starts yosys in `runDir`, which may take ten
/// seconds. Empty when it can't be told: yosys is missing, refuses the sources or doesn't end
/// in time, or a file changed meanwhile.
WORKBENCH_API std::string meaningOfSources(const DesignInputs& inputs, const InputFiles& files,
                                           const std::string& runDir);

/// The same of the netlist or constraints at `path`, which is `file`, without yosys.
WORKBENCH_API std::string meaningOfFile(const std::string& path, const InputFile& file);

}  // namespace workbench
