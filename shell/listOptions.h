// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

/// The words that choose and order runs in lists.
namespace shell {

/// By what runs can be sorted, such as "name" and "fmax".
const std::vector<std::string>& sortKeys();

/// What statusWord() may say of a run.
const std::vector<std::string>& statusWords();

}  // namespace shell
