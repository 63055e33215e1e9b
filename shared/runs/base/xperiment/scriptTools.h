// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <unordered_map>

/// Whether the tools of a run can be found by its scripts.
namespace xperiment {

/// Answers for one generation of scripts: each tool is searched once.
class ToolSearch {
public:
    /// Whether `name` is a program of the search path, of the product's binaries or of
    /// one of the directories that the environment puts in front.
    bool exists(const std::string& name);

private:
    std::unordered_map<std::string, bool> m_known;
};

/// The value of an environment variable; empty when it is unset.
std::string environment(const char* name);

}  // namespace xperiment
