// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

class HAXPExpRun;
class HAXPFlow;

namespace bench {

/// A new flow of `steps` steps with `options` options each; the catalogue keeps it. With
/// `hasAttributes` a step can be switched off and has scripts before and behind it.
HAXPFlow* makeFlow(int steps, int options, bool hasAttributes = false);

/// The tracking name of a step of such a flow.
std::string stepName(int index);

/// A launched run over `flow` in `dir`.
std::unique_ptr<HAXPExpRun> makeRun(const std::string& name, const HAXPFlow& flow,
                                    const std::string& dir);

}  // namespace bench
