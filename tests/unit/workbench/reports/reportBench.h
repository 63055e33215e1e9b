// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "tests/support/RunDir.h"
#include "workbench/reports/report.h"

namespace test {

/// A run directory with the results of a small routed design, as the current
/// folder for as long as it lives.
///
/// The design "top": port clk clocks four flip-flops and a RAM; port `go` passes
/// a LUT; port `unread` is read by nothing and output `quiet` is constant. Clock
/// clk reaches 100 MHz of 125 MHz.
class ReportBench {
public:
    ReportBench();
    ~ReportBench();

    ReportBench(const ReportBench&) = delete;
    ReportBench& operator=(const ReportBench&) = delete;

    const RunDir& dir() const { return m_dir; }

    /// Replaces the netlist or the constraints and places them: the placement
    /// record fits again.
    void place(const std::string& netlist, const std::string& constraints) const;

    static std::string netlist();
    /// The same with another net.
    static std::string otherNetlist();
    static std::string constraints();
    static std::string pnrReport();
    static std::string routed();
    static std::string icetime();

    /// The report "report_x WORDS" of a step.
    /// @throws ice40::StepFailure
    reports::Report make(const std::string& command, const std::string& step,
                         const std::vector<std::string>& words = {}) const;

private:
    void writeMetrics_() const;

    RunDir m_dir;
    std::string m_before;
};

/// The texts of a column of a section; fails the test without one.
std::vector<std::string> columnOf(const reports::Report& report, const std::string& section,
                                  const std::string& column);

/// All lines of a section, each with a line end.
std::string linesOf(const reports::Report& report, const std::string& section);

/// The value of a figure; fails the test when it is absent.
double figureOf(const reports::Report& report, const std::string& name);

bool hasFigure(const reports::Report& report, const std::string& name);

}  // namespace test
