// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace files {

/// HUTFile::copyTo() between two paths; with `replace` an existing target is
/// replaced, else it stays and the result is false.
bool copyFile(const std::string& source, const std::string& target, bool replace);

}  // namespace files
