// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTKeyValIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATAttrTypes.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportSpecParser.h"
#include "tests/e2e/ice40/StepBench.h"
#include "workbench/reports/reportCommands.h"

namespace {

using test::StepBench;
using test::StepResult;

/// Values for the options that take one, fit for the design.
const std::map<std::string, std::string>& values() {
    static const std::map<std::string, std::string> kValues{
        {"checks", "CLK-1"}, {"severity", "warning"}, {"sort", "pin"},
        {"from", "clk*"},    {"to", "clk*"},          {"slack_below", "1000"},
        {"warn_above", "1"}, {"min_fanout", "2"},     {"slowest_nets", "3"}};
    return kValues;
}

/// Every report of the shipped catalogue over a routed example.
class ReportsTest : public StepBench {
protected:
    static void SetUpTestSuite() {
        HAXRReportSpecMgr* catalogue = HAXRReportSpecMgr::getGlobal();
        HAXRReportSpecParser(catalogue, XPERIMENT_REPORT_CATALOGUE).parseReportSpecs();
        catalogue->populateLatestSpecs();
    }

    void SetUp() override {
        needTools();
        if (IsSkipped())
            return;
        ASSERT_TRUE(synthesise({}).end.good());
        ASSERT_TRUE(place({}).end.good());
        ASSERT_TRUE(route({"--detailed-timing"}).end.good());
    }

    /// The words of one option, as a report command gets them.
    static std::string wordsOf(const HATAttrSpec& option) {
        if (option.getAttrType() == HATAttrTypes::kBool)
            return " -" + option.getName();
        if (option.getAttrType() == HATAttrTypes::kInt)
            return " -" + option.getName() + " 3";
        const auto found = values().find(option.getName());
        EXPECT_NE(found, values().end()) << "no value for -" << option.getName();
        return " -" + option.getName() + " " + (found == values().end() ? "" : found->second);
    }

    /// The commands of one version of a report: plain, with each option alone,
    /// and with all together.
    static std::vector<std::string> commandsOf(const HAXRReportSpec& spec) {
        std::vector<std::string> commands{spec.getName()};
        std::string all = spec.getName();
        for (const auto& option : spec.getOptions()->getOptionsSpec()->getAttrSpecs()) {
            if (option->getName() == "MORE_OPTIONS")
                continue;
            commands.push_back(spec.getName() + wordsOf(*option));
            all += wordsOf(*option);
        }
        commands.push_back(all);
        return commands;
    }

    static std::vector<std::string> stepsOf(const std::string& report) {
        const auto& all = reports::reportCommands();
        const auto found =
            std::find_if(all.begin(), all.end(),
                         [&](const reports::ReportCommand& one) { return report == one.name; });
        EXPECT_NE(found, all.end()) << report;
        return found == all.end()
                   ? std::vector<std::string>()
                   : std::vector<std::string>(found->steps.begin(), found->steps.end());
    }

    /// Every version of every report of the catalogue.
    static std::vector<const HAXRReportSpec*> allSpecs() {
        const HAXRReportSpecMgr* catalogue = HAXRReportSpecMgr::getGlobal();
        std::vector<const HAXRReportSpec*> specs;
        const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> names(
            catalogue->createReportSpecIterator());
        while (names->hasNext()) {
            const std::pair<std::string, HAXRReportSpec*> entry = names->next();
            const VersionInfo latest = entry.second->getVersion();
            for (int minor = 0; minor <= latest.minor; ++minor)
                specs.push_back(catalogue->find(entry.first, {latest.major, minor}));
        }
        return specs;
    }

    StepResult runScript(const std::string& script) {
        m_dir.mark("reports.tcl", script);
        return run("tarnel", {"-nolog", "-mode", "batch", "-product", "tarnel", "-source",
                              "reports.tcl", "-tclargs"});
    }

    void expectReport(const std::string& name, const std::string& command) const {
        reports::ReportFigures figures;
        std::string reason;
        EXPECT_TRUE(reports::readFigures(m_dir.path(name + ".json"), figures, reason))
            << command << ": " << reason;
        EXPECT_TRUE(reports::isReport(m_dir.read(name + ".rpt"))) << command;
        EXPECT_FALSE(figures.figures.empty()) << command;
    }
};

TEST_F(ReportsTest, AreMadeWithEveryOptionOfTheCatalogue) {
    std::map<std::string, std::string> commands;
    std::string script;
    for (const HAXRReportSpec* spec : allSpecs()) {
        for (const std::string& step : stepsOf(spec->getName())) {
            script += "open_step " + step + "\n";
            for (const std::string& command : commandsOf(*spec)) {
                const std::string name = "r" + std::to_string(commands.size());
                commands[name] = step + ": " + command;
                script += "make_report " + name + " {" + command + " -file " + name +
                          ".rpt -json " + name + ".json}\n";
            }
        }
    }
    const StepResult result = runScript(script);
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_GT(commands.size(), 60u);
    for (const auto& entry : commands)
        expectReport(entry.first, entry.second);
}

TEST_F(ReportsTest, TellTheSameFiguresAsTheStep) {
    const StepResult result = runScript("open_step route_design\n"
                                        "report_timing_summary -file t.rpt -json t.json\n"
                                        "report_utilization -file u.rpt -json u.json\n");
    ASSERT_TRUE(result.end.good()) << result.errorText();
    const ice40::StepMetrics metrics = metricsOf("route_design");
    reports::ReportFigures figures;
    std::string reason;
    ASSERT_TRUE(reports::readFigures(m_dir.path("t.json"), figures, reason)) << reason;
    EXPECT_EQ(figures.figures.front().name, "fmax");
    EXPECT_NEAR(figures.figures.front().value, metrics.worstClock()->fmaxMhz, 0.01);
    ASSERT_TRUE(reports::readFigures(m_dir.path("u.json"), figures, reason)) << reason;
    EXPECT_EQ(figures.figures.front().name, "logic_cells");
    EXPECT_EQ(static_cast<long>(figures.figures.front().value),
              metrics.count(ice40::counts::kLogicCells));
}

TEST_F(ReportsTest, FindTheDesignersSourceOnACriticalPath) {
    ASSERT_TRUE(runScript("open_step route_design; report_timing -file t.rpt").end.good());
    EXPECT_NE(m_dir.read("t.rpt").find("blinky.v:"), std::string::npos);
}

}  // namespace
