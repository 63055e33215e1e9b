// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace reports {

/// How `tarnel` ends; documented in docs/workbench/reports.md.
enum TarnelStatus {
    kTarnelDone = 0,
    kTarnelFailed = 1,  ///< the script or one of its reports failed
    kTarnelUsage = 2,   ///< the command line is wrong
};

/// The command line of `tarnel`, taken apart.
struct TarnelCall {
    bool wantsHelp = false;
    bool wantsVersion = false;
    std::string source;                  ///< the script to run
    std::vector<std::string> arguments;  ///< what the script finds in `argv`
};

/// Reads the words behind the program's name; leading words that are the
/// installation's loader arguments are passed over. On refusal `reason` gets a
/// message and `call` stays as it was.
bool parseTarnelCall(const std::vector<std::string>& words,
                     const std::vector<std::string>& loaderArgs, TarnelCall& call,
                     std::string& reason);

/// Whether a program that was called as `name` is the interpreter.
bool isTarnel(const std::string& name);

/// The program `tarnel`: runs a script in batch mode in the current folder. Its
/// failure is one message on standard error. @return one of TarnelStatus
int tarnelMain(const std::vector<std::string>& words);

}  // namespace reports
