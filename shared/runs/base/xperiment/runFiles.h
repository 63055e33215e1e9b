// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace xperiment {

class RunPath;

// The names of files in a run directory come from tables that a tool may have filled.
// Whatever a name says, nothing outside of the directory is touched: no link below it is
// followed, and no name goes up. An empty name, or an empty directory, names nothing.
// What can't be removed stays without a word, unless said otherwise.

/// The script that runs the steps under UNIX. A cluster job is known by its path.
constexpr const char* runScriptFile = "runme.sh";

/// The identifier of the run's cluster job, and the log of its submission. The layer that
/// submits the job writes them.
constexpr const char* jobIdFile = "job.id";
constexpr const char* jobLogFile = "job.id.log";

/// The path of `name` in the directory.
std::string pathIn(const std::string& runDir, const std::string& name);

/// Removes the file or link `name`; a folder of that name stays.
void removeRunFile(RunPath& dir, const std::string& name);

/// removeRunFile() of a full path, which need not lie in the directory.
void removeRunPath(RunPath& dir, const std::string& path);

/// Removes the file, link or folder `name`, a folder with all that is in it. True when
/// nothing of that name is left; false also for a name that may not be reached.
bool removeRunEntry(RunPath& dir, const std::string& name);

/// Removes what was generated as `name`: a file as removeRunFile() does; a folder is
/// emptied and made again; behind a '*' in it, `name` is a folder and a pattern, the
/// part behind the last separator, and every entry of the folder whose whole name
/// matches the pattern goes with all that is in it. The pattern is an ECMAScript regular
/// expression without back-references.
/// @throws std::regex_error the pattern isn't one, is longer than 1024 bytes, or needs
///     too much memory; nothing is removed.
/// @throws boost::filesystem::filesystem_error the folder of a pattern can't be read.
void removeGenerated(RunPath& dir, const std::string& name);

}  // namespace xperiment
