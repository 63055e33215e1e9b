// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/fileFingerprint.h"

/// The programs of the open tools that steps start, and whether they are those of a launch.
namespace workbench {

/// Where a tool lies and what its file was like. Of a tool that tells its version the
/// file isn't read: its stamp says whether to ask.
struct ToolStamp {
    std::string path;
    FileFingerprint print;
};

/// By the tool's name.
using ToolStamps = std::map<std::string, ToolStamp>;

/// The names of the tools that the step `stepId` starts; none for a step that does its
/// work itself.
WORKBENCH_API std::vector<std::string> toolsOfStep(const std::string& stepId);

/// Whether `tool` tells its version, which then stands in the metrics of its steps.
WORKBENCH_API bool tellsVersion(const std::string& tool);

/// The tool as the search path finds it now; false, with `stamp` as it was, when it
/// isn't there. `known` is its stamp at an earlier time.
WORKBENCH_API bool findTool(const std::string& tool, const ToolStamp& known, ToolStamp& stamp);

/// Name and version of the program that `stamp` is of, as metrics have them; empty when
/// it doesn't tell. Starts the program at most once in the life of the process for each
/// state of its file; one that doesn't answer within ten seconds tells nothing.
WORKBENCH_API std::string toolVersion(const std::string& tool, const ToolStamp& stamp);

/// A step whose tool isn't the one that made its results.
struct ToolChange {
    std::string tool;
    std::string before;
    std::string after;
    /// When the program came to its place, in seconds since the epoch.
    std::time_t since = 0;
};

/// Holds the tools of the step `stepId`, which is done, against `atLaunch` and against
/// `madeBy`, the tool that its metrics name; both may be empty. A tool that is missing
/// now, or of which nothing is known, didn't change.
WORKBENCH_API std::vector<ToolChange>
toolChanges(const std::string& stepId, const ToolStamps& atLaunch, const std::string& madeBy);

}  // namespace workbench
