// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/suggestion.h"

namespace shell {

using workbench::editDistance;
using workbench::suggestionFor;

/// What stands behind "There is no X 'typed'.": "Did you mean 'NAME'?" with a name of `known`
/// that is near enough, else `otherwise`.
std::string hintFor(const std::string& typed, const std::vector<std::string>& known,
                    const std::string& otherwise);

}  // namespace shell
