// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace shell {

/// How many letters must be added, taken away, changed or swapped with their neighbour
/// to make `a` of `b`.
int editDistance(const std::string& a, const std::string& b);

/// The one of `known` that was probably meant by `typed`; empty when none is near
/// enough. A name that begins with `typed` wins when it is the only one.
std::string suggestionFor(const std::string& typed, const std::vector<std::string>& known);

/// What stands behind "There is no X 'typed'.": "Did you mean 'NAME'?" with a name of `known`
/// that is near enough, else `otherwise`.
std::string hintFor(const std::string& typed, const std::vector<std::string>& known,
                    const std::string& otherwise);

}  // namespace shell
