// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "shell/runDiff.h"

/// What differs between two runs or families, for people and for scripts.
namespace shell {

/// A table for each kind of difference; one line when nothing differs. Of warnings each is a
/// line of its own.
std::string diffText(const DiffSide& first, const DiffSide& second, const RunDiff& diff);

nlohmann::json diffJson(const DiffSide& first, const DiffSide& second, const RunDiff& diff);

}  // namespace shell
