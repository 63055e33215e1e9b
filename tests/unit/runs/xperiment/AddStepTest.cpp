// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
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
using test::RunFixture;
using test::thrownText;

/// A run of "a", "b" and "c" whose strategy tells an owner, and a step filter that a test
/// can make refuse.
class AddStepTest : public RunFixture {
protected:
    AddStepTest() { m_run->getStrategy()->attach(&m_owner); }
    ~AddStepTest() noexcept override {
        m_owner.onChange = nullptr;
        m_run->getStrategy()->attach(static_cast<HAXPStratDB*>(nullptr));
    }

    void add(bool markDirty = true, bool skipFilter = false) {
        m_run->addStep(flowStep("extra"), markDirty, skipFilter);
    }
    Ids entryIds() const {
        Ids ids;
        for (const HAXPFlowStepOptions* entry :
             drained(m_run->getStrategy()->createFlowStepOptionsIter()))
            ids.push_back(entry->getOptGrpId());
        return ids;
    }
    void expectNothingAdded() const {
        EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c"}));
        EXPECT_EQ(entryIds(), (Ids{"a", "b", "c"}));
        EXPECT_EQ(drained(m_run->getStrategy()->createOptionsIter()).size(), 3U);
    }

    test::TestStepFilter m_filter;
    test::InstalledStepFilter m_installed{&m_filter};
    test::StrategyRecorder m_owner;
};

TEST_F(AddStepTest, AppendsTheStepAndItsEntry) {
    add();
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c", "extra"}));
    EXPECT_EQ(entryIds(), (Ids{"a", "b", "c", "extra"}));
    const HAXPFlowStepOptions* entry = m_run->getStrategy()->getRunStepOptions("extra");
    EXPECT_EQ(step("extra")->getOptions(), entry->getOptions());
    EXPECT_EQ(step("extra")->getAttrs(), entry->getAttrs());
    EXPECT_EQ(step("extra")->getFlowStep(), flowStep("extra"));
}

TEST_F(AddStepTest, TellsTheStrategysOwner) {
    add(false);
    EXPECT_EQ(m_owner.changed, (std::vector<HAXPStrategy*>{m_run->getStrategy()}));
}

TEST_F(AddStepTest, IsDirtyWhenAsked) {
    add(false);
    EXPECT_EQ(m_run->dirtyCalls, 0);
    m_run->addStep(flowStep("extra"), true, true);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

TEST_F(AddStepTest, RefreshesTheStatusOverTheNewStep) {
    std::vector<int> counts;
    m_run->onUpdateStatus = [&] { counts.push_back(m_run->effectiveStepCount(false)); };
    add();
    EXPECT_EQ(counts, (std::vector<int>{3, 4})) << "once for the filter, once behind";
}

TEST_F(AddStepTest, FindsTheStatusOfTheNewStepOnDisk) {
    launch();
    markDone("c");
    markDone("extra");
    m_run->updateStatus();
    add();
    EXPECT_EQ(step("extra")->getStatus()->getCode(), kDone);
}

TEST_F(AddStepTest, KeepsTheRunDirtyByTheNewStepsValues) {
    add(false);
    test::setInt(step("extra")->getOptions(), "CountInt", 7);
    EXPECT_EQ(m_run->dirtyCalls, 1);
}

// Refusals -------------------------------------------------------------------

TEST_F(AddStepTest, RefusesNullBeforeAnythingElse) {
    for (const bool skipFilter : {false, true})
        EXPECT_EQ(thrownText<HEXAlgException>([&] { m_run->addStep(nullptr, true, skipFilter); }),
                  "NULL Step");
    EXPECT_EQ(m_run->statusUpdates, 0);
    expectNothingAdded();
}

TEST_F(AddStepTest, SaysWhyTheFilterRefuses) {
    m_filter.refusal = "the step needs a licence";
    EXPECT_EQ(thrownText<HEXUserException>([this] { add(); }),
              "Step 'extra' can't be added to run 'impl_1': the step needs a licence");
    expectNothingAdded();
    EXPECT_TRUE(m_owner.changed.empty());
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(AddStepTest, SaysWhyTheStandardRulesRefuse) {
    EXPECT_EQ(thrownText<HEXUserException>([this] { m_run->addStep(flowStep("b"), true, false); }),
              "Step 'b' can't be added to run 'impl_1': Step already included in run");
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_EQ(thrownText<HEXUserException>([this] { add(); }),
              "Step 'extra' can't be added to run 'impl_1': Can't add step to run while status "
              "is unknown");
    expectNothingAdded();
}

TEST_F(AddStepTest, AsksNoFilterWhenToldTo) {
    m_filter.refusal = "the step needs a licence";
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    add(true, true);
    EXPECT_EQ(m_filter.addAsked, 0);
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c", "extra"}));
    m_run->addStep(flowStep("b"), true, true);
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c", "extra", "b"}));
    EXPECT_EQ(entryIds(), m_run->stepIds());
}

TEST_F(AddStepTest, RefusesWhenTheRunsStrategyIsPredefined) {
    m_run->getStrategy()->setUserDefined(false);
    EXPECT_EQ(thrownText<HEXAlgException>([this] { add(); }), "can't alter a pre-defined strategy");
    expectNothingAdded();
}

// What fails half-way --------------------------------------------------------

TEST_F(AddStepTest, TakesTheEntryBackWhenTheOwnerThrows) {
    m_owner.onChange = [] { throw std::runtime_error("disk full"); };
    EXPECT_EQ(thrownText<std::runtime_error>([this] { add(); }), "disk full");
    expectNothingAdded();
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(AddStepTest, TakesStepAndEntryBackWhenTheStatusThrows) {
    m_run->onUpdateStatus = [this] {
        if (m_run->effectiveStepCount(false) == 4)
            throw std::runtime_error("stale handle");
    };
    EXPECT_EQ(thrownText<std::runtime_error>([this] { add(); }), "stale handle");
    expectNothingAdded();
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(AddStepTest, TakesStepAndEntryBackWhenTheRunCantBeDirty) {
    m_run->onDirty = [] { throw std::runtime_error("read-only project"); };
    EXPECT_EQ(thrownText<std::runtime_error>([this] { add(); }), "read-only project");
    expectNothingAdded();
}

TEST_F(AddStepTest, LeavesNoTraceOfAStepThatItTakesBack) {
    m_run->setLatestStep(step("b"));
    m_run->addMsgHandle_(&step("a")->getMsgSrcHandle());
    m_run->onUpdateStatus = [this] {
        if (m_run->effectiveStepCount(false) < 4)
            return;
        m_run->setLatestStep(step("extra"));
        m_run->addMsgHandle_(&step("extra")->getMsgSrcHandle());
        throw std::runtime_error("stale handle");
    };
    EXPECT_THROW(add(), std::runtime_error);
    EXPECT_EQ(m_run->getLatestStep(), step("b"));
    EXPECT_EQ(drained(m_run->createMsgMgrHandlesIter()),
              (std::vector<ComMsgMgrSrcHandle*>{&step("a")->getMsgSrcHandle()}));
    m_run->setLatestStep(nullptr);
}

TEST_F(AddStepTest, AddsTheStepOnceTheCauseIsGone) {
    m_owner.onChange = [] { throw std::runtime_error("disk full"); };
    EXPECT_THROW(add(), std::runtime_error);
    m_owner.onChange = nullptr;
    add();
    EXPECT_EQ(m_run->stepIds(), (Ids{"a", "b", "c", "extra"}));
}

}  // namespace
