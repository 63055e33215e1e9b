// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// The product that the workbench declares itself to be.
namespace workbench {

/// Declares product, version and folders to the environment, installs the step filter
/// and builds flows and statistics; once in a process, the rest of the calls do
/// nothing. `binDir` is the folder of the step programs, absolute.
WORKBENCH_API void installProduct(const std::string& binDir);

/// The folder of the step programs, as installProduct() got it.
WORKBENCH_API const std::string& binDir();

}  // namespace workbench
