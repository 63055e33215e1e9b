// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// The files of a job in its run directory.
namespace cluster {

/// The identifier of the job, bare and without a line end; and what the scheduler said when
/// it was submitted.
inline constexpr char kJobIdName[] = "job.id";
inline constexpr char kJobLogName[] = "job.id.log";

/// The identifier in `runDir`, of a job or of a task of one; empty when there is none, or what
/// stands there can't be one.
WORKBENCH_API std::string readJobId(const std::string& runDir);

/// Saves it, whole or not at all. False, with `reason` the cause, when it can't be written.
WORKBENCH_API bool writeJobId(const std::string& runDir, const std::string& id,
                              std::string& reason);

/// Writes what the scheduler said. A disk that has no room for it doesn't matter.
WORKBENCH_API void writeJobLog(const std::string& runDir, const std::string& text);

/// Removes both.
WORKBENCH_API void removeJobFiles(const std::string& runDir);

}  // namespace cluster
