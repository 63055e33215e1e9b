// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

/// Whether this host, the tools and a folder are fit for runs.
namespace shell {

enum class Health { kOk, kWarn, kBad };

/// One thing that was looked at.
struct Check {
    std::string area;  ///< "tools", "folder", "tcl", "page", "runs" or "grid"
    std::string name;
    Health health = Health::kOk;
    std::string text;    ///< what was seen
    std::string advice;  ///< what to do; empty when all is well
};

/// A program that runs need.
struct ToolFacts {
    std::string name;
    std::string package;
    std::string path;     ///< empty when it isn't in the search path
    bool isAsked = true;  ///< whether it tells its version at all
    std::string version;  ///< "nextpnr-ice40 0.4-1"; empty when it didn't tell
    std::string oldest;   ///< the oldest version that works; empty when any does
    std::string tested;   ///< the oldest that ours is tested with
};

/// What a folder is like, as the system tells it.
struct FolderFacts {
    std::string path;
    std::string writeError;  ///< why no file could be made in it; empty when one could
    std::string system;      ///< "ext4", "nfs"; empty when it isn't known
    std::uint64_t freeBytes = 0;
    std::uint64_t freeFiles = 0;
    bool countsFiles = false;  ///< whether `freeFiles` means anything there
    /// How far the clock of its file system is ahead of this host's, in seconds.
    double aheadSec = 0;
};

/// Whether version `one` is older than `other`: "0.9" is older than "0.23". Words before the
/// first number don't count.
bool isOlderVersion(const std::string& one, const std::string& other);

/// The verdicts; they look at nothing.
Check judgeTool(const ToolFacts& tool);
std::vector<Check> judgeFolder(const FolderFacts& folder);

/// Looks at what is there. Makes a file in the folder for a moment.
FolderFacts lookAtFolder(const std::string& path);
/// The tools of all steps, and what belongs to them. Each is asked for its version; one that
/// hangs is given up after ten seconds.
std::vector<Check> checkTools();
Check checkTcl();
Check checkPageViewer();

/// 0, kExitToolMissing when a tool or the grid isn't fit, else kExitRefused when something
/// else is bad.
int exitStatusOf(const std::vector<Check>& checks);

/// A table of the checks, with what to do.
std::string checksText(const std::vector<Check>& checks);
nlohmann::json checksJson(const std::vector<Check>& checks);

}  // namespace shell
