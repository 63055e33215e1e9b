// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPExpInfoBase.h"

#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileMgr.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/filemgmt/HDDASrcAttrs.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/observers/HUTDirtyObserver.h"
#include "runs/base/xperiment/HAXPFileType.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::drained;
using test::kDone;
using test::kNotStarted;
using test::RunFixture;
using test::thrownText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Strings = HSTVector<std::string>;

/// Counts how often it is told.
class DirtyCounter final : public HUTDirtyObserver {
public:
    int calls = 0;

protected:
    void setDirtyCallback_() override { ++calls; }
};

/// The information object of a run of "a", "b" and "c", and who hears that it is dirty.
class ExpInfoTest : public RunFixture {
protected:
    ExpInfoTest() { info().attachDirtyObserver(&m_dirty); }
    ~ExpInfoTest() noexcept override { info().detachDirtyObserver(&m_dirty); }

    test::TestRunInfo& info() const { return m_run->info(); }
    HADAFileSet* fileSet(HDDATypes::FileSetType type, const std::string& name = "sources_1") {
        return m_mgr.createFileSet(name, type);
    }
    void makeStale(const std::string& id) {
        m_run->setCode(id, kDone);
        HAXPStrategy snapshot(m_flow.get());
        test::setInt(snapshot.getOptions(id), "CountInt", 99);
        EXPECT_TRUE(step(id)->updateStaleReasons(m_run->getStrategy(), &snapshot, true));
    }
    void makeRunStale() {
        info().staleReasons_().addOrUpdate(HADAStaleReason::SS_DESIGN_SRCS_CHANGED);
    }

    DirtyCounter m_dirty;
    HADAFileMgr m_mgr;
};

// Fields ---------------------------------------------------------------------

TEST_F(ExpInfoTest, StartsWithItsRunAndName) {
    EXPECT_EQ(info().getRun(), m_run.get());
    EXPECT_EQ(info().getRunName(), "impl_1");
    EXPECT_EQ(info().getListenerName(), "impl_1");
}

TEST_F(ExpInfoTest, StartsWithNothingElse) {
    const HAXPExpInfoBase fresh(nullptr, "synth_1");
    EXPECT_EQ(fresh.getDescription(), "");
    EXPECT_EQ(fresh.getSrcSet(), nullptr);
    EXPECT_EQ(fresh.getRunSrcSet(), nullptr);
    EXPECT_EQ(fresh.getRunSnapshotStrategy(), nullptr);
    EXPECT_EQ(fresh.getFlowType(), 7);
    EXPECT_EQ(HAXPTypes::getFlowTypeId(fresh.getFlowType()), "Ft0:Unknown");
    EXPECT_EQ(fresh.getLaunchTime(), 0);
    EXPECT_FALSE(fresh.needsResetForFlowChange());
    EXPECT_FALSE(fresh.isReconstructed());
    EXPECT_EQ(fresh.getClusterConfigurationName(), "");
    EXPECT_EQ(fresh.getJobIdentifier(), "");
    EXPECT_FALSE(fresh.isStale());
    EXPECT_TRUE(drained(fresh.createFileTypeIter()).empty());
    EXPECT_TRUE(drained(fresh.createFileUniversalTypeIter()).empty());
}

TEST_F(ExpInfoTest, KeepsWhatIsSetInSilence) {
    info().setRunName("impl_2");
    info().setDescription("text");
    info().setFlowType(HAXPTypes::FLOW_SYNTH);
    info().setNeedsResetForFlowChange(true);
    info().setReconstructed(true);
    info().setJobIdentifier("4711");
    info().setLaunchTime_(1000);
    EXPECT_EQ(info().getRunName(), "impl_2");
    EXPECT_EQ(info().getDescription(), "text");
    EXPECT_EQ(info().getFlowType(), HAXPTypes::FLOW_SYNTH);
    EXPECT_TRUE(info().needsResetForFlowChange());
    EXPECT_TRUE(info().isReconstructed());
    EXPECT_EQ(info().getJobIdentifier(), "4711");
    EXPECT_EQ(info().getLaunchTime(), 1000);
    EXPECT_EQ(m_dirty.calls, 0);
    EXPECT_EQ(m_run->dirtyCalls, 0);
}

TEST_F(ExpInfoTest, IsDirtyByItsSourcesWhenAsked) {
    HADAFileSet* sources = fileSet(HDDATypes::FST_DESIGN_SRCS);
    info().setSrcSet(sources, false);
    EXPECT_EQ(m_dirty.calls, 0);
    EXPECT_EQ(info().getSrcSet(), sources);
    info().setSrcSet(nullptr, true);
    EXPECT_EQ(m_dirty.calls, 1);
    EXPECT_EQ(info().getSrcSet(), nullptr);
}

TEST_F(ExpInfoTest, IsDirtyByAnotherClusterConfigurationWhenAsked) {
    info().setClusterConfigurationName("", true);
    EXPECT_EQ(m_dirty.calls, 0) << "equal already";
    info().setClusterConfigurationName("lsf", true);
    EXPECT_EQ(m_dirty.calls, 1);
    info().setClusterConfigurationName("lsf", true);
    EXPECT_EQ(m_dirty.calls, 1);
    info().setClusterConfigurationName("sge", false);
    EXPECT_EQ(m_dirty.calls, 1);
    EXPECT_EQ(info().getClusterConfigurationName(), "sge");
}

TEST_F(ExpInfoTest, LeavesSnapshotsThatItReplacesToTheCaller) {
    const std::unique_ptr<HADAFileSet> sources(
        m_mgr.createInternalFileSet("first", HDDATypes::FST_DESIGN_SRCS));
    const auto strategy = std::make_unique<HAXPStrategy>(m_flow.get());
    info().setRunSrcSet(sources.get());
    info().setRunSnapshotStrategy(strategy.get());
    EXPECT_EQ(info().getRunSrcSet(), sources.get());
    EXPECT_EQ(info().getRunSnapshotStrategy(), strategy.get());
    info().setRunSrcSet(nullptr);
    info().setRunSnapshotStrategy(nullptr);
    EXPECT_EQ(m_mgr.internalFileSetCount(), 1U);
    EXPECT_EQ(sources->getName(), "first");
    EXPECT_EQ(strategy->stepCount(), 3);
}

TEST_F(ExpInfoTest, DeletesItsSnapshotsWithItself) {
    auto owned = std::make_unique<HAXPExpInfoBase>(nullptr, "synth_1");
    owned->setRunSrcSet(m_mgr.createInternalFileSet("snapshot", HDDATypes::FST_DESIGN_SRCS));
    owned->setRunSnapshotStrategy(new HAXPStrategy(m_flow.get()));
    HADAFileSet* live = fileSet(HDDATypes::FST_DESIGN_SRCS);
    owned->setSrcSet(live, false);
    owned.reset();
    EXPECT_EQ(m_mgr.internalFileSetCount(), 0U);
    EXPECT_EQ(m_mgr.fileSetCount(), 1U) << "live sources aren't its own";
}

TEST_F(ExpInfoTest, GivesAUniversalFlowTypeOnceOneIsSet) {
    HAXPFlowType out("as before");
    const std::string before = out.getUniversalForm();
    EXPECT_FALSE(info().getUniversalFlowType(out));
    EXPECT_EQ(out.getUniversalForm(), before);
    const HAXPFlowType type("11111111-2222-3333-4444-555555555555", "Synthesis");
    info().setUniversalFlowType(type);
    EXPECT_TRUE(info().getUniversalFlowType(out));
    EXPECT_EQ(out.getUniversalForm(), "11111111-2222-3333-4444-555555555555");
    EXPECT_EQ(out.getName(), "Synthesis");
    info().setUniversalFlowType(HAXPFlowType());
    EXPECT_TRUE(info().getUniversalFlowType(out));
    EXPECT_EQ(out.getName(), "");
}

// Questions about the flow ---------------------------------------------------

TEST_F(ExpInfoTest, TellsImplementationFromSynthesis) {
    for (int type = 0; type < HAXPTypes::flowTypeCount; ++type) {
        info().setFlowType(static_cast<HAXPTypes::FlowType>(type));
        EXPECT_EQ(info().isImplFlow(), type == 1) << type;
        EXPECT_EQ(info().isSynthFlow(), type == 2) << type;
        EXPECT_FALSE(info().isSimFlow()) << type;
    }
}

TEST_F(ExpInfoTest, IsABlockRunByTheKindOfItsSources) {
    EXPECT_FALSE(info().isBlockRun());
    info().setSrcSet(fileSet(HDDATypes::FST_DESIGN_SRCS, "one"), false);
    EXPECT_FALSE(info().isBlockRun());
    info().setSrcSet(fileSet(HDDATypes::FST_BLOCK_SRCS, "two"), false);
    EXPECT_TRUE(info().isBlockRun());
}

TEST_F(ExpInfoTest, IsAModuleRunByItsSourcesToo) {
    EXPECT_FALSE(info().isRMBlockRun());
    HADAFileSet* sources = fileSet(HDDATypes::FST_BLOCK_SRCS);
    info().setSrcSet(sources, false);
    EXPECT_FALSE(info().isRMBlockRun());
    sources->setReconfigModule("filter_a");
    EXPECT_TRUE(info().isRMBlockRun());
}

TEST_F(ExpInfoTest, NeedsACompleteResetByReasonsOfItsOwnAlone) {
    makeStale("b");
    EXPECT_FALSE(info().isCompleteRunResetRequired());
    makeRunStale();
    EXPECT_TRUE(info().isCompleteRunResetRequired());
}

TEST_F(ExpInfoTest, IsPartialOnceTheFirstStepBegan) {
    EXPECT_FALSE(info().isPartialRun());
    m_run->setCode("b", kDone);
    EXPECT_FALSE(info().isPartialRun());
    m_run->setCode("a", test::kQueued);
    EXPECT_TRUE(info().isPartialRun());
}

TEST_F(ExpInfoTest, IsPartialWithoutSteps) {
    m_run->nukeSteps();
    EXPECT_TRUE(info().isPartialRun());
    EXPECT_TRUE(HAXPExpInfoBase(nullptr, "synth_1").isPartialRun());
}

// Files by type --------------------------------------------------------------

TEST_F(ExpInfoTest, KeepsOneFileInPlaceOfMany) {
    info().setFiles(HAXPTypes::FILE_PLACE_IO, {"a", "b"});
    info().setFile(HAXPTypes::FILE_PLACE_IO, "c");
    Strings files;
    EXPECT_EQ(info().getFiles(HAXPTypes::FILE_PLACE_IO, files), 1);
    EXPECT_THAT(files, ElementsAre("c"));
}

TEST_F(ExpInfoTest, KeepsACopyOfManyFiles) {
    Strings given{"a", "b"};
    info().setFiles(HAXPTypes::FILE_PLACE_IO, given);
    given.clear();
    EXPECT_EQ(info().getFile(HAXPTypes::FILE_PLACE_IO), "a");
    Strings files{"as before"};
    EXPECT_EQ(info().getFiles(HAXPTypes::FILE_PLACE_IO, files), 2);
    EXPECT_THAT(files, ElementsAre("a", "b"));
}

TEST_F(ExpInfoTest, MakesNoEntryForATypeThatWasNeverSet) {
    const std::string& none = info().getFile(HAXPTypes::FILE_PLACE_IO);
    EXPECT_EQ(none, "");
    EXPECT_EQ(&none, &info().getFile(HAXPTypes::FILE_ROUTE_DCP));
    EXPECT_TRUE(drained(info().createFileTypeIter()).empty());
}

TEST_F(ExpInfoTest, LeavesTheListAsItWasForAnUnknownType) {
    Strings files{"x", "y"};
    EXPECT_EQ(info().getFiles(HAXPTypes::FILE_PLACE_IO, files), 2);
    EXPECT_THAT(files, ElementsAre("x", "y"));
}

TEST_F(ExpInfoTest, ThrowsForTheFirstOfNoFiles) {
    info().setFiles(HAXPTypes::FILE_PLACE_IO, {});
    EXPECT_THROW(info().getFile(HAXPTypes::FILE_PLACE_IO), std::out_of_range);
    Strings files{"x"};
    EXPECT_EQ(info().getFiles(HAXPTypes::FILE_PLACE_IO, files), 0);
    EXPECT_THAT(files, IsEmpty());
}

TEST_F(ExpInfoTest, WalksTheTypesThatWereSet) {
    info().setFile(HAXPTypes::FILE_PLACE_IO, "a");
    info().setFile(HAXPTypes::FILE_ROUTE_DCP, "b");
    const auto types = drained(info().createFileTypeIter());
    EXPECT_EQ(types.size(), 2U);
    EXPECT_EQ(std::set<HAXPTypes::FileType>(types.begin(), types.end()).size(), 2U);
    info().clearFileHash();
    EXPECT_TRUE(drained(info().createFileTypeIter()).empty());
}

// Files by universal type ----------------------------------------------------

constexpr char kFirstKey[] = "11111111-2222-3333-4444-555555555555";
constexpr char kSecondKey[] = "22222222-2222-3333-4444-555555555555";

class ExpInfoUniversalTest : public ExpInfoTest {
protected:
    HAXPFileType m_first{kFirstKey, "first"};
    HAXPFileType m_second{kSecondKey, "second"};
};

TEST_F(ExpInfoUniversalTest, FindsFilesByTheIdOfTheirType) {
    info().setFileUniversal(m_first, "a");
    info().setFilesUniversal(m_second, {"b", "c"});
    EXPECT_EQ(info().getFileUniversal(kFirstKey), "a");
    EXPECT_EQ(info().getFileUniversal(kSecondKey), "b");
    Strings files;
    EXPECT_EQ(info().getFilesUniversal(kSecondKey, files), 2);
    EXPECT_THAT(files, ElementsAre("b", "c"));
}

TEST_F(ExpInfoUniversalTest, ReplacesTheFilesOfAType) {
    info().setFilesUniversal(m_first, {"a", "b"});
    info().setFileUniversal(m_first, "c");
    Strings files;
    EXPECT_EQ(info().getFilesUniversal(kFirstKey, files), 1);
    EXPECT_THAT(files, ElementsAre("c"));
}

TEST_F(ExpInfoUniversalTest, KnowsNoFilesOfAnUnknownType) {
    const std::string& none = info().getFileUniversal("stranger");
    EXPECT_EQ(none, "");
    EXPECT_EQ(&none, &info().getFileUniversal(kFirstKey));
    Strings files{"x"};
    EXPECT_EQ(info().getFilesUniversal("stranger", files), 1);
    EXPECT_THAT(files, ElementsAre("x"));
    EXPECT_TRUE(drained(info().createFileUniversalTypeIter()).empty());
}

TEST_F(ExpInfoUniversalTest, ThrowsForTheFirstOfNoFiles) {
    info().setFilesUniversal(m_first, {});
    EXPECT_THROW(info().getFileUniversal(kFirstKey), std::out_of_range);
}

TEST_F(ExpInfoUniversalTest, WalksKeysInAscendingOrder) {
    info().setFileUniversal(m_second, "b");
    info().setFileUniversal(m_first, "a");
    EXPECT_THAT(drained(info().createFileUniversalTypeIter()), ElementsAre(kFirstKey, kSecondKey));
    info().clearFileHashUniversal();
    EXPECT_TRUE(drained(info().createFileUniversalTypeIter()).empty());
}

TEST_F(ExpInfoUniversalTest, KeepsTheTablesApart) {
    info().setFile(HAXPTypes::FILE_PLACE_IO, "a");
    info().setFileUniversal(m_first, "b");
    info().clearFileHash();
    EXPECT_EQ(info().getFileUniversal(kFirstKey), "b");
    info().setFile(HAXPTypes::FILE_PLACE_IO, "c");
    info().clearFileHashUniversal();
    EXPECT_EQ(info().getFile(HAXPTypes::FILE_PLACE_IO), "c");
}

// Stale reasons --------------------------------------------------------------

TEST_F(ExpInfoTest, IsStaleByItselfOrAStep) {
    EXPECT_FALSE(info().isStale());
    makeStale("c");
    EXPECT_TRUE(info().isStale());
    step("c")->resetStaleReasons();
    EXPECT_FALSE(info().isStale());
    makeRunStale();
    EXPECT_TRUE(info().isStale());
}

TEST_F(ExpInfoTest, GathersItsReasonsAndThoseOfSteps) {
    HADAStaleReasons reasons;
    EXPECT_FALSE(info().getStaleReasons(reasons));
    makeStale("b");
    makeStale("c");
    makeRunStale();
    EXPECT_TRUE(info().getStaleReasons(reasons));
    EXPECT_EQ(reasons.count(), 3U);
    std::vector<int> kinds;
    for (const HADAStaleReason* reason : drained(reasons.createReasonIter()))
        kinds.push_back(reason->getSummary());
    EXPECT_THAT(kinds, ElementsAre(1, 9, 9)) << "the run's own first";
}

TEST_F(ExpInfoTest, AnswersByWhatWasGathered) {
    HADAStaleReasons reasons;
    reasons.addOrUpdate(HADAStaleReason::SS_CONSTRS_CHANGED);
    EXPECT_TRUE(info().getStaleReasons(reasons)) << "though it adds none";
    EXPECT_EQ(reasons.count(), 1U);
}

TEST_F(ExpInfoTest, ForgetsItsOwnReasonsAlone) {
    makeStale("b");
    makeRunStale();
    info().removeAllStaleReasons();
    EXPECT_FALSE(info().isCompleteRunResetRequired());
    EXPECT_TRUE(step("b")->isStale());
}

TEST_F(ExpInfoTest, ComparesTheRunWithItsSnapshotStepByStep) {
    for (const char* id : {"a", "b", "c"})
        m_run->setCode(id, kDone);
    auto* snapshot = new HAXPStrategy(m_flow.get());
    info().setRunSnapshotStrategy(snapshot);
    test::setInt(snapshot->getOptions("b"), "CountInt", 99);
    test::setInt(snapshot->getOptions("c"), "CountInt", 99);
    m_run->setEnabled("c", false);
    info().updStaleOptionReasons();
    EXPECT_FALSE(step("a")->isStale());
    EXPECT_TRUE(step("b")->isStale());
    EXPECT_TRUE(step("c")->isStale()) << "a disabled one too";
    test::setInt(snapshot->getOptions("b"), "CountInt", 1);
    info().updStaleOptionReasons();
    EXPECT_FALSE(step("b")->isStale());
}

TEST_F(ExpInfoTest, ComparesNothingWithoutASnapshotOrARun) {
    m_run->setCode("b", kDone);
    test::setInt(step("b")->getOptions(), "CountInt", 99);
    info().updStaleOptionReasons();
    EXPECT_FALSE(info().isStale());
    HAXPExpInfoBase alone(nullptr, "synth_1");
    alone.updStaleOptionReasons();
    HADAStaleReasons reasons;
    EXPECT_FALSE(alone.getStaleReasons(reasons));
}

/// An information object whose hooks are the base's.
class BareInfo final : public HAXPExpInfoBase {
public:
    using HAXPExpInfoBase::handleEvent_;
    using HAXPExpInfoBase::HAXPExpInfoBase;
};

TEST_F(ExpInfoTest, DoesNothingInTheBasesHooks) {
    BareInfo bare(m_run.get(), "impl_1");
    bare.updStaleReasons();
    bare.handleEvent_(nullptr);
    EXPECT_TRUE(
        bare.updStaleFileReasons(nullptr, nullptr, HADAStaleReason::SS_DESIGN_SRCS_CHANGED));
    EXPECT_FALSE(bare.isStale());
}

// Reset ----------------------------------------------------------------------

TEST_F(ExpInfoUniversalTest, ResetForgetsTheResultsOfTheRun) {
    info().setFile(HAXPTypes::FILE_PLACE_IO, "a");
    info().setFileUniversal(m_first, "b");
    info().addEvent("saved");
    makeRunStale();
    info().setReconstructed(true);
    info().setNeedsResetForFlowChange(true);
    info().setLaunchTime_(1000);
    info().setRunSrcSet(m_mgr.createInternalFileSet("snapshot", HDDATypes::FST_DESIGN_SRCS));
    info().setRunSnapshotStrategy(new HAXPStrategy(m_flow.get()));
    info().resetRun();
    EXPECT_EQ(info().getFile(HAXPTypes::FILE_PLACE_IO), "");
    EXPECT_TRUE(info().getEvents().empty());
    EXPECT_FALSE(info().isCompleteRunResetRequired());
    EXPECT_FALSE(info().isReconstructed());
    EXPECT_FALSE(info().needsResetForFlowChange());
    EXPECT_EQ(info().getLaunchTime(), 0);
    EXPECT_EQ(info().getRunSrcSet(), nullptr);
    EXPECT_EQ(m_mgr.internalFileSetCount(), 0U);
    EXPECT_EQ(info().getRunSnapshotStrategy(), nullptr);
}

TEST_F(ExpInfoUniversalTest, ResetKeepsUniversalFilesAndWhatElseTheRunIs) {
    HADAFileSet* live = fileSet(HDDATypes::FST_DESIGN_SRCS);
    info().setFileUniversal(m_first, "b");
    info().setModifiedFilesChecked_(true);
    info().setDescription("text");
    info().setSrcSet(live, false);
    info().setFlowType(HAXPTypes::FLOW_SYNTH);
    info().setClusterConfigurationName("lsf", false);
    info().setJobIdentifier("4711");
    info().setUniversalFlowType(HAXPFlowType(kFirstKey, "Synthesis"));
    info().resetRun();
    EXPECT_EQ(info().getFileUniversal(kFirstKey), "b");
    EXPECT_TRUE(info().modifiedFilesChecked_());
    EXPECT_EQ(info().getRunName(), "impl_1");
    EXPECT_EQ(info().getDescription(), "text");
    EXPECT_EQ(info().getSrcSet(), live);
    EXPECT_EQ(info().getFlowType(), HAXPTypes::FLOW_SYNTH);
    EXPECT_EQ(info().getClusterConfigurationName(), "lsf");
    EXPECT_EQ(info().getJobIdentifier(), "4711");
    HAXPFlowType type;
    EXPECT_TRUE(info().getUniversalFlowType(type));
}

TEST_F(ExpInfoTest, ResetLeavesTheStepsAlone) {
    makeStale("b");
    info().resetRun();
    EXPECT_TRUE(step("b")->isStale());
    EXPECT_EQ(step("b")->getStatus()->getCode(), kDone);
    info().resetRun();
    EXPECT_EQ(m_dirty.calls, 0);
}

// The snapshot of the sources ------------------------------------------------

class ExpInfoSnapshotTest : public ExpInfoTest {
protected:
    ExpInfoSnapshotTest() {
        m_dir.mark("top.v");
        m_live->addSrcFile(m_dir.path("top.v"))->getAttrs().setRunNames({"impl_1"});
    }
    std::unique_ptr<HADAFileSet> snapshot(const std::string& name) {
        return std::unique_ptr<HADAFileSet>(info().createSnapshotSrcSet_(m_live, name));
    }

    /// Whether the copied source still names the run that it is kept for.
    bool keepsRunNames(const std::string& name) {
        const auto copy = snapshot(name);
        return copy->findSrcFile(m_dir.path("top.v"))->getAttrs().isKeptForRun("impl_1");
    }

    HADAFileSet* m_live = fileSet(HDDATypes::FST_BLOCK_SRCS);
};

TEST_F(ExpInfoSnapshotTest, IsAnInternalCopyOfTheSameKind) {
    const auto copy = snapshot("impl_1_srcs");
    EXPECT_EQ(copy->getName(), "impl_1_srcs");
    EXPECT_EQ(copy->getType(), HDDATypes::FST_BLOCK_SRCS);
    EXPECT_TRUE(copy->isInternal());
    EXPECT_EQ(copy->getFileMgr(), &m_mgr);
    EXPECT_EQ(copy->srcFileCount(), 1U);
    EXPECT_NE(copy->findSrcFile(m_dir.path("top.v")), nullptr);
}

TEST_F(ExpInfoSnapshotTest, LivesInADirectoryNamedAfterTheRun) {
    const auto copy = snapshot("impl_1_srcs");
    EXPECT_EQ(copy->getDataDir(), "impl_1");
    EXPECT_EQ(copy->getFileSetFileName(), "impl_1_srcs.xml");
}

TEST_F(ExpInfoSnapshotTest, KeepsTheRunsOfSourcesInTheSetCalledUtilsAlone) {
    EXPECT_TRUE(keepsRunNames("utils"));
    EXPECT_FALSE(keepsRunNames("Utils"));
    EXPECT_FALSE(keepsRunNames("utils_1"));
}

TEST_F(ExpInfoSnapshotTest, NeedsAFileManager) {
    HADAFileSet alone("alone", HDDATypes::FST_DESIGN_SRCS);
    for (HADAFileSet* source : {&alone, static_cast<HADAFileSet*>(nullptr)})
        EXPECT_EQ(
            thrownText<HEXAlgException>([&] { info().createSnapshotSrcSet_(source, "snapshot"); }),
            "A file manager is required to create a snapshot file set.");
    EXPECT_EQ(m_mgr.internalFileSetCount(), 0U);
}

}  // namespace
