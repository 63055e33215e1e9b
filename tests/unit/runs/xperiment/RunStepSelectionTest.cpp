// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/filemgmt/HADAStaleReasons.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::Ids;
using test::kDone;
using test::kFailed;
using test::kNotStarted;
using test::kQueued;
using test::kRunning;
using test::RunFixture;
using test::StepTraits;

/// A run of "a", "b", "c" and "d", each of which may be switched off.
class RunSelectionTest : public RunFixture {
protected:
    RunSelectionTest()
        : RunFixture({StepTraits::of("a"), StepTraits::of("b"), StepTraits::of("c"),
                      StepTraits::of("d")}) {}
    explicit RunSelectionTest(const std::vector<StepTraits>& steps) : RunFixture(steps) {}

    void disable(const Ids& ids) {
        for (const std::string& id : ids)
            m_run->setEnabled(id, false);
    }
    void makeStale(const std::string& id) {
        HAXPStrategy changed(m_flow.get());
        test::setInt(changed.getOptions(id), "CountInt", 99);
        const int code = step(id)->getStatus()->getCode();
        m_run->setCode(id, kDone);
        EXPECT_TRUE(step(id)->updateStaleReasons(&changed, m_run->getStrategy(), true));
        m_run->setCode(id, code);
    }

    std::string next(const std::string& id, bool skipVirtual = false) const {
        return idOf(m_run->getNextStep(id.empty() ? nullptr : step(id), skipVirtual));
    }
    std::string prev(const std::string& id) const { return idOf(m_run->getPrevStep(step(id))); }
    static std::string idOf(const HAXPExpRunStep* step) { return test::TestRun::idOf(step); }
    std::string toStepId() const {
        std::string abbrev = "as before";
        return m_run->getToStepId(abbrev);
    }
};

// Counting and finding -------------------------------------------------------

TEST_F(RunSelectionTest, CountsAllOrEnabledSteps) {
    EXPECT_EQ(m_run->effectiveStepCount(false), 4);
    EXPECT_EQ(m_run->effectiveStepCount(true), 4);
    disable({"b", "d"});
    EXPECT_EQ(m_run->effectiveStepCount(false), 4);
    EXPECT_EQ(m_run->effectiveStepCount(true), 2);
}

TEST_F(RunSelectionTest, FindsAStepByItsFlowStep) {
    EXPECT_EQ(m_run->getRunStep(flowStep("c")), step("c"));
    EXPECT_EQ(m_run->getRunStep(nullptr), nullptr);
    const auto twin = test::makeFlow({"c"});
    EXPECT_EQ(m_run->getRunStep(twin->getFlowStepForFSId("c")), nullptr);
}

TEST_F(RunSelectionTest, GivesTheIndexOfAStep) {
    EXPECT_EQ(m_run->getStepIndex(step("a")), 0);
    EXPECT_EQ(m_run->getStepIndex(step("d")), 3);
}

TEST_F(RunSelectionTest, GivesAStrangerTheIndexOfTheFirst) {
    const test::TestRun other("impl_2", m_flow.get());
    EXPECT_EQ(m_run->getStepIndex(other.step("d")), 0);
    EXPECT_EQ(m_run->getStepIndex(nullptr), 0);
}

TEST_F(RunSelectionTest, TakesTheFirstStepWhateverItsState) {
    disable({"a"});
    EXPECT_EQ(idOf(m_run->getFirstStep()), "a");
}

TEST_F(RunSelectionTest, TakesTheFirstEnabledStep) {
    EXPECT_EQ(idOf(m_run->getFirstNonVirtualEnabledStep()), "a");
    disable({"a", "b"});
    EXPECT_EQ(idOf(m_run->getFirstNonVirtualEnabledStep()), "c");
}

TEST_F(RunSelectionTest, TakesTheLastVisitedWhenNoStepIsUsable) {
    disable({"a", "b", "c", "d"});
    EXPECT_EQ(idOf(m_run->getFirstNonVirtualEnabledStep()), "d");
    EXPECT_EQ(next("", true), "none");
    EXPECT_EQ(next("", false), "none");
    EXPECT_EQ(m_run->getLastStep(), nullptr);
}

TEST_F(RunSelectionTest, TakesTheLastEnabledStep) {
    EXPECT_EQ(idOf(m_run->getLastStep()), "d");
    disable({"d"});
    EXPECT_EQ(idOf(m_run->getLastStep()), "c");
    EXPECT_EQ(m_run->getDefaultLastStep(), m_run->getLastStep());
}

TEST_F(RunSelectionTest, FindsTheFirstStaleStepEvenWhenDisabled) {
    EXPECT_EQ(m_run->getFirstStaleStep(), nullptr);
    makeStale("c");
    EXPECT_EQ(idOf(m_run->getFirstStaleStep()), "c");
    disable({"b"});
    makeStale("b");
    EXPECT_EQ(idOf(m_run->getFirstStaleStep()), "b");
}

// An empty run ---------------------------------------------------------------

TEST_F(RunSelectionTest, SelectsNothingWithoutSteps) {
    m_run->nukeSteps();
    EXPECT_EQ(m_run->getFirstStep(), nullptr);
    EXPECT_EQ(m_run->getFirstNonVirtualEnabledStep(), nullptr);
    EXPECT_EQ(m_run->getFirstStaleStep(), nullptr);
    EXPECT_EQ(m_run->getLastDoneStep(), nullptr);
    EXPECT_EQ(m_run->getLastAttemptedStep(), nullptr);
    EXPECT_EQ(m_run->getLastStep(), nullptr);
    EXPECT_EQ(m_run->getDefaultLastStep(), nullptr);
    EXPECT_EQ(m_run->getNextStep(nullptr, true), nullptr);
    EXPECT_EQ(m_run->getNextStep(nullptr, false), nullptr);
    EXPECT_EQ(m_run->getFirstIncompleteStep(), nullptr);
    EXPECT_EQ(m_run->getToStep(), nullptr);
    EXPECT_EQ(toStepId(), "");
    EXPECT_FALSE(m_run->hasNonInitRunStepAfter(nullptr));
    EXPECT_EQ(m_run->effectiveStepCount(true), 0);
    EXPECT_FALSE(m_run->canLaunchNextStep());
    EXPECT_FALSE(m_run->needsReset());
}

// Walking --------------------------------------------------------------------

TEST_F(RunSelectionTest, WalksForwardOverEnabledSteps) {
    EXPECT_EQ(next("a"), "b");
    disable({"b", "c"});
    EXPECT_EQ(next("a"), "d");
    EXPECT_EQ(next("b"), "d") << "from a disabled step too";
    EXPECT_EQ(next("d"), "none");
    disable({"d"});
    EXPECT_EQ(next("a"), "none");
}

TEST_F(RunSelectionTest, BeginsAtTheFirstEnabledStep) {
    EXPECT_EQ(next("", false), "a");
    disable({"a"});
    EXPECT_EQ(next("", false), "b");
    EXPECT_EQ(next("", true), "b");
}

TEST_F(RunSelectionTest, WalksNowhereFromAStranger) {
    const test::TestRun other("impl_2", m_flow.get());
    EXPECT_EQ(m_run->getNextStep(other.step("a"), false), nullptr);
    EXPECT_EQ(m_run->getNextStep(other.step("a"), true), nullptr);
    EXPECT_EQ(m_run->getPrevStep(other.step("c")), nullptr);
}

TEST_F(RunSelectionTest, WalksBackOverEnabledSteps) {
    EXPECT_EQ(prev("d"), "c");
    disable({"b", "c"});
    EXPECT_EQ(prev("d"), "a");
    EXPECT_EQ(prev("c"), "a");
    EXPECT_EQ(prev("a"), "none");
    disable({"a"});
    EXPECT_EQ(prev("d"), "none");
    EXPECT_EQ(m_run->getPrevStep(nullptr), nullptr);
}

// Virtual steps --------------------------------------------------------------

StepTraits virtualStep(const std::string& id) {
    StepTraits traits = StepTraits::of(id);
    traits.isVirtual = true;
    return traits;
}

/// A run of the virtual "v", "a", the virtual "w", "b" and the virtual "x".
class RunVirtualStepsTest : public RunSelectionTest {
protected:
    RunVirtualStepsTest()
        : RunSelectionTest({virtualStep("v"), StepTraits::of("a"), virtualStep("w"),
                            StepTraits::of("b"), virtualStep("x")}) {}
};

TEST_F(RunVirtualStepsTest, SkipsVirtualStepsOnlyAtTheStart) {
    EXPECT_EQ(next("", false), "v");
    EXPECT_EQ(next("", true), "a");
    EXPECT_EQ(next("a", true), "w");
    EXPECT_EQ(next("a", false), "w");
}

TEST_F(RunVirtualStepsTest, CountsVirtualStepsAsEnabled) {
    EXPECT_EQ(m_run->effectiveStepCount(true), 5);
    EXPECT_EQ(idOf(m_run->getLastStep()), "x");
}

TEST_F(RunVirtualStepsTest, CanBeginAtAVirtualStepWhenNoStepIsUsable) {
    disable({"a", "b"});
    EXPECT_EQ(idOf(m_run->getFirstNonVirtualEnabledStep()), "x");
    EXPECT_EQ(next("", true), "x");
}

TEST_F(RunVirtualStepsTest, CountsNoVirtualStepAsDoneOrAttempted) {
    setCodes({kDone, kNotStarted, kDone, kNotStarted, kDone});
    EXPECT_EQ(m_run->getLastDoneStep(), nullptr);
    EXPECT_EQ(m_run->getLastAttemptedStep(), nullptr);
    setCodes({kDone, kDone, kDone});
    EXPECT_EQ(idOf(m_run->getLastDoneStep()), "a");
    EXPECT_EQ(idOf(m_run->getFirstIncompleteStep()), "w");
}

TEST_F(RunVirtualStepsTest, FindsAStaleVirtualStep) {
    makeStale("w");
    EXPECT_EQ(idOf(m_run->getFirstStaleStep()), "w");
}

// What was done --------------------------------------------------------------

/// The codes of "a" to "d", and the steps that follow from them.
struct ProgressCase {
    const char* name;
    std::vector<int> codes;
    const char* lastDone;
    const char* lastAttempted;
    const char* firstIncomplete;
};

std::ostream& operator<<(std::ostream& os, const ProgressCase& row) {
    return os << row.name;
}

class RunProgressTable : public RunSelectionTest,
                         public ::testing::WithParamInterface<ProgressCase> {
protected:
    RunProgressTable() { setCodes(GetParam().codes); }
};

TEST_P(RunProgressTable, FindsTheLastDoneStep) {
    EXPECT_EQ(idOf(m_run->getLastDoneStep()), GetParam().lastDone);
}

TEST_P(RunProgressTable, FindsTheLastAttemptedStep) {
    EXPECT_EQ(idOf(m_run->getLastAttemptedStep()), GetParam().lastAttempted);
    EXPECT_EQ(m_run->getEffectivePrevStep(), m_run->getLastAttemptedStep());
    EXPECT_EQ(m_run->canResetPrevStep(), m_run->getLastAttemptedStep() != nullptr);
}

TEST_P(RunProgressTable, FindsWhereToGoOn) {
    EXPECT_EQ(idOf(m_run->getFirstIncompleteStep()), GetParam().firstIncomplete);
    EXPECT_EQ(idOf(m_run->getResetFromStep()), GetParam().firstIncomplete);
    EXPECT_EQ(idOf(m_run->getEffectiveNextStep()), GetParam().firstIncomplete);
}

INSTANTIATE_TEST_SUITE_P(
    Runs, RunProgressTable,
    ::testing::Values(ProgressCase{"NothingStarted", {0, 0, 0, 0}, "none", "none", "a"},
                      ProgressCase{"Queued", {kQueued, 0, 0, 0}, "none", "none", "a"},
                      ProgressCase{"FirstRuns", {kRunning, 0, 0, 0}, "none", "a", "a"},
                      ProgressCase{"FirstDone", {kDone, 0, 0, 0}, "a", "a", "b"},
                      ProgressCase{"SecondRuns", {kDone, kRunning, 0, 0}, "a", "b", "b"},
                      ProgressCase{"SecondFailed", {kDone, kFailed, 0, 0}, "a", "b", "b"},
                      ProgressCase{"DoneAroundAFailure", {kDone, kFailed, kDone, 0}, "c", "c", "d"},
                      ProgressCase{"AllDone", {kDone, kDone, kDone, kDone}, "d", "d", "none"},
                      ProgressCase{"CodeFour", {kDone, 4, 0, 0}, "a", "a", "b"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RunSelectionTest, CountsNoDisabledStepAsDone) {
    setCodes({kDone, kDone, kFailed, kNotStarted});
    disable({"b", "c"});
    EXPECT_EQ(idOf(m_run->getLastDoneStep()), "a");
    EXPECT_EQ(idOf(m_run->getLastAttemptedStep()), "a");
    EXPECT_EQ(idOf(m_run->getFirstIncompleteStep()), "d");
}

TEST_F(RunVirtualStepsTest, GoesOnBehindTheStartAtTheFirstUsableStep) {
    EXPECT_EQ(idOf(m_run->getFirstIncompleteStep()), "v");
    EXPECT_EQ(idOf(m_run->getResetFromStep()), "a");
    EXPECT_EQ(idOf(m_run->getEffectiveNextStep()), "a");
}

// The last step of a launch --------------------------------------------------

TEST_F(RunSelectionTest, GoesToTheDefaultLastStepUnlessToldOtherwise) {
    EXPECT_EQ(toStepId(), "at_d");
    EXPECT_EQ(idOf(m_run->getToStep()), "d");
    m_run->defaultLastStep = step("b");
    EXPECT_EQ(toStepId(), "at_b");
    EXPECT_EQ(idOf(m_run->getToStep()), "b");
}

TEST_F(RunSelectionTest, GoesToTheChosenStep) {
    m_run->setToStepId("at_c");
    EXPECT_EQ(toStepId(), "at_c");
    EXPECT_EQ(idOf(m_run->getToStep()), "c");
    m_run->setToStepId("");
    EXPECT_EQ(idOf(m_run->getToStep()), "d");
}

TEST_F(RunSelectionTest, FindsTheChosenStepWhateverTheCase) {
    m_run->setToStepId("AT_C");
    EXPECT_EQ(toStepId(), "AT_C");
    EXPECT_EQ(idOf(m_run->getToStep()), "c");
}

TEST_F(RunSelectionTest, GoesNowhereForAnUnknownStep) {
    m_run->setToStepId("at_e");
    EXPECT_EQ(toStepId(), "at_e");
    EXPECT_EQ(m_run->getToStep(), nullptr);
}

TEST_F(RunSelectionTest, GivesTheChosenStepInTheArgumentItself) {
    std::string abbrev;
    EXPECT_EQ(&m_run->getToStepId(abbrev), &abbrev);
}

TEST_F(RunSelectionTest, FindsADisabledStepThatWasChosen) {
    disable({"c"});
    m_run->setToStepId("at_c");
    EXPECT_EQ(idOf(m_run->getToStep()), "c");
}

// Launching the next step ----------------------------------------------------

/// The codes of the run and of its last step, and whether a step may be launched.
struct LaunchCase {
    const char* name;
    int run;
    int last;
    bool can;
};

std::ostream& operator<<(std::ostream& os, const LaunchCase& row) {
    return os << row.name;
}

class RunLaunchTable : public RunSelectionTest, public ::testing::WithParamInterface<LaunchCase> {};

TEST_P(RunLaunchTable, Answers) {
    m_run->setCode(GetParam().run);
    m_run->setCode("d", GetParam().last);
    EXPECT_EQ(m_run->canLaunchNextStep(), GetParam().can);
}

INSTANTIATE_TEST_SUITE_P(Runs, RunLaunchTable,
                         ::testing::Values(LaunchCase{"NothingStarted", 0, 0, true},
                                           LaunchCase{"Queued", kQueued, 0, true},
                                           LaunchCase{"Running", kRunning, 0, false},
                                           LaunchCase{"PartlyDone", kDone, 0, true},
                                           LaunchCase{"LastRuns", kDone, kRunning, true},
                                           LaunchCase{"LastDone", kDone, kDone, false},
                                           LaunchCase{"LastFailed", kFailed, kFailed, false},
                                           LaunchCase{"EarlierFailed", kFailed, 0, true}),
                         [](const auto& row) { return std::string(row.param.name); });

// Steps that were started, on disk -------------------------------------------

class RunNonInitTest : public RunSelectionTest {
protected:
    RunNonInitTest() { launch(); }
    bool after(const std::string& id) const { return m_run->hasNonInitRunStepAfter(step(id)); }
};

TEST_F(RunNonInitTest, LooksAtTheDiskAndNotAtTheStatus) {
    m_run->setCode("b", kDone);
    EXPECT_FALSE(m_run->isANonInitStep(step("b")));
    m_dir.mark(".b.begin.rst");
    m_run->setCode("b", kNotStarted);
    EXPECT_TRUE(m_run->isANonInitStep(step("b")));
    EXPECT_FALSE(m_run->isANonInitStep(nullptr));
}

TEST_F(RunNonInitTest, CountsWhateverTheOutcome) {
    m_dir.mark(".b.begin.rst");
    m_dir.mark(".b.error.rst");
    EXPECT_TRUE(m_run->isANonInitStep(step("b")));
}

TEST_F(RunNonInitTest, LooksForThePlainBeginMarkerAlone) {
    m_dir.mark(".b.end.rst");
    m_dir.mark(".b.error.rst");
    m_dir.mark(".b.begin.stp");
    m_dir.mark(".tarnel.begin.rst");
    EXPECT_FALSE(m_run->isANonInitStep(step("b")));
}

TEST_F(RunNonInitTest, TouchesNoFileWithoutADirectory) {
    m_run->setRunDir("", false);
    EXPECT_FALSE(m_run->isANonInitStep(step("b")));
    EXPECT_FALSE(after("a"));
}

TEST_F(RunNonInitTest, FindsAStartedStepBehindAnother) {
    m_dir.mark(".c.begin.rst");
    EXPECT_TRUE(after("a"));
    EXPECT_TRUE(after("b"));
    EXPECT_FALSE(after("c")) << "the step itself isn't tested";
    EXPECT_FALSE(after("d"));
}

TEST_F(RunNonInitTest, PassesOverDisabledSteps) {
    m_dir.mark(".c.begin.rst");
    disable({"c"});
    EXPECT_FALSE(after("a"));
    disable({"a"});
    m_dir.mark(".d.begin.rst");
    EXPECT_TRUE(after("a")) << "the step itself may be disabled";
}

TEST_F(RunNonInitTest, FindsNothingBehindAStranger) {
    m_dir.mark(".c.begin.rst");
    const test::TestRun other("impl_2", m_flow.get());
    EXPECT_FALSE(m_run->hasNonInitRunStepAfter(other.step("a")));
    EXPECT_FALSE(m_run->hasNonInitRunStepAfter(nullptr));
}

/// The status tracking string is in the marker's name, not the id.
TEST(RunTrackingTest, LooksForTheMarkerThatTheStepIsTrackedBy) {
    StepTraits traits = StepTraits::of("place_design");
    traits.invokeStr = "ice40_place";
    const auto flow = test::makeFlowOf({traits});
    const test::RunDir dir;
    test::TestRun run("impl_1", flow.get());
    run.setRunDir(dir.path(), false);
    dir.mark(".place_design.begin.rst");
    EXPECT_FALSE(run.isANonInitStep(run.getFirstStep()));
    dir.mark(".ice40_place.begin.rst");
    EXPECT_TRUE(run.isANonInitStep(run.getFirstStep()));
}

// Partly done, and in need of a reset ----------------------------------------

TEST_F(RunSelectionTest, IsPartlyDoneWhenItStoppedShort) {
    EXPECT_FALSE(m_run->isPartiallyDone());
    setCodes({kDone, kDone});
    EXPECT_TRUE(m_run->isPartiallyDone());
    setCodes({kDone, kDone, kDone, kDone});
    EXPECT_FALSE(m_run->isPartiallyDone());
}

TEST_F(RunSelectionTest, IsNotPartlyDoneAtItsDefaultLastStep) {
    m_run->defaultLastStep = step("b");
    setCodes({kDone, kDone});
    EXPECT_FALSE(m_run->isPartiallyDone());
    setCodes({kDone, kDone, kDone});
    EXPECT_TRUE(m_run->isPartiallyDone());
    setCodes({kDone, kDone, kDone, kDone});
    EXPECT_FALSE(m_run->isPartiallyDone()) << "nor at the last one";
}

TEST_F(RunSelectionTest, NeedsNoResetBeforeALaunch) {
    EXPECT_FALSE(m_run->needsReset());
}

TEST_F(RunSelectionTest, NeedsAResetWhenItsStateIsUnknown) {
    m_run->setRunMode(HAXPExpRunBase::kUnknown);
    EXPECT_TRUE(m_run->needsReset());
    setCodes({kDone});
    EXPECT_TRUE(m_run->needsReset()) << "though partly done";
}

TEST_F(RunSelectionTest, NeedsAResetWhenItsFlowChanged) {
    setCodes({kDone});
    m_run->info().setNeedsResetForFlowChange(true);
    EXPECT_TRUE(m_run->needsReset()) << "though partly done";
}

TEST_F(RunSelectionTest, NeedsNoResetWhenPartlyDone) {
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    m_run->setCode(kDone);
    setCodes({kDone, kDone});
    EXPECT_FALSE(m_run->needsReset());
    setCodes({kDone, kDone, kDone, kDone});
    EXPECT_TRUE(m_run->needsReset());
}

TEST_F(RunSelectionTest, NeedsAResetOnceStarted) {
    m_run->setCode(kFailed);
    EXPECT_TRUE(m_run->needsReset());
    m_run->setCode(kNotStarted);
    m_run->setRunMode(HAXPExpRunBase::kLaunched);
    EXPECT_TRUE(m_run->needsReset());
}

}  // namespace
