// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "workbench/ice40/metrics.h"

namespace ice40 {

/// What yosys' "stat -json" says of a whole design.
struct CellCounts {
    std::string creator;                 ///< "Yosys 0.23 (git sha1 ...)"
    std::map<std::string, long> byType;  ///< number of cells by type
    long cells = 0;

    /// Cells of all types that begin with `prefix`.
    long startingWith(const std::string& prefix) const;
};

/// Reads such a report. On refusal `reason` tells what is wrong with it and
/// `counts` stays as it was.
bool parseStatReport(const std::string& text, CellCounts& counts, std::string& reason);

/// Puts the counts of a mapped design into a step's metrics.
void addCounts(const CellCounts& cells, StepMetrics& metrics);

/// Reads nextpnr's JSON report into the metrics: what is used of the device,
/// and the clocks after routing (none after placing). On refusal `reason` tells
/// what is wrong with it and `metrics` stays as it was.
bool parsePnrReport(const std::string& text, StepMetrics& metrics, std::string& reason);

/// Gathers from nextpnr's messages what its JSON report leaves out.
class PnrLog {
public:
    void readLine(const std::string& line);

    /// The fingerprints of the design, in the order of the passes: equal rows
    /// mean equal results up to there.
    const std::vector<std::string>& checksums() const { return m_checksums; }

    /// The clocks of the last timing summary.
    const std::vector<ClockTiming>& clocks() const { return m_clocks; }

    /// Adds the LUTs and flip-flops that were packed into logic cells.
    void addCounts(StepMetrics& metrics) const;

private:
    void readClock_(const std::string& line, std::size_t at);
    void readPacking_(const std::string& line);

    std::vector<std::string> m_checksums;
    std::vector<ClockTiming> m_clocks;
    std::map<std::string, long> m_packed;
};

/// The frequency in icetime's "// Timing estimate: 12.65 ns (79.07 MHz)".
std::optional<double> parseIcetimeLine(const std::string& line);

}  // namespace ice40
