// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

namespace workbench {

/// The files beside `sources` that a design is read from: included files and the
/// contents of memories.
///
/// Every string of a source that names a file, from the folder of the source or one of
/// `includeDirs`, counts, so that names which reach "$readmemh" by a parameter are
/// found too. Included files are searched in their turn. Each file comes once, in the
/// order of its first mention; one that can't be read names nothing.
WORKBENCH_API std::vector<std::string> referencedFiles(const std::vector<std::string>& sources,
                                                       const std::vector<std::string>& includeDirs);

}  // namespace workbench
