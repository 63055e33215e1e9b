// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/HAXPExpRun.h"

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/launchLease.h"
#include "workbench/runLock.h"

namespace {

/// What stands in a run directory.
enum LockState { kNoLock, kLockFree, kLockHeld };

/// An implementation in its run directory, launched to its last step. No message is
/// expected.
class RunStatusTest : public ::testing::Test {
protected:
    RunStatusTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "bitstream");
    }
    void TearDown() override { EXPECT_EQ(m_messages.ids(), std::vector<std::string>{}); }

    void begin(const std::string& program) const {
        m_dir.mark("." + program + ".begin.rst", test::TestBench::handleText());
    }
    void end(const std::string& program) const {
        begin(program);
        m_dir.mark("." + program + ".end.rst");
    }
    void fail(const std::string& program) const {
        begin(program);
        m_dir.mark("." + program + ".error.rst");
    }
    std::string queueMarker() const {
        return "." + test::TestBench::implementation().getQueStr() + ".queue.rst";
    }
    /// The queue marker of a run that waits for a launcher that lives, or doesn't.
    void wait(bool launcherLives) const {
        workbench::LaunchLease lease = workbench::makeLease();
        lease.isWaiting = true;
        if (!launcherLives)
            lease.launcher.setStartTicks(lease.launcher.getStartTicks() + 1);
        workbench::writeLease(m_dir.path(queueMarker()), lease);
    }
    void queue() const { m_dir.mark(queueMarker()); }
    void lockFree() const { m_dir.mark(workbench::kRunLockName); }

    /// The status as "Running place_design".
    std::string poll() const {
        m_run->updateStatus();
        const HDGUIStatus& status = *m_run->getStatus();
        std::string text = status.getText();
        if (!status.getDetailText().empty())
            text += " " + status.getDetailText();
        return text + " (" + std::to_string(status.getCode()) + ")";
    }
    HAXPExpRunStep* step(int index) const {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_run->createRunStepIter());
        HAXPExpRunStep* found = nullptr;
        while (steps->hasNext() && index-- >= 0)
            found = steps->next();
        return found;
    }

    test::MessageRecorder m_messages;
    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(RunStatusTest, IsNotStartedInAnEmptyDirectory) {
    EXPECT_EQ(poll(), "Not started (0)");
}

TEST_F(RunStatusTest, IsNotStartedWithoutALaunchWhateverTheMarkers) {
    end("ice40_init");
    m_run->setRunMode(HAXPExpRun::kNotLaunched);
    EXPECT_EQ(poll(), "Not started (0)");
}

TEST_F(RunStatusTest, IsQueuedUntilItsScriptBegins) {
    queue();
    EXPECT_EQ(poll(), "Queued (1)");
    lockFree();
    EXPECT_EQ(poll(), "Queued (1)");
}

TEST_F(RunStatusTest, IsQueuedAsLongAsTheLauncherThatLetsItWaitLives) {
    wait(true);
    m_dir.touch(queueMarker(), 1000);
    EXPECT_EQ(poll(), "Queued (1)");
    wait(false);
    EXPECT_EQ(poll(), "Not started (0)");
}

TEST_F(RunStatusTest, IsQueuedWhileItWaitsWhateverTheMarkersOfTheLaunchBefore) {
    fail("ice40_init");
    lockFree();
    wait(true);
    EXPECT_EQ(poll(), "Queued (1)");
    wait(false);
    EXPECT_EQ(poll(), "Failed init_design (5)");
}

TEST_F(RunStatusTest, IsQueuedWhileItWaitsForItsFirstLaunchAndFollowsTheMarkersThen) {
    m_run->setRunMode(HAXPExpRun::kNotLaunched);
    wait(true);
    EXPECT_EQ(poll(), "Queued (1)");
    m_dir.unmark(queueMarker());
    EXPECT_EQ(poll(), "Not started (0)");
    const test::HeldRunLock lock(m_dir.path());
    begin("ice40_init");
    EXPECT_EQ(poll(), "Running init_design (2)");
}

TEST_F(RunStatusTest, IsQueuedAgainWhenItGoesOnFromALaterStep) {
    end("ice40_init");
    lockFree();
    queue();
    EXPECT_EQ(poll(), "Queued (1)");
}

TEST_F(RunStatusTest, IsStoppedWhenNobodyTookUpTheQueueMarker) {
    queue();
    lockFree();
    m_dir.touch(queueMarker(), static_cast<long>(std::time(nullptr)) - 60);
    EXPECT_EQ(poll(), "Stopped before init_design (5)");
}

TEST_F(RunStatusTest, IsStoppedAtOnceWhenItsLauncherWentBeforeItsScriptBegan) {
    workbench::LaunchLease lease = workbench::makeLease();
    workbench::writeLease(m_dir.path(queueMarker()), lease);
    lockFree();
    EXPECT_EQ(poll(), "Queued (1)");
    lease.launcher.setStartTicks(lease.launcher.getStartTicks() + 1);
    workbench::writeLease(m_dir.path(queueMarker()), lease);
    EXPECT_EQ(poll(), "Stopped before init_design (5)");
}

TEST_F(RunStatusTest, IsQueuedWhenNobodyHereCanTellOfItsLauncher) {
    workbench::LaunchLease lease = workbench::makeLease();
    lease.launcher.setHostname("far.away");
    workbench::writeLease(m_dir.path(queueMarker()), lease);
    lockFree();
    EXPECT_EQ(poll(), "Queued (1)");
}

TEST_F(RunStatusTest, RunsFromTheMomentItsScriptHoldsTheLock) {
    const test::HeldRunLock lock(m_dir.path());
    EXPECT_EQ(poll(), "Running init_design (2)");
}

TEST_F(RunStatusTest, RunsInTheStepThatBegan) {
    const test::HeldRunLock lock(m_dir.path());
    end("ice40_init");
    begin("ice40_place");
    EXPECT_EQ(poll(), "Running place_design (2)");
}

TEST_F(RunStatusTest, RunsBetweenTwoSteps) {
    const test::HeldRunLock lock(m_dir.path());
    end("ice40_init");
    EXPECT_EQ(poll(), "Running place_design (2)");
}

TEST_F(RunStatusTest, IsLostWhenAStepBeganAndNobodyHoldsTheLock) {
    end("ice40_init");
    begin("ice40_place");
    lockFree();
    EXPECT_EQ(poll(), "Lost in place_design (5)");
}

TEST_F(RunStatusTest, IsStoppedWhenNobodyGoesOnBehindAStep) {
    end("ice40_init");
    lockFree();
    EXPECT_EQ(poll(), "Stopped before place_design (5)");
}

TEST_F(RunStatusTest, IsStoppedInAStepWhenItWasAskedTo) {
    end("ice40_init");
    begin("ice40_place");
    lockFree();
    m_dir.mark(".stop.rst");
    EXPECT_EQ(poll(), "Stopped in place_design (5)");
}

TEST_F(RunStatusTest, IsStoppedInAStepThatFailedBehindTheRequest) {
    m_dir.mark(".stop.rst");
    m_dir.touch(".stop.rst", 1000);
    fail("ice40_init");
    EXPECT_EQ(poll(), "Stopped in init_design (5)");
}

TEST_F(RunStatusTest, StaysFailedWhenTheRequestCameLater) {
    fail("ice40_init");
    m_dir.touch(".ice40_init.error.rst", 1000);
    m_dir.mark(".stop.rst");
    EXPECT_EQ(poll(), "Failed init_design (5)");
}

TEST_F(RunStatusTest, IsDoneThoughItWasAskedToStop) {
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"})
        end(program);
    m_dir.mark(".stop.rst");
    EXPECT_EQ(poll(), "Done (3)");
}

TEST_F(RunStatusTest, RunsWhenThereIsNoLockToAskAndAStepBegan) {
    begin("ice40_init");
    EXPECT_EQ(poll(), "Running init_design (2)");
}

TEST_F(RunStatusTest, IsFailedWhenAStepFailed) {
    end("ice40_init");
    fail("ice40_place");
    lockFree();
    EXPECT_EQ(poll(), "Failed place_design (5)");
}

TEST_F(RunStatusTest, IsDoneWhenEveryStepIs) {
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"})
        end(program);
    EXPECT_EQ(poll(), "Done (3)");
}

TEST_F(RunStatusTest, IsDoneAtTheLastStepOfItsLaunch) {
    m_run->getInfo().setLaunch(1000, "place");
    end("ice40_init");
    EXPECT_EQ(poll(), "Running place_design (2)");
    end("ice40_place");
    EXPECT_EQ(poll(), "Done (3)");
}

TEST_F(RunStatusTest, KeepsToTheLaunchWhenTheRunIsToGoFurtherNow) {
    m_run->getInfo().setLaunch(1000, "place");
    m_run->setToStepId("bitstream");
    end("ice40_init");
    end("ice40_place");
    EXPECT_EQ(poll(), "Done (3)");
    EXPECT_FALSE(m_run->isUpToDate());
}

TEST_F(RunStatusTest, FollowsTheMarkersOfAWholeRun) {
    queue();
    EXPECT_EQ(poll(), "Queued (1)");
    const test::HeldRunLock lock(m_dir.path());
    m_dir.unmark(queueMarker());
    EXPECT_EQ(poll(), "Running init_design (2)");
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route"})
        end(program);
    begin("ice40_bitstream");
    EXPECT_EQ(poll(), "Running write_bitstream (2)");
    EXPECT_EQ(m_run->getLatestStep()->getFlowStep()->getFlowStepId(), "write_bitstream");
    end("ice40_bitstream");
    EXPECT_EQ(poll(), "Done (3)");
}

TEST_F(RunStatusTest, SeesThatTheMarkersOfADoneRunWent) {
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"})
        end(program);
    EXPECT_EQ(poll(), "Done (3)");
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"}) {
        m_dir.unmark("." + std::string(program) + ".begin.rst");
        m_dir.unmark("." + std::string(program) + ".end.rst");
    }
    EXPECT_EQ(poll(), "Not started (0)");
}

TEST_F(RunStatusTest, IsNotStartedWhenItsDirectoryIsGone) {
    m_run->setRunDir(m_dir.path("gone"), false);
    EXPECT_EQ(poll(), "Not started (0)");
}

TEST_F(RunStatusTest, TakesBackTheStepsFromOneOn) {
    for (const char* program : {"ice40_init", "ice40_place", "ice40_route", "ice40_bitstream"})
        end(program);
    poll();
    EXPECT_TRUE(m_run->resetFrom(step(1)));
    EXPECT_TRUE(m_dir.has(".ice40_init.end.rst"));
    EXPECT_FALSE(m_dir.has(".ice40_place.end.rst"));
    EXPECT_FALSE(m_dir.has(".ice40_bitstream.begin.rst"));
    EXPECT_EQ(step(0)->getStatus()->getCode(), HDGUIStatus::statusDone);
    EXPECT_EQ(step(1)->getStatus()->getCode(), HDGUIStatus::statusNotStarted);
}

TEST_F(RunStatusTest, ForgetsAddedBlockDesignsOfTheStepsThatItTakesBack) {
    HADAFileSet sources("sources", HDDATypes::FST_DESIGN_SRCS);
    HADAFileSetChangeSummary added(&sources);
    added.addFiles(HADAFileSetChangeSummary::FSCS_ADDED,
                   sources.addSrcFile(m_dir.path("soc.bd"), HDDATypes::SFT_BLOCK_DESIGN));
    for (int index : {0, 1, 2})
        ASSERT_TRUE(step(index)->hasOnlyBDAdded(&added));
    EXPECT_TRUE(m_run->resetFrom(step(1)));
    EXPECT_FALSE(step(1)->isStale());
    EXPECT_FALSE(step(1)->updateStaleReasonsPostGraphUpdate(nullptr));
    EXPECT_FALSE(step(2)->updateStaleReasonsPostGraphUpdate(nullptr));
    EXPECT_TRUE(step(0)->updateStaleReasonsPostGraphUpdate(nullptr));
}

TEST_F(RunStatusTest, TakesBackMarkersUnderBothSuffixes) {
    fail("ice40_init");
    m_dir.mark(".ice40_init.error.stp");
    EXPECT_TRUE(m_run->resetFrom(step(0)));
    EXPECT_FALSE(m_dir.has(".ice40_init.error.rst"));
    EXPECT_FALSE(m_dir.has(".ice40_init.error.stp"));
}

TEST(RunTest, IsDirtyWhenAnOptionChangesUntilItIsCleared) {
    const test::TestBench bench;
    const auto run = bench.makeRun(test::TestBench::synthesis());
    EXPECT_FALSE(run->isDirty());
    HATOptGroup* options = run->getStrategy()->getOptions("synth_design");
    ASSERT_NE(options, nullptr);
    options->setBoolVal(options->getAttrSpecByName("abc9"), true, true);
    EXPECT_TRUE(run->isDirty());
    run->clearDirty();
    EXPECT_FALSE(run->isDirty());
}

TEST(RunTest, HasTheStepsOfItsFlow) {
    const test::TestBench bench;
    const auto run = bench.makeRun(test::TestBench::implementation());
    std::vector<std::string> ids;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run->createRunStepIter());
    while (steps->hasNext())
        ids.push_back(steps->next()->getFlowStep()->getFlowStepId());
    EXPECT_EQ(ids, (std::vector<std::string>{"init_design", "place_design", "route_design",
                                             "write_bitstream"}));
}

}  // namespace
