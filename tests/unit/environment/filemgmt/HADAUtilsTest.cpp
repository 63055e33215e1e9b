// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAUtils.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileMgr.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/filemgmt/HEIOptions.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

using Names = std::vector<std::string>;
using Summary = HADAFileSetChangeSummary;

/// The user's set, with two sources and a core with a source, and an empty
/// internal set.
class FileSetCopyTest : public ::testing::Test {
protected:
    void copy(bool keepOwn = false, bool withRunNames = false) {
        HADAUtils::copyFileSet(m_live, m_snapshot.get(), keepOwn, withRunNames);
    }
    Names names(const HADAFileSet& fileSet) const {
        HDDASrcFilter all;
        all.setExamineCompositeSrcs(true);
        return m_folder.names(fileSet.createSrcFileIter(&all));
    }
    HDDACompositeFile* copiedCore() const {
        return m_snapshot->findSrcFile(m_core->getName())->getCompositeFile();
    }

    test::SourceFolder m_folder;
    HADAFileMgr m_mgr;
    HADAFileSet* m_live = m_mgr.createFileSet("sources_1", HDDATypes::FST_DESIGN_SRCS);
    HDDASrcFile* m_top = m_folder.add(*m_live, "top.v");
    HDDACompositeFile* m_core = m_folder.addCore(*m_live, "fifo.core");
    HDDASrcFile* m_inner = m_folder.add(*m_core, "fifo.v");
    HDDASrcFile* m_alu = m_folder.add(*m_live, "alu.vhd");
    std::unique_ptr<HADAFileSet> m_snapshot{
        m_mgr.createInternalFileSet("impl_1", HDDATypes::FST_BLOCK_SRCS)};
};

TEST_F(FileSetCopyTest, CopiesEverySourceInOrder) {
    copy();
    EXPECT_EQ(names(*m_snapshot), (Names{"top.v", "fifo.core", "fifo.v", "alu.vhd"}));
    EXPECT_EQ(names(*m_live), (Names{"top.v", "fifo.core", "fifo.v", "alu.vhd"}));
}

TEST_F(FileSetCopyTest, CopiesKindAttributesStampAndTimes) {
    m_top->setFileType(HDDATypes::SFT_SYSTEM_VERILOG);
    m_top->getAttrs().setUsedInSimulation(false);
    m_top->getAttrs().setLibrary("work_a");
    m_top->setModTime(1700000001);
    m_top->setImportTime(1700000002);
    copy();
    const HDDASrcFile* const twin = m_snapshot->findSrcFile(m_top->getName());
    EXPECT_EQ(twin->getFileType()->getId(), HDDATypes::SFT_SYSTEM_VERILOG);
    EXPECT_FALSE(twin->getAttrs().isUsedInSimulation());
    EXPECT_EQ(twin->getAttrs().getLibrary(), "work_a");
    EXPECT_TRUE(twin->getStamp().isSameContent(m_top->getStamp()));
    EXPECT_EQ(twin->getModTime(), 1700000001);
    EXPECT_EQ(twin->getImportTime(), 1700000002);
    EXPECT_EQ(twin->getFileSet(), m_snapshot.get());
}

TEST_F(FileSetCopyTest, TakesTheStampsAsTheyAreAndNotFromTheDisk) {
    m_folder.write("top.v", "edited after the set looked");
    copy();
    EXPECT_TRUE(
        m_snapshot->findSrcFile(m_top->getName())->getStamp().isSameContent(m_top->getStamp()));
}

TEST_F(FileSetCopyTest, CopiesAllThatACompositeFileHolds) {
    m_core->setRegisteredWithMgr(false);
    m_core->setCompositeFileLocked(true);
    m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS)->setState(HDDATypes::GS_GENERATED);
    m_core->getGenerationTarget(HDDATypes::GT_SYNTHESIS)->setTimeStamp(1700000003);
    copy();
    const HDDACompositeFile* const twin = copiedCore();
    EXPECT_FALSE(twin->isRegisteredWithMgr());
    EXPECT_TRUE(twin->isCompositeFileLocked());
    const HDDAGenerationTarget* const target = twin->getGenerationTarget(HDDATypes::GT_SYNTHESIS);
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(target->getState(), HDDATypes::GS_GENERATED);
    EXPECT_EQ(target->getTimeStamp(), 1700000003);
    const HDDASrcFile* const inner = twin->findSrcFile(m_inner->getName());
    ASSERT_NE(inner, nullptr);
    EXPECT_NE(inner, m_inner);
    EXPECT_EQ(inner->getParentComposite(), twin);
    EXPECT_EQ(inner->getFileSet(), m_snapshot.get());
}

TEST_F(FileSetCopyTest, SharesNothingAfterwards) {
    copy();
    m_top->getAttrs().setDisabled(true);
    m_inner->setModTime(5);
    m_live->getSrcOptions().setTopName("other");
    m_mgr.removeFileSet(m_live);
    EXPECT_EQ(names(*m_snapshot), (Names{"top.v", "fifo.core", "fifo.v", "alu.vhd"}));
    EXPECT_FALSE(m_snapshot->findSrcFile(m_folder.path("top.v"))->getAttrs().isDisabled());
    EXPECT_TRUE(m_snapshot->getSrcOptions().getTopName().empty());
}

TEST_F(FileSetCopyTest, CopiesOptionsAndReconfigurableModule) {
    m_live->getSrcOptions().setTopName("top");
    m_live->getEDIFOptions().setTopFile("/nets/top.edf");
    m_live->setReconfigModule("filter_a");
    copy();
    EXPECT_EQ(m_snapshot->getSrcOptions().getTopName(), "top");
    EXPECT_EQ(m_snapshot->getEDIFOptions().getTopFile(), "/nets/top.edf");
    EXPECT_EQ(m_snapshot->getReconfigModule(), "filter_a");
}

TEST_F(FileSetCopyTest, FindsTheRootAmongTheCopies) {
    HDDACompositeFile* const nested = m_folder.addCore(*m_core, "nested.core");
    m_live->setOOCRootCompositeFile(nested);
    copy();
    const HDDACompositeFile* const root = m_snapshot->getOOCRootCompositeFile(true);
    ASSERT_NE(root, nullptr);
    EXPECT_NE(root, nested);
    EXPECT_EQ(root->getName(), nested->getName());
    EXPECT_EQ(root->getParentComposite(), copiedCore());
}

TEST_F(FileSetCopyTest, LeavesTheTargetItsNameTypeManagerAndPlace) {
    m_live->setDataDir("live");
    m_live->setFileSetFileName("live.xml");
    m_snapshot->setDataDir("impl_1");
    m_snapshot->setFileSetFileName("impl_1.xml");
    copy();
    EXPECT_EQ(m_snapshot->getName(), "impl_1");
    EXPECT_EQ(m_snapshot->getType(), HDDATypes::FST_BLOCK_SRCS);
    EXPECT_EQ(m_snapshot->getFileMgr(), &m_mgr);
    EXPECT_TRUE(m_snapshot->isInternal());
    EXPECT_EQ(m_snapshot->getDataDir(), "impl_1");
    EXPECT_EQ(m_snapshot->getFileSetFileName(), "impl_1.xml");
}

TEST_F(FileSetCopyTest, DropsWhatTheTargetHad) {
    m_folder.add(*m_snapshot, "old.v");
    m_snapshot->setOOCRootCompositeFile(m_folder.addCore(*m_snapshot, "old.core"));
    copy();
    EXPECT_EQ(m_snapshot->findSrcFile(m_folder.path("old.v")), nullptr);
    EXPECT_EQ(m_snapshot->getOOCRootCompositeFile(true), nullptr);
}

TEST_F(FileSetCopyTest, KeepsWhatOnlyTheTargetHadWhenAskedTo) {
    m_folder.add(*m_snapshot, "old.v");
    m_snapshot->addSrcFile(m_folder.path("top.v"), HDDATypes::SFT_NOTES);
    copy(true);
    EXPECT_EQ(names(*m_snapshot), (Names{"old.v", "top.v", "fifo.core", "fifo.v", "alu.vhd"}));
    EXPECT_EQ(m_snapshot->findSrcFile(m_folder.path("top.v"))->getFileType()->getId(),
              HDDATypes::SFT_VERILOG);
}

TEST_F(FileSetCopyTest, KeepsTheTargetsRootWithItsOwnSources) {
    HDDACompositeFile* const own = m_folder.addCore(*m_snapshot, "own.core");
    m_snapshot->setOOCRootCompositeFile(own);
    copy(true);
    EXPECT_EQ(m_snapshot->getOOCRootCompositeFile(true), own);
}

TEST_F(FileSetCopyTest, ReplacesACompositeFileThatWasTheRoot) {
    m_snapshot->setOOCRootCompositeFile(
        m_snapshot->addCompositeFile(m_core->getName(), HDDATypes::SFT_CORE));
    copy(true);
    EXPECT_EQ(m_snapshot->getOOCRootCompositeFile(true), nullptr);
    EXPECT_EQ(m_snapshot->srcFileCount(), 3U);
}

TEST_F(FileSetCopyTest, DropsTheNamesOfRuns) {
    m_top->getAttrs().setRunNames({"impl_1"});
    m_inner->getAttrs().setRunNames({"impl_1"});
    copy();
    EXPECT_TRUE(m_snapshot->findSrcFile(m_top->getName())->getAttrs().getRunNames().empty());
    EXPECT_TRUE(copiedCore()->findSrcFile(m_inner->getName())->getAttrs().getRunNames().empty());
    EXPECT_TRUE(m_top->getAttrs().isKeptForRun("impl_1"));
}

TEST_F(FileSetCopyTest, KeepsTheNamesOfRunsWhenAskedTo) {
    m_top->getAttrs().setRunNames({"impl_1"});
    copy(false, true);
    EXPECT_TRUE(m_snapshot->findSrcFile(m_top->getName())->getAttrs().isKeptForRun("impl_1"));
}

TEST_F(FileSetCopyTest, LeavesASetCopiedOntoItselfAsItIs) {
    HADAUtils::copyFileSet(m_live, m_live, false, false);
    EXPECT_EQ(m_live->findSrcFile(m_folder.path("top.v")), m_top);
    EXPECT_EQ(m_live->srcFileCount(), 3U);
}

TEST_F(FileSetCopyTest, NeedsBothSets) {
    EXPECT_THROW(HADAUtils::copyFileSet(nullptr, m_live, false, false), HEXAlgException);
    EXPECT_THROW(HADAUtils::copyFileSet(m_live, nullptr, false, false), HEXAlgException);
}

/// The user's set against a snapshot of it.
class FileSetCompareTest : public FileSetCopyTest {
protected:
    FileSetCompareTest() { copy(); }

    bool differs() { return HADAUtils::compareFileSets(m_snapshot.get(), m_live, m_changes); }
    Names changed(Summary::enumFSCSFileCollection collection) const {
        return m_folder.names(m_changes.createFilesIter(collection));
    }

    Summary m_changes{m_live};
};

TEST_F(FileSetCompareTest, FindsAFreshSnapshotEqual) {
    EXPECT_FALSE(differs());
    EXPECT_TRUE(m_changes.empty());
}

TEST_F(FileSetCompareTest, TakesATouchedFileForNoChange) {
    m_folder.touch("top.v", 1700000000);
    m_live->updateStamps(nullptr);
    EXPECT_FALSE(differs());
}

TEST_F(FileSetCompareTest, TellsAddedAndRemovedSources) {
    m_folder.add(*m_live, "new.v");
    m_live->removeSrcFile(m_top);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_ADDED), (Names{"new.v"}));
    EXPECT_EQ(changed(Summary::FSCS_REMOVED), (Names{"top.v"}));
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_REORDERED), 0U);
}

TEST_F(FileSetCompareTest, TellsWhatChangedInsideABlock) {
    m_folder.add(*m_core, "more.v");
    m_folder.write("fifo.v", "edited");
    m_live->updateStamps(nullptr);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_COMPOSITE_SRCS_ADDED), (Names{"more.v"}));
    EXPECT_EQ(changed(Summary::FSCS_COMPOSITE_SRCS_MODIFIED), (Names{"fifo.v"}));
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_ADDED), 0U);
}

TEST_F(FileSetCompareTest, TellsWhatWasRemovedFromABlock) {
    m_core->removeSrcFile(m_inner);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_COMPOSITE_SRCS_REMOVED), (Names{"fifo.v"}));
}

TEST_F(FileSetCompareTest, TellsModifiedMissingAndFoundFiles) {
    m_folder.write("top.v", "edited");
    m_folder.remove("alu.vhd");
    m_live->updateStamps(nullptr);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_MODIFIED), (Names{"top.v"}));
    EXPECT_EQ(changed(Summary::FSCS_MISSING), (Names{"alu.vhd"}));

    Summary back(m_snapshot.get());
    EXPECT_TRUE(HADAUtils::compareFileSets(m_live, m_snapshot.get(), back));
    EXPECT_EQ(m_folder.names(back.createFilesIter(Summary::FSCS_FOUND_AGAIN)), (Names{"alu.vhd"}));
}

TEST_F(FileSetCompareTest, TellsSourcesInAnotherOrder) {
    const std::unique_ptr<HDDASrcFile> gone(m_live->takeSrcFile(m_top));
    m_live->addSrcFile(gone->getName());
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_REORDERED), (Names{"fifo.core", "alu.vhd", "top.v"}));
    EXPECT_EQ(m_changes.filesCount(Summary::FSCS_ADDED), 0U);
}

TEST_F(FileSetCompareTest, TellsWhatIsEnabledAgain) {
    m_top->getAttrs().setDisabled(true);
    m_alu->getAttrs().setAutoDisabled(true);
    copy();
    m_top->getAttrs().setDisabled(false);
    m_alu->getAttrs().setAutoDisabled(false);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_ENABLED), (Names{"top.v"}));
    EXPECT_EQ(changed(Summary::FSCS_AUTO_ENABLED), (Names{"alu.vhd"}));
}

TEST_F(FileSetCompareTest, TakesAFileThatBecameABlockForAnotherKind) {
    m_live->removeSrcFile(m_alu);
    m_live->addCompositeFile(m_folder.path("alu.vhd"), HDDATypes::SFT_VHDL);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(Summary::FSCS_KIND_CHANGED), (Names{"alu.vhd"}));
}

TEST_F(FileSetCompareTest, PassesOverFilesExcludedFromTracking) {
    m_folder.write("top.v", "edited");
    m_top->updateStamp();
    m_top->getAttrs().setExcludedFromTracking(true);
    m_folder.add(*m_live, "log.v")->getAttrs().setExcludedFromTracking(true);
    EXPECT_FALSE(differs());
}

TEST_F(FileSetCompareTest, NeedsBothSets) {
    EXPECT_THROW(HADAUtils::compareFileSets(nullptr, m_live, m_changes), HEXAlgException);
    EXPECT_THROW(HADAUtils::compareFileSets(m_live, nullptr, m_changes), HEXAlgException);
}

/// A change of a source, and the collection that tells it.
struct AttributeCase {
    const char* name;
    void (*change)(HDDASrcFile&);
    Summary::enumFSCSFileCollection collection;
};

std::ostream& operator<<(std::ostream& os, const AttributeCase& row) {
    return os << row.name;
}

class AttributeChangeTest : public FileSetCompareTest,
                            public ::testing::WithParamInterface<AttributeCase> {};

TEST_P(AttributeChangeTest, IsTold) {
    GetParam().change(*m_top);
    EXPECT_TRUE(differs());
    EXPECT_EQ(changed(GetParam().collection), (Names{"top.v"}));
}

INSTANTIATE_TEST_SUITE_P(
    Changes, AttributeChangeTest,
    ::testing::Values(
        AttributeCase{"Disabled", [](HDDASrcFile& file) { file.getAttrs().setDisabled(true); },
                      Summary::FSCS_DISABLED},
        AttributeCase{"AutoDisabled",
                      [](HDDASrcFile& file) { file.getAttrs().setAutoDisabled(true); },
                      Summary::FSCS_AUTO_DISABLED},
        AttributeCase{"Synthesis",
                      [](HDDASrcFile& file) { file.getAttrs().setUsedInSynthesis(false); },
                      Summary::FSCS_SYNTHESIS_USE_CHANGED},
        AttributeCase{"Implementation",
                      [](HDDASrcFile& file) { file.getAttrs().setUsedInImplementation(false); },
                      Summary::FSCS_IMPLEMENTATION_USE_CHANGED},
        AttributeCase{"Simulation",
                      [](HDDASrcFile& file) { file.getAttrs().setUsedInSimulation(false); },
                      Summary::FSCS_SIMULATION_USE_CHANGED},
        AttributeCase{"Library", [](HDDASrcFile& file) { file.getAttrs().setLibrary("lib"); },
                      Summary::FSCS_LIBRARY_CHANGED},
        AttributeCase{"Kind", [](HDDASrcFile& file) { file.setFileType(HDDATypes::SFT_C); },
                      Summary::FSCS_KIND_CHANGED}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
