// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

class HAXPExpRun;

namespace workbench {
struct RunFailure;
}

/// Failures of runs, for people and for scripts.
namespace shell {

/// The message for a run that failed, was lost or stopped, in the form of every error: what
/// happened, where, what to try, where the log lies, and at last the tool's own words.
std::string failureText(const HAXPExpRun& run);

/// "top.v:12"; the file alone when the line isn't known, empty when nothing is.
std::string placeText(const workbench::RunFailure& failure);

/// `failure` as an object with "kind", "step", "what", "file", "line", "advice", "tool" and
/// "log_line"; what isn't known is null.
nlohmann::json failureJson(const workbench::RunFailure& failure);

}  // namespace shell
