// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPExpRun;
class Project;

/// The data of the page of a project: docs/formats/page-data.md.
namespace shell {

/// How much of the data a page may hold, in bytes: so much, and so much more for each run.
constexpr std::size_t kPageDataBytes = 64U << 10U;
constexpr std::size_t kPageBytesOfRun = 4U << 10U;

struct PageRequest {
    /// Up to date with their directories.
    std::vector<HAXPExpRun*> runs;
    /// Whether the page asks for the data again.
    bool isLive = false;
    /// What decides which run is best, as "xp best --by" takes it.
    std::string rule = "fmax max";
};

/// The data as JSON without blanks; takes time in proportion to the runs. Brings their stale
/// reasons up to date. Reports that can't be read are told on standard error.
/// @throws CommandError the rule makes no sense.
std::string pageData(const Project& project, const PageRequest& request);

}  // namespace shell
