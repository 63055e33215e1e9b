// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

/// What the tools of a run warned of, so that it can be held against another run.
namespace workbench {

/// A warning, however often it was told.
struct ToolWarning {
    /// The step whose tool told it, "place_design"; empty when the log doesn't say.
    std::string step;
    /// The tool, "yosys"; empty when the log doesn't say.
    std::string tool;
    /// As the tool worded it the first time, without the word "Warning" and the place.
    std::string text;
    /// The place in the sources; empty and 0 when none is told.
    std::string file;
    long line = 0;
    /// What makes it this warning and no other: warningKey() of the whole of it.
    std::string key;
    std::size_t count = 1;
};

/// `text` without what differs from one launch to the next though the tool means the same:
/// folders of paths, line numbers, times, measured numbers, addresses, checksums and the
/// numbers of generated names each become one sign. Names, widths and counts stay.
WORKBENCH_API std::string warningKey(const std::string& text);

/// The warnings of a run's log, in the order in which they came first. Where a step was run
/// again, those of its earlier run and of the steps behind it don't count any more. Keeps
/// 10,000 at most.
WORKBENCH_API std::vector<ToolWarning> warningsIn(std::istream& log);

/// The same of the log at `path`; none when that is empty or can't be read.
WORKBENCH_API std::vector<ToolWarning> warningsOfLog(const std::string& path);

/// The same of the log of `run`.
WORKBENCH_API std::vector<ToolWarning> warningsOf(const HAXPExpRun& run);

/// Those of `warnings` that `others` lacks, of the same step: what is new, or with the two the
/// other way round what is gone.
WORKBENCH_API std::vector<ToolWarning> warningsBeyond(const std::vector<ToolWarning>& warnings,
                                                      const std::vector<ToolWarning>& others);

}  // namespace workbench
