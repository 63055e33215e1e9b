// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRunBase;

/// The statistics of a run: what its steps read from the reports of their tools.
///
/// A number that no tool reported is not available, never 0.
class WORKBENCH_API OpenStats {
public:
    OpenStats() = delete;

    static const char kLuts[];
    static const char kFlipFlops[];
    static const char kBlockRams[];
    static const char kFmaxMhz[];
    static const char kWorstSlackNs[];
    static const char kRunTime[];

    /// Adds the statistics to the manager; a second call does nothing.
    static void registerAll();

    /// The statistic `name` of `run` as text, in its unit; empty when it isn't available.
    static std::string textOf(const HAXPExpRunBase& run, const std::string& name);
    /// As a number; false, with `value` as it was, when it isn't available.
    static bool valueOf(const HAXPExpRunBase& run, const std::string& name, double& value);
};
