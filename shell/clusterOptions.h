// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

class HAXPExpRun;
class HAXPLaunchOptions;

namespace CLI {
class App;
}  // namespace CLI

namespace shell {

/// The options of a launch on a cluster.
class ClusterOptions {
public:
    /// Behind the option --host, which these exclude.
    void declare(CLI::App& command);

    bool hasCluster() const { return !m_sge.empty() || !m_lsf.empty(); }

    /// `asArrays` is whether runs are launched as arrays of jobs.
    /// @throws HEXUserException the submit command can't be used.
    void addTo(HAXPLaunchOptions& options, bool asArrays = false) const;

    /// With --test-folder: has LSF touch a file in the folder `dir`, which shows that its
    /// hosts see it. Holds the caller for two minutes at most.
    /// @throws HEXUserException they don't.
    void testFolder(const std::string& dir) const;

    /// What is told of a run that a cluster took: "submitted as job 12".
    static std::string startedText(const HAXPExpRun& run);

private:
    std::string m_sge;
    std::string m_lsf;
    bool m_testFolder = false;
};

}  // namespace shell
