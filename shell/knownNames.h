// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class Project;

/// Names that must be known. Who mistypes one is told which was probably meant.
namespace shell {

/// @throws CommandError `name` isn't among `known`; `kind` is what it names, such as "status".
void requireName(const std::string& kind, const std::string& name,
                 const std::vector<std::string>& known);

/// @throws CommandError the project has no family or sweep called `name`.
void requireFamily(const Project& project, const std::string& name);

/// @throws CommandError there is no device called `name`.
void requireDeviceName(const std::string& name);

}  // namespace shell
