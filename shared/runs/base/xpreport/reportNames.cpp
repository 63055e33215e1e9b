// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <string>
#include <unordered_set>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/runReports.h"

using xpreport::required;

namespace {

struct AliasRow {
    const char* stepId;
    const char* alias;
};

constexpr AliasRow kAliases[] = {
    {"synth_design", "synth"},
    {"init_design", "init"},
    {"opt_design", "opt"},
    {"power_opt_design", "power_opt"},
    {"place_design", "place"},
    {"post_place_power_opt_design", "post_place_power_opt"},
    {"phys_opt_design", "phys_opt"},
    {"route_design", "route"},
    {"post_route_phys_opt_design", "post_route_phys_opt"},
    {"write_bitstream", "bitstream"},
    {"write_device_image", "device_image"},
};

/// What stands behind the top module in the well-known file name of a report.
struct SuffixRow {
    const char* stepId;
    const char* report;
    const char* suffix;
    /// For a report that is made before the step; null where that makes no difference.
    const char* preGenerated = nullptr;
};

constexpr SuffixRow kSuffixes[] = {
    {"synth_design", "report_utilization", "_utilization_synth"},
    {"init_design", "report_timing_summary", "_timing_summary_init"},
    {"opt_design", "report_drc", "_drc_opted"},
    {"opt_design", "report_timing_summary", "_timing_summary_opted"},
    {"power_opt_design", "report_timing_summary", "_timing_summary_pwropted"},
    // Readers of this one look for the extension twice.
    {"place_design", "report_incremental_reuse", "_incremental_reuse_placed",
     "_incremental_reuse_pre_placed.rpt"},
    {"place_design", "report_io", "_io_placed"},
    {"place_design", "report_utilization", "_utilization_placed"},
    {"place_design", "report_control_sets", "_control_sets_placed"},
    {"place_design", "report_timing_summary", "_timing_summary_placed"},
    {"post_place_power_opt_design", "report_timing_summary", "_timing_summary_postplace_pwropted"},
    {"phys_opt_design", "report_timing_summary", "_timing_summary_physopted"},
    {"route_design", "report_drc", "_drc_routed"},
    {"route_design", "report_methodology", "_methodology_drc_routed"},
    {"route_design", "report_power", "_power_routed"},
    {"route_design", "report_route_status", "_route_status"},
    {"route_design", "report_clock_utilization", "_clock_utilization_routed"},
    {"route_design", "report_incremental_reuse", "_incremental_reuse_routed"},
    {"route_design", "report_timing_summary", "_timing_summary_routed"},
    {"route_design", "report_bus_skew", "_bus_skew_routed"},
    {"post_route_phys_opt_design", "report_timing_summary", "_timing_summary_postroute_physopted"},
    {"post_route_phys_opt_design", "report_bus_skew", "_bus_skew_postroute_physopted"},
};

/// The suffix of the report's file; empty without one.
std::string suffixOf(const HAXRReportConfig& config) {
    for (const SuffixRow& row : kSuffixes) {
        if (config.getAssociatedStepName() == row.stepId && config.getSpecName() == row.report) {
            const bool isEarly = row.preGenerated != nullptr && config.isPreGenerationRequired();
            return isEarly ? row.preGenerated : row.suffix;
        }
    }
    return {};
}

using NameSet = std::unordered_set<std::string>;

/// What `get` tells of each report of the run.
template <class Get> NameSet collect(const HAXPExpRunBase& run, Get get) {
    NameSet all;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            steps->next()->createReportConfigIter());
        while (reports->hasNext()) {
            if (const HAXRReportConfig* report = reports->next())
                all.insert(get(*report));
        }
    }
    return all;
}

/// The first "<stem><n><tail>" with `n` from 0 that `isFree` takes, which asks every report
/// of the run. When that isn't one of the first, `listTaken` lists all that are taken.
template <class IsFree, class ListTaken>
std::string firstFree(const std::string& stem, const char* tail, IsFree isFree,
                      ListTaken listTaken) {
    constexpr int kFirstOnes = 4;
    const auto nameOf = [&](int n) { return stem + std::to_string(n) + tail; };
    int n = 0;
    for (; n < kFirstOnes; ++n) {
        if (isFree(nameOf(n)))
            return nameOf(n);
    }
    const NameSet taken = listTaken();
    while (taken.count(nameOf(n)) != 0)
        ++n;
    return nameOf(n);
}

}  // namespace

namespace reportConfigUtil {

std::string getStepAlias(const std::string& stepId) {
    for (const AliasRow& row : kAliases) {
        if (stepId == row.stepId)
            return row.alias;
    }
    return HAXPUtilsBase::isTemplatizedFlowEnabled() ? stepId : std::string();
}

std::string createReportName(HAXPExpRunBase* run, const std::string& stepId,
                             const std::string& reportName) {
    const HAXPExpRunBase& owner = required(run, "Report name: null run");
    const std::string stem = owner.getName() + "_" + getStepAlias(stepId) + "_" + reportName + "_";
    return firstFree(
        stem, "",
        [&owner](const std::string& name) { return owner.isUniqueReportConfigName(name); },
        [&owner] {
            return collect(owner, [](const HAXRReportConfig& one) { return one.getName(); });
        });
}

std::string getDefaultReportName(const HAXPExpRunBase* run, const HAXRReportConfig* config) {
    const HAXPExpRunBase& owner = required(run, "Default report name: null run");
    const std::string suffix = suffixOf(required(config, "Default report name: null report"));
    if (suffix.empty())
        return {};
    std::string composed;
    getTopModuleName(run, composed);
    composed += suffix;
    std::string name = composed + ".rpt";
    for (int n = 1; !owner.isUniqueReportFileName(name); ++n)
        name = composed + "_" + std::to_string(n) + ".rpt";
    return name;
}

std::string getDefaultStaticReportName(const HAXRReportConfig* config) {
    const HAXRReportConfig& report = required(config, "Static report name: null report");
    if (report.getName().find("report_sayline") != std::string::npos)
        return "usage_statistics_sayline.html";
    const HAXPExpInfoBase* const info = report.getAssociatedRun()->getExpInfoBase();
    const HADAFileSet* const sources = info == nullptr ? nullptr : info->getSrcSet();
    if (sources == nullptr || sources->getSrcOptions().getTopName().empty())
        return {};
    return sources->getSrcOptions().getTopName() + (info->isSynthFlow() ? ".tds" : ".tdi");
}

std::string createReportFileName(HAXPExpRunBase* run, const HAXRReportConfig* config) {
    const HAXPExpRunBase& owner = required(run, "Report file name: null run");
    const HAXRReportConfig& report = required(config, "Report file name: null report");
    if (xpreport::usesDefaultReportStrategy(owner)) {
        std::string name = getDefaultReportName(run, config);
        if (!name.empty())
            return name;
    }
    const std::string stem =
        getStepAlias(report.getAssociatedStepName()) + "_" + report.getSpecName() + "_";
    return firstFree(
        stem, ".rpt",
        [&owner](const std::string& name) { return owner.isUniqueReportFileName(name); },
        [&owner] {
            return collect(owner, [](const HAXRReportConfig& one) { return one.getReportFile(); });
        });
}

}  // namespace reportConfigUtil
