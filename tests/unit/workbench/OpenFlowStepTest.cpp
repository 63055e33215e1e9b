// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenFlowStep.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/entryRules.h"

namespace {

using Words = std::vector<std::string>;

/// What stands on the command lines of the steps besides their options.
class StepCommandTest : public ::testing::Test {
protected:
    /// The text before the options, "|" and the text behind them.
    std::string command(const HAXPFlow& flow, const std::string& stepId,
                        const DesignInputs& inputs) {
        const auto run = m_bench.makeRun(flow);
        run->getInfo().setInputs(inputs);
        std::string pre;
        std::string post;
        flow.getFlowStepForFSId(stepId)->writePrePostOptions(
            pre, post, run->getStrategy()->getOptions(stepId), run.get());
        return pre + "|" + post;
    }
    std::string synthesis(const DesignInputs& inputs) {
        return command(test::TestBench::synthesis(), "synth_design", inputs);
    }
    std::string step(const std::string& stepId, const DesignInputs& inputs) {
        return command(test::TestBench::implementation(), stepId, inputs);
    }

    /// The words that sh makes of `text`.
    Words wordsOf(const std::string& text) {
        HUTFork shell;
        for (const std::string& word :
             {std::string("/bin/sh"), std::string("-c"), "printf '%s\\n' " + text})
            shell.addArg(word);
        shell.setWorkingDir(m_bench.folder().path());
        shell.setOutputFile(m_bench.path("words"), false);
        EXPECT_EQ(shell.launch(true, false, false, false), 0);
        Words words{""};
        for (const char c : m_bench.folder().read("words")) {
            if (c == '\n')
                words.emplace_back();
            else
                words.back() += c;
        }
        words.pop_back();
        return words;
    }

    DesignInputs inputs() const {
        DesignInputs inputs;
        inputs.sources = {"/d/a.v", "/d/b.v"};
        inputs.top = "top";
        inputs.constraints = "/d/pins.pcf";
        return inputs;
    }

    test::TestBench m_bench;
};

TEST_F(StepCommandTest, SynthesisHasTheDesign) {
    EXPECT_EQ(synthesis(inputs()), "--top top --device hx8k --json top.json|/d/a.v /d/b.v");
    DesignInputs more = inputs();
    more.defines = {"FAST", "N=3"};
    more.includeDirs = {"/d/inc"};
    EXPECT_EQ(synthesis(more), "--top top --device hx8k --json top.json --define FAST --define N=3 "
                               "--include /d/inc|/d/a.v /d/b.v");
}

TEST_F(StepCommandTest, ImplementationHasNetlistConstraintsAndDevice) {
    DesignInputs some = inputs();
    some.netlist = "/p/runs/synth_1/top.json";
    const std::string design = "--netlist /p/runs/synth_1/top.json --top top --pcf /d/pins.pcf "
                               "--device hx8k --package ct256";
    EXPECT_EQ(step("init_design", some), design + "|");
    EXPECT_EQ(step("place_design", some), design + " --freq 12|");
    EXPECT_EQ(step("route_design", some), "--asc top.asc|");
    EXPECT_EQ(step("write_bitstream", some), "--asc top.asc --bin top.bin|");
}

TEST_F(StepCommandTest, ConstraintsMayBeLeftOut) {
    DesignInputs some = inputs();
    some.netlist = "/p/top.json";
    some.constraints.clear();
    EXPECT_EQ(step("init_design", some),
              "--netlist /p/top.json --top top --device hx8k --package ct256|");
}

TEST_F(StepCommandTest, EveryPathThatMayEnterIsOneWordOfAShell) {
    for (const std::string path :
         {"/d/plain.v", "/d/with blank.v", "/d/a;b.v", "/d/a&b.v", "/d/a|b.v", "/d/(a).v",
          "/d/<a>.v", "/d/#a.v", "/d/{a,b}.v", "/d/~a.v", "/d/a!b.v", "/d/a^b.v", "/d/a%b%.v",
          "/d/\xC3\xA4.v", "/d/ # x.v"}) {
        ASSERT_NO_THROW(workbench::requireScriptPath(path));
        DesignInputs some = inputs();
        some.sources = {path};
        const std::string text = synthesis(some);
        EXPECT_EQ(wordsOf(text.substr(text.find('|') + 1)), Words{path});
    }
}

class StepRecordTest : public ::testing::Test {
protected:
    /// Polls the first step of an implementation; its handle then tells what was read.
    void poll() {
        test::TestBench::implementation()
            .getFlowStepForFSId("init_design")
            ->updateStatus(&m_status, &m_handle, m_bench.folder().path());
    }

    test::TestBench m_bench;
    HDGUIStatus m_status;
    HUTProcessHandle m_handle;
};

TEST_F(StepRecordTest, IsReadWhileTheStepRuns) {
    m_bench.folder().mark(".ice40_init.begin.rst", test::TestBench::handleText());
    poll();
    EXPECT_EQ(m_status.getCode(), HDGUIStatus::statusRunning);
    EXPECT_EQ(m_handle.parseAttemptsCount(), 1);
    m_bench.folder().mark(".ice40_init.end.rst", "");
    poll();
    EXPECT_EQ(m_status.getCode(), HDGUIStatus::statusDone);
    EXPECT_EQ(m_handle.parseAttemptsCount(), 1);
}

TEST_F(StepRecordTest, IsNotReadOfAStepThatHasEnded) {
    m_bench.folder().mark(".ice40_init.begin.rst", test::TestBench::handleText());
    for (const auto& [kind, code] : {std::pair("error", HDGUIStatus::statusError),
                                     std::pair("end", HDGUIStatus::statusDone)}) {
        m_bench.folder().mark(std::string(".ice40_init.") + kind + ".rst", "");
        poll();
        EXPECT_EQ(m_status.getCode(), code);
        EXPECT_EQ(m_handle.parseAttemptsCount(), 0);
        EXPECT_NE(m_handle.getStartStamp(), 0);
        EXPECT_NE(m_handle.getEndStamp(), 0);
    }
}

}  // namespace
