// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPExpRun;

namespace shell {

/// Refuses to launch what can't work: every program of the open tools that `runs` need
/// must be in the search path, and the chip databases must be there.
/// @throws CommandError names what is missing and the packages to install.
void requireTools(const std::vector<HAXPExpRun*>& runs);

}  // namespace shell
