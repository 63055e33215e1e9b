// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

/// Run scripts that users write themselves.
namespace workbench {

/// The bytes of the largest one that is read; a generated script is a few kilobytes.
inline constexpr std::size_t kLargestRunScript = 4U << 20U;

/// The copy of the user's script in the run directory.
inline constexpr char kUserScriptName[] = "runme.user.sh";

/// Puts the user's run script `path` in the place of the steps of the generated
/// "runme.sh", which is there already: it takes the run's lock and the search paths as
/// ever, and becomes a copy of the user's script then, in the run directory, with the
/// run's log for its output, which MQ_LOG names. That script calls the wrapper itself. It may be
/// made from a generated "runme.sh".
/// @throws HEXUserException one of the scripts can't be read or written.
WORKBENCH_API void useRunScript(const HAXPExpRun& run, const std::string& path);

/// Removes what useRunScript() left in the run directory, for a launch without it.
WORKBENCH_API void dropRunScript(const HAXPExpRun& run);

}  // namespace workbench
