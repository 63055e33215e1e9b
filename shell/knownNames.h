// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class Project;

namespace workbench {
struct RunFamily;
}

/// Names that must be known. Who mistypes one is told which was probably meant.
namespace shell {

/// @throws CommandError `name` isn't among `known`; `kind` is what it names, such as "status".
void requireName(const std::string& kind, const std::string& name,
                 const std::vector<std::string>& known);

/// Adds what a run of `family` can be meant by, its sweep and its family, to `names`, each once.
void addFamilyNames(const workbench::RunFamily& family, std::vector<std::string>& names);

/// @throws CommandError the project has no family or sweep called `name`.
void requireFamily(const Project& project, const std::string& name);

/// @throws CommandError there is no device called `name`.
void requireDeviceName(const std::string& name);

}  // namespace shell
