// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/bestRun.h"

/// A choice, for people and for scripts.
namespace shell {

/// "55.2 MHz"; "none" without the figure.
std::string metricText(const ComparedRun& run, const Metric& metric);

/// Which run is best, what each rule left of the others, and what was left out; a line each.
std::vector<std::string> choiceLines(const Choice& choice);

nlohmann::json choiceJson(const Choice& choice);

}  // namespace shell
