// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

class HAXPExpRun;

namespace shell {

/// Some runs of a project, which owns them, in an order.
using Runs = std::vector<HAXPExpRun*>;

}  // namespace shell
