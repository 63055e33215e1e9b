// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "shell/page/criticalPath.h"

class HAXPExpRun;

namespace shell {

/// What the larger files of a run tell for the page.
struct RunFiles {
    RoutedReport routed;
    /// How many different warnings its tools gave; nothing without a run directory.
    std::optional<long> warnings;
    /// The end of its log; of a failed run from the first error on.
    std::vector<std::string> log;
};

/// Reads the files of `runs`, whose status is up to date, by as many threads as there are
/// processors, and returns when all are read, in the order of `runs`. What can't be read is
/// missing. Nobody else may change the runs meanwhile.
std::vector<RunFiles> readRunFiles(const std::vector<HAXPExpRun*>& runs);

}  // namespace shell
