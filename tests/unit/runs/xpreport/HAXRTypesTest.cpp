// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRTypes.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ReportType = HAXRTypes::ReportType;

// The values stand in other code as positions, so the whole table is fixed.
const std::vector<std::pair<int, std::string>> kTable = {
    {0, "report_drc"},
    {1, "report_io"},
    {2, "report_power"},
    {3, "report_timing"},
    {4, "report_timing_summary"},
    {5, "report_utilization"},
    {6, "report_bus_skew"},
    {7, "report_carry_chains"},
    {8, "report_cdc"},
    {9, "report_clock_interaction"},
    {10, "report_clock_networks"},
    {11, "report_clock_utilization"},
    {12, "report_clocks"},
    {13, "report_config_timing"},
    {14, "report_control_sets"},
    {15, "report_datasheet"},
    {16, "report_debug_core"},
    {17, "report_delay_model"},
    {18, "report_design_analysis"},
    {19, "report_disable_timing"},
    {20, "report_exceptions"},
    {21, "report_high_fanout_nets"},
    {22, "report_incremental_reuse"},
    {23, "report_methodology"},
    {24, "report_operating_conditions"},
    {25, "report_phys_opt"},
    {26, "report_pipeline_analysis"},
    {27, "report_power_opt"},
    {28, "report_pulse_width"},
    {29, "report_qor_suggestions"},
    {30, "report_ram_utilization"},
    {31, "report_route_status"},
    {32, "report_sim_device"},
    {33, "report_ssn"},
    {34, "report_switching_activity"},
    {35, "report_synchronizer_mtbf"},
    {36, "report_transformed_primitives"},
    {37, "report_ucf_timing"},
};

TEST(ReportTypesTest, NamesEachKind) {
    for (const auto& [value, name] : kTable)
        EXPECT_EQ(HAXRTypes::getReportType(static_cast<ReportType>(value)), name);
}

TEST(ReportTypesTest, FindsEachKindByItsName) {
    for (const auto& [value, name] : kTable)
        EXPECT_EQ(static_cast<int>(HAXRTypes::getReportType(name)), value);
}

TEST(ReportTypesTest, HasThirtyNineKinds) {
    EXPECT_EQ(kTable.size(), 38u);
    EXPECT_EQ(HAXRTypes::reportTypeCount, 39);
    EXPECT_EQ(HAXRTypes::REPORT_DRC, 0);
    EXPECT_EQ(HAXRTypes::REPORT_UTILIZATION, 5);
    EXPECT_EQ(HAXRTypes::REPORT_UCF_TIMING, 37);
    EXPECT_EQ(HAXRTypes::REPORT_OTHER, 38);
}

TEST(ReportTypesTest, GivesNoNameToTheOtherReports) {
    EXPECT_EQ(HAXRTypes::getReportType(HAXRTypes::REPORT_OTHER), "");
    EXPECT_EQ(HAXRTypes::getReportType(static_cast<ReportType>(39)), "");
    EXPECT_EQ(HAXRTypes::getReportType(static_cast<ReportType>(63)), "");
}

TEST(ReportTypesTest, TakesUnknownNamesAsOtherReports) {
    EXPECT_EQ(HAXRTypes::getReportType(""), HAXRTypes::REPORT_OTHER);
    EXPECT_EQ(HAXRTypes::getReportType("report_foo"), HAXRTypes::REPORT_OTHER);
    EXPECT_EQ(HAXRTypes::getReportType("REPORT_DRC"), HAXRTypes::REPORT_OTHER);
    EXPECT_EQ(HAXRTypes::getReportType("report_dr"), HAXRTypes::REPORT_OTHER);
    EXPECT_EQ(HAXRTypes::getReportType("report_drc "), HAXRTypes::REPORT_OTHER);
}

}  // namespace
