// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace ice40 {

/// Takes name and version from `line`, the first that `tool` prints when it is asked:
/// "nextpnr-ice40 0.4-1" where the version stands in "(Version 0.4-1)", else the line.
std::string parseToolVersion(const std::string& tool, const std::string& line);

/// Asks the program at `path`, which is `tool`, for its version; empty when it doesn't
/// tell within ten seconds, or isn't there.
std::string toolVersion(const std::string& tool, const std::string& path);

}  // namespace ice40
