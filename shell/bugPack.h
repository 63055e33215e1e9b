// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <utility>
#include <vector>

class HAXPExpRun;
class Project;

/// A run packed so that somebody else can repeat it with the tools alone.
namespace shell {

/// Texts that are replaced by others, the longest first: absolute paths by those in a pack.
class PathMap {
public:
    /// An empty `from`, and "/", change nothing.
    void add(const std::string& from, const std::string& to);
    /// Only whole paths are replaced: "/a/b" within "/a/bc" stays.
    std::string apply(const std::string& text) const;

private:
    std::vector<std::pair<std::string, std::string>> m_pairs;
};

/// What a log says that a step ran: its "Command: " lines, behind the last failure but one, from
/// the last step on, with what only the workbench needs taken out.
std::vector<std::string> plainCommands(const std::vector<std::string>& log,
                                       const std::string& stepId);

/// `project`, the text of a project file, without the runs whose names aren't in `names`.
std::string cutProject(const std::string& project, const std::vector<std::string>& names);

/// The folder that all of `files`, absolute, lie in; without a separator at its end.
std::string commonFolder(const std::vector<std::string>& files);

/// Packs `run` into the file `archive`, by `tar`: the files of the design that it reads, its
/// logs, scripts and netlist, its options and tools, the project file cut to it, and a script
/// that repeats its last step with the tools alone. What lies outside the design stays out, and
/// absolute paths are replaced. Returns what should be in the pack and isn't, and why; the pack
/// says the same.
/// @throws CommandError it can't be packed; then nothing is left.
std::vector<std::string> packRun(const Project& project, HAXPExpRun& run,
                                 const std::string& archive);

/// A file, and what should be in it and isn't.
struct PackedRun {
    std::string archive;
    std::vector<std::string> leftOut;
};

/// The same into a file that isn't there yet, "bug-RUN.tar.gz" in the current folder when
/// `archive` is empty.
/// @throws CommandError it is there, or can't be packed; then nothing is left.
PackedRun packRunAnew(const Project& project, HAXPExpRun& run, const std::string& archive);

}  // namespace shell
