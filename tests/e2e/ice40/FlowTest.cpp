// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/e2e/ice40/StepBench.h"

using namespace ice40;

namespace {

/// The five steps over blinky, with the real tools.
class Ice40FlowTest : public test::StepBench {
protected:
    void SetUp() override { needTools(); }

    std::string pcf() const { return example("blinky/blinky.pcf"); }

    void synthesiseAndPlace(const std::vector<std::string>& more = {}) const {
        ASSERT_TRUE(synthesise().end.good());
        ASSERT_TRUE(place(more).end.good());
    }
};

TEST_F(Ice40FlowTest, TimesADesignWhoseConstraintsHaveOptions) {
    m_dir.mark("board.pcf", "set_io -nowarn absent A3\nset_io -nowarn -pullup yes clk J3\n"
                            "set_io led[0] B5\nset_frequency clk 20\n");
    ASSERT_TRUE(synthesise().end.good());
    ASSERT_TRUE(run("ice40_place", {"--netlist", "blinky.json", "--pcf", "board.pcf"}).end.good());
    const test::StepResult result = route();
    ASSERT_TRUE(result.end.good()) << result.errorText();
    EXPECT_TRUE(metricsOf("route_design").icetimeMhz);
    for (const std::string& name : files())
        EXPECT_EQ(name.find(".part"), std::string::npos) << name;
}

TEST_F(Ice40FlowTest, TakesVerilogToABitstream) {
    for (const test::StepResult& result :
         {synthesise(), check({"--pcf", pcf()}), place(), route(), pack()}) {
        ASSERT_TRUE(result.end.good()) << result.errorText();
        EXPECT_EQ(result.errorText(), "");
    }
    EXPECT_EQ(files(),
              (std::vector<std::string>{"blinky.asc", "blinky.bin", "blinky.json",
                                        "init_design.metrics.json", "place_design.json",
                                        "place_design.metrics.json", "place_design.report.json",
                                        "route_design.metrics.json", "route_design.report.json",
                                        "route_design.timing.rpt", "synth_design.metrics.json",
                                        "synth_design.stat.json", "write_bitstream.metrics.json"}));
    EXPECT_EQ(static_cast<long>(m_dir.read("blinky.bin").size()),
              metricsOf("write_bitstream").count(counts::kBitstreamBytes));
}

TEST_F(Ice40FlowTest, LeavesTheNumbersOfEachStep) {
    synthesiseAndPlace();
    ASSERT_TRUE(check({"--pcf", pcf()}).end.good());
    ASSERT_TRUE(route().end.good());
    const StepMetrics synthesis = metricsOf("synth_design");
    EXPECT_EQ(synthesis.tool.rfind("Yosys ", 0), 0u) << synthesis.tool;
    EXPECT_GT(synthesis.count(counts::kLuts).value(), 8);
    EXPECT_GT(synthesis.count(counts::kFlipFlops).value(), 8);
    EXPECT_EQ(synthesis.count(counts::kBlockRams), 0);
    EXPECT_EQ(metricsOf("init_design").count(counts::kPortBits), 9);
    const StepMetrics routed = metricsOf("route_design");
    EXPECT_EQ(routed.tool.rfind("nextpnr-ice40 ", 0), 0u) << routed.tool;
    EXPECT_EQ(routed.count(counts::kFlipFlops), synthesis.count(counts::kFlipFlops));
    EXPECT_EQ(routed.count(counts::kIos), 9);
    ASSERT_NE(routed.worstClock(), nullptr);
    EXPECT_DOUBLE_EQ(routed.worstClock()->targetMhz, 12);
    EXPECT_GT(routed.worstClock()->fmaxMhz, 50);
    EXPECT_GT(routed.icetimeMhz.value(), 50);
    EXPECT_GT(routed.seconds, 0);
    EXPECT_EQ(metricsOf("place_design").clocks.size(), 1u);
}

TEST_F(Ice40FlowTest, PassesOnWhatTheToolsPrint) {
    const test::StepResult synthesis = synthesise();
    EXPECT_TRUE(synthesis.says("Executing Verilog-2005 frontend"));
    EXPECT_TRUE(synthesis.says("SB_LUT4"));
    EXPECT_TRUE(place().says("Info: HeAP Placer Time"));
    const test::StepResult routing = route();
    EXPECT_TRUE(routing.says("Info: Routing complete"));
    EXPECT_TRUE(routing.says("// Timing estimate: "));
}

TEST_F(Ice40FlowTest, RoutesAPlacementAgainToTheSameDesign) {
    synthesiseAndPlace({"--seed", "5"});
    ASSERT_TRUE(route().end.good());
    const std::string first = m_dir.read("blinky.asc");
    ASSERT_TRUE(route().end.good());
    EXPECT_EQ(m_dir.read("blinky.asc"), first);
}

TEST_F(Ice40FlowTest, DrawsThePlacement) {
    synthesiseAndPlace({"--svg", "placed.svg"});
    EXPECT_NE(m_dir.read("placed.svg").find("<svg"), std::string::npos);
}

TEST_F(Ice40FlowTest, ImplementsADesignThatKeepsItsHierarchy) {
    ASSERT_TRUE(run("ice40_synth", {"--top", "uart_echo", "--json", "n.json", "--noflatten",
                                    example("uart_echo/uart_echo.v")})
                    .end.good());
    const std::string pins = example("uart_echo/uart_echo.pcf");
    EXPECT_TRUE(run("ice40_init", {"--netlist", "n.json", "--pcf", pins}).end.good());
    EXPECT_TRUE(run("ice40_place", {"--netlist", "n.json", "--pcf", pins}).end.good());
    EXPECT_EQ(metricsOf("synth_design").count(counts::kBlockRams), 1);
    EXPECT_EQ(metricsOf("place_design").count(counts::kBlockRams), 1);
}

TEST_F(Ice40FlowTest, RefusesToRouteWhenTheNetlistChanged) {
    synthesiseAndPlace();
    std::string netlist = m_dir.read("blinky.json");
    // Of the last cell; before the first one stand those that the library knows.
    const std::string truthTable = "\"LUT_INIT\": \"";
    char& bit = netlist.at(netlist.rfind(truthTable) + truthTable.size());
    bit = bit == '0' ? '1' : '0';
    m_dir.mark("blinky.json", netlist);
    const test::StepResult result = route();
    EXPECT_EQ(result.end.exitStatus, 1);
    EXPECT_EQ(result.errorText(), "ERROR: ice40_route: netlist 'blinky.json' or its constraints "
                                  "changed since it was placed. Run the placement again.\n");
    EXPECT_FALSE(m_dir.has("blinky.asc"));
}

TEST_F(Ice40FlowTest, RoutesANetlistThatIsWrittenOtherwiseAndMeansTheSame) {
    synthesiseAndPlace();
    m_dir.mark("blinky.json", m_dir.read("blinky.json") + "\n");
    EXPECT_TRUE(route().end.good());
    EXPECT_TRUE(m_dir.has("blinky.asc"));
}

TEST_F(Ice40FlowTest, RefusesARouteThatPlacedOtherwise) {
    synthesiseAndPlace();
    std::string record = m_dir.read("place_design.json");
    const std::size_t last = record.rfind("\"0x");
    record.replace(last, 5, "\"0xzz");
    m_dir.mark("place_design.json", record);
    const test::StepResult result = route();
    EXPECT_EQ(result.end.exitStatus, 1);
    EXPECT_EQ(result.errorText(),
              "ERROR: ice40_route: the design was placed otherwise than 'place_design.json' "
              "records; nextpnr may have been updated. Run the placement again.\n");
    EXPECT_FALSE(m_dir.has("blinky.asc"));
}

TEST_F(Ice40FlowTest, TellsAMissedFrequencyAsNegativeSlack) {
    synthesiseAndPlace({"--freq", "2000"});
    const test::StepResult result = route();
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_TRUE(result.says("WARNING: missed frequency, clock "));
    EXPECT_LT(metricsOf("route_design").worstClock()->slackNs(), 0);
}

TEST_F(Ice40FlowTest, FailsOnAMissedFrequencyWhereThatIsAskedFor) {
    synthesiseAndPlace({"--freq", "2000"});
    const test::StepResult result = route({"--require-timing"});
    EXPECT_EQ(result.end.exitStatus, 1);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_NE(result.errors[0].find("MHz of the 2000.00 MHz asked for. Try another seed or "
                                    "strategy, or ask for less."),
              std::string::npos)
        << result.errors[0];
    EXPECT_FALSE(m_dir.has("blinky.asc"));
}

TEST_F(Ice40FlowTest, KnowsMacrosAndFoldersOfIncludedFiles) {
    m_dir.folder("inc");
    m_dir.mark("inc/width.vh", "`define TOP 3\n");
    m_dir.mark("t.v", "`include \"width.vh\"\nmodule t(input clk, output reg [`TOP:0] q);\n"
                      "  initial q = 0;\n  always @(posedge clk) q <= q + `STEP;\nendmodule\n");
    const test::StepResult result =
        run("ice40_synth",
            {"--top", "t", "--json", "t.json", "--define", "STEP=1", "--include", "inc", "t.v"});
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_EQ(metricsOf("synth_design").count(counts::kFlipFlops), 4);
}

TEST_F(Ice40FlowTest, WorksWithBlanksAndSemicolonsInFileNames) {
    m_dir.folder("a b");
    m_dir.mark("a b/my;blinky.v",
               "module blinky(input clk, output reg q);\n"
               "  initial q = 0;\n  always @(posedge clk) q <= !q;\nendmodule\n");
    const test::StepResult result =
        run("ice40_synth", {"--top", "blinky", "--json", "a b/n.json", "a b/my;blinky.v"});
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_TRUE(
        run("ice40_place", {"--netlist", "a b/n.json", "--report", "a b/r.json"}).end.good());
    EXPECT_TRUE(run("ice40_route", {"--asc", "a b/n.asc"}).end.good());
    EXPECT_TRUE(run("ice40_bitstream", {"--asc", "a b/n.asc", "--bin", "a b/n.bin"}).end.good());
    EXPECT_TRUE(m_dir.has("a b/n.bin"));
}

/// The processor, which has to keep its promises.
class ProcessorFlowTest : public test::StepBench {
protected:
    void SetUp() override { needTools(); }
};

TEST_F(ProcessorFlowTest, MeetsItsClockOfFortyMegahertz) {
    ASSERT_TRUE(run("ice40_synth", {"--top", "rv32i_soc", "--json", "n.json",
                                    example("rv32i/rv32i_core.v"), example("rv32i/rv32i_soc.v")})
                    .end.good());
    ASSERT_TRUE(
        run("ice40_init", {"--netlist", "n.json", "--pcf", example("rv32i/rv32i.pcf")}).end.good());
    ASSERT_TRUE(run("ice40_place",
                    {"--netlist", "n.json", "--pcf", example("rv32i/rv32i.pcf"), "--freq", "40"})
                    .end.good());
    const test::StepResult result = run("ice40_route", {"--asc", "n.asc", "--require-timing"});
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_EQ(metricsOf("route_design").count(counts::kBlockRams), 12);
    EXPECT_GT(metricsOf("route_design").count(counts::kLuts).value(), 800);
}

}  // namespace
