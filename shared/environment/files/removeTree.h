// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace files {

/// HUTFile::rmRecursive() of a path.
bool removeTree(const std::string& path);

}  // namespace files
