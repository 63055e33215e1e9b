// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/containers/HSTVector.h"
#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPExpRunStep;
class Project;

/// Taking a run back.
namespace workbench {

/// The names of the files that a launch makes in the directory of `run`.
WORKBENCH_API std::vector<std::string> launchFiles(const HAXPExpRun& run);

/// Takes `run`, which isn't at work but may wait in the queue of a cluster, back to the step with
/// the short name `fromStep`, to its first one when that is empty, and saves the project. The
/// markers of these steps go; with `emptyDir` also what they made, and from the first step on the
/// scripts, the log and the reports. A run that was taken back as a whole isn't launched any more.
/// With `evenInDoubt` it may be one of which lookForLife() can't tell whether it is at work; what
/// it then leaves behind doesn't count any more.
///
/// What goes can be taken back: see UndoStore.
///
/// False when something stayed; `errors` then gets a sentence for each, and what could
/// be reset is reset. Nothing outside of the run directory is touched.
/// @throws HEXUserException the run has no such step, is at work, or its directory is a
/// link or can't be changed; nothing changes.
WORKBENCH_API bool resetRun(Project& project, HAXPExpRun& run, const std::string& fromStep,
                            bool emptyDir, HSTVector<std::string>& errors,
                            bool evenInDoubt = false);

/// Removes what the reports of `first` and of the steps behind it have beside their main files.
/// For those who clear these steps, before they do: once the main file of a report is gone the
/// others are nobody's, and whoever is killed in between would leave them there.
WORKBENCH_API void removeReportData(const HAXPExpRun& run, const HAXPExpRunStep* first);

}  // namespace workbench
