// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPLaunchOptions;

namespace CLI {
class App;
}  // namespace CLI

namespace shell {

/// The options of a launch on several hosts, and of run scripts of the user's own.
class HostOptions {
public:
    /// Behind the option --jobs, which --host excludes.
    void declare(CLI::App& command);

    bool hasHosts() const { return !m_hosts.empty(); }
    bool hasRunScripts() const { return !m_runScripts.empty(); }

    /// @throws CommandError a number of jobs that is none.
    /// @throws HEXUserException a host that can't be one.
    void addTo(HAXPLaunchOptions& options) const;

private:
    std::vector<std::string> m_hosts;
    std::string m_command;
    std::string m_runScripts;
};

}  // namespace shell
