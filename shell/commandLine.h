// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace shell {

/// Runs xp with the words of its command line, the program's name left out, and gives
/// its exit status. Everything that is thrown ends as one message on standard error.
int runCommandLine(const std::vector<std::string>& words);

}  // namespace shell
