// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/setting.h"

class HAXRReportStrategy;

/// What a user does with the reports of a report strategy, for xp and its Tcl alike. Each action
/// holds the lock of the user's strategies, and changes nothing when it throws: a CommandError or
/// HEXUserException with the whole message.
namespace shell {

/// A report of the catalogue for a step of a report strategy.
struct WantedReport {
    std::string step;
    std::string report;
    std::string version;            ///< the latest when it is empty
    std::string shownAs;            ///< the catalogue's name when it is empty
    std::vector<Setting> settings;  ///< names are those of its options
};

/// What the report is called, "report_timing#2" where the step has one of its name, and whose.
struct AddedReport {
    std::string name;
    const HAXRReportStrategy* strategy;
};

/// Adds it to the report strategy of the user that `strategy` means.
AddedReport addStrategyReport(const std::string& strategy, const WantedReport& wanted);

/// Removes `report`, such as "report_timing#2", from a step; gives the strategy.
const HAXRReportStrategy& removeStrategyReport(const std::string& strategy, const std::string& step,
                                               const std::string& report);

}  // namespace shell
