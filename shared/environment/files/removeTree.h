// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace files {

/// HUTFile::rmRecursive() of a path.
bool removeTree(const std::string& path);

/// HUTFileUtils::removeBelow().
bool removeBelow(const std::string& folder, const std::string& name);

}  // namespace files
