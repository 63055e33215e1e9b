// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>

#include "workbench/ice40/metrics.h"
#include "workbench/ice40/process.h"
#include "workbench/ice40/toolErrors.h"

namespace CLI {
class App;
}

namespace ice40 {

/// Runs the program of the step with the id `step`: reads the command line, does
/// the work, and turns what it throws into one message on standard error and an
/// exit status. When the work is done and the command line says "--reports
/// SCRIPT", the reports of the step are made; one that fails is a warning. The
/// Tcl scripts of "--pre-hook" and "--post-hook" run before the work and behind
/// it, by the xp beside the program; one that fails makes the step fail.
///
/// The status is one of ExitStatus; after a stop signal the program ends by
/// that signal, its half-written files removed.
int runStep(CLI::App& app, const std::string& step, int argc, char** argv,
            const std::function<void()>& work);

/// Writes one line to standard output at once, so that a log can be followed.
void printLine(const std::string& line);

/// Prints "WARNING: ..." to standard output.
void warn(const std::string& text);

/// A tool whose lines all go to the log, with `sink` hearing each too.
/// @throws StepFailure the tool is missing or fails; see ToolErrors.
void runLoggedTool(const ToolCommand& command, const LineSink& sink = {});

/// The first line of what a tool prints with `option`; empty when it fails.
std::string firstLineOf(const std::string& tool, const std::string& option);

/// Counts the seconds of a step from its making on.
class StepClock {
public:
    StepClock();
    double seconds() const;

private:
    double m_start;
};

}  // namespace ice40
