// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

class Project;
struct DesignInputs;

/// What a user gives a project to work on, with the checks that xp and its Tcl make alike.
namespace shell {

/// Makes a project in `dir`, open for changes. Relative paths of `inputs` are taken from the
/// current folder.
/// @throws CommandError the tools don't know the device, it hasn't the package, or the
/// frequency is none. @throws HEXUserException a file isn't there, or the project can't be made.
std::unique_ptr<Project> makeProject(const std::string& dir, const DesignInputs& inputs);

/// What became of a file that was added.
struct AddedFile {
    enum Kind { kSource, kConstraints, kKnown };
    /// Absolute.
    std::string path;
    Kind kind;
};

/// Adds Verilog sources; a .pcf file becomes the constraints. Saves the project.
/// @throws HEXUserException one of `files` is no file; nothing is added.
std::vector<AddedFile> addFiles(Project& project, const std::vector<std::string>& files);

}  // namespace shell
