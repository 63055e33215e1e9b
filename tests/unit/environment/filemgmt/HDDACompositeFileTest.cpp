// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDACompositeFile.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDAUtils.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

using Names = std::vector<std::string>;

/// A block design with a source of its own and a core, which has a source and
/// a checkpoint.
class CompositeFileTest : public ::testing::Test {
protected:
    CompositeFileTest() {
        m_folder.write("soc.bd", "bd");
        m_design = m_set.addCompositeFile(m_folder.path("soc.bd"), HDDATypes::SFT_BLOCK_DESIGN);
        m_wrapper = m_folder.add(*m_design, "soc.v");
        m_core = m_folder.addCore(*m_design, "fifo.core");
        m_inner = m_folder.add(*m_core, "fifo.v");
        m_folder.add(*m_core, "fifo.dcp");
    }

    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
    HDDACompositeFile* m_design;
    HDDASrcFile* m_wrapper;
    HDDACompositeFile* m_core;
    HDDASrcFile* m_inner;
};

TEST_F(CompositeFileTest, IsASourceThatKnowsItself) {
    HDDASrcFile* const source = m_set.findSrcFile(m_folder.path("soc.bd"));
    ASSERT_EQ(source, m_design);
    EXPECT_EQ(source->getCompositeFile(), m_design);
    EXPECT_EQ(source->getFileType()->getId(), HDDATypes::SFT_BLOCK_DESIGN);
}

TEST_F(CompositeFileTest, TellsItsSourcesWhereTheyStand) {
    EXPECT_EQ(m_wrapper->getParentComposite(), m_design);
    EXPECT_EQ(m_inner->getParentComposite(), m_core);
    EXPECT_EQ(m_inner->getFileSet(), &m_set);
    EXPECT_EQ(m_design->getParentComposite(), nullptr);
}

TEST_F(CompositeFileTest, WalksItsOwnSources) {
    EXPECT_EQ(m_folder.names(m_design->createSrcFileIter(nullptr, false)),
              (Names{"soc.v", "fifo.core"}));
}

TEST_F(CompositeFileTest, WalksTheBlocksInsideWhenRecursive) {
    EXPECT_EQ(m_folder.names(m_design->createSrcFileIter(nullptr, true)),
              (Names{"soc.v", "fifo.core", "fifo.v", "fifo.dcp"}));
}

TEST_F(CompositeFileTest, WalksTheBlocksInsideForAFilterThatLooksThere) {
    HDDASrcFilter checkpoints;
    checkpoints.addSFType(HDDATypes::SFT_CHECKPOINT);
    EXPECT_TRUE(m_folder.names(m_design->createSrcFileIter(&checkpoints, false)).empty());
    checkpoints.setExamineCompositeSrcs(true);
    EXPECT_EQ(m_folder.names(m_design->createSrcFileIter(&checkpoints, false)),
              (Names{"fifo.dcp"}));
}

TEST_F(CompositeFileTest, GivesAnEmptyIteratorForAnEmptyBlock) {
    HDDACompositeFile* const empty = m_folder.addCore(m_set, "empty.core");
    EXPECT_TRUE(m_folder.names(empty->createSrcFileIter(nullptr, true)).empty());
}

TEST_F(CompositeFileTest, LeavesAnIteratorBeforeItsEnd) {
    const std::unique_ptr<HSTFwdIter<HDDASrcFile*>> iter(
        m_design->createSrcFileIter(nullptr, true));
    EXPECT_EQ(iter->next(), m_wrapper);
    EXPECT_TRUE(iter->hasNext());
}

TEST_F(CompositeFileTest, RefusesAPathThatItHolds) {
    EXPECT_THROW(m_core->addSrcFile(m_folder.path("fifo.v")), HEXUserException);
    EXPECT_THROW(m_core->addCompositeFile("", HDDATypes::SFT_CORE), HEXUserException);
    EXPECT_NO_THROW(m_design->addSrcFile(m_folder.path("fifo.v")));
}

TEST_F(CompositeFileTest, RemovesOnlyWhatStandsDirectlyInside) {
    EXPECT_FALSE(m_design->removeSrcFile(m_inner));
    EXPECT_FALSE(m_design->removeSrcFile(nullptr));
    EXPECT_TRUE(m_core->removeSrcFile(m_inner));
    EXPECT_EQ(m_core->findSrcFile(m_folder.path("fifo.v")), nullptr);
    EXPECT_NE(m_core->findSrcFile(m_folder.path("fifo.dcp")), nullptr);
}

TEST_F(CompositeFileTest, IsRegisteredAndUnlockedWhenNew) {
    EXPECT_TRUE(m_core->isRegisteredWithMgr());
    EXPECT_FALSE(m_core->isCompositeFileLocked());
    m_core->setRegisteredWithMgr(false);
    m_core->setCompositeFileLocked(true);
    EXPECT_FALSE(m_core->isRegisteredWithMgr());
    EXPECT_TRUE(m_core->isCompositeFileLocked());
}

TEST_F(CompositeFileTest, HasNoTargetUntilOneIsAdded) {
    EXPECT_EQ(m_core->getGenerationTarget(HDDATypes::GT_SYNTHESIS), nullptr);
    HDDAGenerationTarget* const target = m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS);
    EXPECT_EQ(m_core->getGenerationTarget(HDDATypes::GT_SYNTHESIS), target);
    EXPECT_EQ(target->getKind(), HDDATypes::GT_SYNTHESIS);
    EXPECT_EQ(target->getState(), HDDATypes::GS_NOT_GENERATED);
    EXPECT_EQ(target->getTimeStamp(), 0);
    EXPECT_EQ(m_core->getGenerationTarget(HDDATypes::GT_IMPLEMENTATION), nullptr);
}

TEST_F(CompositeFileTest, KeepsTheTargetThatItHas) {
    HDDAGenerationTarget* const target = m_core->addGenerationTarget(HDDATypes::GT_DEVICE_IMAGE);
    target->setState(HDDATypes::GS_GENERATED);
    target->setTimeStamp(1700000000);
    EXPECT_EQ(m_core->addGenerationTarget(HDDATypes::GT_DEVICE_IMAGE), target);
    EXPECT_EQ(target->getTimeStamp(), 1700000000);
    m_core->removeGenerationTarget(HDDATypes::GT_DEVICE_IMAGE);
    EXPECT_EQ(m_core->getGenerationTarget(HDDATypes::GT_DEVICE_IMAGE), nullptr);
}

TEST_F(CompositeFileTest, RefusesTargetsOfNoKind) {
    const auto stranger = static_cast<HDDATypes::GenerationTarget>(77);
    EXPECT_EQ(m_core->getGenerationTarget(stranger), nullptr);
    EXPECT_THROW(m_core->addGenerationTarget(stranger), HEXAlgException);
    EXPECT_NO_THROW(m_core->removeGenerationTarget(stranger));
}

TEST_F(CompositeFileTest, GivesTheStateOfATarget) {
    EXPECT_EQ(m_core->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, false),
              HDDATypes::GS_NOT_APPLICABLE);
    m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS)->setState(HDDATypes::GS_GENERATED);
    EXPECT_EQ(m_core->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, false),
              HDDATypes::GS_GENERATED);
}

TEST_F(CompositeFileTest, CountsTheBlocksInsideWhenTheyAreAskedFor) {
    m_design->addGenerationTarget(HDDATypes::GT_SYNTHESIS)->setState(HDDATypes::GS_GENERATED);
    EXPECT_EQ(m_design->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, true),
              HDDATypes::GS_GENERATED);
    HDDAGenerationTarget* const inner = m_core->addGenerationTarget(HDDATypes::GT_SYNTHESIS);
    EXPECT_EQ(m_design->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, true),
              HDDATypes::GS_NOT_GENERATED);
    inner->setState(HDDATypes::GS_OUT_OF_DATE);
    EXPECT_EQ(m_design->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, true),
              HDDATypes::GS_OUT_OF_DATE);
    EXPECT_EQ(m_design->getGeneratedStateFor(HDDATypes::GT_SYNTHESIS, false),
              HDDATypes::GS_GENERATED);
}

TEST_F(CompositeFileTest, HasNoCheckpointStateWhenSynthesisedWithTheDesign) {
    EXPECT_EQ(m_core->getSynthCheckpointGenerationState(), HDDATypes::GS_NOT_APPLICABLE);
    m_core->addGenerationTarget(HDDATypes::GT_SYNTH_CHECKPOINT);
    EXPECT_EQ(m_core->getSynthCheckpointGenerationState(), HDDATypes::GS_NOT_GENERATED);
}

TEST_F(CompositeFileTest, IsInTheActiveTopWhileNothingAroundItIsDisabled) {
    EXPECT_TRUE(HDDAUtils::isCompositeInActiveTop(m_core));
    m_design->getAttrs().setAutoDisabled(true);
    EXPECT_FALSE(HDDAUtils::isCompositeInActiveTop(m_core));
    m_design->getAttrs().setAutoDisabled(false);
    m_core->getAttrs().setDisabled(true);
    EXPECT_FALSE(HDDAUtils::isCompositeInActiveTop(m_core));
    EXPECT_TRUE(HDDAUtils::isCompositeInActiveTop(m_design));
}

TEST_F(CompositeFileTest, IsNotInTheActiveTopOutsideAnySet) {
    const std::unique_ptr<HDDASrcFile> taken(m_set.takeSrcFile(m_design));
    EXPECT_FALSE(HDDAUtils::isCompositeInActiveTop(m_design));
    EXPECT_FALSE(HDDAUtils::isCompositeInActiveTop(m_core));
    EXPECT_FALSE(HDDAUtils::isCompositeInActiveTop(nullptr));
}

}  // namespace
