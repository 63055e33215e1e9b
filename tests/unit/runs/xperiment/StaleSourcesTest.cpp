// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileMgr.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "tests/support/TestParam.h"
#include "tests/unit/runs/xperiment/runFixture.h"

namespace {

using test::kDone;
using test::kNotStarted;
using test::RunFixture;
using test::StepTraits;
using test::thrownText;

using Summary = HADAFileSetChangeSummary;

constexpr long kLaunch = 1000;

/// An implementation run that was launched at a known time. Its steps "a" and
/// "write_device_image" are done and read Verilog and block designs; "c" reads nothing.
class StaleSourcesTest : public RunFixture {
protected:
    StaleSourcesTest()
        : RunFixture({reading("a"), reading("write_device_image"), StepTraits::of("c")}) {
        m_run->setStrategyCopyFlag_(true);
        const HAXPStrategy all(m_flow.get());
        m_run->applyStrategy(&all);
        m_run->info().setFlowType(HAXPTypes::FLOW_ENTIRE_DESIGN);
        m_run->info().setLaunchTime_(kLaunch);
        setCodes({kDone, kDone, kDone});
    }

    static StepTraits reading(const std::string& id) {
        StepTraits traits = StepTraits::of(id);
        traits.sources = [](HDDASrcFilter& filter) {
            filter.addSFType(HDDATypes::SFT_VERILOG);
            filter.addSFType(HDDATypes::SFT_BLOCK_DESIGN);
            filter.addCompositeFileType();
        };
        return traits;
    }
    HADAFileSet* fileSet(HDDATypes::FileSetType type) {
        return m_mgr.createFileSet("set_" + std::to_string(type), type);
    }
    HDDASrcFile* add(const std::string& name, HDDATypes::SFTId type = HDDATypes::SFT_VERILOG) {
        m_dir.mark(name, "content");
        return m_sources->addSrcFile(m_dir.path(name), type);
    }
    HDDACompositeFile* addCore(const std::string& name) {
        m_dir.mark(name, "core");
        return m_sources->addCompositeFile(m_dir.path(name), HDDATypes::SFT_CORE);
    }
    bool update(const std::string& id, Summary& summary) {
        return step(id)->updateStaleReasons(&summary, nullptr);
    }
    /// The answer of "a" for one change of one file.
    bool change(Summary::enumFSCSFileCollection kind, HDDASrcFile* file) {
        Summary summary(file->getFileSet());
        summary.addFiles(kind, file);
        return update("a", summary);
    }
    /// The kinds of the step's reasons, in order.
    std::vector<int> reasons(const std::string& id) const {
        HADAStaleReasons found;
        step(id)->getStaleReasons(found);
        std::vector<int> kinds;
        for (const HADAStaleReason* reason : test::drained(found.createReasonIter()))
            kinds.push_back(reason->getSummary());
        return kinds;
    }

    HADAFileMgr m_mgr;
    HADAFileSet* m_sources = fileSet(HDDATypes::FST_DESIGN_SRCS);
};

using Kinds = std::vector<int>;

// Which sources concern a step -----------------------------------------------

TEST_F(StaleSourcesTest, FiltersByTheStepAndTheKindOfItsRun) {
    HDDASrcFile* file = add("top.v");
    const auto passes = [&](HAXPTypes::FlowType flowType) {
        m_run->info().setFlowType(flowType);
        HDDASrcFilter filter;
        step("a")->initRunStepSrcFilter(filter);
        return filter.filterSF(file);
    };
    EXPECT_TRUE(passes(HAXPTypes::FLOW_ENTIRE_DESIGN));
    file->getAttrs().setUsedInImplementation(false);
    EXPECT_FALSE(passes(HAXPTypes::FLOW_ENTIRE_DESIGN));
    EXPECT_TRUE(passes(HAXPTypes::FLOW_SYNTH));
    file->getAttrs().setUsedInSynthesis(false);
    EXPECT_FALSE(passes(HAXPTypes::FLOW_SYNTH));
    EXPECT_TRUE(passes(HAXPTypes::FLOW_UNKNOWN));
    file->setFileType(HDDATypes::SFT_VHDL);
    EXPECT_FALSE(passes(HAXPTypes::FLOW_UNKNOWN));
}

/// The information object of a simulation run.
class SimulationInfo final : public HAXPExpInfoBase {
public:
    SimulationInfo() : HAXPExpInfoBase(nullptr, "sim_1") {}
    bool isSimFlow() const override { return true; }
};

TEST_F(StaleSourcesTest, FiltersByUseInSimulationInARunOfIt) {
    SimulationInfo info;
    HAXPExpRunStep simulation(flowStep("a"), step("a")->getOptions(), nullptr, &info);
    HDDASrcFile* file = add("top.v");
    HDDASrcFilter filter;
    simulation.initRunStepSrcFilter(filter);
    EXPECT_TRUE(filter.filterSF(file));
    file->getAttrs().setUsedInSynthesis(false);
    file->getAttrs().setUsedInImplementation(false);
    EXPECT_TRUE(filter.filterSF(file));
    file->getAttrs().setUsedInSimulation(false);
    EXPECT_FALSE(filter.filterSF(file));
}

TEST_F(StaleSourcesTest, FiltersTheKindsOfTheFlowStep) {
    HDDASrcFilter filter;
    step("a")->initRunStepSrcFilter(filter);
    EXPECT_EQ(filter.sfTypeCount(), 2);
    EXPECT_TRUE(filter.hasCompositeFileType());
    EXPECT_TRUE(filter.isExcludeDisabled());
    HDDASrcFilter none;
    step("c")->initRunStepSrcFilter(none);
    EXPECT_EQ(none.sfTypeCount(), 0);
    EXPECT_FALSE(none.hasCompositeFileType());
}

// A change of sources --------------------------------------------------------

TEST_F(StaleSourcesTest, IsStaleByAModifiedSource) {
    EXPECT_TRUE(change(Summary::FSCS_MODIFIED, add("top.v")));
    EXPECT_EQ(reasons("a"), (Kinds{1}));
    HADAStaleReasons found;
    step("a")->getStaleReasons(found);
    const HADAStaleReason* reason = found.find(HADAStaleReason::SS_DESIGN_SRCS_CHANGED);
    EXPECT_EQ(reason->getRunType(), HADAStaleReason::RT_IMPL);
    ASSERT_EQ(reason->getFiles().size(), 1U);
    EXPECT_EQ(reason->getFiles().front().name, m_dir.path("top.v"));
}

TEST_F(StaleSourcesTest, KeepsOneReasonForManyChanges) {
    change(Summary::FSCS_MODIFIED, add("top.v"));
    change(Summary::FSCS_ADDED, add("alu.v"));
    EXPECT_EQ(reasons("a"), (Kinds{1}));
}

TEST_F(StaleSourcesTest, IsNotStaleBeforeTheStepHasRun) {
    m_run->setCode("a", kNotStarted);
    EXPECT_FALSE(change(Summary::FSCS_MODIFIED, add("top.v")));
    EXPECT_FALSE(step("a")->isStale());
}

TEST_F(StaleSourcesTest, IsNotStaleByNoChange) {
    EXPECT_FALSE(step("a")->updateStaleReasons(nullptr, nullptr));
    EXPECT_FALSE(step("a")->hasOnlyBDAdded(nullptr));
    Summary nothing(m_sources);
    EXPECT_FALSE(update("a", nothing));
    Summary ofNoSet(nullptr);
    EXPECT_FALSE(update("write_device_image", ofNoSet));
    EXPECT_FALSE(step("a")->isStale() || step("write_device_image")->isStale());
}

TEST_F(StaleSourcesTest, IsNotStaleBySourcesThatItDoesNotRead) {
    EXPECT_FALSE(change(Summary::FSCS_MODIFIED, add("top.vhd", HDDATypes::SFT_VHDL)));
    Summary summary(m_sources);
    summary.addFiles(Summary::FSCS_MODIFIED, add("top.v"));
    EXPECT_FALSE(update("c", summary)) << "a step that reads nothing";
    EXPECT_FALSE(step("a")->isStale());
    EXPECT_FALSE(step("c")->isStale());
}

TEST_F(StaleSourcesTest, JudgesOneSourceWhenAsked) {
    HDDASrcFile* changed = add("top.v");
    HDDASrcFile* other = add("alu.v");
    Summary summary(m_sources);
    summary.addFiles(Summary::FSCS_MODIFIED, changed);
    EXPECT_FALSE(step("a")->updateStaleReasons(&summary, other));
    EXPECT_TRUE(step("a")->updateStaleReasons(&summary, changed));
}

/// The kind of a file set, and the kind of reason that its change gives; 0 for none.
struct FileSetCase {
    const char* name;
    HDDATypes::FileSetType type;
    int reason;
};

std::ostream& operator<<(std::ostream& os, const FileSetCase& row) {
    return os << row.name;
}

class StaleFileSetTable : public StaleSourcesTest,
                          public ::testing::WithParamInterface<FileSetCase> {};

TEST_P(StaleFileSetTable, GivesTheReason) {
    m_mgr.removeFileSet(m_sources);
    m_sources = fileSet(GetParam().type);
    HDDASrcFile* file = add("top.v");
    file->getAttrs().setRunNames({"impl_1"});
    EXPECT_TRUE(change(Summary::FSCS_MODIFIED, file)) << "whether or not there is a reason";
    EXPECT_EQ(reasons("a"), GetParam().reason == 0 ? Kinds{} : Kinds{GetParam().reason});
}

INSTANTIATE_TEST_SUITE_P(FileSets, StaleFileSetTable,
                         ::testing::Values(FileSetCase{"Design", HDDATypes::FST_DESIGN_SRCS, 1},
                                           FileSetCase{"Constraints", HDDATypes::FST_CONSTRS, 2},
                                           FileSetCase{"Simulation", HDDATypes::FST_SIM_SRCS, 3},
                                           FileSetCase{"Papers", HDDATypes::FST_DOCS, 0},
                                           FileSetCase{"Block", HDDATypes::FST_BLOCK_SRCS, 1},
                                           FileSetCase{"Utils", HDDATypes::FST_UTILS, 13},
                                           FileSetCase{"Internal", HDDATypes::FST_INTERNAL, 0}),
                         [](const auto& row) { return std::string(row.param.name); });

// Hooks and reference checkpoints --------------------------------------------

class StaleUtilsTest : public StaleSourcesTest {
protected:
    StaleUtilsTest() { m_sources = fileSet(HDDATypes::FST_UTILS); }

    HDDASrcFile* forRun(HDDASrcFile* file, const std::string& run) {
        file->getAttrs().setRunNames({run});
        return file;
    }
};

TEST_F(StaleUtilsTest, ReadsHooksOfThisRun) {
    EXPECT_TRUE(change(Summary::FSCS_MODIFIED, forRun(add("x.tcl", HDDATypes::SFT_TCL), "impl_1")));
    EXPECT_EQ(reasons("a"), (Kinds{13}));
}

TEST_F(StaleUtilsTest, PassesOverHooksOfOtherRuns) {
    EXPECT_FALSE(
        change(Summary::FSCS_MODIFIED, forRun(add("x.tcl", HDDATypes::SFT_TCL), "impl_2")));
    EXPECT_FALSE(step("a")->isStale());
}

TEST_F(StaleUtilsTest, ReadsReferenceCheckpointsWhenTheyAreHandled) {
    HDDASrcFile* file = forRun(add("x.dcp", HDDATypes::SFT_CHECKPOINT), "impl_1");
    EXPECT_FALSE(change(Summary::FSCS_MODIFIED, file));
    const test::TestParam handled("project.handleIncrementalDcpFiles", true);
    EXPECT_TRUE(change(Summary::FSCS_MODIFIED, file));
}

// Notes ----------------------------------------------------------------------

/// The same, where "a" reads notes too.
class StaleNotesTest : public StaleSourcesTest {
protected:
    StaleNotesTest() {
        flowStep("a")->getSrcFilter()->addSFType(HDDATypes::SFT_NOTES);
        m_notes = add("notes.txt", HDDATypes::SFT_NOTES);
        m_top = add("top.v");
    }

    HDDASrcFile* m_notes = nullptr;
    HDDASrcFile* m_top = nullptr;
};

TEST_F(StaleNotesTest, IsNotStaleByNotesAlone) {
    EXPECT_FALSE(change(Summary::FSCS_ADDED, m_notes));
    EXPECT_FALSE(change(Summary::FSCS_REMOVED, m_notes));
    EXPECT_FALSE(step("a")->isStale());
}

TEST_F(StaleNotesTest, IsStaleByNotesWithAnotherSource) {
    for (const auto kind : {Summary::FSCS_ADDED, Summary::FSCS_REMOVED}) {
        step("a")->resetStaleReasons();
        Summary summary(m_sources);
        summary.addFiles(kind, m_notes);
        summary.addFiles(kind, m_top);
        EXPECT_TRUE(update("a", summary));
        EXPECT_EQ(reasons("a"), (Kinds{1}));
    }
}

TEST_F(StaleNotesTest, FollowsTheRemovedFilesOverTheAddedOnes) {
    HDDASrcFile* more = add("more.txt", HDDATypes::SFT_NOTES);
    Summary removedToo(m_sources);
    removedToo.addFiles(Summary::FSCS_ADDED, m_notes);
    removedToo.addFiles(Summary::FSCS_REMOVED, more);
    removedToo.addFiles(Summary::FSCS_REMOVED, m_top);
    EXPECT_TRUE(update("a", removedToo));
    step("a")->resetStaleReasons();
    Summary addedToo(m_sources);
    addedToo.addFiles(Summary::FSCS_ADDED, m_notes);
    addedToo.addFiles(Summary::FSCS_ADDED, m_top);
    addedToo.addFiles(Summary::FSCS_REMOVED, more);
    EXPECT_FALSE(update("a", addedToo));
}

// Block designs --------------------------------------------------------------

class StaleBlockDesignTest : public StaleSourcesTest {
protected:
    StaleBlockDesignTest() { m_design = add("soc.bd", HDDATypes::SFT_BLOCK_DESIGN); }

    Summary added(HDDASrcFile* file) const {
        Summary summary(m_sources);
        summary.addFiles(Summary::FSCS_ADDED, file);
        return summary;
    }
    bool afterGraphUpdate() { return step("a")->updateStaleReasonsPostGraphUpdate(nullptr); }

    HDDASrcFile* m_design = nullptr;
};

TEST_F(StaleBlockDesignTest, WaitsForTheGraph) {
    EXPECT_FALSE(change(Summary::FSCS_ADDED, m_design));
    EXPECT_FALSE(step("a")->isStale());
    EXPECT_TRUE(afterGraphUpdate());
    EXPECT_EQ(reasons("a"), (Kinds{1}));
    EXPECT_FALSE(afterGraphUpdate()) << "it is decided once";
}

TEST_F(StaleBlockDesignTest, IsNotStaleByOneThatTheDesignLeavesOut) {
    change(Summary::FSCS_ADDED, m_design);
    m_design->getAttrs().setAutoDisabled(true);
    EXPECT_FALSE(afterGraphUpdate());
    EXPECT_FALSE(step("a")->isStale());
    m_design->getAttrs().setAutoDisabled(false);
    EXPECT_FALSE(afterGraphUpdate()) << "it is decided once, too";
}

TEST_F(StaleBlockDesignTest, IsAnsweredWithoutAReasonInASetOfPapers) {
    m_sources = fileSet(HDDATypes::FST_DOCS);
    change(Summary::FSCS_ADDED, add("other.bd", HDDATypes::SFT_BLOCK_DESIGN));
    EXPECT_TRUE(afterGraphUpdate());
    EXPECT_FALSE(step("a")->isStale());
}

TEST_F(StaleBlockDesignTest, KnowsOneThatItHasSeen) {
    Summary first = added(m_design);
    EXPECT_TRUE(step("a")->hasOnlyBDAdded(&first));
    Summary again(m_sources);
    again.addFiles(Summary::FSCS_MODIFIED, m_design);
    again.addFiles(Summary::FSCS_MODIFIED, add("top.v"));
    EXPECT_TRUE(step("a")->hasOnlyBDAdded(&again)) << "whatever else changed";
    EXPECT_FALSE(step("write_device_image")->hasOnlyBDAdded(&again)) << "each step for itself";
}

TEST_F(StaleBlockDesignTest, IsNothingButAddedOnes) {
    Summary nothing(m_sources);
    EXPECT_FALSE(step("a")->hasOnlyBDAdded(&nothing));
    Summary inside(m_sources);
    inside.addFiles(Summary::FSCS_COMPOSITE_SRCS_ADDED, m_design);
    EXPECT_TRUE(step("a")->hasOnlyBDAdded(&inside));
    Summary modified(m_sources);
    modified.addFiles(Summary::FSCS_MODIFIED, add("b.bd", HDDATypes::SFT_BLOCK_DESIGN));
    EXPECT_FALSE(step("a")->hasOnlyBDAdded(&modified));
}

TEST_F(StaleBlockDesignTest, KeepsWhatItSawThroughAResetOfItsStep) {
    EXPECT_FALSE(change(Summary::FSCS_ADDED, m_design));
    EXPECT_TRUE(step("a")->resetStep(m_dir.path(), true));
    EXPECT_TRUE(afterGraphUpdate());
    EXPECT_EQ(reasons("a"), (Kinds{1}));
}

TEST_F(StaleBlockDesignTest, WaitsAgainForOneThatItHasSeen) {
    EXPECT_FALSE(change(Summary::FSCS_ADDED, m_design));
    EXPECT_FALSE(change(Summary::FSCS_MODIFIED, m_design)) << "whatever happens to it meanwhile";
    EXPECT_FALSE(step("a")->isStale());
    EXPECT_TRUE(afterGraphUpdate());
    EXPECT_TRUE(change(Summary::FSCS_MODIFIED, m_design)) << "the graph has it now";
}

TEST_F(StaleBlockDesignTest, JudgesByTheFileSetOfTheLastEvent) {
    EXPECT_FALSE(change(Summary::FSCS_ADDED, m_design));
    m_sources = fileSet(HDDATypes::FST_SIM_SRCS);
    EXPECT_FALSE(change(Summary::FSCS_ADDED, add("tb.bd", HDDATypes::SFT_BLOCK_DESIGN)));
    m_design->getAttrs().setAutoDisabled(true);
    EXPECT_TRUE(afterGraphUpdate());
    EXPECT_EQ(reasons("a"), (Kinds{3}));
}

TEST_F(StaleBlockDesignTest, NotesTheKindOfTheRun) {
    change(Summary::FSCS_ADDED, m_design);
    afterGraphUpdate();
    HADAStaleReasons found;
    step("a")->getStaleReasons(found);
    EXPECT_EQ(found.find(HADAStaleReason::SS_DESIGN_SRCS_CHANGED)->getRunType(),
              HADAStaleReason::RT_IMPL);
}

TEST_F(StaleBlockDesignTest, KeepsWhatItSawBeforeAnotherSource) {
    Summary mixed = added(m_design);
    mixed.addFiles(Summary::FSCS_ADDED, add("top.v"));
    EXPECT_TRUE(update("a", mixed)) << "a reason at once";
    EXPECT_EQ(reasons("a"), (Kinds{1}));
    Summary again(m_sources);
    again.addFiles(Summary::FSCS_MODIFIED, m_design);
    EXPECT_TRUE(step("a")->hasOnlyBDAdded(&again));
}

// Parameters and the image of the device -------------------------------------

TEST_F(StaleSourcesTest, NotesAParameterChangeOnce) {
    step("c")->updateStaleReasonsForSwParamChange();
    step("c")->updateStaleReasonsForSwParamChange();
    EXPECT_EQ(reasons("c"), (Kinds{10}));
    HADAStaleReasons found;
    step("c")->getStaleReasons(found);
    const HADAStaleReason* reason = found.find(HADAStaleReason::SS_SW_PARAM_CHANGED);
    EXPECT_EQ(reason->getRunType(), HADAStaleReason::RT_IMPL);
    ASSERT_EQ(reason->getOptions().size(), 1U);
    const HADAStaleOption& option = reason->getOptions().front();
    EXPECT_EQ(option.getGroup(), "SW_Param_change");
    EXPECT_EQ(option.getName(), "SW_Param_change");
    EXPECT_EQ(option.getOldValue(), "0");
    EXPECT_EQ(option.getNewValue(), "");
}

TEST_F(StaleSourcesTest, NotesALaterParameterChangeBehindWhatCameBetween) {
    step("a")->updateStaleReasonsForSwParamChange();
    change(Summary::FSCS_MODIFIED, add("top.v"));
    EXPECT_EQ(reasons("a"), (Kinds{10, 1}));
    step("a")->updateStaleReasonsForSwParamChange();
    EXPECT_EQ(reasons("a"), (Kinds{1, 10}));
}

class StaleImageTest : public StaleSourcesTest {
protected:
    StaleImageTest() : m_core(addCore("cpu.core")) {
        m_target = m_core->addGenerationTarget(HDDATypes::GT_DEVICE_IMAGE);
        m_target->setState(HDDATypes::GS_GENERATED);
        m_target->setTimeStamp(kLaunch + 1);
    }
    /// The reasons of the step after a change that doesn't concern it.
    Kinds after(const std::string& id) {
        Summary summary(m_sources);
        EXPECT_FALSE(update(id, summary)) << "the answer is about sources alone";
        return reasons(id);
    }

    HDDACompositeFile* m_core;
    HDDAGenerationTarget* m_target = nullptr;
};

TEST_F(StaleImageTest, IsStaleByANewerOutput) {
    EXPECT_EQ(after("write_device_image"), (Kinds{10}));
    EXPECT_EQ(after("a"), Kinds{});
}

TEST_F(StaleImageTest, IsNotStaleByAnOlderOrMissingOutput) {
    m_target->setTimeStamp(kLaunch);
    EXPECT_EQ(after("write_device_image"), Kinds{});
    m_target->setTimeStamp(kLaunch + 1);
    m_target->setState(HDDATypes::GS_OUT_OF_DATE);
    EXPECT_EQ(after("write_device_image"), Kinds{});
    m_core->removeGenerationTarget(HDDATypes::GT_DEVICE_IMAGE);
    EXPECT_EQ(after("write_device_image"), Kinds{});
}

TEST_F(StaleImageTest, IsNotStaleByABlockOutsideTheDesign) {
    m_core->getAttrs().setAutoDisabled(true);
    EXPECT_EQ(after("write_device_image"), Kinds{});
}

// Sources that changed before anyone looked ----------------------------------

class AlreadyModifiedTest : public StaleSourcesTest {
protected:
    AlreadyModifiedTest() : m_top(add("top.v")) { m_top->setModTime(kLaunch + 1); }
    bool check() { return m_run->info().checkForAlreadyModifiedFiles_(m_sources); }

    HDDASrcFile* m_top;
};

TEST_F(AlreadyModifiedTest, RefusesNull) {
    m_run->info().setModifiedFilesChecked_(true);
    EXPECT_EQ(thrownText<HEXAlgException>(
                  [this] { m_run->info().checkForAlreadyModifiedFiles_(nullptr); }),
              "ExpInfo::checkForModFiles: NULL fileset");
}

TEST_F(AlreadyModifiedTest, TellsEveryStepOfANewerSource) {
    EXPECT_TRUE(check());
    EXPECT_EQ(reasons("a"), (Kinds{1}));
    EXPECT_EQ(reasons("write_device_image"), (Kinds{1}));
    EXPECT_EQ(reasons("c"), Kinds{});
}

TEST_F(AlreadyModifiedTest, LooksOnceWhenToldSo) {
    m_run->info().setModifiedFilesChecked_(true);
    EXPECT_FALSE(check());
    EXPECT_FALSE(step("a")->isStale());
}

TEST_F(AlreadyModifiedTest, PassesOverASourceThatIsNotNewer) {
    m_top->setModTime(kLaunch);
    EXPECT_FALSE(check());
}

TEST_F(AlreadyModifiedTest, AsksTheDiskForAnImportedSource) {
    m_top->setImportTime(kLaunch + 1);
    m_dir.touch("top.v", kLaunch);
    EXPECT_FALSE(check());
    m_dir.touch("top.v", kLaunch + 5);
    EXPECT_TRUE(check());
}

TEST_F(AlreadyModifiedTest, BelievesAStampThatDiffersFromTheImport) {
    m_top->setImportTime(kLaunch - 5);
    m_dir.touch("top.v", kLaunch);
    EXPECT_TRUE(check());
}

TEST_F(AlreadyModifiedTest, TakesAnImportedSourceThatIsGoneForNewer) {
    m_top->setImportTime(kLaunch + 1);
    m_dir.unmark("top.v");
    EXPECT_TRUE(check());
}

TEST_F(AlreadyModifiedTest, PassesOverSourcesThatAreNobodysConcern) {
    m_top->getAttrs().setExcludedFromTracking(true);
    EXPECT_FALSE(check());
    m_top->getAttrs().setExcludedFromTracking(false);
    for (const auto type : {HDDATypes::SFT_NOTES, HDDATypes::SFT_TOOL_DATABASE}) {
        flowStep("a")->getSrcFilter()->addSFType(type);
        m_top->setFileType(type);
        EXPECT_FALSE(check()) << type;
    }
}

/// The same with a core in place of the source.
class AlreadyModifiedCoreTest : public AlreadyModifiedTest {
protected:
    AlreadyModifiedCoreTest() : m_core(addCore("cpu.core")) {
        m_top->setModTime(kLaunch);
        m_target = m_core->addGenerationTarget(HDDATypes::GT_IMPLEMENTATION);
        m_target->setState(HDDATypes::GS_GENERATED);
        m_target->setTimeStamp(kLaunch + 1);
    }

    HDDACompositeFile* m_core;
    HDDAGenerationTarget* m_target = nullptr;
};

TEST_F(AlreadyModifiedCoreTest, ComparesTheOutputThatTheRunTakes) {
    EXPECT_TRUE(check());
    m_target->setTimeStamp(kLaunch);
    EXPECT_FALSE(check());
}

TEST_F(AlreadyModifiedCoreTest, TakesTheOutputForSynthesisInASynthesisRun) {
    m_run->info().setFlowType(HAXPTypes::FLOW_SYNTH);
    EXPECT_FALSE(check()) << "there is none";
    HDDAGenerationTarget* target = m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS);
    target->setState(HDDATypes::GS_GENERATED);
    target->setTimeStamp(kLaunch + 1);
    EXPECT_TRUE(check());
    m_run->info().setFlowType(HAXPTypes::FLOW_GENERIC);
    EXPECT_FALSE(check());
}

TEST_F(AlreadyModifiedCoreTest, PassesOverBlocksThatNobodyMakes) {
    m_core->setRegisteredWithMgr(false);
    EXPECT_FALSE(check());
    m_core->setRegisteredWithMgr(true);
    m_core->setCompositeFileLocked(true);
    EXPECT_FALSE(check());
}

TEST_F(AlreadyModifiedCoreTest, AsksForTheCheckpointWhenTheOutputIsNotMade) {
    m_target->setState(HDDATypes::GS_OUT_OF_DATE);
    HDDAGenerationTarget* checkpoint = m_core->addGenerationTarget(HDDATypes::GT_SYNTH_CHECKPOINT);
    checkpoint->setState(HDDATypes::GS_GENERATED);
    EXPECT_FALSE(check());
    checkpoint->setState(HDDATypes::GS_OUT_OF_DATE);
    EXPECT_TRUE(check());
}

TEST_F(AlreadyModifiedCoreTest, AsksForTheSynthesisWithoutACheckpoint) {
    m_target->setState(HDDATypes::GS_NOT_GENERATED);
    HDDAGenerationTarget* synthesis = m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS);
    synthesis->setState(HDDATypes::GS_GENERATED);
    EXPECT_FALSE(check());
    synthesis->setState(HDDATypes::GS_NOT_GENERATED);
    EXPECT_TRUE(check());
}

}  // namespace
