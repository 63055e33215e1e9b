// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/failures/failureKind.h"

class HAXPExpRun;

/// Why a run failed, as a designer wants to know it.
namespace workbench {

/// One failure in the form that every error has: what, where, what to try, and last the tool's
/// own words. Texts are as they were found, not yet fit for a terminal.
struct RunFailure {
    FailureKind kind = FailureKind::kUnknown;
    std::string step;       ///< id of the flow step; empty when none began
    std::string what;       ///< a sentence without its full stop
    std::string file;       ///< where the cause is; empty when nothing tells
    int line = 0;           ///< in `file`, from 1; 0 when nothing tells
    std::string advice;     ///< what to try, a sentence without its full stop
    std::string toolWords;  ///< lines of the log, without a line end behind the last; may be empty
    long logLine = 0;       ///< of the first of them in the log, from 1; 0 when it has none
};

/// Why `run` failed, was lost or was stopped, from its log and its sources; nothing for a run in
/// another state. Of the status that updateStatus() last found: the caller brings it up to date.
/// Reads the log's last 64 MB, and sources and the netlist where they tell the place.
WORKBENCH_API std::optional<RunFailure> findFailure(const HAXPExpRun& run);

/// The same from the lines of a log, whose last step is the one that failed, without a look at
/// any other file. A log without a word of an error gives a failure of an unknown kind.
WORKBENCH_API RunFailure failureOfLog(const std::vector<std::string>& log);

/// A word or two for `kind`, such as "syntax" or "no such pin"; they stay as they are.
WORKBENCH_API const char* failureKindText(FailureKind kind);

/// All lines of the file at `path`, or of its last 64 MB, of which the first may be cut; `skipped`
/// tells whether some are missing. Of a line of more than 4096 bytes that isn't a command the rest
/// is left off. Empty when it can't be read.
WORKBENCH_API std::vector<std::string> logLines(const std::string& path, bool& skipped);

/// Line `number` of the file at `path`, from 1, without blanks at its end; empty when it isn't
/// there.
WORKBENCH_API std::string sourceLine(const std::string& path, int number);

}  // namespace workbench
