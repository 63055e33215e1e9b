// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "tests/e2e/ice40/StepBench.h"

using namespace ice40;

namespace {

/// Tools that misbehave, in the place of the real ones.
class FakeToolTest : public test::StepBench {
protected:
    FakeToolTest() { m_dir.mark("t.v", "module t; endmodule\n"); }

    test::StepResult synthesise(const LineSink& onOutput = {}) const {
        return run("ice40_synth", {"--top", "t", "--json", "t.json", "t.v"}, onOutput);
    }

    void expectFailure(const test::StepResult& result, const std::string& text) const {
        EXPECT_EQ(result.errorText(), "ERROR: ice40_synth: " + text + "\n");
        EXPECT_EQ(result.end.exitStatus, 1);
        EXPECT_EQ(files(), std::vector<std::string>{"t.v"});
    }
};

TEST_F(FakeToolTest, ThatEndsWellWithoutOutputFailsTheStep) {
    fakeTool("yosys", "exit 0\n");
    expectFailure(synthesise(), "the cell counts in 'synth_design.stat.json' can't be used: it is "
                                "not valid JSON; it may have been cut short. Run the step again.");
}

TEST_F(FakeToolTest, ThatCutsItsNetlistFailsTheStep) {
    const std::string stat = R"({"design":{"num_cells":1,"num_cells_by_type":{"SB_LUT4":1}}})";
    fakeTool("yosys", "echo '" + stat + "' >/dev/fd/11\necho '" + stat +
                          "' >/dev/fd/12\nprintf '{\"modules\":' >/dev/fd/10\n");
    expectFailure(synthesise(), "the netlist 't.json' can't be used: it is not valid JSON; it may "
                                "have been cut short. Run the step again.");
}

TEST_F(FakeToolTest, ThatDiesOfASignalIsNamed) {
    fakeTool("yosys", "echo half >/dev/fd/10\nkill -KILL $$\n");
    expectFailure(synthesise(),
                  "yosys was killed by signal 9. Free memory, or let fewer runs work at once.");
}

TEST_F(FakeToolTest, ThatFailsWithoutAWordPointsToTheLog) {
    fakeTool("yosys", "exit 4\n");
    expectFailure(synthesise(),
                  "yosys ended with status 4. Look at the lines above for what the tool says.");
}

TEST_F(FakeToolTest, ShowsALineThatOnlyStandardErrorHas) {
    fakeTool("yosys",
             "echo 'ERROR: one.'\necho 'ERROR: one.' >&2\necho 'abc: broken' >&2\nexit 1\n");
    const test::StepResult result = synthesise();
    long shown = 0;
    for (const std::string& line : result.output)
        shown += line == "ERROR: one." ? 1 : 0;
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(result.says("abc: broken"));
}

/// The tool waits for ever; the step hears of the stop while it does.
class StopTest : public FakeToolTest, public ::testing::WithParamInterface<int> {};

TEST_P(StopTest, EndsToolAndStepAndLeavesNothing) {
    fakeTool("yosys", "echo half >/dev/fd/10\n"
                      "trap 'echo tool stopped; exit 1' TERM INT HUP\n"
                      "echo \"ready $PPID\"\n"
                      "while :; do read line </dev/null; done\n");
    const test::StepResult result = synthesise([](const std::string& line) {
        if (line.rfind("ready ", 0) == 0)
            ::kill(static_cast<pid_t>(std::stol(line.substr(6))), GetParam());
    });
    EXPECT_TRUE(result.says("tool stopped"));
    EXPECT_EQ(result.end.signal, GetParam());
    EXPECT_EQ(result.errorText(),
              "ERROR: ice40_synth: stopped by signal " + std::to_string(GetParam()) + "\n");
    EXPECT_EQ(files(), std::vector<std::string>{"t.v"});
}

INSTANTIATE_TEST_SUITE_P(Signals, StopTest, ::testing::Values(SIGTERM, SIGHUP),
                         [](const auto& row) { return "Signal" + std::to_string(row.param); });

}  // namespace
