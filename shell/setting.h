// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace shell {

/// What a word such as "seed=7" sets.
struct Setting {
    std::string name;
    std::string value;
};

/// @throws CommandError a word without a name and a '='.
std::vector<Setting> readSettings(const std::vector<std::string>& words);

}  // namespace shell
