// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cerrno>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "tests/support/FaultyDisk.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::Ids;
using test::kDone;
using test::kNotStarted;
using test::kQueued;
using test::RunFixture;
using test::thrownText;

/// A launched run of "a", "b" and "c", all done, with the queue markers of its flow.
class RunStepResetTest : public RunFixture {
protected:
    RunStepResetTest() {
        launch();
        for (const char* id : {"a", "b", "c"})
            markDone(id);
        m_dir.mark(".Test_Flow.queue.rst");
        m_dir.mark(".Test Flow.queue.rst");
        m_run->updateStatus();
        m_run->statusUpdates = 0;
    }

    bool hasQueueMarkers() const {
        EXPECT_EQ(m_dir.has(".Test_Flow.queue.rst"), m_dir.has(".Test Flow.queue.rst"));
        return m_dir.has(".Test_Flow.queue.rst");
    }
    /// The steps that are done by their markers, and by their status.
    Ids done() const {
        Ids ids;
        for (const std::string& id : m_run->stepIds()) {
            const bool isDone = m_dir.has("." + id + ".end.rst");
            EXPECT_EQ(step(id)->getStatus()->getCode(), isDone ? kDone : kNotStarted) << id;
            if (isDone)
                ids.push_back(id);
        }
        return ids;
    }
    bool reset(const std::string& id) { return m_run->resetStep(flowStep(id)); }
    /// The rules take a run that stopped short for a running one.
    bool resetUnasked(const std::string& id, bool cleanFiles = true) {
        return m_run->resetStep(flowStep(id), false, cleanFiles);
    }
};

TEST_F(RunStepResetTest, TakesBackTheStepAndThoseBehindIt) {
    EXPECT_TRUE(reset("b"));
    EXPECT_EQ(done(), (Ids{"a"}));
    EXPECT_TRUE(resetUnasked("a"));
    EXPECT_EQ(done(), (Ids{}));
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
}

TEST_F(RunStepResetTest, TakesBackDisabledStepsToo) {
    m_run->setEnabled("b", false);
    m_run->setEnabled("c", false);
    EXPECT_TRUE(reset("b"));
    EXPECT_EQ(done(), (Ids{"a"}));
}

TEST_F(RunStepResetTest, GoesFromTheLastStepToTheFirst) {
    HAXPFileSpec generated("generated");
    const HAXPFileType type("net");
    generated.addFileType(type);
    m_run->info().setFileUniversal(type, "*bad");
    m_flow->getFlowStepForFSId("b")->setGenFilter(&generated);
    EXPECT_THROW(reset("a"), std::regex_error);
    EXPECT_EQ(done(), (Ids{"a"})) << "c before b, where it stopped";
    EXPECT_TRUE(hasQueueMarkers());
}

TEST_F(RunStepResetTest, GoesOnBehindAStepThatFails) {
    test::FaultyDisk disk;
    disk.failOnce(1, EACCES);
    EXPECT_FALSE(reset("a"));
    EXPECT_TRUE(m_dir.has(".c.begin.rst"));
    EXPECT_FALSE(m_dir.has(".b.begin.rst"));
    EXPECT_FALSE(m_dir.has(".a.begin.rst"));
    EXPECT_FALSE(hasQueueMarkers());
}

TEST_F(RunStepResetTest, RemovesTheQueueMarkers) {
    EXPECT_TRUE(reset("c"));
    EXPECT_FALSE(hasQueueMarkers());
    EXPECT_TRUE(resetUnasked("c")) << "they were gone already";
}

TEST_F(RunStepResetTest, DoesntMindAQueueMarkerThatStays) {
    // Markers of c; report and message files it has none.
    test::FaultyDisk disk;
    disk.failFrom(3, EACCES);
    EXPECT_TRUE(reset("c"));
    EXPECT_TRUE(disk.hasFailed());
    EXPECT_TRUE(hasQueueMarkers());
}

TEST_F(RunStepResetTest, CleansFilesWhenTold) {
    HAXPFileSpec generated("generated");
    generated.addFileType(HAXPTypes::FILE_PLACE_UTIL);
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
    m_flow->getFlowStepForFSId("c")->setGenFilter(&generated);
    m_dir.mark("util.rpt");
    EXPECT_TRUE(m_run->resetStep(flowStep("b"), true, false));
    EXPECT_TRUE(m_dir.has("util.rpt"));
    EXPECT_TRUE(resetUnasked("b", true));
    EXPECT_FALSE(m_dir.has("util.rpt"));
}

TEST_F(RunStepResetTest, CleansFilesWhenNotToldOtherwise) {
    HAXPFileSpec generated("generated");
    generated.addFileType(HAXPTypes::FILE_PLACE_UTIL);
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
    m_flow->getFlowStepForFSId("c")->setGenFilter(&generated);
    m_dir.mark("util.rpt");
    EXPECT_TRUE(reset("b"));
    EXPECT_FALSE(m_dir.has("util.rpt"));
}

TEST_F(RunStepResetTest, DerivesTheStatusAnewAtItsEnd) {
    std::vector<bool> queued;
    m_run->onUpdateStatus = [&] { queued.push_back(hasQueueMarkers()); };
    EXPECT_TRUE(m_run->resetStep(flowStep("b"), false, false));
    EXPECT_EQ(queued, (std::vector<bool>{false}));
    m_run->onUpdateStatus = nullptr;
}

TEST_F(RunStepResetTest, LeavesModeActivationAndTablesAlone) {
    m_run->checkToActivateRun();
    m_run->info().setFile(HAXPTypes::FILE_PLACE_UTIL, "util.rpt");
    EXPECT_TRUE(reset("a"));
    EXPECT_EQ(m_run->getRunMode(), HAXPExpRunBase::kLaunched);
    EXPECT_TRUE(m_run->isActivated());
    EXPECT_EQ(m_run->info().getFile(HAXPTypes::FILE_PLACE_UTIL), "util.rpt");
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(RunStepResetTest, ResetsStepsOfARunWithoutADirectory) {
    m_run->setRunDir("", false);
    m_run->setRunMode(HAXPExpRunBase::kNotLaunched);
    const test::FaultyDisk disk;
    EXPECT_TRUE(reset("b"));
    EXPECT_EQ(disk.calls(), 0);
    EXPECT_EQ(step("b")->getStatus()->getCode(), kNotStarted);
}

// Refusals -------------------------------------------------------------------

TEST_F(RunStepResetTest, SaysWhyTheRulesRefuse) {
    EXPECT_EQ(thrownText<HEXUserException>([this] { reset("extra"); }),
              "Step 'extra' can't be reset in run 'impl_1': Step not defined in run");
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_EQ(thrownText<HEXUserException>([this] { reset("b"); }),
              "Step 'b' can't be reset in run 'impl_1': Can't reset step from run while status is "
              "unknown");
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    m_dir.unmark(".c.end.rst");
    EXPECT_EQ(thrownText<HEXUserException>([this] { reset("b"); }),
              "Step 'b' can't be reset in run 'impl_1': Can't reset step from a run that is queued "
              "or running");
    EXPECT_TRUE(hasQueueMarkers());
    EXPECT_TRUE(m_dir.has(".b.end.rst"));
}

TEST_F(RunStepResetTest, AsksNobodyWhenToldSo) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_TRUE(m_run->resetStep(flowStep("b"), false, true));
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    m_run->updateStatus();
    EXPECT_EQ(done(), (Ids{"a"}));
}

TEST_F(RunStepResetTest, FailsForAStepThatTheRunLacks) {
    EXPECT_FALSE(m_run->resetStep(flowStep("extra"), false, true));
    EXPECT_EQ(done(), (Ids{"a", "b", "c"}));
    EXPECT_FALSE(hasQueueMarkers());
    EXPECT_EQ(m_run->statusUpdates, 1);
}

TEST_F(RunStepResetTest, FailsForNoStep) {
    EXPECT_FALSE(m_run->resetStep(nullptr, false, true));
    EXPECT_EQ(done(), (Ids{"a", "b", "c"}));
    EXPECT_FALSE(hasQueueMarkers());
    EXPECT_EQ(thrownText<HEXAlgException>([this] { m_run->resetStep(nullptr); }), "NULL Step");
}

// What comes next ------------------------------------------------------------

/// A run of "a", "b", "c" and "d", none of them started.
class NextStepsTest : public RunFixture {
protected:
    NextStepsTest() : RunFixture(fourSteps()) {}

    static std::vector<test::StepTraits> fourSteps() {
        std::vector<test::StepTraits> steps;
        for (const char* id : {"a", "b", "c", "d"})
            steps.push_back(test::StepTraits::of(id));
        steps[1].isVirtual = true;
        return steps;
    }
    Ids next() const {
        Ids names;
        const int count = m_run->getNextSteps(names);
        EXPECT_EQ(count, static_cast<int>(names.size()));
        return names;
    }
};

TEST_F(NextStepsTest, AreAllUsableOnesAtFirst) {
    EXPECT_EQ(next(), (Ids{"at_a", "at_c", "at_d"}));
    m_run->setEnabled("c", false);
    EXPECT_EQ(next(), (Ids{"at_a", "at_d"}));
}

TEST_F(NextStepsTest, AreThoseBehindTheLastOneThatIsDone) {
    setCodes({kDone});
    EXPECT_EQ(next(), (Ids{"at_c", "at_d"}));
    setCodes({kDone, kNotStarted, kDone});
    EXPECT_EQ(next(), (Ids{"at_d"}));
}

TEST_F(NextStepsTest, TakeInFailedOnesAndThoseBehindTheLastChosen) {
    setCodes({kDone, kNotStarted, test::kFailed, kQueued});
    m_run->setToStepId("at_a");
    EXPECT_EQ(next(), (Ids{"at_c", "at_d"}));
}

TEST_F(NextStepsTest, AreNoneWhenTheLastOneIsDone) {
    setCodes({kDone, kNotStarted, kDone, kDone});
    EXPECT_EQ(next(), (Ids{}));
}

TEST_F(NextStepsTest, ComeBehindNamesThatWereThere) {
    setCodes({kDone, kNotStarted, kDone});
    Ids names{"kept"};
    EXPECT_EQ(m_run->getNextSteps(names), 2);
    EXPECT_EQ(names, (Ids{"kept", "at_d"}));
    m_run->setCode("d", kDone);
    EXPECT_EQ(m_run->getNextSteps(names), 2);
}

}  // namespace
