// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

/// The parameters of the library, by name.
namespace paramTable {

struct Row {
    const char* name;
    /// What holds while no source gives a value: "false", or "error" for a
    /// parameter that the embedding program must set.
    const char* whenAbsent;
    /// What it does, in one sentence.
    const char* description;
};

constexpr Row kRows[] = {
    {"project.enableLSFforRuns", "false",
     "When a run can't be killed on this host, its remote process or cluster job is killed."},
    {"project.enableReportConfiguration", "false",
     "Steps keep report configurations in place of checks of their report files."},
    {"project.enableWarnOnViolation", "error",
     "Timing summaries of a routed design are told to warn of violations."},
    {"project.handleIncrementalDcpFiles", "false",
     "Changes of incremental checkpoint files make runs stale."},
    {"project.runs.noReportGeneration", "false",
     "Runs leave out those reports of the default strategies that they can do without."},
    {"project.runs.opt_design.defaultBehaviorAsMessages", "false",
     "The check reports of opt_design are told to give messages."},
    {"project.runs.route_design.defaultBehaviorAsMessages", "false",
     "The check reports of route_design are told to give messages."},
    {"runs.debug", "false", "Messages tell the cluster job of a run and each kill command."},
    {"runs.defaultToToolStrategy", "false",
     "The default strategy of a flow is one of the tool, not one of the user."},
    {"runs.enableClusterConf", "false",
     "A cluster job may be killed with the command of its named cluster configuration."},
    {"runs.enableReportDisplayName", "false",
     "Report strategy files keep the display names of reports."},
    {"runs.enableTemplatizedFlow", "false",
     "Reports of steps without an alias of their own are named after the step's id."},
    {"runs.enableTemplatizedFlows", "false",
     "Together with runs.launchI2FlowInProcess, runs of a local flow execute in process."},
    {"runs.launchI2FlowInProcess", "false",
     "Together with runs.enableTemplatizedFlows, runs of a local flow execute in process."},
};

}  // namespace paramTable
