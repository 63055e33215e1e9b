// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportScript.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/reports/reportBench.h"
#include "workbench/reports/reportCommands.h"

namespace {

class ReportScriptTest : public ::testing::Test {
protected:
    /// Runs Tcl; gives its error, or an empty text.
    std::string run(const std::string& text) {
        std::string error;
        m_script.run(text, "s.tcl", error);
        return error;
    }

    /// The result of Tcl that runs well.
    std::string value(const std::string& text) {
        EXPECT_EQ(run(text), "");
        return m_script.result();
    }

    /// What the fail marker of report r holds after `command` was its command.
    std::string markerOf(const std::string& command) {
        run("make_report r {" + command + "}");
        return m_bench.dir().has(".r.fail") ? m_bench.dir().read(".r.fail") : "";
    }

    test::ReportBench m_bench;
    reports::ReportScript m_script;
};

TEST_F(ReportScriptTest, MakesTheReportsOfAStepInFiles) {
    EXPECT_EQ(run("open_step route_design\n"
                  "make_report r {report_timing_summary -file t.rpt -json t.json}\n"),
              "");
    EXPECT_EQ(m_script.failedReports(), 0);
    EXPECT_FALSE(m_bench.dir().has(".r.fail"));
    EXPECT_EQ(m_bench.dir().read("t.rpt").rfind("Report report_timing_summary: ", 0), 0u);
    reports::ReportFigures figures;
    std::string reason;
    EXPECT_TRUE(reports::readFigures(m_bench.dir().path("t.json"), figures, reason)) << reason;
    EXPECT_EQ(figures.step, "route_design");
}

TEST_F(ReportScriptTest, PrintsAReportThatHasNoFile) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(run("open_step synth_design; report_utilization"), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout().rfind("Report report_utilization: ", 0), 0u);
}

TEST_F(ReportScriptTest, GivesAScriptItsArguments) {
    m_script.setArguments("reports.tcl", {"route_design", "two words", "{"});
    EXPECT_EQ(value("list $argv0 $argc [lindex $argv 1] [lindex $argv 2]"),
              "reports.tcl 3 {two words} \\{");
}

TEST_F(ReportScriptTest, GoesOnAfterAReportThatFails) {
    EXPECT_EQ(run("open_step route_design\n"
                  "make_report bad {report_io -nothing}\n"
                  "make_report good {report_io -file io.rpt}\n"),
              "");
    EXPECT_EQ(m_script.failedReports(), 1);
    EXPECT_EQ(m_bench.dir().read(".bad.fail"),
              "report_io: there is no option '-nothing'. Use -unconstrained_only, -sort, -file, "
              "-json, -help.\n");
    EXPECT_TRUE(m_bench.dir().has("io.rpt"));
    EXPECT_FALSE(m_bench.dir().has(".good.fail"));
}

TEST_F(ReportScriptTest, RemovesTheMarkerOfAReportThatSucceedsNow) {
    m_bench.dir().mark(".r.fail", "old");
    run("open_step route_design");
    EXPECT_EQ(markerOf("report_io -file io.rpt"), "");
}

TEST_F(ReportScriptTest, LeavesTheOldReportWhenANewOneFails) {
    run("open_step route_design; make_report r {report_io -file io.rpt}");
    const std::string old = m_bench.dir().read("io.rpt");
    m_bench.dir().mark("top.json", "{}");
    run("open_step route_design");
    EXPECT_NE(markerOf("report_io -file io.rpt"), "");
    EXPECT_EQ(m_bench.dir().read("io.rpt"), old);
}

TEST_F(ReportScriptTest, LeavesNoHalfWrittenFile) {
    run("open_step route_design");
    m_bench.dir().folder("locked");
    EXPECT_NE(markerOf("report_io -file missing/io.rpt -json io.json"), "");
    EXPECT_FALSE(m_bench.dir().has("io.json"));
    for (const auto& entry : std::filesystem::directory_iterator(m_bench.dir().path()))
        EXPECT_EQ(entry.path().string().find(".part"), std::string::npos) << entry.path();
}

TEST_F(ReportScriptTest, CountsAFailureEvenInACatch) {
    run("open_step route_design");
    EXPECT_EQ(markerOf("set_param project.isImplRun true; catch { report_drc -foo }; "
                       "set_param project.isImplRun false"),
              "report_drc: there is no option '-foo'. Use -checks, -severity, -max_messages, "
              "-messages, -file, -json, -help.\n");
}

TEST_F(ReportScriptTest, RunsACommandOfSeveralLines) {
    run("open_step route_design");
    EXPECT_EQ(markerOf("  set_param project.isImplRun true\n"
                       "  catch { report_drc -file d.rpt -messages  }\n"
                       "  set_param project.isImplRun false\n"),
              "");
    EXPECT_TRUE(m_bench.dir().has("d.rpt"));
    EXPECT_EQ(value("get_param project.isImplRun"), "false");
}

TEST_F(ReportScriptTest, TellsEveryReportOfAStepThatLeftNothingToFail) {
    m_bench.dir().unmark("route_design.metrics.json");
    EXPECT_EQ(run("open_step route_design; make_report r {report_io -file io.rpt}"), "");
    EXPECT_EQ(m_bench.dir().read(".r.fail"),
              "step route_design has left no results here: there is no "
              "'route_design.metrics.json'. Run step route_design first.\n");
}

TEST_F(ReportScriptTest, NeedsAStepThatHasReports) {
    EXPECT_EQ(run("open_step write_bitstream"),
              "s.tcl:1: open_step: there are no reports of step 'write_bitstream'. Name one of "
              "synth_design, place_design, route_design.");
    EXPECT_EQ(run("report_io"),
              "s.tcl:1: report_io: no step is open. Call 'open_step STEP' first.");
}

TEST_F(ReportScriptTest, RefusesAReportNameThatLeavesTheFolder) {
    EXPECT_EQ(run("make_report ../r {report_io}"),
              "s.tcl:1: '../r' can't be the name of a report. Use a name without '/' and control "
              "characters.");
    EXPECT_EQ(run("make_report {} {report_io}"),
              "s.tcl:1: '' can't be the name of a report. Use a name without '/' and control "
              "characters.");
}

TEST_F(ReportScriptTest, TellsTheLineOfAnError) {
    EXPECT_EQ(run("set a 1\nset b 2\nnonsense\n"), "s.tcl:3: invalid command name \"nonsense\"");
}

TEST_F(ReportScriptTest, ShowsTheHelpOfACommandWithoutAStep) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(run("puts [report_io -help]"), "");
    EXPECT_NE(::testing::internal::GetCapturedStdout().find("-unconstrained_only"),
              std::string::npos);
}

TEST_F(ReportScriptTest, WritesToStandardOutputAndErrorOnly) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(run("puts hello; puts -nonewline stdout x"), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "hello\nx");
    EXPECT_NE(run("puts file5 x"), "");
}

/// Words that would reach outside of the interpreter.
class HostileScriptTest : public ReportScriptTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(HostileScriptTest, IsRefused) {
    const test::RunDir outside;
    const std::string target = outside.path("touched");
    EXPECT_NE(run("set target {" + target + "}; " + GetParam()), "") << GetParam();
    EXPECT_FALSE(outside.has("touched"));
}

INSTANTIATE_TEST_SUITE_P(
    Tcl, HostileScriptTest,
    ::testing::Values("exec touch $target", "open $target w", "open \"|touch $target\"",
                      "file mkdir $target", "file delete reports.tcl", "socket localhost 80",
                      "source $target", "load $target", "cd /", "pwd", "glob *", "exit",
                      "interp create -- x; interp eval x {exec touch /tmp/x}",
                      "interp invokehidden {} exec touch $target", "interp expose {} exec",
                      "set f [interp create]; $f eval {open /tmp/x w}", "fconfigure stdout",
                      "set env(PATH) x; set ::env(HOME); exec x", "encoding system",
                      "package require http", "gets stdin"));

TEST_F(ReportScriptTest, SourcesAScriptBesideIt) {
    m_bench.dir().mark("more.tcl", "set a 1\nproc twice {x} {expr {2 * $x}}\nset b 5");
    EXPECT_EQ(value("set before [source more.tcl]; list $before $a [twice 4]"), "5 1 8");
}

TEST_F(ReportScriptTest, TellsTheLineOfAScriptThatItSources) {
    m_bench.dir().mark("more.tcl", "set a 1\nnonsense");
    EXPECT_EQ(run("\nsource more.tcl"), "s.tcl:2: more.tcl:2: invalid command name \"nonsense\"");
}

TEST_F(ReportScriptTest, SourcesNothingOfAnotherFolder) {
    test::RunDir outside;
    outside.mark("more.tcl", "set a 1");
    std::filesystem::create_symlink(outside.path("more.tcl"), m_bench.dir().path("link.tcl"));
    for (const std::string& name : {outside.path("more.tcl"), std::string("link.tcl"),
                                    std::string("../more.tcl"), std::string(), std::string(".")})
        EXPECT_NE(run("source {" + name + "}").find("is no script of this folder"),
                  std::string::npos)
            << name;
    EXPECT_EQ(value("info exists a"), "0");
}

TEST_F(ReportScriptTest, EndsScriptsThatSourceEachOtherForEver) {
    m_bench.dir().mark("more.tcl", "source more.tcl");
    EXPECT_NE(run("source more.tcl").find("too many nested evaluations"), std::string::npos);
}

TEST_F(ReportScriptTest, LetsOptionsOfAReportStartNothing) {
    run("open_step route_design");
    EXPECT_EQ(markerOf("report_io -file io.rpt -sort [exec touch touched]"),
              "invalid command name \"exec\"\n");
    EXPECT_FALSE(m_bench.dir().has("touched"));
    EXPECT_FALSE(m_bench.dir().has("io.rpt"));
}

}  // namespace
