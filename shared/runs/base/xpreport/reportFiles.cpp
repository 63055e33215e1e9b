// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/runReports.h"

namespace {

using reportConfigUtil::ReportFiles;
using reportConfigUtil::RunReportMap;

constexpr auto kNotPublished = HAXPTypes::FILE_UNKNOWN;

/// The file types under which the files of a report are looked up.
struct PublishedRow {
    const char* stepId;
    const char* report;
    HAXPTypes::FileType rpt;
    HAXPTypes::FileType rpx = kNotPublished;
    HAXPTypes::FileType pb = kNotPublished;
};

constexpr PublishedRow kSynthFiles[] = {
    {"synth_design", "report_drc", HAXPTypes::FILE_TDS_DRC_RPT},
    {"synth_design", "report_utilization", HAXPTypes::FILE_KDS_UTIL, kNotPublished,
     HAXPTypes::FILE_KDS_UTIL_PB},
    {"synth_design", "report_timing_summary", HAXPTypes::FILE_TDS_TIMINGSUMMARY, kNotPublished,
     HAXPTypes::FILE_TDS_TIMING_PB},
};

constexpr PublishedRow kImplFiles[] = {
    {"init_design", "report_timing_summary", HAXPTypes::FILE_INIT_TIMING},
    {"opt_design", "report_drc", HAXPTypes::FILE_OPT_DRC},
    {"opt_design", "report_methodology", HAXPTypes::FILE_OPT_METHODOLOGY_DRC},
    {"opt_design", "report_timing_summary", HAXPTypes::FILE_OPT_TIMING},
    {"power_opt_design", "report_drc", HAXPTypes::FILE_PWROPT_DRC},
    {"power_opt_design", "report_timing_summary", HAXPTypes::FILE_PWROPT_TIMING},
    {"place_design", "report_utilization", HAXPTypes::FILE_PLACE_UTIL, kNotPublished,
     HAXPTypes::FILE_PLACE_UTIL_PB},
    {"place_design", "report_io", HAXPTypes::FILE_PLACE_IO},
    {"place_design", "report_timing_summary", HAXPTypes::FILE_PLACE_TIMING},
    {"place_design", "report_clock_utilization", HAXPTypes::FILE_PLACE_CLK},
    {"place_design", "report_incremental_reuse", HAXPTypes::FILE_PLACE_SIMILARITY},
    {"place_design", "report_control_sets", HAXPTypes::FILE_PLACE_CTRL},
    {"post_place_power_opt_design", "report_timing_summary",
     HAXPTypes::FILE_POSTPLACE_PWROPT_TIMING},
    {"phys_opt_design", "report_timing_summary", HAXPTypes::FILE_PHYSOPT_TIMING},
    {"phys_opt_design", "report_drc", HAXPTypes::FILE_PHYSOPT_DRC},
    {"route_design", "report_timing_summary", HAXPTypes::FILE_ROUTE_TIMINGSUMMARY,
     HAXPTypes::FILE_ROUTE_TIMING_RPX},
    {"route_design", "report_route_status", HAXPTypes::FILE_ROUTE_STATUS, kNotPublished,
     HAXPTypes::FILE_ROUTE_STATUS_PB},
    // The ".pb" of this report is its summary.
    {"route_design", "report_power", HAXPTypes::FILE_ROUTE_PWR, HAXPTypes::FILE_ROUTE_PWR_RPX,
     HAXPTypes::FILE_ROUTE_PWR_SUM},
    {"route_design", "report_drc", HAXPTypes::FILE_ROUTE_DRC, HAXPTypes::FILE_ROUTE_DRC_RPX,
     HAXPTypes::FILE_ROUTE_DRC_PB},
    {"route_design", "report_methodology", HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC,
     HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC_RPX, HAXPTypes::FILE_ROUTE_METHODOLOGY_DRC_PB},
    {"route_design", "report_incremental_reuse", HAXPTypes::FILE_ROUTE_SIMILARITY},
    {"route_design", "report_clock_utilization", HAXPTypes::FILE_ROUTE_CLK},
    {"route_design", "report_bus_skew", HAXPTypes::FILE_ROUTE_BUS_SKEW,
     HAXPTypes::FILE_ROUTE_BUS_SKEW_RPX, HAXPTypes::FILE_ROUTE_BUS_SKEW_PB},
    {"post_route_phys_opt_design", "report_timing_summary",
     HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING, HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING_RPX,
     HAXPTypes::FILE_POSTROUTE_PHYSOPT_TIMING_PB},
    {"post_route_phys_opt_design", "report_bus_skew", HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW,
     HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW_RPX, HAXPTypes::FILE_POSTROUTE_PHYSOPT_BUS_SKEW_PB},
};

/// Whether the files of the report may be published.
bool hasResults(const HAXRReportConfig& config) {
    if (!config.isEnabled())
        return false;
    const auto state = config.getState();
    return state != HAXRReportConfig::REPORT_NOT_GENERATED &&
           state != HAXRReportConfig::REPORT_FAILED;
}

/// The first files of each report; a report without any is passed over.
std::map<std::string, ReportFiles> filesOf(HSTFwdIter<HAXRReportConfig*>& reports) {
    std::map<std::string, ReportFiles> result;
    while (reports.hasNext()) {
        const HAXRReportConfig& config = *reports.next();
        if (!hasResults(config) || result.count(config.getSpecName()) != 0)
            continue;
        ReportFiles files{config.getReportFile(), config.getFile("rpx"), config.getFile("pb")};
        if (!files.rptFile.empty() || !files.rpxFile.empty() || !files.pbFile.empty())
            result.emplace(config.getSpecName(), std::move(files));
    }
    return result;
}

void publish(HAXPExpInfoBase& info, HAXPTypes::FileType type, const std::string& file) {
    if (type != kNotPublished)
        info.setFile(type, file);
}

template <std::size_t kRows>
void publishAll(const HAXPExpRunBase* run, const PublishedRow (&table)[kRows]) {
    HAXPExpInfoBase* const info = run == nullptr ? nullptr : run->getExpInfoBase();
    if (info == nullptr || !HPAParamMgr::getParamMgr()->getValueIfExistAsBool(
                               "project.enableReportConfiguration", false))
        return;
    RunReportMap reports;
    reportConfigUtil::getRunReportMap(run, reports);
    for (const PublishedRow& row : table) {
        const auto step = reports.find(row.stepId);
        if (step == reports.end())
            continue;
        const auto report = step->second.find(row.report);
        const ReportFiles files = report == step->second.end() ? ReportFiles{} : report->second;
        publish(*info, row.rpt, files.rptFile);
        publish(*info, row.rpx, files.rpxFile);
        publish(*info, row.pb, files.pbFile);
    }
}

}  // namespace

namespace reportConfigUtil {

void getRunReportMap(const HAXPExpRunBase* run, RunReportMap& result) {
    if (run == nullptr)
        return;
    xpreport::forEachStep(
        *run, [&result](const std::string& stepId, HSTFwdIter<HAXRReportConfig*>& reports) {
            std::map<std::string, ReportFiles> files = filesOf(reports);
            if (!files.empty())
                result[stepId] = std::move(files);
        });
}

void updateImplConfigFileNames_(const HAXPExpRunBase* run) {
    publishAll(run, kImplFiles);
}

void updateSynthConfigFileNames_(const HAXPExpRunBase* run) {
    publishAll(run, kSynthFiles);
}

}  // namespace reportConfigUtil
