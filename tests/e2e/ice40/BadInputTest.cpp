// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/e2e/ice40/StepBench.h"

using namespace ice40;

namespace {

/// What a user may get wrong: each gives one line with cause and next step.
class BadInputTest : public test::StepBench {
protected:
    static void expectRefusal(const test::StepResult& result, const std::string& error,
                              int status = 1) {
        EXPECT_EQ(result.errorText(), "ERROR: " + error + "\n");
        EXPECT_EQ(result.end.exitStatus, status);
        EXPECT_EQ(result.end.signal, 0);
    }

    /// Synthesises a source of that text, with the real tool.
    test::StepResult synthesiseText(const std::string& verilog,
                                    const std::vector<std::string>& more = {}) {
        m_dir.mark("t.v", verilog);
        std::vector<std::string> words{"--top", "t", "--json", "t.json", "t.v"};
        words.insert(words.end(), more.begin(), more.end());
        return run("ice40_synth", words);
    }

    /// A small netlist with the ports clk and q.
    void writeNetlist() const {
        m_dir.mark("blinky.json",
                   R"({"modules":{"t":{"attributes":{"top":"1"},"cells":{},"ports":{)"
                   R"("clk":{"direction":"input","bits":[2]},)"
                   R"("q":{"direction":"output","bits":[3]}}}}})");
    }
};

/// The same, where a real tool has to look at the input.
class BadDesignTest : public BadInputTest {
protected:
    void SetUp() override { needTools(); }
};

TEST_F(BadInputTest, NamesTheMissingTool) {
    writeNetlist();
    m_dir.mark("t.v", "module t(input a, output b); assign b = a; endmodule\n");
    m_dir.mark("blinky.asc", ".device 8k\n");
    setPath(m_dir.path());
    expectRefusal(run("ice40_synth", {"--top", "t", "--json", "t.json", "t.v"}),
                  "ice40_synth: yosys not found in PATH. Install package yosys, for example with "
                  "'sudo apt-get install yosys', or add its folder to PATH.",
                  3);
    expectRefusal(
        run("ice40_place", {"--netlist", "blinky.json"}),
        "ice40_place: nextpnr-ice40 not found in PATH. Install package nextpnr-ice40, for "
        "example with 'sudo apt-get install nextpnr-ice40', or add its folder to PATH.",
        3);
    expectRefusal(pack(),
                  "ice40_bitstream: icepack not found in PATH. Install package "
                  "fpga-icestorm, for example with 'sudo apt-get install fpga-icestorm', or "
                  "add its folder to PATH.",
                  3);
    EXPECT_EQ(files(), (std::vector<std::string>{"blinky.asc", "blinky.json", "t.v"}));
}

TEST_F(BadDesignTest, NamesThePlaceOfASyntaxError) {
    expectRefusal(synthesiseText("module t(input a, output b)\n  assign b = a;\nendmodule\n"),
                  "ice40_synth: yosys ended with status 1: t.v:2: syntax error, unexpected "
                  "TOK_ASSIGN, expecting ';'. Correct the Verilog at that line.");
    EXPECT_EQ(files(), std::vector<std::string>{"t.v"});
}

TEST_F(BadDesignTest, NamesAModuleThatIsMissing) {
    expectRefusal(synthesiseText("module t(input a, output b);\n  u x(a, b);\nendmodule\n"),
                  "ice40_synth: yosys ended with status 1: Module `\\u' referenced in module `\\t' "
                  "in cell `\\x' is not part of the design. Add the source that defines u, "
                  "or correct its name.");
}

TEST_F(BadDesignTest, NamesATopModuleThatIsMissing) {
    expectRefusal(synthesiseText("module other(input a, output b); assign b = a; endmodule\n"),
                  "ice40_synth: yosys ended with status 1: Module `t' not found. Correct the name "
                  "of the top module, or add the source that defines it.");
}

TEST_F(BadDesignTest, RefusesADesignThatIsOptimisedAway) {
    expectRefusal(
        synthesiseText("module t(input clk, output reg q);\n  reg [3:0] n = 3;\n"
                       "  always @(posedge clk) begin n <= n; q <= n[2]; end\nendmodule\n"),
        "ice40_synth: the design was optimised away: none of the outputs of 't' ever changes. "
        "Check that the outputs of the top module depend on the design, and leave out options "
        "that lose initial values, such as --retime; or accept it with --allow-empty.");
    EXPECT_EQ(files(), std::vector<std::string>{"t.v"});
}

TEST_F(BadDesignTest, RefusesADesignThatLosesItsRegisters) {
    expectRefusal(
        synthesiseText("module t(input clk, input a, output q, output r);\n  reg n = 0;\n"
                       "  always @(posedge clk) n <= n;\n  assign q = n | a, r = !n;\n"
                       "endmodule\n"),
        "ice40_synth: the design was optimised away: no flip-flop and no memory is left of the 1 "
        "registers and memory ports in the source of 't'. Check that the outputs of the top "
        "module depend on the design, and leave out options that lose initial values, such as "
        "--retime; or accept it with --allow-empty.");
}

TEST_F(BadDesignTest, TakesAnEmptyDesignWhereThatIsAskedFor) {
    const test::StepResult result = synthesiseText(
        "module t(input clk, output q); assign q = 1; endmodule\n", {"--allow-empty"});
    EXPECT_TRUE(result.end.good()) << result.errorText();
    EXPECT_TRUE(result.says("WARNING: the design was optimised away: none of the outputs of 't' "
                            "ever changes"));
}

TEST_F(BadDesignTest, KeepsTheOutputsOfAnEarlierRun) {
    ASSERT_TRUE(
        synthesiseText("module t(input a, b, output c); assign c = a & b; endmodule\n").end.good());
    const std::string netlist = m_dir.read("t.json");
    EXPECT_FALSE(synthesiseText("module t(input a, output b) endmodule\n").end.good());
    EXPECT_EQ(m_dir.read("t.json"), netlist);
    EXPECT_EQ(files(), (std::vector<std::string>{"synth_design.metrics.json",
                                                 "synth_design.stat.json", "t.json", "t.v"}));
}

TEST_F(BadInputTest, NamesASourceThatIsMissing) {
    fakeTool("yosys", "exit 0\n");
    expectRefusal(run("ice40_synth", {"--top", "t", "--json", "t.json", "none.v"}),
                  "ice40_synth: source 'none.v' can't be read: No such file or directory. Correct "
                  "the list of sources.");
}

TEST_F(BadInputTest, NamesAFolderThatIsMissing) {
    m_dir.mark("t.v", "");
    expectRefusal(run("ice40_synth", {"--top", "t", "--json", "no/t.json", "t.v"}),
                  "ice40_synth: 'no/t.json' can't be written: No such file or directory. Create "
                  "the folder, then run the step again.");
}

TEST_F(BadInputTest, ListsTheDevices) {
    const std::string rest = "device 'hx9k' is not known. Choose one of hx1k, hx4k, hx8k, lp384, "
                             "lp1k, lp4k, lp8k, up3k, up5k, u1k, u2k, u4k.";
    writeNetlist();
    expectRefusal(check({"--device", "hx9k"}), "ice40_init: " + rest);
    expectRefusal(run("ice40_place", {"--netlist", "blinky.json", "--device", "hx9k"}),
                  "ice40_place: " + rest);
    expectRefusal(synthesise({"--device", "hx9k"}), "ice40_synth: " + rest);
}

TEST_F(BadDesignTest, ListsThePackages) {
    expectRefusal(check({"--package", "tq144"}),
                  "ice40_init: device hx8k has no package 'tq144'. Choose one of bg121, cb132, "
                  "cm121, cm225, cm81, ct256.");
}

TEST_F(BadInputTest, NamesTheDatabaseThatIsMissing) {
    expectRefusal(check({"--chipdb", "none"}),
                  "ice40_init: the pins of hx8k can't be read from 'none/chipdb-8k.txt'. Install "
                  "package fpga-icestorm-chipdb, or name the folder of the chip databases with "
                  "--chipdb.",
                  3);
}

TEST_F(BadDesignTest, NamesAPinThatDoesNotExist) {
    writeNetlist();
    m_dir.mark("t.pcf", "set_io clk J3\nset_io q Z99\n");
    expectRefusal(check({"--pcf", "t.pcf"}),
                  "ice40_init: t.pcf:2: package ct256 has no pin 'Z99'. Use one of its pins, for "
                  "example A1.");
    EXPECT_FALSE(m_dir.has("init_design.metrics.json"));
}

TEST_F(BadDesignTest, NamesEveryProblemOfTheConstraints) {
    writeNetlist();
    m_dir.mark("t.pcf", "set_io clock J3\nset_i q B5\n");
    expectRefusal(check({"--pcf", "t.pcf"}),
                  "ice40_init: t.pcf:1: the top module has no port 'clock'. Its ports are clk, q.\n"
                  "ERROR: ice40_init: t.pcf:2: unknown command 'set_i'. Use 'set_io port pin' or "
                  "'set_frequency net MHz'.\n"
                  "ERROR: ice40_init: t.pcf: 2 of 2 port bits have no pin: clk, q. Add a 'set_io' "
                  "line for each, or allow unconstrained ports.\n"
                  "ERROR: ice40_init: 3 problems in the constraints of 'blinky.json'. Correct the "
                  "lines named above and run the step again.");
}

TEST_F(BadDesignTest, AsksForConstraints) {
    writeNetlist();
    expectRefusal(check(), "ice40_init: without a constraints file: 2 of 2 port bits have no pin: "
                           "clk, q. Add a 'set_io' line for each, or allow unconstrained ports.");
    EXPECT_TRUE(check({"--allow-unconstrained"}).end.good());
}

TEST_F(BadDesignTest, NamesTheNetlistThatIsMissingOrCut) {
    expectRefusal(check(), "ice40_init: netlist 'blinky.json' can't be read: No such file or "
                           "directory. Run the synthesis first, or correct the file's name.");
    m_dir.mark("blinky.json", R"({"modules":{"t")");
    expectRefusal(check(),
                  "ice40_init: netlist 'blinky.json' can't be used: it is not valid JSON; it may "
                  "have been cut short. Run the synthesis again, or correct the name of the top "
                  "module.");
}

TEST_F(BadInputTest, AsksForThePlacementAndTheRouting) {
    expectRefusal(route(), "ice40_route: placement 'place_design.json' can't be read: No such file "
                           "or directory. Run the placement first.");
    expectRefusal(pack(), "ice40_bitstream: routed design 'blinky.asc' can't be read: No such file "
                          "or directory. Run the routing first.");
    m_dir.mark("place_design.json", "{");
    expectRefusal(route(), "ice40_route: placement 'place_design.json' can't be used: it is not "
                           "valid JSON; it may have been cut short. Run the placement again.");
}

TEST_F(BadDesignTest, TellsThatTheDiskIsFull) {
    const ToolCommand tryMount{{"unshare", "-rm", "mount", "-t", "tmpfs", "none", m_dir.path()},
                               {}};
    const LineSink ignore = [](const std::string&) {};
    if (findInPath("unshare").empty() || !runTool(tryMount, ignore, ignore).good())
        GTEST_SKIP() << "no small disk can be mounted here: this test did not run";
    const std::string script = "mount -t tmpfs -o size=200k none \"$1\" && cd \"$1\" || exit 99\n"
                               "\"$2\" --top blinky --json blinky.json \"$3\"\n"
                               "status=$?; echo \"left: $(ls -A)\"; exit $status";
    test::StepResult result;
    const ToolCommand command{{"unshare", "-rm", "/bin/sh", "-c", script, "sh", m_dir.path(),
                               std::string(ICE40_BIN_DIR) + "/ice40_synth",
                               example("blinky/blinky.v")},
                              {}};
    result.end = runTool(
        command, [&](const std::string& line) { result.output.push_back(line); },
        [&](const std::string& line) { result.errors.push_back(line); });
    expectRefusal(result, "ice40_synth: 'blinky.json' can't be written: No space left on device. "
                          "Free space on that disk, then run the step again.");
    EXPECT_EQ(result.output.back(), "left: ");
}

TEST_F(BadDesignTest, TellsThatADesignDoesNotFit) {
    ASSERT_TRUE(
        synthesiseText("module t(input clk, input [5:0] a, input [7:0] d, output reg [7:0] q);\n"
                       "  reg [7:0] m [0:63];\n"
                       "  always @(posedge clk) begin m[a] <= d; q <= m[~a]; end\nendmodule\n",
                       {"--nobram"})
            .end.good());
    const test::StepResult result =
        run("ice40_place", {"--netlist", "t.json", "--device", "lp384", "--package", "cm49"});
    EXPECT_EQ(result.end.exitStatus, 1);
    ASSERT_EQ(result.errors.size(), 1u) << result.errorText();
    EXPECT_NE(result.errors[0].find("Choose a larger device"), std::string::npos)
        << result.errors[0];
}

TEST_F(BadInputTest, PointsToTheHelp) {
    expectRefusal(run("ice40_place", {}),
                  "ice40_place: --netlist is required. Call it with --help for its options.", 2);
    expectRefusal(
        run("ice40_route", {"--asc", "a", "--router", "router3"}),
        "ice40_route: --router: router3 not in {router1,router2}. Call it with --help for "
        "its options.",
        2);
}

TEST_F(BadInputTest, OffersHelpInEveryProgram) {
    for (const char* program :
         {"ice40_synth", "ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"}) {
        const test::StepResult result = run(program, {"--help"});
        EXPECT_TRUE(result.end.good());
        EXPECT_TRUE(result.says(std::string("Usage: ") + program)) << program;
        EXPECT_TRUE(result.says("--metrics")) << program;
    }
}

}  // namespace
