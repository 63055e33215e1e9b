// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// The folder in which the workbench keeps what it knows of a project beside the project file:
/// the history of launches, and what was taken back.
namespace workbench {

inline constexpr char kOwnFolderName[] = ".xperiment";

WORKBENCH_API std::string ownFolder(const std::string& projectDir);

/// Makes it, with a note that keeps it out of version control, if it isn't there. False when it
/// can't be made, or something else stands there, such as a link, which may lead anywhere.
WORKBENCH_API bool makeOwnFolder(const std::string& projectDir);

}  // namespace workbench
