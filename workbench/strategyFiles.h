// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPStrategy;
class HAXRReportStrategy;

/// Strategies that go from one user to another as files.
namespace workbench {

/// The strategies of the file `path`, none of them registered. Stricter than a restore,
/// which passes over what it doesn't know: here all of the file must be known to the
/// flows and fit for a script.
/// @throws HEXUserException it can't be read, or something in it isn't known; the text
/// names file and line.
WORKBENCH_API std::vector<std::unique_ptr<HAXPStrategy>> readStrategyFile(const std::string& path);

/// Destroys a report strategy with its reports.
struct WORKBENCH_API DestroyReportStrategy {
    void operator()(HAXRReportStrategy* strategy) const;
};
using OwnedReportStrategy = std::unique_ptr<HAXRReportStrategy, DestroyReportStrategy>;

/// The same for report strategies, of which a file may hold several; all of it must also
/// be known to the report catalogue.
WORKBENCH_API std::vector<OwnedReportStrategy> readReportStrategyFile(const std::string& path);

/// Writes the strategy into a file of its own, with `replace` in the place of one that is
/// there. @throws HEXUserException there is one. @throws HXMLException it can't be
/// written; the old file is intact.
WORKBENCH_API void writeStrategyFile(HAXPStrategy& strategy, const std::string& path, bool replace);
WORKBENCH_API void writeReportStrategyFile(HAXRReportStrategy& strategy, const std::string& path,
                                           bool replace);

}  // namespace workbench
