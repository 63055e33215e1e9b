// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "tests/support/TestStepFilter.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::drained;
using test::Ids;
using test::kDone;
using test::kNotStarted;
using test::RunFixture;
using test::StepTraits;
using test::thrownText;

/// A run of "a", "b" and "c", and a strategy "fast" of "c", "a" and "extra" with values.
class ApplyStrategyTest : public RunFixture {
protected:
    ApplyStrategyTest() : m_fast(std::make_unique<HAXPStrategy>()) {
        m_fast->setFlow(m_flow.get(), false);
        for (const char* id : {"c", "a", "extra"})
            m_fast->addStep(flowStep(id), false);
        m_fast->setName("fast");
        m_fast->setDescription("Little effort");
        test::setInt(m_fast->getOptions("a"), "CountInt", 7);
        test::setBool(m_fast->getRunStepOptions("c")->getAttrs(), "EnableStepBool", false);
    }

    void apply() { m_run->applyStrategy(m_fast.get()); }
    /// Whether step and strategy entry belong together, one by one.
    void expectStepsToFitTheStrategy() const {
        const auto entries = drained(m_run->getStrategy()->createFlowStepOptionsIter());
        const auto steps = drained(m_run->createRunStepIter());
        ASSERT_EQ(steps.size(), entries.size());
        for (std::size_t i = 0; i < steps.size(); ++i) {
            EXPECT_EQ(steps[i]->getOptions(), entries[i]->getOptions());
            EXPECT_EQ(steps[i]->getAttrs(), entries[i]->getAttrs());
            EXPECT_EQ(steps[i]->getFlowStep()->getFlowStepId(), entries[i]->getOptGrpId());
        }
    }

    std::unique_ptr<HAXPStrategy> m_fast;
};

TEST_F(ApplyStrategyTest, RefusesNull) {
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_run->applyStrategy(nullptr); }),
              "Can't apply null strategy to run");
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
    EXPECT_EQ(m_run->dirtyCalls, 0);
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(ApplyStrategyTest, TakesOverStepsValuesNameAndDescription) {
    apply();
    EXPECT_EQ(m_run->stepIds(), (Ids{"c", "a", "extra"}));
    EXPECT_EQ(test::intOf(step("a")->getOptions(), "CountInt"), 7);
    EXPECT_FALSE(step("c")->isEnabled());
    EXPECT_EQ(m_run->getStrategy()->getName(), "fast");
    EXPECT_EQ(m_run->getStrategy()->getDescription(), "Little effort");
    EXPECT_EQ(m_run->getDescription(), "Little effort");
    expectStepsToFitTheStrategy();
}

TEST_F(ApplyStrategyTest, KeepsTheRunsOwnCopy) {
    const HAXPStrategy* own = m_run->getStrategy();
    apply();
    EXPECT_EQ(m_run->getStrategy(), own);
    EXPECT_TRUE(own->isInternal());
    test::setInt(m_fast->getOptions("a"), "CountInt", 8);
    EXPECT_EQ(test::intOf(step("a")->getOptions(), "CountInt"), 7);
}

TEST_F(ApplyStrategyTest, MakesEveryStepAnew) {
    setCodes({kDone, kDone, kDone});
    step("a")->setFile(HAXPTypes::FILE_PLACE_IO, "old.rpt");
    step("a")->updateStaleReasonsForSwParamChange();
    EXPECT_EQ(m_run->getFirstStaleStep(), step("a"));
    apply();
    for (const HAXPExpRunStep* step : drained(m_run->createRunStepIter()))
        EXPECT_EQ(step->getStatus()->getCode(), kNotStarted);
    EXPECT_EQ(m_run->getFirstStaleStep(), nullptr);
    EXPECT_EQ(step("a")->getFile(HAXPTypes::FILE_PLACE_IO), "");
}

TEST_F(ApplyStrategyTest, AsksNoStepFilter) {
    test::TestStepFilter filter;
    filter.keptOut = {"a", "c", "extra"};
    filter.refusal = "no";
    const test::InstalledStepFilter installed(&filter);
    apply();
    EXPECT_EQ(m_run->stepIds(), (Ids{"c", "a", "extra"}));
    EXPECT_EQ(filter.strategyAsked + filter.addAsked, 0);
}

TEST_F(ApplyStrategyTest, ClosesTheMessagesOfTheOldSteps) {
    m_run->addMsgHandle_(&step("a")->getMsgSrcHandle());
    apply();
    EXPECT_TRUE(drained(m_run->createMsgMgrHandlesIter()).empty());
}

TEST_F(ApplyStrategyTest, UpdatesTheStatusOnceAndIsDirtyOnce) {
    apply();
    EXPECT_EQ(m_run->statusUpdates, 1);
    EXPECT_EQ(m_run->dirtyCalls, 1) << "the new values alone make nothing dirty";
}

TEST_F(ApplyStrategyTest, UpdatesTheStatusOverTheNewSteps) {
    Ids seen;
    m_run->onUpdateStatus = [&] { seen = m_run->stepIds(); };
    apply();
    EXPECT_EQ(seen, (Ids{"c", "a", "extra"}));
}

TEST_F(ApplyStrategyTest, LeavesStaleReasonsAloneBeforeTheFirstStepBegan) {
    apply();
    EXPECT_EQ(m_run->info().staleUpdates, 0);
}

TEST_F(ApplyStrategyTest, BringsStaleReasonsUpToDateOnceTheFirstStepBegan) {
    launch();
    m_dir.mark(".c.begin.rst");
    apply();
    EXPECT_EQ(m_run->info().staleUpdates, 1);
    m_dir.unmark(".c.begin.rst");
    m_dir.mark(".a.begin.rst");
    apply();
    EXPECT_EQ(m_run->info().staleUpdates, 1) << "the second step doesn't count";
}

TEST_F(ApplyStrategyTest, LeavesAnEmptyRunForAnEmptyStrategy) {
    m_fast->nukeVecs();
    apply();
    EXPECT_EQ(m_run->effectiveStepCount(false), 0);
    EXPECT_EQ(m_run->info().staleUpdates, 0);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ApplyStrategyTest, KeepsTheRunDirtyByItsNewValues) {
    apply();
    test::setInt(step("a")->getOptions(), "CountInt", 9);
    EXPECT_EQ(m_run->dirtyCalls, 2);
    EXPECT_EQ(m_run->optionCalls, 1);
}

TEST_F(ApplyStrategyTest, AppliesItsOwnStrategy) {
    apply();
    m_run->applyStrategy(m_run->getStrategy());
    EXPECT_EQ(m_run->stepIds(), (Ids{"c", "a", "extra"}));
    EXPECT_EQ(test::intOf(step("a")->getOptions(), "CountInt"), 7);
    EXPECT_EQ(m_run->getDescription(), "Little effort");
    expectStepsToFitTheStrategy();
}

TEST_F(ApplyStrategyTest, TakesTheFlowOfTheStrategy) {
    const auto other = test::makeFlowOf({StepTraits::of("x")}, "Other Flow", "other_flow");
    const HAXPStrategy strategy(other.get());
    m_run->applyStrategy(&strategy);
    EXPECT_EQ(m_run->stepIds(), (Ids{"x"}));
    EXPECT_EQ(m_run->getStrategy()->getFlow(), other.get());
    m_run.reset();
}

// Whoever hears of it --------------------------------------------------------

TEST_F(ApplyStrategyTest, TellsTheStrategysOwnerOnceTheStepsStand) {
    test::StrategyRecorder owner;
    m_run->getStrategy()->attach(&owner);
    owner.onChange = [this] {
        expectStepsToFitTheStrategy();
        EXPECT_EQ(m_run->stepIds(), (Ids{"c", "a", "extra"}));
    };
    apply();
    EXPECT_EQ(owner.changed, (std::vector<HAXPStrategy*>{m_run->getStrategy()}));
    m_run->getStrategy()->attach(static_cast<HAXPStratDB*>(nullptr));
}

TEST_F(ApplyStrategyTest, StandsAppliedWhenTheOwnerThrows) {
    test::StrategyRecorder owner;
    m_run->getStrategy()->attach(&owner);
    owner.onChange = [] { throw std::runtime_error("disk full"); };
    EXPECT_EQ(thrownText<std::runtime_error>([this] { apply(); }), "disk full");
    EXPECT_EQ(m_run->stepIds(), (Ids{"c", "a", "extra"}));
    expectStepsToFitTheStrategy();
    m_run->getStrategy()->attach(static_cast<HAXPStratDB*>(nullptr));
}

TEST_F(ApplyStrategyTest, ChangesNothingForAStepOutsideTheFlow) {
    const auto other = test::makeFlow({"x"});
    m_fast->addStep(other->getFlowStepForFSId("x"), false);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { apply(); }),
              "Strategy: step 'x' isn't in the flow");
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
    EXPECT_EQ(m_run->getStrategy()->getName(), "");
    expectStepsToFitTheStrategy();
    m_fast.reset();
}

TEST_F(ApplyStrategyTest, ChangesNothingWhenTheRunsStrategyIsPredefined) {
    m_run->getStrategy()->setUserDefined(false);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { apply(); }),
              "can't alter a pre-defined strategy");
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
    expectStepsToFitTheStrategy();
}

// Bitstream or device image --------------------------------------------------

class ApplyImageTest : public RunFixture {
protected:
    ApplyImageTest()
        : RunFixture({StepTraits::of("write_bitstream"), StepTraits::of("write_device_image")}) {}
};

TEST_F(ApplyImageTest, WritesABitstreamUnlessToldOtherwise) {
    EXPECT_EQ(m_run->stepIds(), (Ids{"write_bitstream"}));
    const HAXPStrategy both(m_flow.get());
    m_run->setStrategyCopyFlag_(true);
    m_run->applyStrategy(&both);
    EXPECT_EQ(m_run->stepIds(), (Ids{"write_device_image"}));
    EXPECT_EQ(m_run->getStrategy()->stepCount(), 1);
    m_run->setStrategyCopyFlag_(false);
    m_run->applyStrategy(&both);
    EXPECT_EQ(m_run->stepIds(), (Ids{"write_bitstream"}));
}

// Options for a step ---------------------------------------------------------

TEST_F(ApplyStrategyTest, GivesOptionsOfAStepOfItsStrategy) {
    apply();
    const std::unique_ptr<HATOptGroup> options(m_run->createOptionsForStep(flowStep("a")));
    EXPECT_NE(options.get(), step("a")->getOptions());
    EXPECT_EQ(options->getOptionsSpec(), flowStep("a")->getOptionsSpec());
    EXPECT_EQ(test::intOf(options.get(), "CountInt"), 7);
    EXPECT_FALSE(*options != *step("a")->getOptions());
    test::setInt(options.get(), "CountInt", 9);
    EXPECT_EQ(test::intOf(step("a")->getOptions(), "CountInt"), 7) << "a group of one's own";
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(ApplyStrategyTest, GivesTheDefaultsForAStepOutsideIt) {
    const std::unique_ptr<HATOptGroup> options(m_run->createOptionsForStep(flowStep("extra")));
    EXPECT_EQ(test::intOf(options.get(), "CountInt"), 1);
    EXPECT_EQ(thrownText<HEXAlgException>([&] { m_run->createOptionsForStep(nullptr); }),
              "NULL Step");
}

}  // namespace
