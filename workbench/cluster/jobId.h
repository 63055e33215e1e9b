// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>

#include "workbench/WorkbenchExport.h"

namespace cluster {

/// The number of a job, and of one of its tasks when it is an array; 0 for a job of its own.
struct JobId {
    std::string job;
    long task = 0;
};

/// Whether `id` can be the identifier of a job: digits, not more than a number has.
WORKBENCH_API bool isJobId(const std::string& id);

/// What "12" means, or a task: "12.3" of a grid engine, "12[3]" of LSF. Nothing for other texts.
WORKBENCH_API std::optional<JobId> parseJobId(const std::string& text);

/// Whether a list of tasks, as a grid engine has it, holds one.
enum class TaskFound { kYes, kNo, kUnclear };

/// Looks for `task` in a list such as "3", "1-4:1,6,7" or "1-9:2". What isn't understood may
/// stand for any task.
WORKBENCH_API TaskFound findTask(const std::string& tasks, long task);

}  // namespace cluster
