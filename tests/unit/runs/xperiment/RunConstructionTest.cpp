// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::drained;
using test::Ids;
using test::RunFixture;
using test::thrownText;

/// An information object that tells when it goes.
class TracedInfo final : public test::TestRunInfo {
public:
    TracedInfo(HAXPExpRunBase* run, const std::string& name, int& gone)
        : test::TestRunInfo(run, name), m_gone(gone) {}
    ~TracedInfo() override { ++m_gone; }

private:
    int& m_gone;
};

// A base run -----------------------------------------------------------------

TEST(RunBaseConstructionTest, RefusesANullStrategy) {
    EXPECT_EQ(thrownText<HEXAlgException>([] {
                  HAXPExpRunBase("impl_1", static_cast<const HAXPStrategy*>(nullptr), nullptr);
              }),
              "ExpRun: null strategy");
}

TEST(RunBaseConstructionTest, RefusesANullFlow) {
    EXPECT_EQ(thrownText<HEXAlgException>(
                  [] { HAXPExpRunBase("impl_1", static_cast<const HAXPFlow*>(nullptr)); }),
              "ExpRun: null flow");
}

/// A base run without its parts, made from a flow.
class BareRunTest : public ::testing::Test {
protected:
    ~BareRunTest() noexcept override = default;

    template <class Action> static std::string refusal(Action action) {
        return thrownText<HEXAlgException>(action);
    }

    std::unique_ptr<HAXPFlow> m_flow = test::makeFlow({"a", "b"});
    HAXPStrategy m_strategy{m_flow.get()};
    HAXPExpRunBase m_run{"impl_1", m_flow.get()};
};

TEST_F(BareRunTest, HasNoParts) {
    EXPECT_EQ(m_run.getExpInfoBase(), nullptr);
    EXPECT_EQ(m_run.getStatus(), nullptr);
    EXPECT_EQ(m_run.getStrategy(), nullptr);
    EXPECT_EQ(m_run.getReportStrategy(), nullptr);
    EXPECT_EQ(m_run.getLatestStep(), nullptr);
    EXPECT_EQ(m_run.getRunMode(), HAXPExpRunBase::kNotLaunched);
    EXPECT_FALSE(m_run.isActivated());
    EXPECT_EQ(m_run.statCount(), 0);
    EXPECT_EQ(m_run.effectiveStepCount(false), 0);
    EXPECT_TRUE(drained(m_run.createRunStepIter()).empty());
    EXPECT_TRUE(drained(m_run.createStatIter()).empty());
    EXPECT_TRUE(drained(m_run.createMsgMgrHandlesIter()).empty());
}

TEST_F(BareRunTest, IsTheSameFromAStrategy) {
    const HAXPExpRunBase run("impl_1", &m_strategy, nullptr);
    EXPECT_EQ(run.getExpInfoBase(), nullptr);
    EXPECT_EQ(run.getStrategy(), nullptr);
    EXPECT_EQ(run.getStatus(), nullptr);
    EXPECT_EQ(run.effectiveStepCount(false), 0);
}

TEST_F(BareRunTest, ReadsEmptyNames) {
    EXPECT_EQ(m_run.getName(), "");
    EXPECT_EQ(m_run.getDescription(), "");
    std::string text = "as before";
    m_run.getRunDir(text);
    EXPECT_EQ(text, "");
    text = "as before";
    EXPECT_EQ(&m_run.getToStepId(text), &text);
    EXPECT_EQ(text, "");
}

TEST_F(BareRunTest, ReadsAsNotStarted) {
    EXPECT_FALSE(m_run.needsReset());
    EXPECT_FALSE(m_run.isPartiallyDone());
    EXPECT_FALSE(m_run.canLaunchNextStep());
    EXPECT_FALSE(m_run.canResetPrevStep());
}

TEST_F(BareRunTest, RefusesWhatChangesAPart) {
    EXPECT_EQ(refusal([&] { m_run.setDescription("text", false); }), "ExpRun: no run information");
    EXPECT_EQ(refusal([&] { m_run.renameRun("impl_2"); }), "ExpRun: no run information");
    EXPECT_EQ(refusal([&] { m_run.setStrategyName("fast"); }), "ExpRun: no strategy");
    EXPECT_EQ(refusal([&] { m_run.addStep(m_flow->getFlowStepForFSId("a"), true, true); }),
              "ExpRun: no strategy");
    EXPECT_EQ(refusal([&] { m_run.applyStrategy(&m_strategy); }), "ExpRun: no run information");
    EXPECT_EQ(m_run.effectiveStepCount(false), 0);
}

TEST_F(BareRunTest, GivesTheDefaultsAsOptions) {
    const std::unique_ptr<HATOptGroup> options(
        m_run.createOptionsForStep(m_flow->getFlowStepForFSId("a")));
    EXPECT_EQ(test::intOf(options.get(), "CountInt"), 1);
}

TEST_F(BareRunTest, IsBroughtUpToDateAllTheSame) {
    m_run.updateStatus();
    m_run.setRunStatus(nullptr, test::kDone);
    m_run.updateRun();
    m_run.setRunDir("/nowhere", true);
    m_run.checkToActivateRun();
    EXPECT_TRUE(m_run.isActivated());
    EXPECT_EQ(m_run.getStatus(), nullptr);
}

TEST_F(BareRunTest, LeavesItsInformationObjectAlone) {
    int gone = 0;
    auto run = std::make_unique<HAXPExpRunBase>("impl_1", m_flow.get());
    auto* info = new TracedInfo(run.get(), "impl_1", gone);
    run->setExpInfoBase(info);
    run.reset();
    EXPECT_EQ(gone, 0);
    delete info;
}

TEST_F(BareRunTest, DeletesTheInformationObjectThatItReplaces) {
    int gone = 0;
    m_run.setExpInfoBase(new TracedInfo(&m_run, "first", gone));
    EXPECT_EQ(gone, 0);
    auto* second = new TracedInfo(&m_run, "second", gone);
    m_run.setExpInfoBase(second);
    EXPECT_EQ(gone, 1);
    m_run.setExpInfoBase(second);
    EXPECT_EQ(gone, 1) << "it replaces itself";
    EXPECT_EQ(m_run.getName(), "second");
    m_run.setExpInfoBase(nullptr);
    EXPECT_EQ(gone, 2);
    EXPECT_EQ(m_run.getName(), "");
}

// A concrete run -------------------------------------------------------------

class RunConstructionTest : public RunFixture {};

TEST_F(RunConstructionTest, HasAStepForEachOfTheStrategy) {
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
    EXPECT_EQ(m_run->getStrategy()->stepCount(), 3);
    for (const HAXPExpRunStep* step : drained(m_run->createRunStepIter())) {
        const std::string& id = step->getFlowStep()->getFlowStepId();
        EXPECT_EQ(step->getOptions(), m_run->getStrategy()->getOptions(id));
    }
}

TEST_F(RunConstructionTest, StartsNeitherLaunchedNorActivated) {
    EXPECT_EQ(m_run->getRunMode(), HAXPExpRunBase::kNotLaunched);
    EXPECT_FALSE(m_run->isActivated());
    EXPECT_EQ(m_run->getLatestStep(), nullptr);
    EXPECT_EQ(m_run->getStatus()->getCode(), test::kNotStarted);
    std::string dir = "as before";
    m_run->getRunDir(dir);
    EXPECT_EQ(dir, "");
}

TEST_F(RunConstructionTest, HoldsACopyOfItsStrategy) {
    HAXPStrategy strategy(m_flow.get());
    strategy.setName("fast");
    strategy.setDescription("Little effort");
    test::setInt(strategy.getOptions("b"), "CountInt", 7);
    const test::TestRun run("impl_2", &strategy);
    EXPECT_NE(run.getStrategy(), &strategy);
    EXPECT_TRUE(run.getStrategy()->isInternal());
    EXPECT_EQ(run.getStrategy()->getName(), "fast");
    EXPECT_EQ(run.getDescription(), "Little effort");
    EXPECT_EQ(test::intOf(run.step("b")->getOptions(), "CountInt"), 7);
    test::setInt(strategy.getOptions("b"), "CountInt", 8);
    EXPECT_EQ(test::intOf(run.step("b")->getOptions(), "CountInt"), 7);
}

TEST_F(RunConstructionTest, IsDirtyWhenAnOptionChanges) {
    test::setInt(step("a")->getOptions(), "CountInt", 7);
    EXPECT_EQ(m_run->optionCalls, 1);
    EXPECT_EQ(m_run->dirtyCalls, 1);
    m_run->setEnabled("b", false);
    EXPECT_EQ(m_run->optionCalls, 2);
    EXPECT_EQ(m_run->dirtyCalls, 2);
    EXPECT_EQ(m_run->statusUpdates, 0) << "and no more than dirty";
}

TEST_F(RunConstructionTest, IsDirtyByADescriptionWhenAsked) {
    m_run->setDescription("first", false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_EQ(m_run->getDescription(), "first");
    m_run->setDescription("second", true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
    EXPECT_EQ(m_run->getExpInfoBase()->getDescription(), "second");
}

TEST_F(RunConstructionTest, NamesItsStrategy) {
    m_run->setStrategyName("mine");
    EXPECT_EQ(m_run->getStrategy()->getName(), "mine");
}

TEST_F(RunConstructionTest, IsRenamedWhereItStands) {
    launch();
    m_run->renameRun("impl_2");
    EXPECT_EQ(m_run->getName(), "impl_2");
    EXPECT_EQ(m_run->getExpInfoBase()->getRunName(), "impl_2");
    EXPECT_EQ(m_run->dirtyCalls, 1);
    std::string dir;
    m_run->getRunDir(dir);
    EXPECT_EQ(dir, m_dir.path());
}

TEST_F(RunConstructionTest, KeepsModeDirectoryAndLatestStepAsSet) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_EQ(m_run->getRunMode(), HAXPExpRunBase::kUnknown);
    m_run->setLatestStep(step("b"));
    EXPECT_EQ(m_run->getLatestStep(), step("b"));
    m_run->setLatestStep(nullptr);
    EXPECT_EQ(m_run->getLatestStep(), nullptr);
}

TEST_F(RunConstructionTest, HandsStatusesToItsHook) {
    m_run->setRunStatus(step("b"), test::kQueued);
    m_run->setRunStatus(nullptr, test::kRunning);
    EXPECT_EQ(step("b")->getStatus()->getCode(), test::kQueued);
    EXPECT_EQ(m_run->getStatus()->getCode(), test::kRunning);
    EXPECT_EQ(m_run->statusesSet.size(), 2U);
}

TEST_F(RunConstructionTest, DropsItsStepsAndKeepsTheLatestOne) {
    HAXPExpRunStep* latest = step("b");
    m_run->setLatestStep(latest);
    m_run->nukeSteps();
    EXPECT_EQ(m_run->effectiveStepCount(false), 0);
    EXPECT_EQ(m_run->getLatestStep(), latest);
    m_run->setLatestStep(nullptr);
    m_run->nukeSteps();
    EXPECT_EQ(m_run->effectiveStepCount(false), 0);
}

}  // namespace
