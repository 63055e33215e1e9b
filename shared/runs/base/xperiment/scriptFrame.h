// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

class HAXPDataMgr;
class HAXPExpRunBase;

/// What the scripts of a run and those of its reports share: their heads and tails,
/// and how they come into the run directory.
namespace xperiment {

/// What tells one set of scripts from another: the names of its files, all in the run
/// directory, and what its titles call it.
struct ScriptSet {
    std::string kind;  ///< "Runs Script"
    std::string sh;
    std::string js;
    std::string bat;
    std::string log;
    std::string wrapperSh;
    std::string wrapperJs;
};

/// The search paths that a script puts before those that it finds.
struct SearchPaths {
    std::string unixPath;
    std::string winPath;
    std::string ldPath;
};

/// The search paths that the environment asks for.
SearchPaths searchPaths();

/// The shell script to behind the definition of EAStep and an empty line. The folder
/// stands in single quotes, with nothing escaped.
std::string shHead(const ScriptSet& set, const SearchPaths& paths, const std::string& runDir);

/// The JScript to behind the reading of its wrapper and two empty lines. Whoever wants
/// to run it has to edit it first, and it says so in lines that are no JScript.
std::string jsHead(const ScriptSet& set, const SearchPaths& paths);

/// Three empty lines and the function by which the head reads the wrapper.
std::string jsFooter();

/// The batch file that starts the JScript. It sets the system's search path where this
/// host, as it is set up, wouldn't find the Script Host.
std::string batScript(const ScriptSet& set);

/// What names in the run directory begin with.
/// @throws HEXAlgException there is no run, or it has no directory.
std::string scriptDirOf(const HAXPExpRunBase* run);

/// The data manager of the run's flow, which has a say in its scripts; null without one, or
/// without a run.
HAXPDataMgr* dataMgrOf(const HAXPExpRunBase* run);

/// Copies both wrappers of `set` from the installation over those in `dir`, as
/// scriptDirOf() gives it. A missing one is passed over.
void copyWrappers(const ScriptSet& set, const std::string& dir);

/// Writes a batch file as a new file; no link or other name of an old one is touched.
void writeBat(const std::string& path, const std::string& text);

}  // namespace xperiment
