// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportCommands.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/thrownText.h"
#include "tests/unit/workbench/reports/reportBench.h"
#include "workbench/ice40/stepFailure.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

class ReportContentsTest : public ::testing::Test {
protected:
    using Report = reports::Report;

    Report make(const std::string& command, const std::string& step,
                const std::vector<std::string>& words = {}) const {
        return m_bench.make(command, step, words);
    }

    std::string refusal(const std::string& command, const std::string& step,
                        const std::vector<std::string>& words = {}) const {
        return test::thrownText<ice40::StepFailure>([&] { make(command, step, words); });
    }

    /// The findings of one check after routing.
    std::vector<std::string> findings(const std::string& check,
                                      const std::string& step = "route_design") const {
        return test::columnOf(make("report_drc", step, {"-checks", check}), "Findings", "Finding");
    }

    /// Places the design with one text of its netlist replaced.
    void edit(const std::string& from, const std::string& to) const {
        std::string netlist = test::ReportBench::netlist();
        const std::size_t at = netlist.find(from);
        ASSERT_NE(at, std::string::npos);
        m_bench.place(netlist.replace(at, from.size(), to), test::ReportBench::constraints());
    }

    void constrain(const std::string& constraints) const {
        m_bench.place(test::ReportBench::netlist(), constraints);
    }

    test::ReportBench m_bench;
};

TEST_F(ReportContentsTest, TellsInTheHeadWhatIsReportedAndFromWhat) {
    const Report report = make("report_utilization", "route_design");
    EXPECT_THAT(report.head, Contains(Pair("Step", "route_design")));
    EXPECT_THAT(report.head, Contains(Pair("Tool", "nextpnr-ice40 0.4")));
    EXPECT_THAT(report.head, Contains(Pair("Device", "hx8k, package ct256")));
    EXPECT_THAT(report.head, Contains(Pair("Netlist", "top.json")));
    EXPECT_THAT(report.head, Contains(Pair("Constraints", "top.pcf")));
}

TEST_F(ReportContentsTest, CountsTheCellsOfASynthesisByType) {
    const Report report = make("report_utilization", "synth_design");
    EXPECT_THAT(test::columnOf(report, "Cells by type", "Cell type"),
                ElementsAre("SB_CARRY", "SB_DFFE", "SB_DFFN", "SB_LUT4", "SB_RAM40_4K"));
    EXPECT_THAT(test::columnOf(report, "Cells by type", "Cells"),
                ElementsAre("1", "3", "1", "3", "1"));
    EXPECT_EQ(test::figureOf(report, "luts"), 3);
}

TEST_F(ReportContentsTest, TellsUsedAvailableAndPercentOfTheDevice) {
    const Report report = make("report_utilization", "place_design");
    EXPECT_THAT(test::columnOf(report, "Device", "Resource"),
                ElementsAre("Logic cells", "Global buffers", "Warm boot"));
    EXPECT_THAT(test::columnOf(report, "Device", "Used"), ElementsAre("5", "1", "0"));
    EXPECT_THAT(test::columnOf(report, "Device", "Available"), ElementsAre("10", "8", "1"));
    EXPECT_THAT(test::columnOf(report, "Device", "Used %"), ElementsAre("50.0", "12.5", "0.0"));
    EXPECT_EQ(test::figureOf(report, "logic_cells_percent"), 50);
}

TEST_F(ReportContentsTest, GivesNoFigureThatNoToolReported) {
    EXPECT_FALSE(test::hasFigure(make("report_utilization", "place_design"), "block_rams"));
    EXPECT_FALSE(test::hasFigure(make("report_timing_summary", "place_design"), "icetime_fmax"));
}

TEST_F(ReportContentsTest, HidesResourcesOfWhichNothingIsUsed) {
    const Report report = make("report_utilization", "place_design", {"-hide_unused"});
    EXPECT_THAT(test::columnOf(report, "Device", "Resource"),
                ElementsAre("Logic cells", "Global buffers"));
}

TEST_F(ReportContentsTest, WarnsOfResourcesAboveALimit) {
    const Report report = make("report_utilization", "place_design", {"-warn_above", "49"});
    EXPECT_THAT(report.warnings, ElementsAre("Logic cells: 50.0 % used, more than 49 %."));
    EXPECT_THAT(make("report_utilization", "place_design", {"-warn_above", "50"}).warnings,
                IsEmpty());
}

TEST_F(ReportContentsTest, CountsTheCellsOfEachInstanceWithThoseInside) {
    const Report report = make("report_utilization", "synth_design", {"-hierarchical"});
    EXPECT_THAT(test::columnOf(report, "Instances", "Instance"),
                ElementsAre("top", "core", "core.sub"));
    EXPECT_THAT(test::columnOf(report, "Instances", "Flip-flops"), ElementsAre("4", "3", "1"));
    const Report flat =
        make("report_utilization", "synth_design", {"-hierarchical", "-hierarchical_depth", "1"});
    EXPECT_THAT(test::columnOf(flat, "Instances", "Instance"), ElementsAre("top", "core"));
}

TEST_F(ReportContentsTest, TellsEachClockWithItsSlack) {
    const Report report = make("report_timing_summary", "route_design");
    EXPECT_THAT(test::columnOf(report, "Clocks", "Clock"), ElementsAre("clk"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Fmax MHz"), ElementsAre("100.00"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Slack ns"), ElementsAre("-2.000"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Met"), ElementsAre("NO"));
    EXPECT_DOUBLE_EQ(test::figureOf(report, "fmax"), 100);
    EXPECT_DOUBLE_EQ(test::figureOf(report, "worst_slack"), -2);
    EXPECT_EQ(test::figureOf(report, "missed_clocks"), 1);
}

TEST_F(ReportContentsTest, TellsAMissedClockAloudOnlyWhenAsked) {
    EXPECT_THAT(make("report_timing_summary", "route_design").warnings, IsEmpty());
    EXPECT_THAT(make("report_timing_summary", "route_design", {"-warn_on_violation"}).warnings,
                ElementsAre("Clock clk misses its target: 100.00 MHz of 125.00 MHz, slack "
                            "-2.000 ns."));
}

TEST_F(ReportContentsTest, TellsDelaysBetweenClocksApartFromThoseWithin) {
    const Report report = make("report_timing_summary", "route_design");
    EXPECT_THAT(test::columnOf(report, "Slowest path of each clock", "Delay ns"),
                ElementsAre("10.000"));
    EXPECT_THAT(test::columnOf(report, "Slowest path of each clock", "Routing ns"),
                ElementsAre("6.000"));
    EXPECT_THAT(test::columnOf(report, "Between clocks, ports and clocks", "From"),
                ElementsAre("no clock"));
    EXPECT_THAT(test::columnOf(report, "Between clocks, ports and clocks", "To"),
                ElementsAre("clk (falling)"));
}

TEST_F(ReportContentsTest, GivesIcetimesSecondOpinion) {
    const Report report = make("report_timing_summary", "route_design");
    EXPECT_THAT(test::linesOf(report, "Second opinion of icetime"),
                HasSubstr("95.00 MHz: 10.530 ns through 1 level of logic"));
    EXPECT_DOUBLE_EQ(test::figureOf(report, "icetime_fmax"), 95);
    EXPECT_FALSE(test::hasFigure(make("report_timing_summary", "route_design", {"-no_icetime"}),
                                 "icetime_fmax"));
}

TEST_F(ReportContentsTest, CallsThePlacersDelaysEstimates) {
    const Report report = make("report_timing_summary", "place_design");
    EXPECT_THAT(test::linesOf(report, "Verdict"), HasSubstr("estimates of the placer"));
    EXPECT_EQ(report.sections.size(), 2u);
}

TEST_F(ReportContentsTest, ShowsOnlyClocksBelowALimit) {
    const Report all = make("report_timing_summary", "route_design", {"-slack_below", "-1.5"});
    EXPECT_THAT(test::columnOf(all, "Clocks", "Clock"), ElementsAre("clk"));
    const Report none = make("report_timing_summary", "route_design", {"-slack_below", "-2.5"});
    EXPECT_THAT(test::columnOf(none, "Clocks", "Clock"), IsEmpty());
    EXPECT_EQ(refusal("report_timing_summary", "route_design", {"-slack_below", "soon"}),
              "report_timing_summary: option -slack_below can't be 'soon'. Use a number of ns, "
              "such as 0.5.");
}

TEST_F(ReportContentsTest, ShowsAPathHopByHop) {
    const Report report = make("report_timing", "route_design");
    const std::string path = "Path 1: clk (rising) to clk (rising)";
    EXPECT_THAT(test::columnOf(report, path, "Delay ns"),
                ElementsAre("0.500", "4.000", "2.500", "2.000", "1.000"));
    EXPECT_THAT(test::columnOf(report, path, "Total ns"),
                ElementsAre("0.500", "4.500", "7.000", "9.000", "10.000"));
    EXPECT_THAT(test::columnOf(report, path, "Kind"),
                ElementsAre("clk-to-q", "routing", "logic", "routing", "setup"));
    EXPECT_THAT(test::columnOf(report, path, "Through"),
                ElementsAre("core.a_DFFLC.O", "net led[0]", "lut_a_LC.O", "net core.next[0]",
                            "core.a_DFFLC.I0"));
    EXPECT_THAT(test::columnOf(report, path, "At"), ElementsAre("1,2", "3,4", "3,4", "1,2", "1,2"));
    EXPECT_EQ(test::linesOf(report, path),
              "10.000 ns: 4.000 ns logic, 6.000 ns routing, 1 level of logic.\n"
              "Slack of the clock: -2.000 ns, MISSED.\n");
    EXPECT_DOUBLE_EQ(test::figureOf(report, "slowest_path"), 10);
}

TEST_F(ReportContentsTest, NamesTheDesignersSourceOfAHop) {
    const Report report = make("report_timing", "route_design");
    EXPECT_THAT(test::columnOf(report, "Path 1: clk (rising) to clk (rising)", "Source"),
                ElementsAre("core.v:7", "top.v:5", "", "", "core.v:7"));
}

TEST_F(ReportContentsTest, ShowsPathsWithoutPlacesWhenTheNetlistChanged) {
    m_bench.dir().mark("top.json", test::ReportBench::otherNetlist());
    const Report report = make("report_timing", "route_design");
    EXPECT_THAT(report.head,
                Contains(Pair("Source places", HasSubstr("changed since it was placed"))));
    EXPECT_DOUBLE_EQ(test::figureOf(report, "slowest_path"), 10);
}

TEST_F(ReportContentsTest, ChoosesPathsByTheirEnds) {
    const auto count = [&](const std::vector<std::string>& words) {
        return make("report_timing", "route_design", words).sections.size() - 1;
    };
    EXPECT_EQ(count({}), 2u);
    EXPECT_EQ(count({"-from", "clk"}), 1u);
    EXPECT_EQ(count({"-from", "go*"}), 1u);
    EXPECT_EQ(count({"-to", "d_*"}), 1u);
    EXPECT_EQ(count({"-to", "nothing"}), 0u);
    EXPECT_EQ(count({"-max_paths", "1"}), 1u);
}

TEST_F(ReportContentsTest, ShowsTheNetsThatAreReachedLast) {
    const Report report = make("report_timing", "route_design", {"-slowest_nets", "1"});
    EXPECT_THAT(test::columnOf(report, "Nets that are reached last", "Net"),
                ElementsAre("core.next[0]"));
    EXPECT_THAT(test::columnOf(report, "Nets that are reached last", "Reached after ns"),
                ElementsAre("9.000"));
}

TEST_F(ReportContentsTest, SaysWhichOptionOfTheStepNetTimesNeed) {
    std::string text = test::ReportBench::pnrReport();
    const std::size_t begin = text.find(" \"detailed_net_timings\"");
    text.erase(begin, text.find(" \"fmax\"") - begin);
    m_bench.dir().mark("route_design.report.json", text);
    const Report report = make("report_timing", "route_design", {"-slowest_nets", "1"});
    EXPECT_THAT(test::linesOf(report, "Nets that are reached last"),
                HasSubstr("Set option detailed_timing of route_design"));
}

TEST_F(ReportContentsTest, TellsWhereAClockAndItsTargetComeFrom) {
    const Report report = make("report_clocks", "route_design");
    EXPECT_THAT(test::columnOf(report, "Clocks", "Clock"), ElementsAre("clk"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Source"), ElementsAre("port clk"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Edges"), ElementsAre("both"));
    EXPECT_THAT(test::columnOf(report, "Clocks", "Target from"),
                ElementsAre("constraints, line 7"));
    constrain("set_io clk J3\n");
    EXPECT_THAT(test::columnOf(make("report_clocks", "route_design"), "Clocks", "Target from"),
                ElementsAre("default of the run"));
}

TEST_F(ReportContentsTest, CountsTheLoadsOfAClock) {
    const Report report = make("report_clock_utilization", "route_design");
    EXPECT_EQ(test::linesOf(report, "Global buffers"), "1 of 8 are used.\n");
    EXPECT_THAT(test::columnOf(report, "Loads of the clocks", "Rising"), ElementsAre("3"));
    EXPECT_THAT(test::columnOf(report, "Loads of the clocks", "Falling"), ElementsAre("1"));
    EXPECT_THAT(test::columnOf(report, "Loads of the clocks", "RAM ports"), ElementsAre("2"));
    EXPECT_THAT(test::columnOf(report, "Loads of the clocks", "Network"),
                ElementsAre("global buffer"));
    EXPECT_THAT(test::columnOf(report, "Other global signals", "Signal"), ElementsAre("reset"));
    const Report busy = make("report_clock_utilization", "route_design", {"-min_loads", "7"});
    EXPECT_THAT(test::columnOf(busy, "Loads of the clocks", "Clock"), IsEmpty());
}

TEST_F(ReportContentsTest, GroupsFlipFlopsByTheirControlSets) {
    const Report report = make("report_control_sets", "synth_design");
    EXPECT_THAT(test::columnOf(report, "Control sets", "Flip-flops"), ElementsAre("2", "1", "1"));
    EXPECT_THAT(test::columnOf(report, "Control sets", "Enable"), Contains("go"));
    EXPECT_EQ(test::figureOf(report, "control_sets"), 3);
    EXPECT_THAT(test::linesOf(report, "Summary"), HasSubstr("They need 3 logic tiles at least"));
    EXPECT_THAT(test::linesOf(make("report_control_sets", "synth_design", {"-max_sets", "1"}),
                              "Control sets"),
                HasSubstr("The first 1 of 3."));
}

TEST_F(ReportContentsTest, SortsNetsByTheirLoads) {
    const Report report = make("report_high_fanout_nets", "synth_design", {"-max_nets", "2"});
    EXPECT_THAT(test::columnOf(report, "Nets with the most loads", "Net"),
                ElementsAre("clk", "go"));
    EXPECT_THAT(test::columnOf(report, "Nets with the most loads", "Loads"), ElementsAre("6", "3"));
    EXPECT_THAT(test::columnOf(report, "Nets with the most loads", "Declared"),
                ElementsAre("top.v:3", ""));
    EXPECT_EQ(test::figureOf(report, "highest_fanout"), 6);
}

TEST_F(ReportContentsTest, TellsThePinOfEachPort) {
    const Report report = make("report_io", "place_design");
    EXPECT_THAT(test::columnOf(report, "Ports", "Port"),
                ElementsAre("clk", "go", "led[0]", "led[1]", "quiet", "unread"));
    EXPECT_THAT(test::columnOf(report, "Ports", "Pin"),
                ElementsAre("J3", "B1", "B5", "", "A1", "C1"));
    EXPECT_THAT(test::columnOf(report, "Ports", "Constrained"),
                ElementsAre("yes", "yes", "yes", "no", "yes", "yes"));
    EXPECT_EQ(test::columnOf(report, "Ports", "Where").at(2), "top.pcf:5");
    EXPECT_EQ(test::figureOf(report, "ports_without_pin"), 1);
    EXPECT_THAT(test::linesOf(report, "Summary"), HasSubstr("1 of 6 port bits have no pin"));
}

TEST_F(ReportContentsTest, SortsAndFiltersPorts) {
    const Report free = make("report_io", "place_design", {"-unconstrained_only"});
    EXPECT_THAT(test::columnOf(free, "Ports", "Port"), ElementsAre("led[1]"));
    const Report sorted = make("report_io", "place_design", {"-sort", "pin"});
    EXPECT_THAT(test::columnOf(sorted, "Ports", "Pin"),
                ElementsAre("A1", "B1", "B5", "C1", "J3", ""));
    EXPECT_EQ(refusal("report_io", "place_design", {"-sort", "colour"}),
              "report_io: option -sort can't be 'colour'. Use port or pin.");
}

TEST_F(ReportContentsTest, CountsRoutedNetsAndTheirWire) {
    const Report report = make("report_route_status", "route_design");
    EXPECT_EQ(test::figureOf(report, "nets_routed"), 3);
    EXPECT_EQ(test::figureOf(report, "wire_segments"), 5);
    EXPECT_EQ(test::columnOf(report, "Longest nets", "Net").front(), "core.next[0]");
}

TEST_F(ReportContentsTest, FindsPortsThatDoNothing) {
    EXPECT_THAT(findings("PORT-1"),
                ElementsAre("Output quiet never changes: it is constant or undriven."));
    EXPECT_THAT(findings("PORT-2"), ElementsAre("Nothing reads input unread."));
    EXPECT_THAT(findings("PORT-3"), ElementsAre("Port led[1] has no pin by constraint."));
}

TEST_F(ReportContentsTest, FindsConstraintsThatFitNothing) {
    constrain("set_io -nowarn lamp J3\nset_frequency fast 100\n");
    EXPECT_THAT(findings("PORT-4"), ElementsAre("Line 1 of the constraints names port lamp, which "
                                                "the design lacks."));
    EXPECT_THAT(findings("CLK-3"), ElementsAre("Line 2 of the constraints sets the frequency of "
                                               "fast, and no clock of the design has that name."));
    EXPECT_THAT(findings("CLK-2"), ElementsAre("Clock clk has no set_frequency of its own: 125.00 "
                                               "MHz is the target of the whole run."));
}

TEST_F(ReportContentsTest, FindsClocksThatMiss) {
    EXPECT_THAT(findings("CLK-1"),
                ElementsAre("Clock clk reaches 100.00 MHz of 125.00 MHz, slack -2.000 ns."));
    EXPECT_THAT(findings("CLK-2"), IsEmpty());
    EXPECT_THAT(findings("CLK-3"), IsEmpty());
}

TEST_F(ReportContentsTest, FindsNoFaultsInAWholeDesign) {
    for (const char* check : {"NET-1", "NET-2", "LOOP-1", "CLK-4", "CDC-1", "UTIL-1"})
        EXPECT_THAT(findings(check), IsEmpty()) << check;
}

TEST_F(ReportContentsTest, FindsNetsWithoutADriver) {
    edit(R"("CO":[25])", R"("CO":[26])");
    EXPECT_THAT(findings("NET-1"), ElementsAre("Nothing drives net 25; 1 pin reads it."));
}

TEST_F(ReportContentsTest, FindsNetsWithSeveralDrivers) {
    edit(R"("O":[22])", R"("O":[21])");
    EXPECT_THAT(findings("NET-2"),
                ElementsAre("core.next[1] has 2 drivers, SB_LUT4 lut_b among them."));
}

TEST_F(ReportContentsTest, FindsCombinationalLoops) {
    edit(R"("I0":[11],"I1":[24])", R"("I0":[21],"I1":[24])");
    EXPECT_THAT(findings("LOOP-1"),
                ElementsAre("1 cell in a loop without a flip-flop, lut_b among them."));
}

TEST_F(ReportContentsTest, FindsClocksFromLogic) {
    edit(R"("C":[2],"D":[23])", R"("C":[21],"D":[23])");
    EXPECT_THAT(findings("CLK-4"),
                ElementsAre("core.next[1] clocks 1 load and comes from SB_LUT4 lut_b: its edges "
                            "may glitch and skew. Use an enable instead."));
}

TEST_F(ReportContentsTest, FindsCrossingsBetweenClocks) {
    std::string text = test::ReportBench::pnrReport();
    text.replace(text.find("<async>"), 7, "posedge fast");
    m_bench.dir().mark("route_design.report.json", text);
    EXPECT_THAT(findings("CDC-1"),
                ElementsAre("Signals pass from fast (rising) to clk (falling); no timing is "
                            "checked between them. Look whether they are synchronised."));
}

TEST_F(ReportContentsTest, FindsResourcesThatAreNearlyUsedUp) {
    std::string text = test::ReportBench::pnrReport();
    text.replace(text.find("\"used\":5"), 8, "\"used\":10");
    m_bench.dir().mark("route_design.report.json", text);
    EXPECT_THAT(findings("UTIL-1"),
                ElementsAre("10 of 10 ICESTORM_LC are used: little is left for changes."));
}

TEST_F(ReportContentsTest, MakesAfterTheSynthesisOnlyTheChecksThatItCan) {
    const Report report = make("report_drc", "synth_design");
    EXPECT_THAT(test::columnOf(report, "Checks", "Findings"),
                ElementsAre("0", "0", "0", "1", "1", "", "", "", "", "", "0", "", ""));
    EXPECT_THAT(test::columnOf(report, "Checks", "What it finds"),
                Contains("Clocks that miss their target (told after place_design)"));
}

TEST_F(ReportContentsTest, CountsFindingsBySeverity) {
    const Report report = make("report_drc", "route_design");
    EXPECT_EQ(test::linesOf(report, "Checks"), "Errors: 1, warnings: 3, advice: 0.\n");
    EXPECT_EQ(test::figureOf(report, "drc_errors"), 1);
    EXPECT_EQ(test::figureOf(report, "drc_warnings"), 3);
    EXPECT_THAT(report.warnings, IsEmpty());
    EXPECT_EQ(make("report_drc", "route_design", {"-messages"}).warnings.size(), 4u);
}

TEST_F(ReportContentsTest, ShowsNoMoreFindingsThanAskedFor) {
    const Report report = make("report_drc", "route_design", {"-max_messages", "1"});
    EXPECT_EQ(test::columnOf(report, "Findings", "Check").size(), 1u);
    EXPECT_EQ(test::linesOf(report, "Findings"), "3 more findings aren't shown.\n");
    EXPECT_EQ(test::figureOf(report, "drc_warnings"), 3);
}

TEST_F(ReportContentsTest, ChoosesChecksBySeverityAndName) {
    const Report report = make("report_drc", "route_design", {"-severity", "error"});
    EXPECT_THAT(test::columnOf(report, "Checks", "Check"), ElementsAre("NET-1", "NET-2", "CLK-1"));
    EXPECT_THAT(refusal("report_drc", "route_design", {"-severity", "huge"}),
                HasSubstr("Use error, warning or advice."));
    EXPECT_THAT(refusal("report_drc", "route_design", {"-checks", "NET-1,FOO"}),
                HasSubstr("there is no check 'FOO'. Use NET-1, NET-2, LOOP-1"));
}

TEST_F(ReportContentsTest, NamesTheStepThatAReportNeeds) {
    EXPECT_EQ(refusal("report_timing", "place_design"),
              "report_timing: step place_design can't give this report. Make it for step "
              "route_design.");
    EXPECT_EQ(refusal("report_io", "synth_design"),
              "report_io: step synth_design can't give this report. Make it for step place_design "
              "or route_design.");
}

}  // namespace
