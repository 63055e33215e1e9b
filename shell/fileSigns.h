// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace shell {

/// What tells a file or folder from what it was before, by one system call; "-" when there is
/// none.
std::string signsOf(const std::string& path);

/// The same for the project in the folder `dir`: they change whenever it is saved, in whole or
/// in part.
std::string projectSigns(const std::string& dir);

}  // namespace shell
