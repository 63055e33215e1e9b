// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace shell {

/// The last `count` lines of the text file `path`, without line ends; all of them for
/// a `count` of 0. Reads no more of the file than that takes, at most its last 64 MB.
/// A file that can't be read gives none, and `reason` says why.
std::vector<std::string> lastLines(const std::string& path, std::size_t count, std::string& reason);

/// Hands the text file `path`, as long as it is at the start, to `take`: piece by piece, none of
/// which ends within a character. A file that can't be read gives none, and `reason` says why.
void readPieces(const std::string& path, const std::function<void(const std::string&)>& take,
                std::string& reason);

/// What a failed step left in its log for the reader: the last `count` lines without
/// those of the wrapper, from the first error on when one is among them.
std::vector<std::string> failureLines(const std::vector<std::string>& lines, std::size_t count);

}  // namespace shell
