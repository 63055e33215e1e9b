// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPExpRunStep.h"

#include <memory>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/options/HATOptGroup.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPFileCheck.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "tests/support/MessageRecorder.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::drained;
using test::kDone;
using test::kFailed;
using test::kNotStarted;
using test::kQueued;
using test::kRunning;
using test::RunFixture;
using test::StepTraits;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Strings = HSTVector<std::string>;

/// A run whose first step "place_design" is called "Place Design", has the message file
/// "place.log" and two reports; "plain" can't be switched off and has no hooks.
class RunStepTest : public RunFixture {
protected:
    RunStepTest() : RunFixture({placeDesign(), plain()}) {}

    static StepTraits placeDesign() {
        StepTraits traits = StepTraits::of("place_design");
        traits.name = "Place Design";
        traits.msgFileName = "place.log";
        traits.reports = {HAXPTypes::FILE_PLACE_IO, HAXPTypes::FILE_PLACE_CLK};
        return traits;
    }
    static StepTraits plain() {
        StepTraits traits = StepTraits::of("plain");
        traits.canDisable = false;
        traits.hasTclHooks = false;
        return traits;
    }

    HAXPExpRunStep& place() const { return *step("place_design"); }
    int code() const { return place().getStatus()->getCode(); }
    /// A step like the first, without attributes.
    std::unique_ptr<HAXPExpRunStep> withoutAttrs() const {
        return std::make_unique<HAXPExpRunStep>(flowStep("place_design"), place().getOptions(),
                                                nullptr, &m_run->info());
    }

    test::MessageRecorder m_messages;
};

// Making ---------------------------------------------------------------------

TEST_F(RunStepTest, PairsTheFlowStepWithOptionsAndAttributes) {
    EXPECT_EQ(place().getFlowStep(), flowStep("place_design"));
    EXPECT_EQ(place().getOptions(), m_run->getStrategy()->getOptions("place_design"));
    EXPECT_NE(place().getAttrs(), nullptr);
}

TEST_F(RunStepTest, IsNotStartedAtFirst) {
    EXPECT_EQ(code(), kNotStarted);
    EXPECT_EQ(place().getStatus()->getText(), "Not Started");
    EXPECT_EQ(place().getStatus()->getDetailText(), "Not Started");
    EXPECT_EQ(place().getProcInfo()->getPid(), 0);
    EXPECT_EQ(place().getProcInfo()->parseAttemptsCount(), 0);
    EXPECT_FALSE(place().isStale());
    EXPECT_TRUE(drained(place().createRunIter()).empty());
    EXPECT_TRUE(drained(place().createFileTypeIter()).empty());
}

TEST_F(RunStepTest, HasAFileCheckForEachReportInOrder) {
    EXPECT_EQ(place().reportCount(), 2);
    const auto checks = drained(place().createReportIter());
    ASSERT_EQ(checks.size(), 2U);
    EXPECT_EQ(checks[0]->getName(), "report 0");
    EXPECT_EQ(checks[1]->getName(), "report 1");
    EXPECT_EQ(step("plain")->reportCount(), 0);
    EXPECT_TRUE(drained(step("plain")->createReportIter()).empty());
}

TEST_F(RunStepTest, IsVirtualAsItsFlowStepIs) {
    StepTraits traits = StepTraits::of("v");
    traits.isVirtual = true;
    const auto flow = test::makeFlowOf({traits});
    const test::TestRun run("impl_1", flow.get());
    EXPECT_TRUE(run.getFirstStep()->isVirtual());
    EXPECT_FALSE(place().isVirtual());
}

// Switch and hooks -----------------------------------------------------------

TEST_F(RunStepTest, IsEnabledAsItsAttributeSays) {
    EXPECT_TRUE(place().isEnabled());
    m_run->setEnabled("place_design", false);
    EXPECT_FALSE(place().isEnabled());
}

TEST_F(RunStepTest, IsEnabledWithoutTheAttribute) {
    EXPECT_EQ(step("plain")->getAttrs()->getAttrSpecForDbId("EnableStepBool"), nullptr);
    EXPECT_TRUE(step("plain")->isEnabled());
}

TEST_F(RunStepTest, IsEnabledWithoutHooksWhenItHasNoAttributes) {
    m_run->setEnabled("place_design", false);
    const auto bare = withoutAttrs();
    EXPECT_EQ(bare->getAttrs(), nullptr);
    EXPECT_TRUE(bare->isEnabled());
    EXPECT_EQ(bare->getPreHook(), "");
    EXPECT_EQ(bare->getPostHook(), "");
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(RunStepTest, HasNoHooksWithoutTheAttributes) {
    EXPECT_EQ(step("plain")->getPreHook(), "");
    EXPECT_EQ(step("plain")->getPostHook(), "");
    EXPECT_EQ(place().getPreHook(), "");
    EXPECT_EQ(place().getPostHook(), "");
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(RunStepTest, GivesHooksThatExistInSilence) {
    m_dir.mark("pre.tcl");
    m_dir.mark("post.tcl");
    test::setText(place().getAttrs(), "PreStepTclHook", m_dir.path("pre.tcl"));
    test::setText(place().getAttrs(), "PostStepTclHook", m_dir.path("post.tcl"));
    EXPECT_EQ(place().getPreHook(), m_dir.path("pre.tcl"));
    EXPECT_EQ(place().getPostHook(), m_dir.path("post.tcl"));
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(RunStepTest, WarnsOfAMissingHookAndGivesItAllTheSame) {
    const std::string file = m_dir.path("gone.tcl");
    test::setText(place().getAttrs(), "PreStepTclHook", file);
    EXPECT_EQ(place().getPreHook(), file);
    EXPECT_EQ(place().getPostHook(), "");
    EXPECT_THAT(m_messages.summaries(),
                ElementsAre("runs WARNING 36-526(" + file + ", Place Design)"));
}

TEST_F(RunStepTest, WarnsOfAMissingHookBehindTheStepEachTime) {
    const std::string file = m_dir.path("gone.tcl");
    test::setText(place().getAttrs(), "PostStepTclHook", file);
    EXPECT_EQ(place().getPostHook(), file);
    EXPECT_EQ(place().getPostHook(), file);
    const std::string warning = "runs WARNING 36-525(" + file + ", Place Design)";
    EXPECT_THAT(m_messages.summaries(), ElementsAre(warning, warning));
}

// Files ----------------------------------------------------------------------

TEST_F(RunStepTest, KeepsOneFileInPlaceOfMany) {
    place().setFiles(HAXPTypes::FILE_PLACE_IO, {"a", "b"});
    place().setFile(HAXPTypes::FILE_PLACE_IO, "c");
    Strings files;
    EXPECT_EQ(place().getFiles(HAXPTypes::FILE_PLACE_IO, files), 1);
    EXPECT_THAT(files, ElementsAre("c"));
    EXPECT_EQ(place().getFile(HAXPTypes::FILE_PLACE_IO), "c");
}

TEST_F(RunStepTest, KeepsACopyOfManyFiles) {
    Strings given{"a", "b"};
    place().setFiles(HAXPTypes::FILE_PLACE_IO, given);
    given.clear();
    Strings files{"as before"};
    EXPECT_EQ(place().getFiles(HAXPTypes::FILE_PLACE_IO, files), 2);
    EXPECT_THAT(files, ElementsAre("a", "b"));
    EXPECT_EQ(place().getFile(HAXPTypes::FILE_PLACE_IO), "a");
}

TEST_F(RunStepTest, GivesASharedEmptyTextForAnUnknownType) {
    const std::string& none = place().getFile(HAXPTypes::FILE_PLACE_IO);
    EXPECT_EQ(none, "");
    EXPECT_EQ(&none, &place().getFile(HAXPTypes::FILE_ROUTE_DCP));
    EXPECT_TRUE(drained(place().createFileTypeIter()).empty()) << "no entry is made";
}

TEST_F(RunStepTest, ThrowsForTheFirstOfNoFiles) {
    place().setFiles(HAXPTypes::FILE_PLACE_IO, {});
    EXPECT_THROW(place().getFile(HAXPTypes::FILE_PLACE_IO), std::out_of_range);
    Strings files{"as before"};
    EXPECT_EQ(place().getFiles(HAXPTypes::FILE_PLACE_IO, files), 0);
    EXPECT_THAT(files, IsEmpty());
}

TEST_F(RunStepTest, LeavesTheListAsItWasForAnUnknownType) {
    Strings files{"x", "y"};
    EXPECT_EQ(place().getFiles(HAXPTypes::FILE_PLACE_IO, files), 2);
    EXPECT_THAT(files, ElementsAre("x", "y"));
}

TEST_F(RunStepTest, WalksTheTypesThatWereSet) {
    place().setFile(HAXPTypes::FILE_PLACE_IO, "a");
    place().setFile(HAXPTypes::FILE_ROUTE_DCP, "b");
    place().setFile(HAXPTypes::FILE_PLACE_IO, "c");
    const auto types = drained(place().createFileTypeIter());
    EXPECT_EQ(types.size(), 2U);
    EXPECT_EQ(std::set<HAXPTypes::FileType>(types.begin(), types.end()),
              (std::set<HAXPTypes::FileType>{HAXPTypes::FILE_PLACE_IO, HAXPTypes::FILE_ROUTE_DCP}));
    place().clearFileHash();
    EXPECT_TRUE(drained(place().createFileTypeIter()).empty());
    EXPECT_EQ(place().getFile(HAXPTypes::FILE_PLACE_IO), "");
}

TEST_F(RunStepTest, KeepsItsFilesApartFromTheRuns) {
    place().setFile(HAXPTypes::FILE_PLACE_IO, "step.rpt");
    EXPECT_EQ(m_run->info().getFile(HAXPTypes::FILE_PLACE_IO), "");
}

// Checkpoints ----------------------------------------------------------------

/// A step id and the id of the kind of its checkpoint, empty for none.
struct CheckpointCase {
    const char* name;
    const char* stepId;
    const char* fileTypeId;
};

std::ostream& operator<<(std::ostream& os, const CheckpointCase& row) {
    return os << row.name;
}

class StepCheckpointTable : public ::testing::TestWithParam<CheckpointCase> {};

TEST_P(StepCheckpointTable, IsTheRunsFileOfItsKind) {
    const auto flow = test::makeFlow({GetParam().stepId});
    const test::TestRun run("impl_1", flow.get());
    for (int type = 0; type < HAXPTypes::FILE_UNKNOWN; ++type) {
        const auto fileType = static_cast<HAXPTypes::FileType>(type);
        run.info().setFile(fileType, "file of " + HAXPTypes::getFileTypeId(fileType));
    }
    const std::string id = GetParam().fileTypeId;
    EXPECT_EQ(run.getFirstStep()->getDcpFile(), id.empty() ? "" : "file of " + id);
}

TEST_P(StepCheckpointTable, IsEmptyWhileTheRunHasNone) {
    const auto flow = test::makeFlow({GetParam().stepId});
    const test::TestRun run("impl_1", flow.get());
    EXPECT_EQ(run.getFirstStep()->getDcpFile(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Steps, StepCheckpointTable,
    ::testing::Values(
        CheckpointCase{"Opt", "opt_design", "OPT-DCP"},
        CheckpointCase{"PowerOpt", "power_opt_design", "PWROPT-DCP"},
        CheckpointCase{"Place", "place_design", "PLACE-DCP"},
        CheckpointCase{"PostPlacePowerOpt", "post_place_power_opt_design", "POSTPLACE-PWROPT-DCP"},
        CheckpointCase{"PhysOpt", "phys_opt_design", "PHYSOPT-DCP"},
        CheckpointCase{"PostRoutePhysOpt", "post_route_phys_opt_design", "POSTROUTE-PHYSOPT-DCP"},
        CheckpointCase{"Route", "route_design", "ROUTE-DCP"},
        CheckpointCase{"OtherCase", "Route_Design", ""},
        CheckpointCase{"Synth", "synth_design", ""},
        CheckpointCase{"Bitstream", "write_bitstream", ""},
        CheckpointCase{"LongerId", "route_design_2", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(StepCheckpointTest, IsEmptyForAVirtualStep) {
    StepTraits traits = StepTraits::of("virtual_route");
    traits.isVirtual = true;
    const auto flow = test::makeFlowOf({traits});
    const test::TestRun run("impl_1", flow.get());
    run.info().setFile(HAXPTypes::FILE_ROUTE_DCP, "routed.dcp");
    EXPECT_EQ(run.getFirstStep()->getDcpFile(), "");
}

// Reports --------------------------------------------------------------------

TEST_F(RunStepTest, FindsAndForgetsItsReports) {
    m_run->info().setFile(HAXPTypes::FILE_PLACE_CLK, "clk.rpt");
    m_dir.mark("clk.rpt");
    place().updateReports(m_dir.path());
    const auto checks = drained(place().createReportIter());
    EXPECT_FALSE(checks[0]->isAvailable());
    EXPECT_TRUE(checks[1]->isAvailable());
    place().resetReports();
    EXPECT_FALSE(checks[1]->isAvailable());
    EXPECT_TRUE(m_dir.has("clk.rpt"));
}

TEST_F(RunStepTest, FindsNoReportWithoutADirectoryOrInformation) {
    m_run->info().setFile(HAXPTypes::FILE_PLACE_CLK, "clk.rpt");
    m_dir.mark("clk.rpt");
    place().updateReports("");
    EXPECT_FALSE(drained(place().createReportIter()).at(1)->isAvailable());
    HAXPExpRunStep alone(flowStep("place_design"), place().getOptions(), nullptr, nullptr);
    alone.updateReports(m_dir.path());
    EXPECT_FALSE(drained(alone.createReportIter()).at(1)->isAvailable());
    EXPECT_EQ(alone.getDcpFile(), "");
}

TEST_F(RunStepTest, DeletesItsReports) {
    place().deleteReports();
    EXPECT_EQ(place().reportCount(), 0);
    place().updateReports(m_dir.path());
    place().resetReports();
    place().deleteReports();
    place().createReports(&m_run->info());
    EXPECT_EQ(place().reportCount(), 2);
}

// Runs that share it ---------------------------------------------------------

TEST_F(RunStepTest, ListsARunOnceInOrder) {
    test::TestRun other("impl_2", m_flow.get());
    place().addRun(&other);
    place().addRun(m_run.get());
    place().addRun(&other);
    place().addRun(nullptr);
    EXPECT_EQ(drained(place().createRunIter()),
              (std::vector<HAXPExpRunBase*>{&other, m_run.get()}));
    place().removeRun(nullptr);
    place().removeRun(&other);
    place().removeRun(&other);
    EXPECT_EQ(drained(place().createRunIter()), (std::vector<HAXPExpRunBase*>{m_run.get()}));
}

// Stale reasons --------------------------------------------------------------

/// The same, with a snapshot of the run's strategy as it is at first.
class RunStepStaleTest : public RunStepTest {
protected:
    RunStepStaleTest() : m_snapshot(std::make_unique<HAXPStrategy>()) {
        m_snapshot->copyStrat(m_run->getStrategy(), true, boost::logic::indeterminate);
        m_run->setCode("place_design", kDone);
        m_run->info().setFlowType(HAXPTypes::FLOW_ENTIRE_DESIGN);
    }

    void setCount(int count) { test::setInt(place().getOptions(), "CountInt", count); }
    bool update(bool compareAll) {
        return place().updateStaleReasons(m_run->getStrategy(), m_snapshot.get(), compareAll);
    }
    const HADAStaleReason* reason() {
        m_reasons.clear();
        place().getStaleReasons(m_reasons);
        return m_reasons.find(HADAStaleReason::SS_OPTION_CHANGED);
    }
    /// "step.option: old -> new" for each option of the reason.
    std::vector<std::string> differences() {
        std::vector<std::string> lines;
        if (const HADAStaleReason* found = reason())
            for (const HADAStaleOption& option : found->getOptions())
                lines.push_back(option.getGroup() + "." + option.getName() + ": " +
                                option.getOldValue() + " -> " + option.getNewValue());
        return lines;
    }

    std::unique_ptr<HAXPStrategy> m_snapshot;
    HADAStaleReasons m_reasons;
};

TEST_F(RunStepStaleTest, IsNotStaleWhenNothingChanged) {
    EXPECT_FALSE(update(true));
    EXPECT_FALSE(place().isStale());
}

TEST_F(RunStepStaleTest, IsStaleByAChangedOption) {
    setCount(7);
    EXPECT_TRUE(update(false));
    EXPECT_TRUE(place().isStale());
    EXPECT_EQ(differences(), (std::vector<std::string>{"place_design.count: 1 -> 7"}));
    EXPECT_FALSE(step("plain")->isStale());
}

TEST_F(RunStepStaleTest, NotesTheKindOfTheRun) {
    setCount(7);
    update(false);
    EXPECT_EQ(reason()->getRunType(), HADAStaleReason::RT_IMPL);
    m_run->info().setFlowType(HAXPTypes::FLOW_SYNTH);
    update(false);
    EXPECT_EQ(reason()->getRunType(), HADAStaleReason::RT_SYNTH);
}

TEST_F(RunStepStaleTest, RebuildsItsOptionReasons) {
    setCount(7);
    update(false);
    setCount(1);
    test::setBool(place().getOptions(), "FlagBool", true);
    EXPECT_TRUE(update(false));
    ASSERT_EQ(differences().size(), 1U);
    EXPECT_EQ(reason()->getOptions().front().getName(), "flag");
    test::setBool(place().getOptions(), "FlagBool", false);
    EXPECT_FALSE(update(false));
    EXPECT_FALSE(place().isStale());
}

TEST_F(RunStepStaleTest, ComparesADisabledStepOnlyWithAll) {
    m_run->setEnabled("place_design", false);
    test::setBool(m_snapshot->getRunStepOptions("place_design")->getAttrs(), "EnableStepBool",
                  false);
    setCount(7);
    EXPECT_FALSE(update(false));
    EXPECT_FALSE(place().isStale());
    EXPECT_TRUE(update(true));
    EXPECT_TRUE(place().isStale());
    EXPECT_FALSE(update(false)) << "and forgets what it knew";
    EXPECT_FALSE(place().isStale());
}

TEST_F(RunStepStaleTest, ComparesTheSwitchAloneBeforeTheStepHasRun) {
    m_run->setCode("place_design", kNotStarted);
    setCount(7);
    EXPECT_FALSE(update(true));
    m_run->setEnabled("place_design", false);
    EXPECT_FALSE(update(false));
    EXPECT_TRUE(update(true));
    EXPECT_EQ(differences(), (std::vector<std::string>{"place_design.is_enabled: true -> false"}));
}

TEST_F(RunStepStaleTest, ComparesNothingOfADisabledStepThatHasNotRun) {
    m_run->setCode("place_design", kNotStarted);
    m_run->setEnabled("place_design", false);
    setCount(7);
    EXPECT_FALSE(update(false));
    EXPECT_FALSE(place().isStale());
}

TEST_F(RunStepStaleTest, ChangesNothingWithoutAStrategy) {
    setCount(7);
    update(false);
    m_run->info().setNeedsResetForFlowChange(true);
    EXPECT_FALSE(place().updateStaleReasons(nullptr, m_snapshot.get(), true));
    EXPECT_FALSE(place().updateStaleReasons(m_run->getStrategy(), nullptr, true));
    EXPECT_TRUE(place().isStale());
    EXPECT_TRUE(m_run->info().needsResetForFlowChange());
}

TEST_F(RunStepStaleTest, NeedsAResetWhileTheFlowsDiffer) {
    const auto other = test::makeFlowOf({placeDesign(), plain()}, "Other Flow", "other_flow");
    HAXPStrategy strange(other.get());
    setCount(7);
    EXPECT_FALSE(place().updateStaleReasons(m_run->getStrategy(), &strange, true));
    EXPECT_TRUE(m_run->info().needsResetForFlowChange());
    EXPECT_FALSE(place().isStale());
    EXPECT_TRUE(update(true));
    EXPECT_FALSE(m_run->info().needsResetForFlowChange());
}

TEST_F(RunStepStaleTest, KeepsItsReasonsWhileNothingCanBeCompared) {
    setCount(7);
    update(true);
    place().updateStaleReasonsForSwParamChange();
    const auto other = test::makeFlowOf({placeDesign(), plain()}, "Other Flow", "other_flow");
    HAXPStrategy strange(other.get());
    EXPECT_FALSE(place().updateStaleReasons(m_run->getStrategy(), &strange, true));
    EXPECT_FALSE(place().updateStaleReasons(m_run->getStrategy(), nullptr, true));
    EXPECT_EQ(differences(), (std::vector<std::string>{"place_design.count: 1 -> 7"}));
    EXPECT_NE(m_reasons.find(HADAStaleReason::SS_SW_PARAM_CHANGED), nullptr);
    setCount(1);
    EXPECT_FALSE(update(true)) << "now that it is compared, the option agrees";
    EXPECT_EQ(reason(), nullptr);
    EXPECT_NE(m_reasons.find(HADAStaleReason::SS_SW_PARAM_CHANGED), nullptr);
}

TEST_F(RunStepStaleTest, NotesEveryOptionThatDiffersInItsOrder) {
    setCount(7);
    test::setBool(place().getOptions(), "FlagBool", true);
    m_run->setEnabled("place_design", false);
    EXPECT_TRUE(update(true));
    EXPECT_EQ(differences(), (std::vector<std::string>{"place_design.flag: false -> true",
                                                       "place_design.count: 1 -> 7",
                                                       "place_design.is_enabled: true -> false"}));
    place().getStaleReasons(m_reasons);
    EXPECT_EQ(m_reasons.count(), 2U) << "one reason, and its copy";
}

TEST_F(RunStepStaleTest, TakesFlowsOfOneIdForTheSame) {
    const auto twin = test::makeFlowOf({placeDesign(), plain()});
    HAXPStrategy snapshot(twin.get());
    EXPECT_FALSE(place().updateStaleReasons(m_run->getStrategy(), &snapshot, true));
    EXPECT_FALSE(m_run->info().needsResetForFlowChange());
}

TEST_F(RunStepStaleTest, GivesCopiesOfItsReasons) {
    HADAStaleReasons reasons;
    EXPECT_FALSE(place().getStaleReasons(reasons));
    setCount(7);
    update(false);
    EXPECT_TRUE(place().getStaleReasons(reasons));
    EXPECT_TRUE(place().getStaleReasons(reasons));
    EXPECT_EQ(reasons.count(), 2U) << "appended";
    EXPECT_FALSE(step("plain")->getStaleReasons(reasons)) << "by the step's own state";
    reasons.clear();
    EXPECT_TRUE(place().isStale());
}

TEST_F(RunStepStaleTest, ForgetsReasonsByKindOrAll) {
    setCount(7);
    update(false);
    place().removeStaleReason(HADAStaleReason::SS_CONSTRS_CHANGED);
    EXPECT_TRUE(place().isStale());
    place().removeStaleReason(HADAStaleReason::SS_OPTION_CHANGED);
    EXPECT_FALSE(place().isStale());
    update(false);
    place().resetStaleReasons();
    EXPECT_FALSE(place().isStale());
}

// Status ---------------------------------------------------------------------

TEST_F(RunStepTest, FollowsItsMarkers) {
    EXPECT_FALSE(place().updateStatus(m_dir.path()));
    EXPECT_EQ(code(), kNotStarted);
    m_dir.mark(".place_design.begin.rst");
    EXPECT_FALSE(place().updateStatus(m_dir.path()));
    EXPECT_EQ(code(), kRunning);
    m_dir.mark(".place_design.error.rst");
    place().updateStatus(m_dir.path());
    EXPECT_EQ(code(), kFailed);
    m_dir.mark(".place_design.end.rst");
    place().updateStatus(m_dir.path());
    EXPECT_EQ(code(), kDone);
}

TEST_F(RunStepTest, KeepsTheStampsOfItsMarkers) {
    m_dir.mark(".place_design.begin.rst");
    m_dir.mark(".place_design.end.rst");
    m_dir.touch(".place_design.begin.rst", 1000);
    m_dir.touch(".place_design.end.rst", 2000);
    place().updateStatus(m_dir.path());
    EXPECT_EQ(place().getProcInfo()->getStartStamp(), 1000);
    EXPECT_EQ(place().getProcInfo()->getEndStamp(), 2000);
}

TEST_F(RunStepTest, LooksAtNoFileWithoutADirectory) {
    place().updateStatus("");
    EXPECT_EQ(code(), kNotStarted);
}

TEST_F(RunStepTest, ResetsItsStatusAndProcess) {
    m_run->setCode("place_design", kDone);
    place().getStatus()->setText("Complete");
    place().getStatus()->setDetailText("in 3 s");
    place().getProcInfo()->setPid(42);
    place().getProcInfo()->setStartStamp(1000);
    m_dir.mark(".place_design.begin.rst");
    place().resetStatus();
    EXPECT_EQ(code(), kNotStarted);
    EXPECT_EQ(place().getStatus()->getText(), "Complete") << "texts stay";
    EXPECT_EQ(place().getStatus()->getDetailText(), "in 3 s");
    EXPECT_EQ(place().getProcInfo()->getPid(), 0);
    EXPECT_EQ(place().getProcInfo()->getStartStamp(), 0);
    EXPECT_TRUE(m_dir.has(".place_design.begin.rst"));
}

// Messages of the step -------------------------------------------------------

class RunStepMessagesTest : public RunStepTest {
protected:
    RunStepMessagesTest() { write("WARNING [8-3331] The signal reset isn't driven.\n"); }

    void write(const std::string& content) { m_dir.mark("place.log", content); }
    ComMsgMgrSrcHandle* load(int code) {
        m_run->setCode("place_design", code);
        return place().getComMsgMgrSrcHandle(m_dir.path());
    }
};

TEST_F(RunStepMessagesTest, HasNoneBeforeTheStepEnded) {
    for (const int code : {kNotStarted, kQueued, kRunning, 4})
        EXPECT_EQ(load(code), nullptr) << code;
    EXPECT_EQ(place().getMsgSrcHandle().getName(), "");
}

TEST_F(RunStepMessagesTest, LoadsThemOfADoneOrFailedStep) {
    ComMsgMgrSrcHandle* handle = load(kFailed);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle, &place().getMsgSrcHandle());
    EXPECT_EQ(handle->getFile(), m_dir.path("place.log"));
    EXPECT_EQ(handle->getName(), "Place Design");
    EXPECT_EQ(handle->getMessages().size(), 1U);
    place().resetStatus();
    EXPECT_NE(load(kDone), nullptr);
}

TEST_F(RunStepMessagesTest, LoadsThemOnce) {
    ComMsgMgrSrcHandle* first = load(kDone);
    write("");
    EXPECT_EQ(load(kDone), first);
    EXPECT_EQ(first->getMessages().size(), 1U);
    EXPECT_EQ(load(kRunning), first) << "what is loaded is given whatever the status";
}

TEST_F(RunStepMessagesTest, LoadsThemAgainAfterAReset) {
    load(kDone);
    write("ERROR one\nERROR two\n");
    place().resetStatus();
    EXPECT_EQ(place().getMsgSrcHandle().getFile(), "");
    EXPECT_EQ(place().getMsgSrcHandle().getName(), "empty");
    ComMsgMgrSrcHandle* handle = load(kDone);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->getMessages().size(), 2U);
}

TEST_F(RunStepMessagesTest, HasNoneWithoutAFile) {
    m_dir.unmark("place.log");
    EXPECT_EQ(load(kDone), nullptr);
    m_dir.folder("place.log");
    EXPECT_EQ(load(kDone), nullptr) << "a folder isn't a file";
    EXPECT_THAT(m_messages.ids(), IsEmpty());
}

TEST_F(RunStepMessagesTest, HasNoneWithoutAFileNameOrADirectory) {
    m_run->setCode("plain", kDone);
    EXPECT_EQ(step("plain")->getComMsgMgrSrcHandle(m_dir.path()), nullptr);
    m_run->setCode("place_design", kDone);
    EXPECT_EQ(place().getComMsgMgrSrcHandle(""), nullptr);
}

}  // namespace
