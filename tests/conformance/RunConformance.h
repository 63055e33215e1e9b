// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tcl.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeProcessTable.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestParam.h"
#include "tests/support/drained.h"
#include "tests/support/thrownText.h"
#include "tests/unit/runs/xpreport/reportFixture.h"

/// What every concrete run class must keep, whatever tools it drives.
///
/// A class is put to it by a Maker and one line in a source file:
///
///     struct MyRunMaker {
///         static constexpr const char* kName = "MyRun";
///         const HAXPFlow* flow();   // three default steps or more, all usable
///         // The report strategy may be null.
///         std::unique_ptr<HAXPExpRunBase> make(const std::string& name,
///                                              const HAXPStrategy* strategy,
///                                              const HAXRReportStrategy* reportStrategy);
///         bool isDirty(const HAXPExpRunBase& run) const;   // since clearDirty()
///         void clearDirty(HAXPExpRunBase& run) const;
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Mine, RunConformance, MyRunMaker, MakerName);
///
/// The Maker lives longer than its runs.
template <class Maker> class RunConformance : public ::testing::Test {
protected:
    using Steps = std::vector<HAXPExpRunStep*>;
    using Ids = std::vector<std::string>;

    RunConformance() { m_run = make("run_1"); }

    std::unique_ptr<HAXPExpRunBase> make(const std::string& name) {
        const HAXPStrategy defaults(m_maker.flow());
        auto run = m_maker.make(name, &defaults, nullptr);
        m_maker.clearDirty(*run);
        return run;
    }
    Steps steps() const { return test::drained(m_run->createRunStepIter()); }
    static std::string idOf(const HAXPExpRunStep& step) {
        return step.getFlowStep()->getFlowStepId();
    }
    Ids ids() const {
        Ids ids;
        for (const HAXPExpRunStep* step : steps())
            ids.push_back(idOf(*step));
        return ids;
    }
    Ids entryIds() const {
        Ids ids;
        for (const HAXPFlowStepOptions* entry :
             test::drained(m_run->getStrategy()->createFlowStepOptionsIter()))
            ids.push_back(entry->getOptGrpId());
        return ids;
    }

    /// Makes the folder the directory of a launched run.
    void launch() {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRunBase::kLaunched);
    }
    static std::string marker(const HAXPExpRunStep& step, const std::string& kind) {
        return "." + step.getFlowStep()->getStatusTrackingStr() + "." + kind + ".rst";
    }
    void mark(const HAXPExpRunStep& step, const std::string& kind) const {
        m_dir.mark(marker(step, kind));
    }
    void markDone(const HAXPExpRunStep& step) const {
        mark(step, "begin");
        mark(step, "end");
    }
    /// The code of the run, or of a step, as the directory tells now.
    int poll() {
        m_run->updateStatus();
        return m_run->getStatus()->getCode();
    }
    int poll(const HAXPExpRunStep& step) {
        m_run->updateStatus();
        return step.getStatus()->getCode();
    }
    std::string runDir() const {
        std::string dir;
        m_run->getRunDir(dir);
        return dir;
    }
    /// A strategy of the run's flow without its last step.
    std::unique_ptr<HAXPStrategy> shortened() {
        auto strategy = std::make_unique<HAXPStrategy>(m_maker.flow());
        strategy->removeStep(ids().back());
        strategy->setName("short");
        strategy->setDescription("Without the last step");
        return strategy;
    }

    /// A launched run whose steps are all done, and what a tool left beside them.
    void finish() {
        launch();
        for (const HAXPExpRunStep* step : steps())
            markDone(*step);
        m_dir.mark("notes.txt");
        m_run->updateStatus();
    }
    /// Takes the run back to the step with this abbreviation, and empties its directory.
    bool reset(const std::string& abbrev = "", bool killFirst = false) {
        return m_run->resetRun(abbrev, m_errors, true, killFirst, false);
    }
    /// Makes the run anew with a report "report_drc" of its last step.
    void makeWithReport() {
        const HAXPStrategy defaults(m_maker.flow());
        HAXRReportStrategy reports(m_maker.flow());
        reports.setName("mine");
        reports.addSpec(ids().back(), test::reports::makeReport("report_drc").release(), false);
        m_run = m_maker.make("run_1", &defaults, &reports);
        reports.nukeSteps();
        m_maker.clearDirty(*m_run);
    }
    /// The report that makeWithReport() asks for; null if none.
    HAXRReportConfig* report() const {
        for (HAXRReportConfig* config : test::drained(steps().back()->createReportConfigIter())) {
            if (config->getSpecName() == "report_drc")
                return config;
        }
        return nullptr;
    }
    /// Has the report written into its file.
    void generate(HAXRReportConfig& config) const {
        config.setReportFile("drc.rpt", true);
        m_dir.mark("drc.rpt");
        config.update(false);
        ASSERT_EQ(config.getState(), HAXRReportConfig::REPORT_GENERATED);
    }

    Maker m_maker;
    HSTVector<std::string> m_errors;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRunBase> m_run;
};

/// Puts the name of the class into the names of the tests.
struct MakerName {
    template <class Maker> static std::string GetName(int) { return Maker::kName; }
};

TYPED_TEST_SUITE_P(RunConformance);

// Construction ---------------------------------------------------------------

TYPED_TEST_P(RunConformance, HasItsParts) {
    ASSERT_NE(this->m_run->getExpInfoBase(), nullptr);
    ASSERT_NE(this->m_run->getStatus(), nullptr);
    ASSERT_NE(this->m_run->getStrategy(), nullptr);
    EXPECT_EQ(this->m_run->getName(), "run_1");
    EXPECT_EQ(this->m_run->getExpInfoBase()->getRun(), this->m_run.get());
    EXPECT_EQ(this->m_run->getStrategy()->getFlow(), this->m_maker.flow());
}

TYPED_TEST_P(RunConformance, StartsNeitherLaunchedNorActivated) {
    EXPECT_EQ(this->m_run->getRunMode(), HAXPExpRunBase::kNotLaunched);
    EXPECT_FALSE(this->m_run->isActivated());
    EXPECT_EQ(this->runDir(), "");
    EXPECT_EQ(this->m_run->getLatestStep(), nullptr);
    EXPECT_EQ(this->m_run->getStatus()->getCode(), HDGUIStatus::statusNotStarted);
    EXPECT_FALSE(this->m_run->needsReset());
}

TYPED_TEST_P(RunConformance, RefusesANullStrategy) {
    EXPECT_EQ(test::thrownText<HEXAlgException>(
                  [this] { this->m_maker.make("run_2", nullptr, nullptr); }),
              "ExpRun: null strategy");
}

TYPED_TEST_P(RunConformance, HasAStepForEachOfItsStrategy) {
    EXPECT_GE(this->ids().size(), 3U) << "the suite needs a few";
    EXPECT_EQ(this->ids(), this->entryIds());
}

TYPED_TEST_P(RunConformance, HasStepsOverItsOwnGroups) {
    const auto entries = test::drained(this->m_run->getStrategy()->createFlowStepOptionsIter());
    const auto steps = this->steps();
    ASSERT_EQ(steps.size(), entries.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        EXPECT_EQ(steps[i]->getOptions(), entries[i]->getOptions());
        EXPECT_EQ(steps[i]->getAttrs(), entries[i]->getAttrs());
    }
}

TYPED_TEST_P(RunConformance, HoldsAnInternalCopyOfItsStrategy) {
    const auto strategy = this->shortened();
    const auto run = this->m_maker.make("run_2", strategy.get(), nullptr);
    EXPECT_NE(run->getStrategy(), strategy.get());
    EXPECT_TRUE(run->getStrategy()->isInternal());
    EXPECT_EQ(run->getStrategy()->getName(), "short");
    EXPECT_EQ(run->getDescription(), "Without the last step");
    strategy->nukeVecs();
    EXPECT_EQ(run->getStrategy()->stepCount(), static_cast<int>(this->ids().size()) - 1);
}

TYPED_TEST_P(RunConformance, HasStepsThatAreNotStarted) {
    for (const HAXPExpRunStep* step : this->steps()) {
        EXPECT_EQ(step->getStatus()->getCode(), HDGUIStatus::statusNotStarted);
        EXPECT_FALSE(step->isStale());
    }
}

// Status of steps ------------------------------------------------------------

TYPED_TEST_P(RunConformance, FollowsTheMarkersOfEachStep) {
    this->launch();
    for (const HAXPExpRunStep* step : this->steps()) {
        SCOPED_TRACE(this->idOf(*step));
        EXPECT_EQ(this->poll(*step), HDGUIStatus::statusNotStarted);
        this->mark(*step, "begin");
        EXPECT_EQ(this->poll(*step), HDGUIStatus::statusRunning);
        this->mark(*step, "error");
        EXPECT_EQ(this->poll(*step), HDGUIStatus::statusError);
        this->mark(*step, "end");
        EXPECT_EQ(this->poll(*step), HDGUIStatus::statusDone);
    }
}

TYPED_TEST_P(RunConformance, ForgetsAStepWhoseMarkersAreGone) {
    this->launch();
    const HAXPExpRunStep& first = *this->steps().front();
    this->markDone(first);
    EXPECT_EQ(this->poll(first), HDGUIStatus::statusDone);
    this->m_dir.unmark(this->marker(first, "begin"));
    this->m_dir.unmark(this->marker(first, "end"));
    EXPECT_EQ(this->poll(first), HDGUIStatus::statusNotStarted);
}

TYPED_TEST_P(RunConformance, LooksAtNoMarkerBeforeItIsLaunched) {
    for (const HAXPExpRunStep* step : this->steps())
        this->markDone(*step);
    this->m_run->setRunDir(this->m_dir.path(), false);
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
    EXPECT_EQ(this->poll(*this->steps().front()), HDGUIStatus::statusNotStarted);
}

TYPED_TEST_P(RunConformance, TouchesNoFileWithoutADirectory) {
    this->m_run->setRunMode(HAXPExpRunBase::kLaunched);
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
    for (const HAXPExpRunStep* step : this->steps())
        EXPECT_FALSE(this->m_run->isANonInitStep(step));
}

TYPED_TEST_P(RunConformance, TakesAMissingDirectoryForAnEmptyOne) {
    this->launch();
    this->m_run->setRunDir(this->m_dir.path("gone"), false);
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
}

// Status of the run ----------------------------------------------------------

TYPED_TEST_P(RunConformance, IsNotStartedInAnEmptyDirectory) {
    this->launch();
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
    EXPECT_EQ(this->m_run->getLatestStep(), nullptr);
}

TYPED_TEST_P(RunConformance, RunsWhileAStepRuns) {
    this->launch();
    this->mark(*this->steps()[0], "begin");
    EXPECT_EQ(this->poll(), HDGUIStatus::statusRunning);
}

TYPED_TEST_P(RunConformance, FailsWithAStep) {
    this->launch();
    this->markDone(*this->steps()[0]);
    this->mark(*this->steps()[1], "begin");
    this->mark(*this->steps()[1], "error");
    EXPECT_EQ(this->poll(), HDGUIStatus::statusError);
}

TYPED_TEST_P(RunConformance, IsDoneWithEveryStep) {
    this->launch();
    for (const HAXPExpRunStep* step : this->steps())
        this->markDone(*step);
    EXPECT_EQ(this->poll(), HDGUIStatus::statusDone);
    EXPECT_FALSE(this->m_run->canLaunchNextStep());
    EXPECT_TRUE(this->m_run->needsReset());
}

TYPED_TEST_P(RunConformance, KnowsTheStepThatWasStartedLast) {
    this->launch();
    this->markDone(*this->steps()[0]);
    this->mark(*this->steps()[1], "begin");
    this->m_run->updateStatus();
    EXPECT_EQ(this->m_run->getLatestStep(), this->steps()[1]);
}

TYPED_TEST_P(RunConformance, GoesOnBehindTheLastDoneStep) {
    this->launch();
    this->markDone(*this->steps()[0]);
    this->m_run->updateStatus();
    EXPECT_EQ(this->m_run->getLastDoneStep(), this->steps()[0]);
    EXPECT_EQ(this->m_run->getEffectiveNextStep(), this->steps()[1]);
    EXPECT_TRUE(this->m_run->isPartiallyDone());
}

TYPED_TEST_P(RunConformance, SetsTheStatusOfAStepOrOfItself) {
    this->m_run->setRunStatus(this->steps()[1], HDGUIStatus::statusQueued);
    EXPECT_EQ(this->steps()[1]->getStatus()->getCode(), HDGUIStatus::statusQueued);
    this->m_run->setRunStatus(nullptr, HDGUIStatus::statusQueued);
    EXPECT_EQ(this->m_run->getStatus()->getCode(), HDGUIStatus::statusQueued);
}

TYPED_TEST_P(RunConformance, ChangesNothingElseByAPoll) {
    this->launch();
    this->markDone(*this->steps()[0]);
    this->m_run->updateStatus();
    EXPECT_EQ(this->m_run->getRunMode(), HAXPExpRunBase::kLaunched);
    EXPECT_EQ(this->runDir(), this->m_dir.path());
    EXPECT_FALSE(this->m_run->isActivated());
    EXPECT_FALSE(this->m_maker.isDirty(*this->m_run));
}

TYPED_TEST_P(RunConformance, IsNotDirtyByWhatTheDiskTells) {
    this->launch();
    this->markDone(*this->steps()[0]);
    this->m_run->updateRun();
    this->m_run->setRunDir(this->m_dir.path(), true);
    this->m_run->checkToActivateRun();
    EXPECT_TRUE(this->m_run->isActivated());
    this->m_run->deactivateRun();
    EXPECT_FALSE(this->m_run->isActivated());
    EXPECT_FALSE(this->m_maker.isDirty(*this->m_run));
}

// Changes --------------------------------------------------------------------

TYPED_TEST_P(RunConformance, IsDirtyByAnOption) {
    for (const HAXPExpRunStep* step : this->steps()) {
        for (const auto& spec : step->getOptions()->getOptionsSpec()->getAttrSpecs()) {
            if (spec->getAttrType() != HATAttrTypes::kBool)
                continue;
            step->getOptions()->setBoolVal(spec.get(), !spec->getBoolDefault(), true);
            EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
            return;
        }
    }
    FAIL() << "the flow has no bool option to try";
}

TYPED_TEST_P(RunConformance, IsDirtyByItsNameAndDescription) {
    this->m_run->setDescription("quietly", false);
    EXPECT_FALSE(this->m_maker.isDirty(*this->m_run));
    this->m_run->setDescription("text", true);
    EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
    this->m_maker.clearDirty(*this->m_run);
    this->m_run->renameRun("run_2");
    EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
    EXPECT_EQ(this->m_run->getName(), "run_2");
}

TYPED_TEST_P(RunConformance, AppliesAStrategy) {
    const auto strategy = this->shortened();
    auto expected = this->ids();
    expected.pop_back();
    this->m_run->applyStrategy(strategy.get());
    EXPECT_EQ(this->ids(), expected);
    EXPECT_EQ(this->entryIds(), expected);
    EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
    EXPECT_EQ(test::thrownText<HEXAlgException>([this] { this->m_run->applyStrategy(nullptr); }),
              "Can't apply null strategy to run");
}

TYPED_TEST_P(RunConformance, AddsAStepOfItsFlowOnce) {
    const auto all = this->ids();
    const HAXPFlowStep* last = this->steps().back()->getFlowStep();
    this->m_run->applyStrategy(this->shortened().get());
    this->m_maker.clearDirty(*this->m_run);
    this->m_run->addStep(last, true, false);
    EXPECT_EQ(this->ids(), all);
    EXPECT_EQ(this->entryIds(), all);
    EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
    EXPECT_EQ(test::thrownText<HEXUserException>([&] { this->m_run->addStep(last, true, false); }),
              "Step '" + all.back() +
                  "' can't be added to run 'run_1': Step already included in run");
    EXPECT_EQ(this->ids(), all);
}

TYPED_TEST_P(RunConformance, HasNoStaleReasonsBeforeItIsLaunched) {
    this->m_run->getExpInfoBase()->updStaleReasons();
    EXPECT_FALSE(this->m_run->getExpInfoBase()->isStale());
    EXPECT_EQ(this->m_run->getFirstStaleStep(), nullptr);
}

TYPED_TEST_P(RunConformance, MakesItsScriptHandleInvalidWhenItGoes) {
    using Handles = mqi::tcltasks::native_cache<HAXPExpRunBase*>;
    Tcl_Interp* const interp = Tcl_CreateInterp();
    Tcl_Obj* const handle = Handles::get_obj(this->m_run.get(), "run_1");
    Handles::incr_refcount(handle);
    EXPECT_EQ(Handles::get_native(handle), this->m_run.get());
    this->m_run.reset();
    EXPECT_TRUE(Handles::is_invalid(handle));
    Handles::decr_refcount(handle);
    Tcl_DeleteInterp(interp);
}

// Reset ----------------------------------------------------------------------

TYPED_TEST_P(RunConformance, IsNotStartedAfterAReset) {
    this->finish();
    EXPECT_TRUE(this->reset());
    EXPECT_TRUE(this->m_errors.empty());
    EXPECT_EQ(this->m_run->getStatus()->getCode(), HDGUIStatus::statusNotStarted);
    for (const HAXPExpRunStep* step : this->steps())
        EXPECT_EQ(step->getStatus()->getCode(), HDGUIStatus::statusNotStarted);
    EXPECT_EQ(this->m_run->getLatestStep(), nullptr);
    EXPECT_FALSE(this->m_run->isActivated());
    EXPECT_FALSE(this->m_dir.has("notes.txt"));
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
}

TYPED_TEST_P(RunConformance, GoesOnBehindTheStepsThatAResetLeaves) {
    this->finish();
    const auto all = this->steps();
    EXPECT_TRUE(this->reset(all[1]->getFlowStep()->getAbbrev()));
    EXPECT_EQ(this->m_run->getLastDoneStep(), all[0]);
    EXPECT_EQ(this->m_run->getLatestStep(), all[0]);
    EXPECT_EQ(this->m_run->getEffectiveNextStep(), all[1]);
    EXPECT_TRUE(this->m_dir.has("notes.txt"));
}

TYPED_TEST_P(RunConformance, KeepsModeAndDirectoryInAReset) {
    this->finish();
    EXPECT_TRUE(this->reset());
    EXPECT_EQ(this->m_run->getRunMode(), HAXPExpRunBase::kLaunched);
    EXPECT_EQ(this->runDir(), this->m_dir.path());
}

TYPED_TEST_P(RunConformance, IsDirtyByAResetWhenAsked) {
    this->finish();
    EXPECT_TRUE(this->reset());
    EXPECT_FALSE(this->m_maker.isDirty(*this->m_run));
    EXPECT_TRUE(this->m_run->resetRun(this->m_errors, true, false, true));
    EXPECT_TRUE(this->m_maker.isDirty(*this->m_run));
}

TYPED_TEST_P(RunConformance, FollowsTheMarkersOfALaunchBehindAReset) {
    this->finish();
    EXPECT_TRUE(this->reset());
    this->mark(*this->steps()[0], "begin");
    EXPECT_EQ(this->poll(), HDGUIStatus::statusRunning);
    EXPECT_EQ(this->m_run->getLatestStep(), this->steps()[0]);
}

TYPED_TEST_P(RunConformance, KeepsTheOutputsOfWhatItCantStop) {
    const test::FakeClock clock;
    const test::FakeProcessTable host;
    this->finish();
    this->m_dir.unmark(this->marker(*this->steps().back(), "end"));
    EXPECT_FALSE(this->reset("", true)) << "no record tells of its process";
    EXPECT_EQ(this->m_errors.size(), 1U);
    EXPECT_TRUE(this->m_dir.has("notes.txt"));
    EXPECT_TRUE(this->m_dir.has(".stop.rst"));
    EXPECT_EQ(this->poll(), HDGUIStatus::statusNotStarted);
}

// Reports --------------------------------------------------------------------

TYPED_TEST_P(RunConformance, HoldsAnInternalCopyOfItsReportStrategy) {
    this->makeWithReport();
    const HAXRReportStrategy* own = this->m_run->getReportStrategy();
    ASSERT_NE(own, nullptr);
    EXPECT_TRUE(own->isInternal());
    EXPECT_EQ(own->getName(), "mine");
    EXPECT_EQ(own->getFlow(), this->m_maker.flow());
    ASSERT_NE(this->report(), nullptr);
    EXPECT_EQ(this->report()->getAssociatedRun(), this->m_run.get());
}

TYPED_TEST_P(RunConformance, ResetsNoReportByAPoll) {
    this->makeWithReport();
    this->finish();
    HAXRReportConfig* config = this->report();
    ASSERT_NE(config, nullptr);
    this->generate(*config);
    this->m_dir.unmark(this->marker(*this->steps().back(), "begin"));
    EXPECT_EQ(this->poll(*this->steps().back()), HDGUIStatus::statusNotStarted);
    this->m_run->updateRun();
    EXPECT_EQ(config->getState(), HAXRReportConfig::REPORT_GENERATED);
    EXPECT_TRUE(this->m_dir.has("drc.rpt"));
    EXPECT_FALSE(this->m_maker.isDirty(*this->m_run));
}

TYPED_TEST_P(RunConformance, TakesReportsBackInAReset) {
    const test::TestParam configurations("project.enableReportConfiguration", true);
    this->makeWithReport();
    this->finish();
    HAXRReportConfig* config = this->report();
    ASSERT_NE(config, nullptr);
    this->generate(*config);
    EXPECT_TRUE(this->reset());
    EXPECT_EQ(config->getState(), HAXRReportConfig::REPORT_NOT_GENERATED);
    EXPECT_FALSE(this->m_dir.has("drc.rpt"));
    EXPECT_EQ(this->report(), config) << "the report itself stays";
}

REGISTER_TYPED_TEST_SUITE_P(
    RunConformance, HasItsParts, StartsNeitherLaunchedNorActivated, RefusesANullStrategy,
    HasAStepForEachOfItsStrategy, HasStepsOverItsOwnGroups, HoldsAnInternalCopyOfItsStrategy,
    HasStepsThatAreNotStarted, FollowsTheMarkersOfEachStep, ForgetsAStepWhoseMarkersAreGone,
    LooksAtNoMarkerBeforeItIsLaunched, TouchesNoFileWithoutADirectory,
    TakesAMissingDirectoryForAnEmptyOne, IsNotStartedInAnEmptyDirectory, RunsWhileAStepRuns,
    FailsWithAStep, IsDoneWithEveryStep, KnowsTheStepThatWasStartedLast,
    GoesOnBehindTheLastDoneStep, SetsTheStatusOfAStepOrOfItself, ChangesNothingElseByAPoll,
    IsNotDirtyByWhatTheDiskTells, IsDirtyByAnOption, IsDirtyByItsNameAndDescription,
    AppliesAStrategy, AddsAStepOfItsFlowOnce, HasNoStaleReasonsBeforeItIsLaunched,
    MakesItsScriptHandleInvalidWhenItGoes, IsNotStartedAfterAReset,
    GoesOnBehindTheStepsThatAResetLeaves, KeepsModeAndDirectoryInAReset, IsDirtyByAResetWhenAsked,
    FollowsTheMarkersOfALaunchBehindAReset, KeepsTheOutputsOfWhatItCantStop,
    HoldsAnInternalCopyOfItsReportStrategy, ResetsNoReportByAPoll, TakesReportsBackInAReset);
