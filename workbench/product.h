// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// The product that the workbench declares itself to be.
namespace workbench {

/// Declares product, version and folders to the environment, sets its parameters,
/// installs the step filter and builds flows and statistics; once in a process, the rest
/// of the calls do nothing. `binDir` is the folder of the step programs, absolute.
///
/// The user's folder is that of XPERIMENT_APP_DATA_DIR, else "xperiment" in
/// XDG_CONFIG_HOME, else ".config/xperiment" in HOME; none when none of them is set.
/// Nothing is made there.
WORKBENCH_API void installProduct(const std::string& binDir);

/// The folder of the step programs, as installProduct() got it.
WORKBENCH_API const std::string& binDir();

}  // namespace workbench
