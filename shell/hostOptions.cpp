// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/hostOptions.h"

#include <cstdlib>
#include <utility>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "shell/exitStatus.h"
#include "workbench/places/HostPlace.h"

namespace shell {

namespace {

constexpr int kMostJobs = 10000;

/// Name and number of jobs of "node7:4"; a name with several colons has no number.
std::pair<std::string, int> hostOf(const std::string& text) {
    const std::string::size_type colon = text.find(':');
    if (colon == std::string::npos || colon != text.rfind(':'))
        return {text, 1};
    const std::string digits = text.substr(colon + 1);
    char* end = nullptr;
    const long jobs = std::strtol(digits.c_str(), &end, 10);
    if (digits.empty() || *end != '\0' || jobs < 1 || jobs > kMostJobs)
        throw CommandError(kExitUsage,
                           fmt::format("\"{}\" doesn't say how many runs go to the host at once. "
                                       "Give a number from 1 to {}, such as node7:4.",
                                       text, kMostJobs));
    return {text.substr(0, colon), static_cast<int>(jobs)};
}

}  // namespace

void HostOptions::declare(CLI::App& command) {
    auto* host = command
                     .add_option("--host", m_hosts,
                                 "Launch on this host, NAME or NAME:JOBS; may be given again")
                     ->allow_extra_args(false)
                     ->excludes("--jobs");
    command
        .add_option("--host-command", m_command,
                    "What runs a command on a host; ssh, without questions, if unsaid")
        ->needs(host);
    command
        .add_option("--run-scripts", m_runScripts,
                    "A file with lines RUN: SCRIPT, the user's own scripts of runs")
        ->check(CLI::ExistingFile);
}

void HostOptions::addTo(HAXPLaunchOptions& options) const {
    if (hasHosts()) {
        options.setLaunchMode(HAXPLaunchOptions::kSeveralHosts);
        options.setJobCmdMH(m_command);
    }
    for (const std::string& text : m_hosts) {
        const std::pair<std::string, int> host = hostOf(text);
        workbench::HostPlace::requireHost(host.first);
        options.addHostMH(host.first, host.second);
    }
    if (hasRunScripts())
        options.setUserRunScript(m_runScripts);
}

}  // namespace shell
