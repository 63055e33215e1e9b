// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRTypes.h"

#include <algorithm>
#include <array>

namespace {

/// The names of the kinds, in order of their values.
constexpr std::array<const char*, HAXRTypes::REPORT_OTHER> kNames = {
    "report_drc",
    "report_io",
    "report_power",
    "report_timing",
    "report_timing_summary",
    "report_utilization",
    "report_bus_skew",
    "report_carry_chains",
    "report_cdc",
    "report_clock_interaction",
    "report_clock_networks",
    "report_clock_utilization",
    "report_clocks",
    "report_config_timing",
    "report_control_sets",
    "report_datasheet",
    "report_debug_core",
    "report_delay_model",
    "report_design_analysis",
    "report_disable_timing",
    "report_exceptions",
    "report_high_fanout_nets",
    "report_incremental_reuse",
    "report_methodology",
    "report_operating_conditions",
    "report_phys_opt",
    "report_pipeline_analysis",
    "report_power_opt",
    "report_pulse_width",
    "report_qor_suggestions",
    "report_ram_utilization",
    "report_route_status",
    "report_sim_device",
    "report_ssn",
    "report_switching_activity",
    "report_synchronizer_mtbf",
    "report_transformed_primitives",
    "report_ucf_timing",
};
static_assert(kNames.back() != nullptr, "each kind has a name");

}  // namespace

std::string HAXRTypes::getReportType(ReportType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < kNames.size() ? kNames[index] : "";
}

HAXRTypes::ReportType HAXRTypes::getReportType(const std::string& name) {
    const auto found = std::find(kNames.begin(), kNames.end(), name);
    return static_cast<ReportType>(found - kNames.begin());
}
