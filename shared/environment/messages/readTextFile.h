// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

/// Reads a whole file of at most 16 MB into `content`. Only a regular file is
/// read, so that a pipe of that name doesn't hold the caller. On false `reason`
/// says why, in the system's words where it has some.
bool readTextFile(const std::string& path, std::string& content, std::string& reason);
