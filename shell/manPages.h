// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>

namespace shell {

/// The word behind "xp" that writes the manual pages; the build uses it.
extern const char kManPagesWord[];

/// The manual pages by the names of their files: "xp.1", "xp-status.1", "xp-strategy-copy.1".
/// They hold what the help holds.
std::map<std::string, std::string> manPages();

/// Writes them into the folder `dir`, which is made if it isn't there. The exit status.
/// @throws CommandError one can't be written.
int writeManPages(const std::string& dir);

}  // namespace shell
