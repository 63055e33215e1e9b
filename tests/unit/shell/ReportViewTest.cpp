// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/reportView.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

shell::ReportEntry entry(const std::string& name, const std::string& state) {
    shell::ReportEntry entry;
    entry.run = "impl_1";
    entry.step = "route_design";
    entry.shortName = name;
    entry.name = "impl_1_route_" + name + "_0";
    entry.state = state;
    return entry;
}

TEST(ReportViewTest, AReportIsOneRow) {
    shell::ReportEntry made = entry("report_timing", "generated");
    made.file = "route_report_timing_0.rpt";
    EXPECT_EQ(shell::reportTable({made, entry("report_drc", "not generated")}),
              "Run     Step          Report         State          File\n"
              "impl_1  route_design  report_timing  generated      route_report_timing_0.rpt\n"
              "impl_1  route_design  report_drc     not generated  -\n");
}

TEST(ReportViewTest, ARunsPageSaysWhyAReportFailed) {
    shell::ReportEntry failed = entry("report_timing", "failed");
    failed.reason = "no such option\x1b[2J.\nKnown are: -file";
    EXPECT_EQ(shell::reportLines({failed, entry("report_drc", "stale")}),
              (std::vector<std::string>{"report_timing  failed: no such option\\x1b[2J.",
                                        "report_drc     stale"}));
}

TEST(ReportViewTest, AFailureTellsReasonLogAndWhatToDo) {
    shell::ReportEntry failed = entry("report_timing", "failed");
    failed.reason = "unknown option -x";
    EXPECT_EQ(shell::reportFailureText(failed, "/r/route_design_reports.log", {"one", "two"}),
              "The report report_timing of run impl_1 failed: unknown option -x\n"
              "  Correct the cause, then: xp report generate impl_1 report_timing\n"
              "  log: /r/route_design_reports.log\n"
              "  | one\n"
              "  | two");
    failed.reason.clear();
    EXPECT_EQ(shell::reportFailureText(failed, "/log", {}),
              "The report report_timing of run impl_1 failed.\n"
              "  Correct the cause, then: xp report generate impl_1 report_timing\n"
              "  log: /log");
}

TEST(ReportViewTest, ScriptsGetNullForWhatIsNotThere) {
    shell::ReportEntry made = entry("report_timing", "generated");
    made.path = "/r/x.rpt";
    made.options = {{"max_paths", "5", "10"}};
    const nlohmann::json json = shell::reportJson(made);
    EXPECT_EQ(json["file"], "/r/x.rpt");
    EXPECT_TRUE(json["json"].is_null());
    EXPECT_TRUE(json["reason"].is_null());
    EXPECT_EQ(json["options"][0]["value"], "5");
    EXPECT_EQ(json["options"][0]["default"], "10");
}

}  // namespace
