// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::drained;
using test::Ids;
using test::RunFixture;
using test::thrownText;

/// A run of "a", "b" and "c".
class RemoveStepTest : public RunFixture {
protected:
    Ids entryIds() const {
        Ids ids;
        for (const HAXPFlowStepOptions* entry :
             drained(m_run->getStrategy()->createFlowStepOptionsIter()))
            ids.push_back(entry->getOptGrpId());
        return ids;
    }
    void expectSteps(const Ids& ids) const {
        EXPECT_EQ(m_run->stepIds(), ids);
        EXPECT_EQ(entryIds(), ids);
        EXPECT_EQ(drained(m_run->getStrategy()->createOptionsIter()).size(), ids.size());
    }
    std::string removing(HAXPExpRunStep* step) {
        return thrownText<HEXAlgException>([&] { m_run->removeStep(step, true); });
    }
};

TEST_F(RemoveStepTest, TakesTheStepAndItsEntry) {
    m_run->removeStep(step("b"), false);
    expectSteps({"a", "c"});
    m_run->removeStep(flowStep("a"), false);
    expectSteps({"c"});
    m_run->removeStep(step("c"), false);
    expectSteps({});
}

TEST_F(RemoveStepTest, LeavesTheValuesOfTheOthers) {
    test::setInt(step("c")->getOptions(), "CountInt", 7);
    m_run->removeStep(step("b"), false);
    EXPECT_EQ(test::intOf(step("c")->getOptions(), "CountInt"), 7);
    EXPECT_EQ(step("c")->getOptions(), m_run->getStrategy()->getOptions("c"));
}

TEST_F(RemoveStepTest, TouchesNoFile) {
    launch();
    for (const char* id : {"a", "b", "c"})
        markDone(id);
    m_run->removeStep(step("b"), false);
    EXPECT_TRUE(m_dir.has(".b.begin.rst"));
    EXPECT_TRUE(m_dir.has(".b.end.rst"));
}

TEST_F(RemoveStepTest, MakesTheRunDirtyBehindAFreshStatus) {
    std::vector<int> counts;
    std::vector<int> dirtyBefore;
    m_run->onUpdateStatus = [&] {
        counts.push_back(m_run->effectiveStepCount(false));
        dirtyBefore.push_back(m_run->dirtyCalls);
    };
    m_run->removeStep(step("b"), false);
    EXPECT_EQ(counts, (std::vector<int>{3, 2})) << "once for the filter, once behind";
    EXPECT_EQ(dirtyBefore, (std::vector<int>{0, 0}));
    EXPECT_EQ(m_run->dirtyCalls, 1);
    m_run->onUpdateStatus = nullptr;
}

TEST_F(RemoveStepTest, ForgetsTheMessagesOfTheStep) {
    m_run->addMsgHandle_(&step("a")->getMsgSrcHandle());
    m_run->addMsgHandle_(&step("b")->getMsgSrcHandle());
    m_run->removeStep(step("b"), false);
    EXPECT_EQ(drained(m_run->createMsgMgrHandlesIter()),
              (std::vector<ComMsgMgrSrcHandle*>{&step("a")->getMsgSrcHandle()}));
}

TEST_F(RemoveStepTest, LeavesTheLatestStepToTheConcreteRun) {
    HAXPExpRunStep* const latest = step("b");
    m_run->setLatestStep(latest);
    m_run->removeStep(latest, false);
    EXPECT_EQ(m_run->getLatestStep(), latest);
    m_run->setLatestStep(nullptr);
}

// Refusals -------------------------------------------------------------------

TEST_F(RemoveStepTest, DoesNothingWhenTheRulesRefuse) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    m_run->removeStep(step("b"), false);
    m_run->removeStep(flowStep("b"), false);
    launch();
    m_dir.mark(".a.begin.rst");
    m_run->removeStep(step("b"), false);
    expectSteps({"a", "b", "c"});
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(RemoveStepTest, AsksNobodyWhenToldSo) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    m_run->removeStep(step("b"), true);
    m_run->removeStep(flowStep("c"), true);
    expectSteps({"a"});
}

TEST_F(RemoveStepTest, IgnoresAFlowStepThatTheRunLacks) {
    m_run->removeStep(flowStep("extra"), false);
    m_run->removeStep(static_cast<const HAXPFlowStep*>(nullptr), true);
    expectSteps({"a", "b", "c"});
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(RemoveStepTest, RefusesAStepOfAnotherRun) {
    const test::TestRun other("impl_2", m_flow.get());
    EXPECT_EQ(removing(other.step("b")), "step not found");
    EXPECT_EQ(removing(nullptr), "step not found");
    HAXPExpRunStep* const removed = step("b");
    m_run->removeStep(removed, true);
    EXPECT_EQ(removing(removed), "step not found") << "it is only compared";
    expectSteps({"a", "c"});
    EXPECT_EQ(other.stepIds(), (Ids{"a", "b", "c"}));
}

TEST_F(RemoveStepTest, NoticesAStrategyThatDoesntFit) {
    m_run->getStrategy()->addStep(flowStep("extra"), false);
    EXPECT_EQ(removing(step("b")), "RunStep/Option mismatch");
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "c"}));
    EXPECT_EQ(entryIds(), (Ids{"a", "c", "extra"}));
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(RemoveStepTest, KnowsWhereTheOthersStandNow) {
    step("c")->updateStaleReasonsForSwParamChange();
    ASSERT_EQ(m_run->getFirstStaleOrOwnStep("c"), step("c"));
    m_run->removeStep(step("a"), false);
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("c"), step("c"));
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("b"), step("b"));
    EXPECT_EQ(m_run->getFirstStaleOrOwnStep("a"), step("c")) << "the run lacks it";
}

TEST_F(RemoveStepTest, CountsDisabledStepsToo) {
    m_run->setEnabled("a", false);
    m_run->setEnabled("b", false);
    m_run->removeStep(step("b"), true);
    expectSteps({"a", "c"});
}

TEST_F(RemoveStepTest, TakesTheEntryOfTheStepThatItRemoves) {
    m_run->addStep(flowStep("b"), false, true);
    HAXPExpRunStep* const second = drained(m_run->createRunStepIter()).back();
    test::setInt(step("b")->getOptions(), "CountInt", 7);
    m_run->removeStep(second, true);
    expectSteps({"a", "b", "c"});
    EXPECT_EQ(test::intOf(step("b")->getOptions(), "CountInt"), 7);
}

}  // namespace
