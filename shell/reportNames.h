// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPExpRun;
class HAXPFlow;
class HAXRReportConfig;
class RunReports;

/// Reports as users name them, with the one that was probably meant when there is none.
namespace shell {

/// The handiest name that means `report` alone: its command or its display name, with its
/// step's short name and a dot in front where several steps have one, or its whole name. One that a
/// shell would take apart is passed over.
std::string shortName(const RunReports& reports, const HAXRReportConfig& report);

/// The report of `run` that `name` means. @throws CommandError there is none, and one that
/// is called nearly so. @throws HEXUserException there is none at all, or several.
HAXRReportConfig& chosenReport(HAXPExpRun& run, const std::string& name);

/// Those called `names`, each once, or all of the run.
std::vector<HAXRReportConfig*> chosenReports(HAXPExpRun& run,
                                             const std::vector<std::string>& names);

/// The name of the report strategy of `flow` that `text` means, with or without the flow
/// in front. @throws CommandError there is none.
std::string chosenReportStrategy(const HAXPFlow& flow, const std::string& text);

}  // namespace shell
