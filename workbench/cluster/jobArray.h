// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

/// Many runs as one job of a cluster.
namespace cluster {

/// One run of an array. The tasks of an array are numbered from 1.
struct ArrayTask {
    long number = 0;
    std::string runDir;    ///< absolute
    std::string launchId;  ///< goes to every process of the task
};

/// Many runs that are to become one job.
struct ArrayJob {
    std::string name;    ///< which no other job has
    std::string script;  ///< of every task: an absolute path
    long taskCount = 0;
    long mostAtOnce = 1;
};

/// The script that each task of an array starts: it finds its run by the number of the task in
/// `variable`, goes to its directory, and becomes its "runme.sh". A number that no task has
/// does nothing.
WORKBENCH_API std::string arrayScript(const std::vector<ArrayTask>& tasks,
                                      const std::string& variable);

/// The script of the array `name` of a project; its folder is made. @throws HEXUserException it
/// can't be written.
WORKBENCH_API std::string writeArrayScript(const std::string& projectDir, const std::string& name,
                                           const std::string& text);

/// Removes the scripts of the project's arrays but those of `names`, which its runs still name.
WORKBENCH_API void dropArrayScripts(const std::string& projectDir,
                                    const std::vector<std::string>& names);

}  // namespace cluster
