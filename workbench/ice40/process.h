// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ice40 {

/// Hears each line of a tool as soon as it is whole, without its line end.
using LineSink = std::function<void(const std::string& line)>;

/// A program and its arguments, word by word; no shell ever reads them.
struct ToolCommand {
    std::vector<std::string> words;  ///< the program's name first
    std::vector<std::string> files;  ///< opened for writing as /dev/fd/10, /dev/fd/11 ...

    /// The words as a person would type them, for the log.
    std::string shown() const;
};

/// How a tool ended: with an exit status, or by a signal that isn't 0.
struct ToolEnd {
    int exitStatus = 0;
    int signal = 0;

    bool good() const { return exitStatus == 0 && signal == 0; }
    /// "ended with status 1", "was killed by signal 9".
    std::string shown() const;
};

/// Runs a tool to its end. Its standard input is empty; its output and its
/// errors go to the two sinks, line by line. The tool stays in the process
/// group of this program, so that a stop of the whole group reaches it too; a
/// stop signal to this program alone is handed on to it.
/// @throws StepFailure the tool isn't installed or can't be started; the text
///         names the package to install.
/// @throws StepStopped a stop signal came; the tool has ended by then.
ToolEnd runTool(const ToolCommand& command, const LineSink& onOutput, const LineSink& onError);

/// From here on TERM, INT and HUP end the running tool and then raise
/// StepStopped, so that half-written files are removed on the way out.
void catchStopSignals();

/// @throws StepStopped a stop signal came since catchStopSignals().
void throwIfStopped();

/// Where `program` lies according to PATH; empty when it isn't there.
std::string findInPath(const std::string& program);

}  // namespace ice40
