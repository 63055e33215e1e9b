// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

/// The kinds of report that are treated by kind: when a report file is named
/// and when its command is built. A catalogue may have reports beyond these.
class RUNS_API HAXRTypes {
public:
    HAXRTypes() = delete;

    /// Each is named after the command that makes the report. The most used
    /// ones come first, the others follow by name.
    enum ReportType {
        REPORT_DRC = 0,
        REPORT_IO,
        REPORT_POWER,
        REPORT_TIMING,
        REPORT_TIMING_SUMMARY,
        REPORT_UTILIZATION,
        REPORT_BUS_SKEW,
        REPORT_CARRY_CHAINS,
        REPORT_CDC,
        REPORT_CLOCK_INTERACTION,
        REPORT_CLOCK_NETWORKS,
        REPORT_CLOCK_UTILIZATION,
        REPORT_CLOCKS,
        REPORT_CONFIG_TIMING,
        REPORT_CONTROL_SETS,
        REPORT_DATASHEET,
        REPORT_DEBUG_CORE,
        REPORT_DELAY_MODEL,
        REPORT_DESIGN_ANALYSIS,
        REPORT_DISABLE_TIMING,
        REPORT_EXCEPTIONS,
        REPORT_HIGH_FANOUT_NETS,
        REPORT_INCREMENTAL_REUSE,
        REPORT_METHODOLOGY,
        REPORT_OPERATING_CONDITIONS,
        REPORT_PHYS_OPT,
        REPORT_PIPELINE_ANALYSIS,
        REPORT_POWER_OPT,
        REPORT_PULSE_WIDTH,
        REPORT_QOR_SUGGESTIONS,
        REPORT_RAM_UTILIZATION,
        REPORT_ROUTE_STATUS,
        REPORT_SIM_DEVICE,
        REPORT_SSN,
        REPORT_SWITCHING_ACTIVITY,
        REPORT_SYNCHRONIZER_MTBF,
        REPORT_TRANSFORMED_PRIMITIVES,
        REPORT_UCF_TIMING,
        /// A report of the catalogue that has no kind of its own.
        REPORT_OTHER
    };
    static constexpr int reportTypeCount = REPORT_OTHER + 1;

    /// The command's name; empty for REPORT_OTHER and for what is no kind.
    static std::string getReportType(ReportType type);

    /// The kind with exactly this name, else REPORT_OTHER.
    static ReportType getReportType(const std::string& name);
};
