// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"

namespace process {

/// The words of a command line, as HUTFork::setCmdLine() takes it apart.
ENVIRONMENT_API std::vector<std::string> splitCommand(const std::string& line);

/// `text` as one word for a shell: between single quotes, whatever it holds.
ENVIRONMENT_API std::string quoteWord(const std::string& text);

/// The words as a person would type them in a shell.
ENVIRONMENT_API std::string showCommand(const std::vector<std::string>& words);

}  // namespace process
