// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/RunReports.h"

#include <ctime>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/reportScript.h"
#include "workbench/runLock.h"

namespace {

const char kTiming[] = "impl_1_route_report_timing_summary_0";

/// A project with an implementation that has the default reports, launched in a
/// directory of its own.
class RunReportsTest : public ::testing::Test {
protected:
    RunReportsTest() : m_project(Project::create(dir(), m_bench.inputs())) {
        m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "");
        m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "synth_1");
        m_bench.folder().folder("proj/runs/impl_1");
        run().setRunDir(m_bench.path("proj/runs/impl_1"), false);
        run().setRunMode(HAXPExpRun::kLaunched);
        run().getInfo().setLaunch(static_cast<long>(std::time(nullptr)), "bitstream");
    }

    std::string dir() const { return m_bench.path("proj"); }
    HAXPExpRun& run() const { return m_project->getRun("impl_1"); }
    RunReports reports() const { return RunReports(run()); }
    HAXRReportConfig& timing() const { return reports().get(kTiming); }
    void mark(const std::string& name, const std::string& text = "") const {
        m_bench.folder().mark("proj/runs/impl_1/" + name, text);
    }
    bool has(const std::string& name) const {
        return m_bench.folder().has("proj/runs/impl_1/" + name);
    }

    /// The steps up to `last` are done, as their markers tell.
    void done(const std::string& last) const {
        mark(workbench::kRunLockName);
        for (const std::string step :
             {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"}) {
            mark("." + step + ".begin.rst", test::TestBench::handleText());
            mark("." + step + ".end.rst");
            if (step == last)
                return;
        }
    }
    /// Gives the timing report a file, as a launch does, and makes it.
    void makeTiming() const {
        workbench::reportScriptText(run(), [](const HAXRReportConfig&) { return true; });
        mark(timing().getReportFile(), "fmax");
        done("ice40_bitstream");
        run().updateStatus();
    }
    template <class Call> static std::string thrown(Call call) {
        return test::thrownText<HEXUserException>(call);
    }
    std::vector<std::string> namesOf(const std::string& step) const {
        std::vector<std::string> names;
        for (const HAXRReportConfig* report : reports().all()) {
            if (report->getAssociatedStepName() == step)
                names.push_back(report->getName());
        }
        return names;
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
};

TEST_F(RunReportsTest, ANewRunHasTheReportsOfTheDefaultStrategyOfItsFlow) {
    EXPECT_EQ(run().getReportStrategyName(), "Tarnel Implementation Default Reports");
    EXPECT_NE(run().getReportStrategy(), nullptr);
    EXPECT_EQ(timing().getSpecName(), "report_timing_summary");
    EXPECT_TRUE(timing().isEnabled());
    EXPECT_EQ(namesOf("write_bitstream"),
              (std::vector<std::string>{"impl_1_bitstream_report_sayline_0",
                                        "impl_1_bitstream_implementation_log_0"}));
}

TEST_F(RunReportsTest, AReportIsCalledByEveryNameThatIsItsAlone) {
    EXPECT_EQ(&reports().get("report_timing_summary"), &timing());
    EXPECT_EQ(&reports().get("route.report_timing_summary"), &timing());
    EXPECT_EQ(&reports().get("route_design.report_timing_summary"), &timing());
    EXPECT_EQ(&reports().get(timing().getDisplayName()), &timing());
    EXPECT_NE(thrown([this] { reports().get("report_nothing"); }).find(kTiming), std::string::npos);
    EXPECT_EQ(thrown([this] { reports().get("implementation_log"); }),
              "The report implementation_log could be one of several: "
              "impl_1_route_implementation_log_0, impl_1_bitstream_implementation_log_0. Give its "
              "whole name.");
}

TEST_F(RunReportsTest, ANameMayMeanSeveralReportsOrNone) {
    EXPECT_TRUE(reports().find("report_nothing").empty());
    EXPECT_EQ(reports().find("implementation_log").size(), 2U);
    EXPECT_EQ(reports().find(kTiming), std::vector<HAXRReportConfig*>{&timing()});
    // The whole name of one wins over the display name of another.
    reports().add("place", "report_utilization", kTiming);
    EXPECT_EQ(reports().find(kTiming), std::vector<HAXRReportConfig*>{&timing()});
}

TEST_F(RunReportsTest, TheReasonOfAFailureIsWhatItsCommandLeft) {
    EXPECT_EQ(reports().whyFailed(timing()), "");
    mark(std::string(".") + kTiming + ".fail", "unknown option -x\n");
    EXPECT_EQ(reports().whyFailed(timing()), "unknown option -x");
}

TEST_F(RunReportsTest, AReportIsAddedBesideAnotherOfItsKind) {
    const HAXRReportConfig& second = reports().add("route", "report_timing_summary", "");
    EXPECT_EQ(second.getName(), "impl_1_route_report_timing_summary_1");
    EXPECT_EQ(second.getDisplayName(), timing().getDisplayName() + " 2");
    EXPECT_TRUE(run().isDirty());
    EXPECT_NE(thrown([this] { reports().add("route", "report_nothing", ""); }).find("report_drc"),
              std::string::npos);
    EXPECT_NE(thrown([this] { reports().add("nowhere", "report_drc", ""); }).find("place_design"),
              std::string::npos);
    EXPECT_EQ(thrown([&] { reports().add("route", "report_drc", second.getDisplayName()); }),
              "Run impl_1 has a report called " + second.getDisplayName() +
                  " already. Choose another name.");
}

TEST_F(RunReportsTest, AnOldFailMarkerDoesNotFailANewReport) {
    mark(".impl_1_route_report_timing_summary_1.fail");
    const HAXRReportConfig& second = reports().add("route", "report_timing_summary", "");
    EXPECT_EQ(second.getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_FALSE(has(".impl_1_route_report_timing_summary_1.fail"));
}

TEST_F(RunReportsTest, ARemovedReportTakesItsFilesAlong) {
    makeTiming();
    const std::string file = timing().getReportFile();
    ASSERT_TRUE(has(file));
    reports().remove(timing());
    EXPECT_FALSE(has(file));
    EXPECT_NE(thrown([this] { timing(); }), "nothing thrown");
    EXPECT_EQ(thrown([this] {
                  reports().remove(reports().get("impl_1_bitstream_implementation_log_0"));
              }),
              "The report impl_1_bitstream_implementation_log_0 is one that the run leaves by "
              "itself. It goes with the run.");
}

TEST_F(RunReportsTest, AReportIsStaleUntilItsOptionIsBackAtItsOldValue) {
    makeTiming();
    ASSERT_EQ(timing().getState(), HAXRReportConfig::REPORT_GENERATED);
    reports().setOption(timing(), "MORE_OPTIONS", "-all");
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_STALE);
    reports().setOption(timing(), "MORE_OPTIONS", "");
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_GENERATED);
}

TEST_F(RunReportsTest, AnOptionIsRefusedThatTclWouldTakeApart) {
    for (const std::string text : {"[exit]", "$x", "a;b", "{", "\"", "a\\b", "a\nb", "a}{"})
        EXPECT_NE(thrown([&] { reports().setOption(timing(), "MORE_OPTIONS", text); }),
                  "nothing thrown")
            << text;
    EXPECT_EQ(thrown([this] { reports().setOption(timing(), "MORE_OPTIONS", "-a {b c} \"d\""); }),
              "nothing thrown");
    EXPECT_NE(
        thrown([this] { reports().setOption(timing(), "nothing", "1"); }).find("MORE_OPTIONS"),
        std::string::npos);
}

TEST_F(RunReportsTest, ALaunchCallsEachStepThatHasReportsWithTheScript) {
    const std::string text =
        workbench::reportScriptText(run(), [](const HAXRReportConfig&) { return true; });
    EXPECT_NE(text.find("  route_design {\n    open_step route_design\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find(kTiming), std::string::npos) << text;
    EXPECT_NE(text.find("blinky_timing_summary_routed.rpt"), std::string::npos) << text;
    EXPECT_EQ(text.find("write_bitstream"), std::string::npos) << text;
    timing().setEnabled(false, false);
    EXPECT_EQ(workbench::reportScriptText(run(), [](const HAXRReportConfig&) { return true; })
                  .find(kTiming),
              std::string::npos);
}

TEST_F(RunReportsTest, StatesAndFilesSurviveARestart) {
    makeTiming();
    reports().setOption(timing(), "MORE_OPTIONS", "-all");
    HAXRReportConfig& drc = reports().get("route.report_drc");
    reports().setEnabled(drc, false);
    const std::string file = timing().getReportFile();
    m_project->save();
    m_project.reset();
    m_project = Project::open(dir(), Project::kChange);
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_STALE);
    EXPECT_EQ(timing().getReportFile(), file);
    EXPECT_FALSE(reports().get("route.report_drc").isEnabled());
    reports().setOption(timing(), "MORE_OPTIONS", "");
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_GENERATED);
    EXPECT_EQ(run().getReportStrategyName(), "Tarnel Implementation Default Reports");
    EXPECT_EQ(reports().all().size(), RunReports(run()).all().size());
}

TEST_F(RunReportsTest, AReportThatTheCatalogueLacksStaysInTheFile) {
    m_project->save();
    m_project.reset();
    std::string text = m_bench.folder().read("proj/project.xml");
    const std::string command = "Command=\"report_timing_summary\"";
    ASSERT_NE(text.find(command), std::string::npos);
    text.replace(text.find(command), command.size(), "Command=\"report_of_tomorrow\"");
    m_bench.folder().mark("proj/project.xml", text);
    {
        const test::MessageRecorder messages;
        m_project = Project::open(dir(), Project::kChange);
        EXPECT_TRUE(messages.has("60-82"));
    }
    EXPECT_NE(thrown([this] { timing(); }), "nothing thrown");
    m_project->save();
    EXPECT_NE(m_bench.folder().read("proj/project.xml").find("report_of_tomorrow"),
              std::string::npos);
}

TEST_F(RunReportsTest, AFileOfAReportThatLeadsOutOfTheRunIsRefused) {
    m_project->save();
    m_project.reset();
    std::string text = m_bench.folder().read("proj/project.xml");
    const std::string name = std::string("Name=\"") + kTiming + "\"";
    ASSERT_NE(text.find(name), std::string::npos);
    text.replace(text.find(name), name.size(), "Name=\"../x\"");
    m_bench.folder().mark("proj/project.xml", text);
    EXPECT_NE(thrown([this] { Project::open(dir(), Project::kChange); }).find("../x"),
              std::string::npos);
}

TEST_F(RunReportsTest, AFileWithAReportThatReachesBeyondItselfIsRefused) {
    reports().setOption(timing(), "MORE_OPTIONS", "-all");
    m_project->save();
    m_project.reset();
    const std::string whole = m_bench.folder().read("proj/project.xml");
    const std::string command = "Command=\"report_timing_summary\"";
    const std::vector<std::pair<std::string, std::string>> changes = {
        {"Value=\"-all\"", "Value=\"[exec touch x]\""},
        {command, command + " File=\"../x\""},
        {command, command + " File=\".ice40_route.end.rst\""}};
    for (const auto& [from, to] : changes) {
        std::string text = whole;
        ASSERT_NE(text.find(from), std::string::npos) << from;
        text.replace(text.find(from), from.size(), to);
        m_bench.folder().mark("proj/project.xml", text);
        const std::string told = thrown([this] { Project::open(dir(), Project::kChange); });
        EXPECT_NE(told.find("project.xml"), std::string::npos) << to << ": " << told;
    }
}

TEST_F(RunReportsTest, AReportThatWouldTakeAResultAwayIsRefused) {
    makeTiming();
    const std::string file = "File=\"" + timing().getReportFile() + "\"";
    m_project->save();
    m_project.reset();
    std::string text = m_bench.folder().read("proj/project.xml");
    ASSERT_NE(text.find(file), std::string::npos);
    text.replace(text.find(file), file.size(), "File=\"blinky.asc\"");
    m_bench.folder().mark("proj/project.xml", text);
    EXPECT_NE(thrown([this] {
                  Project::open(dir(), Project::kChange);
              }).find("the file \"blinky.asc\" of a report has no .rpt"),
              std::string::npos);
}

TEST_F(RunReportsTest, AnotherStrategyOfTheToolLeavesTheReports) {
    makeTiming();
    reports().add("place", "report_utilization", "Mine");
    m_project->applyStrategy(run(), "Explore");
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_GENERATED);
    EXPECT_EQ(reports().get("Mine").getAssociatedStepName(), "place_design");
}

TEST_F(RunReportsTest, AnotherReportStrategyTakesTheFilesOfTheOldReportsAway) {
    makeTiming();
    const std::string file = timing().getReportFile();
    m_project->applyReportStrategy(run(), "Tarnel Implementation Default Reports");
    EXPECT_FALSE(has(file));
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_NE(thrown([this] {
                  m_project->applyReportStrategy(run(), "Nothing");
              }).find("Tarnel Implementation Default Reports"),
              std::string::npos);
}

TEST_F(RunReportsTest, AnOldFailMarkerDoesNotFailTheReportsOfANewStrategy) {
    reports().remove(timing());
    mark(std::string(".") + kTiming + ".fail", "of the one that is gone");
    m_project->applyReportStrategy(run(), "Tarnel Implementation Default Reports");
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_FALSE(has(std::string(".") + kTiming + ".fail"));
}

TEST_F(RunReportsTest, AStrategyThatNoReportScriptCanCarryIsNotTaken) {
    HAXPStrategyMgr* const manager = HAXPStrategyMgr::getGlobal();
    HAXRReportStrategy* const strategy =
        manager->createReportStrategy(OpenFlows::getImplementation(), "Careless");
    const std::unique_ptr<HAXRReportSpec> drc(
        HAXRReportSpecMgr::getGlobal()->getReportSpec("report_drc"));
    HATOptGroup* const options = drc->getOptions();
    options->setStrVal(options->getAttrSpecByName("checks"), "NET-1 CLK-1", true);
    strategy->addSpec("route_design", std::make_unique<HAXRReportSpec>(*drc).release(), false);
    const std::string refusal = "The value \"NET-1 CLK-1\" of option checks holds the character "
                                " , which Tcl would take as its own. Choose another value.";
    EXPECT_EQ(thrown([this] { m_project->applyReportStrategy(run(), "Careless"); }), refusal);
    EXPECT_EQ(thrown([this] {
                  m_project->createRun("impl_2", *OpenFlows::getImplementation(), "Default",
                                       "synth_1", "Careless");
              }),
              refusal);
    EXPECT_EQ(m_project->findRun("impl_2"), nullptr);
    EXPECT_EQ(run().getReportStrategyName(), "Tarnel Implementation Default Reports");
    manager->deleteReportStrategy(strategy);
}

TEST_F(RunReportsTest, FilesOfReportsArePublishedAmongThoseOfTheRun) {
    EXPECT_EQ(run().getInfo().getFile(HAXPTypes::FILE_ROUTE_TIMINGSUMMARY), "");
    makeTiming();
    EXPECT_EQ(run().getInfo().getFile(HAXPTypes::FILE_ROUTE_TIMINGSUMMARY),
              timing().getReportFile());
}

TEST_F(RunReportsTest, ARelaunchTakesTheReportsOfItsStepsBack) {
    makeTiming();
    const std::string file = timing().getReportFile();
    run().resetFrom(run().getFirstStep());
    EXPECT_EQ(timing().getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_FALSE(has(file));
}

TEST_F(RunReportsTest, ARunThatIsRenamedTakesItsFailMarkersAlong) {
    mark(std::string(".") + kTiming + ".fail");
    done("ice40_bitstream");
    run().updateStatus();
    ASSERT_EQ(timing().getState(), HAXRReportConfig::REPORT_FAILED);
    m_project->getRun("impl_1").renameRun("impl_2");
    const HAXRReportConfig& renamed =
        RunReports(m_project->getRun("impl_2")).get("impl_2_route_report_timing_summary_0");
    EXPECT_EQ(renamed.getState(), HAXRReportConfig::REPORT_FAILED);
    EXPECT_FALSE(has(std::string(".") + kTiming + ".fail"));
    EXPECT_TRUE(has(".impl_2_route_report_timing_summary_0.fail"));
}

TEST_F(RunReportsTest, AReportKeepsItsNameWhereTheMarkerOfTheNewOneIsThere) {
    mark(std::string(".") + kTiming + ".fail");
    mark(".impl_2_route_report_timing_summary_0.fail", "of another");
    const test::MessageRecorder messages;
    run().renameRun("impl_2");
    EXPECT_TRUE(messages.has("60-97"));
    EXPECT_EQ(RunReports(m_project->getRun("impl_2")).get(kTiming).getName(), kTiming);
    EXPECT_EQ(m_bench.folder().read("proj/runs/impl_1/.impl_2_route_report_timing_summary_0.fail"),
              "of another");
}

TEST_F(RunReportsTest, ARunAtWorkKeepsItsNameAndItsReports) {
    done("ice40_init");
    const test::HeldRunLock lock(m_bench.path("proj/runs/impl_1"));
    EXPECT_EQ(thrown([this] { run().renameRun("impl_2"); }),
              "Run impl_1 keeps its name: it is at work. Wait for it with \"xp wait\".");
    EXPECT_EQ(run().getName(), "impl_1");
    const std::string refusal = "The reports of run impl_1 stay as they are: the run is at work. "
                                "Wait for it with \"xp wait\".";
    EXPECT_EQ(thrown([this] { reports().generate(reports().all(), false); }), refusal);
    EXPECT_EQ(thrown([this] { reports().setOption(timing(), "MORE_OPTIONS", "-all"); }), refusal);
    EXPECT_EQ(thrown([this] { reports().remove(timing()); }), refusal);
    EXPECT_EQ(timing().getSpecName(), "report_timing_summary");
    EXPECT_EQ(thrown([this] {
                  m_project->applyReportStrategy(run(), "Tarnel Implementation Default Reports");
              }),
              refusal);
}

TEST_F(RunReportsTest, WhatCannotBeMadeNowIsToldWithItsReason) {
    done("ice40_place");
    std::vector<std::string> told;
    HAXRReportConfig& drc = reports().get("route.report_drc");
    reports().setEnabled(drc, false);
    for (const RunReports::Outcome& outcome : reports().generate(
             {&drc, &timing(), &reports().get("impl_1_bitstream_implementation_log_0")}, false)) {
        told.push_back(outcome.reason);
        EXPECT_FALSE(outcome.failed);
    }
    EXPECT_EQ(told, (std::vector<std::string>{"it is disabled", "its step isn't done",
                                              "the run leaves it by itself"}));
}

TEST_F(RunReportsTest, AReportThatCannotBeMadeFromWhatTheStepLeftHasFailed) {
    done("ice40_bitstream");
    const std::vector<RunReports::Outcome> outcomes = reports().generate({&timing()}, false);
    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_FALSE(outcomes.front().made);
    EXPECT_TRUE(outcomes.front().failed);
    EXPECT_EQ(outcomes.front().reason,
              "it failed; see " + m_bench.path("proj/runs/impl_1/route_design_reports.log"));
    EXPECT_TRUE(has("route_design_reports.log"));
}

}  // namespace
