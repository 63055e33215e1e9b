// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

/// Files shown to people.
namespace shell {

/// The pagers to be tried in turn, as command lines: `wish`, what the variable PAGER holds,
/// in front, null when it isn't set. None when it is empty or "cat".
std::vector<std::string> pagersFor(const char* wish);

/// Shows the file `path`, on a terminal in the user's pager, less or more, whichever is
/// there first; off a terminal, and without a pager, it is copied to standard output.
/// @throws CommandError it can't be read.
void showFile(const std::string& path);

}  // namespace shell
