// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStepFilter.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXFBasicStepFilter.h"
#include "tests/support/TestStepFilter.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::kDone;
using test::kFailed;
using test::kNotStarted;
using test::kQueued;
using test::kRunning;
using test::RunFixture;
using test::StepTraits;

constexpr char kAddUnknown[] = "Can't add step to run while status is unknown";
constexpr char kAddState[] =
    "Can't add step to a run that is initialized, queued, running or failed";
constexpr char kAddFlow[] = "Step not compatible with chosen flow for run";
constexpr char kAddTwice[] = "Step already included in run";
constexpr char kResetUnknown[] = "Can't reset step from run while status is unknown";
constexpr char kResetState[] = "Can't reset step from a run that is queued or running";
constexpr char kResetStranger[] = "Step not defined in run";
constexpr char kRemoveUnknown[] = "Can't remove step from run while status is unknown";
constexpr char kRemoveState[] =
    "Can't remove step from a run that is initialized, queued or running";

/// What a reason holds before a test: it is replaced, or stays.
constexpr char kBefore[] = "as before";

/// A run of "a", "b" and "c", which may take "extra".
class StepFilterTest : public RunFixture {
protected:
    /// Each gives the reason of a refusal, kBefore when it is allowed.
    std::string add(const std::string& id) {
        std::string reason = kBefore;
        const bool allowed = m_filter.canAddStep(flowStep(id), m_run.get(), reason);
        EXPECT_EQ(allowed, reason == kBefore);
        return reason;
    }
    std::string reset(const std::string& id) {
        std::string reason = kBefore;
        const bool allowed = m_filter.canResetStep(flowStep(id), m_run.get(), reason);
        EXPECT_EQ(allowed, reason == kBefore);
        return reason;
    }
    std::string remove(const std::string& id) {
        std::string reason = kBefore;
        const bool allowed = m_filter.canRemoveStep(step(id), m_run.get(), reason);
        EXPECT_EQ(allowed, reason == kBefore);
        return reason;
    }

    test::TestStepFilter m_filter;
};

/// Mode and status of a run, and why each change is refused; null where it isn't.
struct FilterCase {
    const char* name;
    HAXPExpRunBase::RunMode mode;
    int status;
    const char* add;
    const char* reset;
    const char* remove;
};

std::ostream& operator<<(std::ostream& os, const FilterCase& row) {
    return os << row.name;
}

class StepFilterTable : public StepFilterTest, public ::testing::WithParamInterface<FilterCase> {
protected:
    StepFilterTable() {
        m_run->setRunMode(GetParam().mode);
        m_run->setCode(GetParam().status);
    }

    static std::string orAllowed(const char* reason) {
        return reason == nullptr ? kBefore : reason;
    }
};

TEST_P(StepFilterTable, Adds) {
    EXPECT_EQ(add("extra"), orAllowed(GetParam().add));
}

TEST_P(StepFilterTable, Resets) {
    EXPECT_EQ(reset("b"), orAllowed(GetParam().reset));
}

TEST_P(StepFilterTable, Removes) {
    EXPECT_EQ(remove("b"), orAllowed(GetParam().remove));
}

constexpr auto kMode0 = HAXPExpRunBase::kNotLaunched;
constexpr auto kMode1 = HAXPExpRunBase::kLaunched;
constexpr auto kMode2 = HAXPExpRunBase::kUnknown;

INSTANTIATE_TEST_SUITE_P(
    Runs, StepFilterTable,
    ::testing::Values(
        FilterCase{"NotLaunchedNotStarted", kMode0, kNotStarted, nullptr, nullptr, nullptr},
        FilterCase{"NotLaunchedQueued", kMode0, kQueued, nullptr, nullptr, nullptr},
        FilterCase{"NotLaunchedRunning", kMode0, kRunning, nullptr, nullptr, nullptr},
        FilterCase{"NotLaunchedDone", kMode0, kDone, nullptr, nullptr, nullptr},
        FilterCase{"NotLaunchedFailed", kMode0, kFailed, nullptr, nullptr, nullptr},
        FilterCase{"LaunchedNotStarted", kMode1, kNotStarted, kAddState, nullptr, kRemoveState},
        FilterCase{"LaunchedQueued", kMode1, kQueued, kAddState, kResetState, kRemoveState},
        FilterCase{"LaunchedRunning", kMode1, kRunning, kAddState, kResetState, kRemoveState},
        FilterCase{"LaunchedDone", kMode1, kDone, nullptr, nullptr, nullptr},
        FilterCase{"LaunchedCode4", kMode1, 4, kAddState, kResetState, kRemoveState},
        FilterCase{"LaunchedFailed", kMode1, kFailed, kAddState, nullptr, nullptr},
        FilterCase{"UnknownNotStarted", kMode2, kNotStarted, kAddUnknown, kResetUnknown,
                   kRemoveUnknown},
        FilterCase{"UnknownDone", kMode2, kDone, kAddUnknown, kResetUnknown, kRemoveUnknown},
        FilterCase{"UnknownFailed", kMode2, kFailed, kAddUnknown, kResetUnknown, kRemoveUnknown}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StepFilterTest, RefreshesTheStatusBeforeEachTest) {
    add("extra");
    EXPECT_EQ(m_run->statusUpdates, 1);
    reset("a");
    EXPECT_EQ(m_run->statusUpdates, 2);
    remove("a");
    EXPECT_EQ(m_run->statusUpdates, 3);
}

TEST_F(StepFilterTest, DecidesByTheFreshStatus) {
    m_run->setRunMode(kMode1);
    m_run->setCode(kRunning);
    m_run->onUpdateStatus = [this] { m_run->setCode(kDone); };
    EXPECT_EQ(add("extra"), kBefore);
}

TEST_F(StepFilterTest, AddsNoStepOfAnotherFlow) {
    const auto other = test::makeFlow({"a", "x"});
    std::string reason = kBefore;
    EXPECT_FALSE(m_filter.canAddStep(other->getFlowStepForFSId("x"), m_run.get(), reason));
    EXPECT_EQ(reason, kAddFlow);
    EXPECT_FALSE(m_filter.canAddStep(other->getFlowStepForFSId("a"), m_run.get(), reason))
        << "the step itself counts, not its id";
    EXPECT_EQ(reason, kAddFlow);
}

TEST_F(StepFilterTest, AddsNoStepTwice) {
    EXPECT_EQ(add("b"), kAddTwice);
}

TEST_F(StepFilterTest, ResetsNoStepThatTheRunLacks) {
    EXPECT_EQ(reset("extra"), kResetStranger);
    std::string reason = kBefore;
    EXPECT_FALSE(m_filter.canResetStep(nullptr, m_run.get(), reason));
    EXPECT_EQ(reason, kResetStranger);
}

TEST_F(StepFilterTest, TellsOfTheStateFirst) {
    m_run->setRunMode(kMode2);
    EXPECT_EQ(add("b"), kAddUnknown);
    EXPECT_EQ(reset("extra"), kResetUnknown);
    m_run->setRunMode(kMode1);
    EXPECT_EQ(add("b"), kAddState);
    m_run->setCode(kRunning);
    EXPECT_EQ(reset("extra"), kResetState);
}

TEST_F(StepFilterTest, AsksTheOwnRuleBehindTheStandardOne) {
    m_filter.refusal = "the step needs a licence";
    EXPECT_EQ(add("extra"), "the step needs a licence");
    EXPECT_EQ(m_filter.addAsked, 1);
    EXPECT_EQ(add("b"), kAddTwice);
    EXPECT_EQ(m_filter.addAsked, 1);
}

TEST_F(StepFilterTest, HasNoOwnRuleForResetAndRemoval) {
    m_filter.refusal = "the step needs a licence";
    EXPECT_EQ(reset("b"), kBefore);
    EXPECT_EQ(remove("b"), kBefore);
    EXPECT_EQ(m_filter.addAsked, 0);
}

TEST_F(StepFilterTest, AsksTheOwnRuleAloneForStrategies) {
    m_filter.keptOut = {"b"};
    EXPECT_TRUE(m_filter.canAddToStrategy(flowStep("a")));
    EXPECT_FALSE(m_filter.canAddToStrategy(flowStep("b")));
    EXPECT_EQ(m_run->statusUpdates, 0);
}

TEST_F(StepFilterTest, BasicFilterAddsNoRule) {
    HAXFBasicStepFilter basic;
    std::string reason = kBefore;
    EXPECT_TRUE(basic.canAddStep(flowStep("extra"), m_run.get(), reason));
    EXPECT_EQ(reason, kBefore);
    EXPECT_FALSE(basic.canAddStep(flowStep("a"), m_run.get(), reason));
    EXPECT_EQ(reason, kAddTwice);
    EXPECT_TRUE(basic.canAddToStrategy(flowStep("extra")));
}

TEST_F(StepFilterTest, TakesARunWithoutPartsForOneThatIsNotStarted) {
    HAXPExpRunBase bare("bare", m_flow.get());
    std::string reason = kBefore;
    EXPECT_FALSE(m_filter.canAddStep(flowStep("a"), &bare, reason));
    EXPECT_EQ(reason, kAddFlow) << "without a strategy it has no flow";
    EXPECT_FALSE(m_filter.canResetStep(flowStep("a"), &bare, reason));
    EXPECT_EQ(reason, kResetStranger);
    bare.setRunMode(kMode1);
    EXPECT_FALSE(m_filter.canAddStep(flowStep("a"), &bare, reason));
    EXPECT_EQ(reason, kAddState);
}

// What a run asks ------------------------------------------------------------

/// The same, with the test filter installed for the process.
class RunFilterTest : public StepFilterTest {
protected:
    test::InstalledStepFilter m_installed{&m_filter};
};

TEST_F(RunFilterTest, AsksTheFilterOfTheProcess) {
    m_filter.refusal = "the step needs a licence";
    std::string reason;
    EXPECT_FALSE(m_run->canAddStep(flowStep("extra"), reason));
    EXPECT_EQ(reason, "the step needs a licence");
    EXPECT_FALSE(m_run->canAddStep(flowStep("extra")));
    m_filter.refusal.clear();
    EXPECT_TRUE(m_run->canAddStep(flowStep("extra")));
    EXPECT_EQ(m_filter.addAsked, 3);
}

TEST_F(RunFilterTest, AsksForResetAndRemoval) {
    std::string reason = kBefore;
    EXPECT_TRUE(m_run->canResetStep(flowStep("a"), reason));
    EXPECT_TRUE(m_run->canResetStep(flowStep("a")));
    EXPECT_TRUE(m_run->canRemoveStep(step("a"), reason));
    EXPECT_EQ(reason, kBefore);
    m_run->setRunMode(kMode2);
    EXPECT_FALSE(m_run->canResetStep(flowStep("a")));
    EXPECT_FALSE(m_run->canResetStep(flowStep("a"), reason));
    EXPECT_EQ(reason, kResetUnknown);
    EXPECT_FALSE(m_run->canRemoveStep(step("a"), reason));
    EXPECT_EQ(reason, kRemoveUnknown);
}

TEST_F(RunFilterTest, KeepsToTheStandardRulesWithoutAFilter) {
    const test::InstalledStepFilter none(nullptr);
    EXPECT_TRUE(m_run->canAddStep(flowStep("extra")));
    EXPECT_FALSE(m_run->canAddStep(flowStep("a")));
}

}  // namespace
