// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/setting.h"
#include "shell/tcl/tclEnsemble.h"
#include "shell/tcl/tclSession.h"

class HAXPFlow;

/// What the subcommands have in common.
namespace shell::tcl {

/// The handle on `run`: a value whose text is its name.
Tcl_Obj* handleOf(HAXPExpRun& run);
Tcl_Obj* handlesOf(const std::vector<HAXPExpRun*>& runs);

/// The project that a subcommand is to change.
/// @throws HTCErrors::error it is open for reading only.
OpenProject& changeable(OpenProject& project);

/// The run that a word means, in a project that may be changed.
RunOfProject changeableRun(Call& call, std::size_t word);

/// The flow that `word` means. @throws HTCErrors::error there is none.
const HAXPFlow& flowNamed(const std::string& word);

/// The words from `first` on as names and values.
std::vector<Setting> settingsOf(const Call& call, std::size_t first);
/// The dict of an option as names and values.
std::vector<Setting> settingsOf(const Call& call, const char* option);

}  // namespace shell::tcl
