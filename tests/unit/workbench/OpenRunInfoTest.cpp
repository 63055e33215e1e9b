// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenRunInfo.h"

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"

namespace {

/// A synthesis and an implementation that were launched just now and are done. Of their
/// files only the times are known.
class StaleInputTest : public ::testing::Test {
protected:
    StaleInputTest()
        : m_now(static_cast<long>(std::time(nullptr))),
          m_synthesis(m_bench.makeRun(test::TestBench::synthesis())),
          m_implementation(m_bench.makeRun(test::TestBench::implementation())) {
        for (HAXPExpRun* run : {m_synthesis.get(), m_implementation.get()}) {
            run->setRunDir(m_bench.path("runs"), false);
            run->setRunMode(HAXPExpRun::kLaunched);
            run->getInfo().setLaunch(m_now, "");
            run->getInfo().setLaunchedInputs(run->getInfo().recordInputs());
            const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run->createRunStepIter());
            while (steps->hasNext())
                run->setRunStatus(steps->next(), HDGUIStatus::statusDone);
        }
    }

    using Texts = std::vector<std::string>;
    using Summaries = std::vector<HADAStaleReason::StaleSummary>;

    /// The kinds of reasons that the run has.
    static Summaries reasons(HAXPExpRun& run) {
        Summaries found;
        for (const HADAStaleReason& reason : all_(run))
            found.push_back(reason.getSummary());
        return found;
    }
    /// What the run's reasons tell the user.
    static std::string text(HAXPExpRun& run) {
        std::string told;
        for (const HADAStaleReason& reason : all_(run))
            told += reason.getText();
        return told;
    }

    /// What isn't about files, as "synth_design top: a -> b".
    static std::vector<std::string> settings(HAXPExpRun& run) {
        run.getInfo().updStaleReasons();
        std::vector<std::string> texts;
        for (const workbench::SettingChange& change : run.getInfo().getSettingChanges())
            texts.push_back(change.stepId + " " + change.name + ": " + change.before + " -> " +
                            change.after);
        return texts;
    }

    void change(HAXPExpRun& run, const DesignInputs& inputs) const {
        run.getInfo().setInputs(inputs);
    }

    test::TestBench m_bench;
    long m_now;
    std::unique_ptr<HAXPExpRun> m_synthesis;
    std::unique_ptr<HAXPExpRun> m_implementation;

private:
    static std::vector<HADAStaleReason> all_(HAXPExpRun& run) {
        run.getInfo().updStaleReasons();
        HADAStaleReasons reasons;
        run.getInfo().getStaleReasons(reasons);
        std::vector<HADAStaleReason> found;
        const std::unique_ptr<HSTFwdIter<const HADAStaleReason*>> iter(reasons.createReasonIter());
        while (iter->hasNext())
            found.push_back(*iter->next());
        return found;
    }
};

TEST_F(StaleInputTest, HasNoReasonRightAfterALaunch) {
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    EXPECT_EQ(reasons(*m_implementation), Summaries{});
}

TEST_F(StaleInputTest, HasNoReasonWithoutALaunch) {
    m_bench.folder().touch("blinky.v", m_now + 10);
    m_synthesis->getInfo().setLaunch(0, "");
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
}

TEST_F(StaleInputTest, ANewerSourceMakesTheSynthesisStaleAndIsNamed) {
    m_bench.folder().touch("blinky.v", m_now + 10);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{HADAStaleReason::SS_DESIGN_SRCS_CHANGED});
    EXPECT_NE(text(*m_synthesis).find(m_bench.path("blinky.v")), std::string::npos);
    EXPECT_EQ(reasons(*m_implementation), Summaries{});
}

TEST_F(StaleInputTest, NewerConstraintsMakeTheImplementationStale) {
    m_bench.folder().touch("blinky.pcf", m_now + 10);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    const auto kind = HADAStaleReason::SS_CONSTRS_CHANGED;
    EXPECT_EQ(reasons(*m_implementation), (Summaries{kind, kind}));
}

TEST_F(StaleInputTest, ANewerFileThatASourceNamesMakesTheSynthesisStale) {
    m_bench.folder().mark("rom.hex");
    m_bench.folder().mark("blinky.v", "$readmemh(\"rom.hex\", rom);");
    m_bench.folder().touch("blinky.v", m_now - 100);
    m_bench.folder().touch("rom.hex", m_now - 100);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    m_bench.folder().touch("rom.hex", m_now + 10);
    EXPECT_NE(text(*m_synthesis).find(m_bench.path("rom.hex")), std::string::npos);
}

TEST_F(StaleInputTest, AnAddedSourceMakesTheSynthesisStaleHoweverOldItIs) {
    m_bench.folder().mark("old.v");
    m_bench.folder().touch("old.v", m_now - 100000);
    DesignInputs inputs = m_bench.inputs();
    inputs.sources.push_back(m_bench.path("old.v"));
    change(*m_synthesis, inputs);
    EXPECT_NE(text(*m_synthesis).find("old.v"), std::string::npos);
}

TEST_F(StaleInputTest, AnotherDefineMakesOnlyTheSynthesisStale) {
    DesignInputs inputs = m_bench.inputs();
    inputs.defines = {"N=3"};
    change(*m_synthesis, inputs);
    change(*m_implementation, inputs);
    EXPECT_EQ(settings(*m_synthesis), Texts{"synth_design defines: none -> N=3"});
    EXPECT_EQ(reasons(*m_synthesis), Summaries{HADAStaleReason::SS_SW_PARAM_CHANGED});
    EXPECT_EQ(reasons(*m_implementation), Summaries{});
}

TEST_F(StaleInputTest, AnotherFrequencyMakesOnlyTheImplementationStale) {
    DesignInputs inputs = m_bench.inputs();
    inputs.frequencyMhz = "48";
    change(*m_synthesis, inputs);
    change(*m_implementation, inputs);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    EXPECT_EQ(settings(*m_implementation), Texts{"place_design frequency: 12 -> 48"});
}

TEST_F(StaleInputTest, AnotherLaunchOfTheSynthesisMakesTheImplementationStale) {
    DesignInputs inputs = m_bench.inputs();
    inputs.netlistLaunch = m_now;
    change(*m_implementation, inputs);
    EXPECT_EQ(reasons(*m_implementation).size(), 1U);
}

TEST_F(StaleInputTest, AreFreshAgainWhenTheChangeIsTakenBack) {
    DesignInputs inputs = m_bench.inputs();
    inputs.frequencyMhz = "48";
    change(*m_implementation, inputs);
    EXPECT_EQ(reasons(*m_implementation).size(), 1U);
    change(*m_implementation, m_bench.inputs());
    EXPECT_EQ(reasons(*m_implementation), Summaries{});
}

TEST_F(StaleInputTest, ALaunchWhoseInputsAreNotKnownIsHeldAgainstTimesOnly) {
    m_synthesis->getInfo().setLaunchedInputs({});
    DesignInputs inputs = m_bench.inputs();
    inputs.defines = {"N=3"};
    change(*m_synthesis, inputs);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
}

TEST_F(StaleInputTest, AnotherPackageMakesCheckAndPlacementStale) {
    DesignInputs inputs = m_bench.inputs();
    inputs.package = "cb132";
    change(*m_implementation, inputs);
    EXPECT_EQ(settings(*m_implementation),
              (Texts{"init_design package: ct256 -> cb132", "place_design package: ct256 -> "
                                                            "cb132"}));
}

TEST_F(StaleInputTest, AStepThatHasNotBegunHasNoReason) {
    m_synthesis->setRunStatus(m_synthesis->getFirstStep(), HDGUIStatus::statusNotStarted);
    m_bench.folder().touch("blinky.v", m_now + 10);
    DesignInputs inputs = m_bench.inputs();
    inputs.defines = {"N=3"};
    change(*m_synthesis, inputs);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    EXPECT_EQ(settings(*m_synthesis), Texts{});
}

TEST_F(StaleInputTest, TheContentDecidesOnceItIsRecorded) {
    m_synthesis->getInfo().recordLaunch();
    m_implementation->getInfo().recordLaunch();
    m_bench.folder().touch("blinky.v", m_now + 10);
    m_bench.folder().touch("blinky.pcf", m_now + 10);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{});
    EXPECT_EQ(reasons(*m_implementation), Summaries{});
    m_bench.folder().mark("blinky.v", "// another comment\n");
    m_bench.folder().touch("blinky.v", m_now - 1000);
    EXPECT_EQ(reasons(*m_synthesis), Summaries{HADAStaleReason::SS_DESIGN_SRCS_CHANGED});
}

TEST_F(StaleInputTest, AVanishedFileIsToldAsMissing) {
    m_synthesis->getInfo().recordLaunch();
    m_bench.folder().unmark("blinky.v");
    EXPECT_NE(text(*m_synthesis).find(m_bench.path("blinky.v") + ": missing"), std::string::npos);
}

TEST(RunFilesTest, AreNamedAfterTheTopModule) {
    const test::TestBench bench;
    const auto synthesis = bench.makeRun(test::TestBench::synthesis());
    EXPECT_EQ(synthesis->getInfo().getFile(HAXPTypes::FILE_KDS_DCP), "blinky.json");
    const auto implementation = bench.makeRun(test::TestBench::implementation());
    EXPECT_EQ(implementation->getInfo().getFile(HAXPTypes::FILE_ROUTE_DCP), "blinky.asc");
    EXPECT_EQ(implementation->getInfo().getFile(HAXPTypes::FILE_BG_BIN), "blinky.bin");
    EXPECT_EQ(implementation->getInfo().getFile(HAXPTypes::FILE_RUN_CONSTRS),
              bench.path("blinky.pcf"));
}

}  // namespace
