// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace shell::tcl {

/// What a message advises, as it is typed here: "xp create NAME --flow synth" becomes
/// "run create NAME -flow synth". A verb that has no command in Tcl stays, with its options.
std::string tclAdvice(const std::string& text);

}  // namespace shell::tcl
