// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "workbench/ice40/metrics.h"
#include "workbench/ice40/pcf.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/reports.h"
#include "workbench/reports/design.h"
#include "workbench/reports/pnrReport.h"
#include "workbench/reports/routedNets.h"

namespace reports {

/// What a step left in the current folder, as far as its reports need it.
///
/// Each file is read at the first call that needs it and then kept; the
/// references are good as long as the object lives. A file that is missing,
/// damaged, newer than this program, too big, or not of this step is a failure
/// that names it and tells which step to run: never a number that nobody
/// reported.
class StepResults {
public:
    /// The results of `step`. Reads nothing yet.
    explicit StepResults(const std::string& step);
    ~StepResults();

    StepResults(const StepResults&) = delete;
    StepResults& operator=(const StepResults&) = delete;

    const std::string& step() const;
    bool isSynthesis() const;
    bool isPlacement() const;
    bool isRouting() const;

    /// The step's metrics. @throws ice40::StepFailure the step wasn't done here.
    const ice40::StepMetrics& metrics() const;

    /// yosys' cell counts; synthesis only. @throws ice40::StepFailure
    const ice40::CellCounts& cellCounts() const;

    /// nextpnr's report; placement and routing. @throws ice40::StepFailure
    const PnrReport& pnrReport() const;

    /// The placement record; placement and routing. @throws ice40::StepFailure
    const ice40::Placement& placement() const;

    /// The mapped design. Behind the synthesis it must still be the one that was
    /// placed. @throws ice40::StepFailure
    const Design& design() const;

    /// The constraints that were placed; empty without a constraints file.
    /// @throws ice40::StepFailure
    const ice40::Constraints& constraints() const;

    /// The nets of the routed design; routing only. @throws ice40::StepFailure
    const RoutedNets& routedNets() const;

    /// icetime's report, or null when the step didn't ask icetime; routing only.
    /// @throws ice40::StepFailure
    const IcetimeReport* icetime() const;

    /// The name of a file of the step; empty when it has none of that kind.
    /// @throws ice40::StepFailure the metrics can't be read.
    std::string fileOf(const char* kind) const;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// Whether a report can be made of the step: whether it leaves results at all.
bool isReportStep(const std::string& step);

/// "synth_design, place_design, route_design", for messages.
std::string reportSteps();

}  // namespace reports
