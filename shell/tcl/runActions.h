// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "workbench/statistics/verdict.h"

struct Tcl_Obj;

/// The work of the subcommands of `run`, one function each, and of `launch`, which does some of
/// the same. All throw what setError() knows.
namespace shell::tcl {

class Call;
struct OptionRule;

namespace run {

// Changes.
Tcl_Obj* create(Call& call);
Tcl_Obj* set(Call& call);
Tcl_Obj* apply(Call& call);
Tcl_Obj* sweep(Call& call);
Tcl_Obj* kill(Call& call);
Tcl_Obj* reset(Call& call);
Tcl_Obj* remove(Call& call);

// Questions.
Tcl_Obj* list(Call& call);
Tcl_Obj* exists(Call& call);
Tcl_Obj* info(Call& call);
Tcl_Obj* get(Call& call);
Tcl_Obj* options(Call& call);
Tcl_Obj* status(Call& call);
Tcl_Obj* steps(Call& call);
Tcl_Obj* log(Call& call);
Tcl_Obj* why(Call& call);
Tcl_Obj* best(Call& call);
Tcl_Obj* compare(Call& call);

// What was, and taking it back.
Tcl_Obj* history(Call& call);
Tcl_Obj* diff(Call& call);
Tcl_Obj* explain(Call& call);
Tcl_Obj* bug(Call& call);
Tcl_Obj* undo(Call& call);

/// How sure the verdicts on families are to be. @throws HTCErrors::error an option is wrong.
statistics::Question questionOf(const Call& call);

/// Names the callback of an event, or sets it.
Tcl_Obj* on(Call& call);

}  // namespace run

namespace launch {

/// What a launch takes; the same as xp's.
const std::vector<OptionRule>& options();

Tcl_Obj* start(Call& call);
Tcl_Obj* wait(Call& call);
Tcl_Obj* plan(Call& call);
Tcl_Obj* status(Call& call);
Tcl_Obj* cancel(Call& call);

}  // namespace launch

}  // namespace shell::tcl
