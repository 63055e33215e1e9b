// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

namespace workbench {

/// The names that stand in a project's file.
struct ProjectNames {
    struct Run {
        std::string name;
        bool isSynthesis = false;
        /// Empty for a run that no sweep made.
        std::string sweep;
        std::string family;
        /// The commands of its reports, such as "report_timing".
        std::vector<std::string> reports;
    };
    /// In the file's order.
    std::vector<Run> runs;
};

/// Reads the names of the project in `dir` or the next folder above that holds one, without
/// making a run of any of them: quickly, and with no look at a run directory. Values aren't
/// checked. @throws HEXUserException there is no project.
/// @throws HXMLException its file can't be read.
WORKBENCH_API ProjectNames readProjectNames(const std::string& dir);

}  // namespace workbench
