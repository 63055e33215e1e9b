// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileSet.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/filemgmt/HDDAUtils.h"
#include "environment/filemgmt/HEIOptions.h"
#include "environment/filemgmt/HPRMUtils.h"
#include "tests/unit/environment/filemgmt/SourceFolder.h"

namespace {

using Names = std::vector<std::string>;
using Summary = HADAFileSetChangeSummary;

class FileSetTest : public ::testing::Test {
protected:
    Names names(const HDDASrcFilter* filter = nullptr) const {
        return m_folder.names(m_set.createSrcFileIter(filter));
    }
    Names changed(const Summary& changes, Summary::enumFSCSFileCollection collection) const {
        return m_folder.names(changes.createFilesIter(collection));
    }

    test::SourceFolder m_folder;
    HADAFileSet m_set{"sources_1", HDDATypes::FST_DESIGN_SRCS};
};

TEST_F(FileSetTest, HasNameAndTypeAndNoManagerByItself) {
    EXPECT_EQ(m_set.getName(), "sources_1");
    EXPECT_EQ(m_set.getType(), HDDATypes::FST_DESIGN_SRCS);
    EXPECT_EQ(m_set.getFileMgr(), nullptr);
    EXPECT_FALSE(m_set.isInternal());
}

TEST_F(FileSetTest, IsEmptyWhenNew) {
    EXPECT_TRUE(names().empty());
    EXPECT_EQ(m_set.srcFileCount(), 0U);
}

TEST_F(FileSetTest, GivesItsSourcesInTheOrderOfAdding) {
    m_folder.add(m_set, "z.v");
    m_folder.add(m_set, "a.vhd");
    m_folder.add(m_set, "m.sv");
    EXPECT_EQ(names(), (Names{"z.v", "a.vhd", "m.sv"}));
    EXPECT_EQ(m_set.srcFileCount(), 3U);
}

TEST_F(FileSetTest, GivesTheSourcesThatPassAFilter) {
    m_folder.add(m_set, "z.v");
    m_folder.add(m_set, "a.vhd");
    HDDASrcFilter filter;
    filter.addSFType(HDDATypes::SFT_VHDL);
    EXPECT_EQ(names(&filter), (Names{"a.vhd"}));
    EXPECT_EQ(m_set.srcFileCount(&filter), 1U);
}

TEST_F(FileSetTest, LooksIntoCompositeFilesOnlyForAFilterThatDoes) {
    HDDACompositeFile* const core = m_folder.addCore(m_set, "fifo.core");
    m_folder.add(*core, "fifo.v");
    m_folder.add(m_set, "top.v");
    EXPECT_EQ(names(), (Names{"fifo.core", "top.v"}));
    HDDASrcFilter filter;
    filter.addSFType(HDDATypes::SFT_VERILOG);
    EXPECT_EQ(names(&filter), (Names{"top.v"}));
    filter.setExamineCompositeSrcs(true);
    EXPECT_EQ(names(&filter), (Names{"fifo.v", "top.v"}));
    EXPECT_EQ(m_set.srcFileCount(&filter), 2U);
}

TEST_F(FileSetTest, LetsAnIteratorOutliveAddedSources) {
    m_folder.add(m_set, "a.v");
    m_folder.add(m_set, "b.v");
    const std::unique_ptr<HSTFwdIter<HDDASrcFile*>> iter(m_set.createSrcFileIter());
    iter->next();
    m_folder.add(m_set, "c.v");
    EXPECT_EQ(iter->next()->getName(), m_folder.path("b.v"));
    EXPECT_FALSE(iter->hasNext());
}

TEST_F(FileSetTest, TakesTheKindFromTheExtensionOrFromTheCaller) {
    EXPECT_EQ(m_folder.add(m_set, "a.v")->getFileType()->getId(), HDDATypes::SFT_VERILOG);
    EXPECT_EQ(m_set.addSrcFile(m_folder.path("b.v"), HDDATypes::SFT_SYSTEM_VERILOG)
                  ->getFileType()
                  ->getId(),
              HDDATypes::SFT_SYSTEM_VERILOG);
}

TEST_F(FileSetTest, RefusesAPathThatItHoldsAndNamesBoth) {
    m_folder.add(m_set, "a.v");
    try {
        m_set.addSrcFile(m_folder.path("a.v"));
        FAIL() << "added twice";
    } catch (const HEXUserException& refusal) {
        EXPECT_EQ(std::string(refusal.what()),
                  "\"" + m_folder.path("a.v") +
                      "\" is in \"sources_1\" already. Remove it there first, or add another "
                      "file.");
    }
    EXPECT_EQ(m_set.srcFileCount(), 1U);
}

TEST_F(FileSetTest, RefusesAnEmptyPath) {
    EXPECT_THROW(m_set.addSrcFile(""), HEXUserException);
    EXPECT_THROW(m_set.addCompositeFile("", HDDATypes::SFT_CORE), HEXUserException);
    EXPECT_EQ(m_set.srcFileCount(), 0U);
}

TEST_F(FileSetTest, FindsASourceByItsPath) {
    HDDASrcFile* const a = m_folder.add(m_set, "a.v");
    EXPECT_EQ(m_set.findSrcFile(m_folder.path("a.v")), a);
    EXPECT_EQ(m_set.findSrcFile("a.v"), nullptr);
}

TEST_F(FileSetTest, RemovesASourceAndFindsTheOthersAfterwards) {
    HDDASrcFile* const a = m_folder.add(m_set, "a.v");
    HDDASrcFile* const b = m_folder.add(m_set, "b.v");
    HDDASrcFile* const c = m_folder.add(m_set, "c.v");
    EXPECT_TRUE(m_set.removeSrcFile(a));
    EXPECT_EQ(m_set.findSrcFile(m_folder.path("a.v")), nullptr);
    EXPECT_EQ(m_set.findSrcFile(m_folder.path("b.v")), b);
    EXPECT_EQ(m_set.findSrcFile(m_folder.path("c.v")), c);
    EXPECT_TRUE(m_set.removeSrcFile(c));
    EXPECT_EQ(names(), (Names{"b.v"}));
}

TEST_F(FileSetTest, RemovesNoStranger) {
    HADAFileSet other("other", HDDATypes::FST_DESIGN_SRCS);
    HDDASrcFile* const strange = m_folder.add(other, "a.v");
    m_folder.add(m_set, "a.v");
    EXPECT_FALSE(m_set.removeSrcFile(strange));
    EXPECT_FALSE(m_set.removeSrcFile(nullptr));
    EXPECT_EQ(m_set.srcFileCount(), 1U);
    EXPECT_EQ(other.srcFileCount(), 1U);
}

TEST_F(FileSetTest, HandsATakenSourceToTheCaller) {
    HDDASrcFile* const a = m_folder.add(m_set, "a.v");
    const std::unique_ptr<HDDASrcFile> taken(m_set.takeSrcFile(a));
    ASSERT_EQ(taken.get(), a);
    EXPECT_EQ(taken->getFileSet(), nullptr);
    EXPECT_EQ(m_set.takeSrcFile(a), nullptr);
    EXPECT_EQ(m_set.srcFileCount(), 0U);
}

TEST_F(FileSetTest, TellsWhatWasModifiedWentMissingAndWasFoundAgain) {
    m_folder.add(m_set, "same.v");
    m_folder.add(m_set, "edited.v");
    m_folder.add(m_set, "gone.v");
    m_set.addSrcFile(m_folder.path("late.v"));
    m_folder.write("edited.v", "new");
    m_folder.remove("gone.v");
    m_folder.write("late.v", "here");
    m_folder.touch("same.v", 1700000000);

    Summary changes(&m_set);
    EXPECT_TRUE(m_set.updateStamps(&changes));
    EXPECT_EQ(changed(changes, Summary::FSCS_MODIFIED), (Names{"edited.v"}));
    EXPECT_EQ(changed(changes, Summary::FSCS_MISSING), (Names{"gone.v"}));
    EXPECT_EQ(changed(changes, Summary::FSCS_FOUND_AGAIN), (Names{"late.v"}));
    EXPECT_FALSE(m_set.updateStamps(nullptr));
}

TEST_F(FileSetTest, TellsWhatWasModifiedInsideABlock) {
    HDDACompositeFile* const core = m_folder.addCore(m_set, "fifo.core");
    m_folder.add(*core, "fifo.v");
    m_folder.write("fifo.v", "new");
    Summary changes(&m_set);
    EXPECT_TRUE(m_set.updateStamps(&changes));
    EXPECT_EQ(changed(changes, Summary::FSCS_COMPOSITE_SRCS_MODIFIED), (Names{"fifo.v"}));
    EXPECT_EQ(changes.filesCount(Summary::FSCS_MODIFIED), 0U);
}

TEST_F(FileSetTest, PassesOverFilesExcludedFromTracking) {
    m_folder.add(m_set, "log.v")->getAttrs().setExcludedFromTracking(true);
    m_folder.write("log.v", "new");
    EXPECT_FALSE(m_set.updateStamps(nullptr));
}

TEST_F(FileSetTest, KeepsItsPlaceAndOptions) {
    EXPECT_TRUE(m_set.getDataDir().empty());
    EXPECT_TRUE(m_set.getFileSetFileName().empty());
    m_set.setDataDir("impl_1");
    m_set.setFileSetFileName("sources_1.xml");
    m_set.getSrcOptions().setTopName("top");
    m_set.getSrcOptions().setDefines({"WIDTH=8"});
    m_set.getEDIFOptions().setTopFile("/nets/top.edf");
    const HADAFileSet& readOnly = m_set;
    EXPECT_EQ(readOnly.getDataDir(), "impl_1");
    EXPECT_EQ(readOnly.getFileSetFileName(), "sources_1.xml");
    EXPECT_EQ(readOnly.getSrcOptions().getTopName(), "top");
    EXPECT_EQ(readOnly.getSrcOptions().getDefines(), (Names{"WIDTH=8"}));
    EXPECT_EQ(readOnly.getEDIFOptions().getTopFile(), "/nets/top.edf");
}

TEST_F(FileSetTest, HasNoRootCompositeFileUntilOneIsSet) {
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), nullptr);
    HDDACompositeFile* const root = m_folder.addCore(m_set, "fifo.core");
    m_set.setOOCRootCompositeFile(root);
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), root);
    EXPECT_EQ(m_set.getOOCRootCompositeFile(false), root);
}

TEST_F(FileSetTest, ShowsADisabledRootOnlyWhenAskedTo) {
    HDDACompositeFile* const root = m_folder.addCore(m_set, "fifo.core");
    m_set.setOOCRootCompositeFile(root);
    root->getAttrs().setDisabled(true);
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), root);
    EXPECT_EQ(m_set.getOOCRootCompositeFile(false), nullptr);
}

TEST_F(FileSetTest, RefusesARootOfAnotherSet) {
    HADAFileSet other("other", HDDATypes::FST_BLOCK_SRCS);
    EXPECT_THROW(m_set.setOOCRootCompositeFile(m_folder.addCore(other, "fifo.core")),
                 HEXAlgException);
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), nullptr);
}

TEST_F(FileSetTest, ForgetsARootThatGoesWithTheBlockAroundIt) {
    HDDACompositeFile* const outer = m_folder.addCore(m_set, "outer.core");
    HDDACompositeFile* const middle = m_folder.addCore(*outer, "middle.core");
    m_set.setOOCRootCompositeFile(m_folder.addCore(*middle, "inner.core"));
    EXPECT_TRUE(outer->removeSrcFile(middle));
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), nullptr);
}

TEST_F(FileSetTest, ForgetsItsRootWithAllItsSources) {
    m_set.setOOCRootCompositeFile(m_folder.addCore(m_set, "fifo.core"));
    m_set.removeAllSrcFiles();
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), nullptr);
    EXPECT_EQ(m_set.srcFileCount(), 0U);
}

TEST_F(FileSetTest, KeepsItsRootWhenAnotherSourceGoes) {
    HDDACompositeFile* const root = m_folder.addCore(m_set, "fifo.core");
    m_set.setOOCRootCompositeFile(root);
    m_set.removeSrcFile(m_folder.add(m_set, "a.v"));
    EXPECT_EQ(m_set.getOOCRootCompositeFile(true), root);
}

TEST_F(FileSetTest, BelongsToAReconfigurableModuleWhenItNamesOne) {
    EXPECT_FALSE(HPRMUtils::isRMFileSet(&m_set));
    EXPECT_FALSE(HPRMUtils::isRMFileSet(nullptr));
    m_set.setReconfigModule("filter_a");
    EXPECT_TRUE(HPRMUtils::isRMFileSet(&m_set));
}

TEST(FileSetTypeTest, HasANameOfItsOwnForTheUser) {
    std::set<std::string> names;
    for (int number = 0; number <= 6; ++number)
        names.insert(HDDAUtils::getFileSetTypeName(static_cast<HDDATypes::FileSetType>(number)));
    EXPECT_EQ(names.size(), 7U);
    EXPECT_STREQ(HDDAUtils::getFileSetTypeName(HDDATypes::FST_CONSTRS), "constraints");
}

TEST(FileSetTypeTest, IsUnknownBeyondTheNumbers) {
    EXPECT_STREQ(HDDAUtils::getFileSetTypeName(static_cast<HDDATypes::FileSetType>(7)), "unknown");
}

}  // namespace
