// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace CLI {
class Option;
}

/// What the declaration of an option says, for manual and completion.
namespace shell {

/// How it may be written: "-j", "--jobs". None for an argument.
std::vector<std::string> namesOf(const CLI::Option& option);

/// Whether it takes a value, and whether several.
bool takesValue(const CLI::Option& option);
bool takesSeveral(const CLI::Option& option);

/// What stands for its value in the manual, such as "FILE"; empty when it takes none.
std::string valueWord(const CLI::Option& option);

}  // namespace shell
