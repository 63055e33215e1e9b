// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// Links in a run directory, which may lead anywhere.
namespace workbench {

/// Whether `path` is a link, wherever it leads.
WORKBENCH_API bool isLink(const std::string& path);

/// Removes what stands at `path` unless it is a regular file or a folder: a link, and what it
/// leads to stays, or a pipe, which would hold who writes to it. To be called before something
/// is written there that follows links.
WORKBENCH_API void makeWayForFile(const std::string& path);

}  // namespace workbench
