// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/synthStep.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/workbench/ice40/reportData.h"
#include "workbench/ice40/stepFailure.h"

using namespace ice40;

namespace {

SynthOptions plain() {
    SynthOptions options;
    options.sources = {"a.v"};
    options.top = "top";
    options.json = "n.json";
    return options;
}

std::string refusalOf(const SynthOptions& options) {
    return test::failureOf<StepFailure>([&] { synthScript(options); });
}

TEST(SynthScriptTest, ReadsMapsAndWrites) {
    EXPECT_EQ(synthScript(plain()),
              "read_verilog \"a.v\"; design -save source; synth_ice40 -device hx -top top -run "
              "begin:coarse; tee -q -o /dev/fd/11 stat -json; synth_ice40 -device hx -top top -run "
              "coarse:; write_json /dev/fd/10; tee -q -o /dev/fd/12 stat -json; stat; logger "
              "-nowarn .*; design -load source; hierarchy -top top; write_rtlil \"/dev/fd/13\"");
}

TEST(SynthScriptTest, CanDoNoMoreThanWriteWhatWasRead) {
    EXPECT_EQ(elaborationScript(plain(), "/tmp/a b.il"),
              "read_verilog \"a.v\"; hierarchy -top top; write_rtlil \"/tmp/a b.il\"");
}

TEST(SynthScriptTest, ReadsSourcesInOrderWithMacrosAndFolders) {
    SynthOptions options = plain();
    options.sources = {"b c.v", "../a;b.sv"};
    options.defines = {"N=3", "SIM"};
    options.includes = {"inc"};
    const std::string head = "read_verilog -DN=3 -DSIM -Iinc \"b c.v\"; read_verilog -sv -DN=3 "
                             "-DSIM -Iinc \"../a;b.sv\"; design -save source; synth_ice40 ";
    EXPECT_EQ(synthScript(options).substr(0, head.size()), head);
}

TEST(SynthScriptTest, PassesSwitchesOn) {
    SynthOptions options = plain();
    options.device = "up5k";
    options.switches = {"abc9", "dsp"};
    options.dffeMinCeUse = 4;
    const std::string script = synthScript(options);
    EXPECT_NE(script.find("synth_ice40 -device u -top top -abc9 -dsp -dffe_min_ce_use 4 -run "
                          "coarse:"),
              std::string::npos)
        << script;
}

TEST(SynthScriptTest, TakesTheTimingFamilyThatIsAskedFor) {
    SynthOptions options = plain();
    options.deviceFamily = "lp";
    EXPECT_NE(synthScript(options).find("-device lp"), std::string::npos);
}

TEST(SynthScriptTest, RefusesWhatAScriptCannotHold) {
    SynthOptions options = plain();
    options.top = "top; shell rm";
    EXPECT_EQ(refusalOf(options), "top module 'top; shell rm' is empty or holds a blank, a quote, "
                                  "'#' or ';'. Give it another name.");
    options = plain();
    options.sources = {"a\"b.v"};
    EXPECT_EQ(refusalOf(options),
              "source 'a\"b.v' is empty or holds a quote or a line end. Rename the file.");
    options = plain();
    options.defines = {"A=b c"};
    EXPECT_EQ(refusalOf(options), "define 'A=b c' is empty or holds a blank, a quote, '#' or ';'. "
                                  "Give it another name.");
}

TEST(SynthScriptTest, RefusesTwoOptionsThatExcludeEachOther) {
    SynthOptions options = plain();
    options.switches = {"retime", "abc9"};
    EXPECT_EQ(refusalOf(options), "--abc9 and --retime exclude each other. Choose one of the two.");
}

TEST(SynthScriptTest, RefusesAnUnknownDevice) {
    SynthOptions options = plain();
    options.device = "hx9k";
    EXPECT_EQ(refusalOf(options).rfind("device 'hx9k' is not known. Choose one of ", 0), 0u);
}

/// A design of one clock and two outputs.
class OptimisedAwayTest : public ::testing::Test {
protected:
    std::optional<std::string> find() const {
        return findOptimisedAway(m_before, m_after, m_netlist);
    }

    CellCounts m_before{"", {{"$dff", 2}, {"$mem_v2", 1}}, 3};
    CellCounts m_after{"", {{"SB_DFF", 2}, {"SB_LUT4", 3}}, 5};
    Netlist m_netlist{
        "top", {{"clk", "clk", "input", 2}, {"a", "a", "output", 3}, {"b", "b", "output", 4}}, 5};
};

TEST_F(OptimisedAwayTest, IsNotADesignWithRegisters) {
    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(OptimisedAwayTest, IsNotADesignOfMemoryAlone) {
    m_after.byType = {{"SB_RAM40_4K", 1}};
    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(OptimisedAwayTest, IsNotADesignOfWires) {
    m_before.byType.clear();
    m_after.byType.clear();
    m_netlist.ports[1].net = 2;
    m_netlist.ports[2].net = 2;
    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(OptimisedAwayTest, IsADesignWhoseOutputsAreAllConstant) {
    m_netlist.ports[1].net = -1;
    m_netlist.ports[2].net = -1;
    EXPECT_EQ(find(), "the design was optimised away: none of the outputs of 'top' ever changes");
}

TEST_F(OptimisedAwayTest, IsADesignThatLostAllItsRegisters) {
    m_after.byType = {{"SB_LUT4", 1}};
    EXPECT_EQ(find(), "the design was optimised away: no flip-flop and no memory is left of the 3 "
                      "registers and memory ports in the source of 'top'");
}

TEST_F(OptimisedAwayTest, IsADesignWithoutOutputs) {
    m_netlist.ports.resize(1);
    EXPECT_EQ(find(), "the top module 'top' has no outputs, so that nothing of it is left");
}

TEST(ConstantOutputsTest, AreThoseOfTheRealNetlist) {
    Netlist netlist;
    std::string reason;
    ASSERT_TRUE(parseNetlist(test::reportData("tiny.netlist.json"), "tiny", netlist, reason));
    EXPECT_EQ(constantOutputs(netlist), std::vector<std::string>{"always_on"});
}

}  // namespace
