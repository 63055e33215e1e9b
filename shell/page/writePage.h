// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPExpRun;
class Project;

namespace shell {

/// Writes the page of `runs` of the project into the file `path`, the old one or the complete
/// new one at any time: "xperiment.html" beside the project file when that is empty. Gives the
/// absolute path. @throws CommandError or HEXUserException it can't be written.
std::string writePage(const Project& project, const std::vector<HAXPExpRun*>& runs,
                      const std::string& path);

/// The data of that page as JSON.
std::string writtenPageData(const Project& project, const std::vector<HAXPExpRun*>& runs);

/// The name of the page beside the project file.
extern const char kPageName[];

}  // namespace shell
